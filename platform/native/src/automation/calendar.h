// The calendar's names and VT_DATE as text, in English.
#pragma once

#include <string>
#include <string_view>

#include "oaidl.h"

namespace bv::platform {

inline constexpr std::string_view kMonths[] = {"January",   "February", "March",    "April",
                                               "May",       "June",     "July",     "August",
                                               "September", "October",  "November", "December"};
inline constexpr std::string_view kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                 "Thursday", "Friday", "Saturday"};
inline constexpr std::size_t kShortName = 3;  // letters of a short name

/// What VT_DATE can hold: the years 100 to 9999, whole days counted from 30 December 1899.
inline constexpr double kFirstDay = -657434;
inline constexpr double kLastDay = 2958465;
inline bool IsDate(double value) { return value > kFirstDay - 1 && value < kLastDay + 1; }

/// "2/5/2024 2:07:09 PM"; the date alone at midnight, the time alone for day 0. False when out of range.
bool DateToText(double value, std::string* text);

/// A date, a time of day or both: month/day/year in any order that makes sense, with names of months and
/// weekdays, "h:mm:ss", "AM" and "PM". Years below 50 are of this century, from 50 to 99 of the last; a
/// missing one is the current year. False for another text.
bool TextToDate(std::wstring_view text, double* value);

}  // namespace bv::platform
