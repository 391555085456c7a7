#include "automation/calendar.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <optional>

#include "automation/decimal_number.h"
#include "winnls.h"

namespace bv::platform {
namespace {

constexpr int kDaySeconds = 24 * 60 * 60;
constexpr std::chrono::sys_days kDayZero = std::chrono::year{1899} / 12 / 30;

/// The day of a date that exists in VT_DATE's range.
std::optional<double> DayOf(int year, int month, int day) {
    if (year < 0 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
    if (year < 100) year += year < 50 ? 2000 : 1900;
    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) return std::nullopt;
    return (std::chrono::sys_days{date} - kDayZero).count();
}

int CurrentYear() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return now.wYear;
}

bool SameLetters(std::wstring_view word, std::string_view name) {
    return std::equal(word.begin(), word.end(), name.begin(), name.end(), [](wchar_t a, char b) {
        const auto lower = [](wchar_t c) { return c >= L'A' && c <= L'Z' ? c + (L'a' - L'A') : c; };
        return lower(a) == lower(static_cast<wchar_t>(b));
    });
}

/// The position of a full or short name in a list, from 1; 0 when it is none.
template <std::size_t N>
int Position(std::wstring_view word, const std::string_view (&names)[N]) {
    for (std::size_t i = 0; i < N; ++i) {
        if (SameLetters(word, names[i]) || SameLetters(word, names[i].substr(0, kShortName))) {
            return static_cast<int>(i) + 1;
        }
    }
    return 0;
}

/// Collects the parts of a date text from left to right, then puts them together.
class DateReader {
public:
    explicit DateReader(std::wstring_view text) : rest_(text) {}

    std::optional<double> Read() {
        SkipBlanks();
        while (!rest_.empty()) {
            const bool part = IsDigit(rest_.front()) ? ReadNumber() : ReadWord();
            if (!part) return std::nullopt;
        }
        if (pending_ || (numbers_ == 0 && month_ == 0 && !has_time_)) return std::nullopt;
        const std::optional<double> day = Day();
        if (!day) return std::nullopt;
        return *day < 0 ? *day - time_ : *day + time_;  // the fraction counts away from zero
    }

private:
    static bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
    static bool IsLetter(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); }
    bool At(wchar_t c) const { return !rest_.empty() && rest_.front() == c; }

    void SkipBlanks() {
        while (!rest_.empty() && IsBlank(rest_.front())) rest_.remove_prefix(1);
    }

    std::wstring_view TakeWord() {
        const auto end = std::find_if_not(rest_.begin(), rest_.end(), IsLetter);
        const std::wstring_view word = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
        rest_.remove_prefix(word.size());
        return word;
    }

    /// Up to four digits; -1 when there are none or more.
    int TakeDigits() {
        int value = -1;
        for (int count = 0; !rest_.empty() && IsDigit(rest_.front()); rest_.remove_prefix(1)) {
            if (++count > 4) return -1;
            value = std::max(value, 0) * 10 + (rest_.front() - L'0');
        }
        return value;
    }

    /// "AM" or "PM" next: takes it. 0 when neither stands there, else 'A' or 'P'.
    char TakeHalf() {
        const std::wstring_view before = rest_;
        SkipBlanks();
        const std::wstring_view word = TakeWord();
        if (SameLetters(word, "AM")) return 'A';
        if (SameLetters(word, "PM")) return 'P';
        rest_ = before;
        return 0;
    }

    bool ReadNumber() {
        const int number = TakeDigits();
        if (number < 0) return false;
        if (At(L':') || At(L'.')) return ReadTime(number);
        if (const char half = TakeHalf()) return SetTime(number, 0, 0, half);
        if (numbers_ == 3) return false;
        number_[numbers_++] = number;
        return EndDatePart();
    }

    bool ReadTime(int hour) {
        int minute_second[2] = {};
        for (int i = 0; i < 2 && (At(L':') || At(L'.')); ++i) {
            rest_.remove_prefix(1);
            minute_second[i] = TakeDigits();
            if (minute_second[i] < 0) return false;
        }
        return SetTime(hour, minute_second[0], minute_second[1], TakeHalf());
    }

    bool SetTime(int hour, int minute, int second, char half) {
        if (has_time_ || pending_ || hour > 23 || minute > 59 || second > 59) return false;
        if (!rest_.empty() && !IsBlank(rest_.front())) return false;
        SkipBlanks();
        if (half == 'P' && hour < 12) hour += 12;
        if (half == 'A' && hour == 12) hour = 0;
        has_time_ = true;
        time_ = hour / 24.0 + minute / 1440.0 + second / double{kDaySeconds};
        return true;
    }

    bool ReadWord() {
        const std::wstring_view word = TakeWord();
        if (const int month = Position(word, kMonths); month && !month_) {
            month_ = month;
        } else if (Position(word, kWeekdays) && !weekday_) {
            weekday_ = true;
        } else {
            return false;
        }
        return EndDatePart();
    }

    /// After a part of the date: blanks and at most one separator, which asks for another part.
    bool EndDatePart() {
        const bool blank = !rest_.empty() && IsBlank(rest_.front());
        SkipBlanks();
        pending_ = At(L'/') || At(L'-') || At(L',');
        if (pending_) {
            rest_.remove_prefix(1);
            SkipBlanks();
        }
        return pending_ || blank || rest_.empty() || IsLetter(rest_.front());
    }

    std::optional<double> Day() const {
        const int a = number_[0], b = number_[1], c = number_[2];
        const auto first = [](std::initializer_list<std::optional<double>> days) {
            const auto found =
                std::find_if(days.begin(), days.end(), [](const auto& day) { return day.has_value(); });
            return found == days.end() ? std::nullopt : *found;
        };
        if (numbers_ == 0 && !month_ && !weekday_) return 0;  // a time of day
        if (month_) {
            if (numbers_ == 1) return first({DayOf(CurrentYear(), month_, a), DayOf(a, month_, 1)});
            if (numbers_ == 2) return first({DayOf(b, month_, a), DayOf(a, month_, b)});
            return std::nullopt;
        }
        if (numbers_ == 2) {
            return first(
                {DayOf(CurrentYear(), a, b), DayOf(CurrentYear(), b, a), DayOf(b, a, 1), DayOf(a, b, 1)});
        }
        if (numbers_ == 3) return first({DayOf(c, a, b), DayOf(a, b, c), DayOf(c, b, a), DayOf(a, c, b)});
        return std::nullopt;
    }

    std::wstring_view rest_;
    int number_[3] = {};
    int numbers_ = 0;
    int month_ = 0;
    bool weekday_ = false;
    bool has_time_ = false;
    bool pending_ = false;  // a separator asks for another part
    double time_ = 0;
};

}  // namespace

bool DateToText(double value, std::string* text) {
    if (!IsDate(value)) return false;
    const double whole = std::trunc(value);
    const double fraction = std::fabs(value - whole);
    int day = static_cast<int>(whole);
    int seconds = static_cast<int>(std::floor(fraction * kDaySeconds + 0.5));
    if (seconds == kDaySeconds) {
        seconds = 0;
        ++day;
    }
    const std::chrono::year_month_day date{kDayZero + std::chrono::days{day}};
    if (static_cast<int>(date.year()) > 9999) return false;

    char buffer[64] = "";
    if (whole != 0) {
        std::snprintf(buffer, sizeof buffer, "%u/%u/%d", static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), static_cast<int>(date.year()));
        *text = buffer;
    }
    if (whole != 0 && fraction == 0) return true;
    const int hour = seconds / 3600;
    std::snprintf(buffer, sizeof buffer, "%s%d:%02d:%02d %s", whole != 0 ? " " : "",
                  hour % 12 == 0 ? 12 : hour % 12, seconds / 60 % 60, seconds % 60, hour < 12 ? "AM" : "PM");
    *text += buffer;
    return true;
}

bool TextToDate(std::wstring_view text, double* value) {
    const std::optional<double> date = DateReader(text).Read();
    if (date) *value = *date;
    return date.has_value();
}

}  // namespace bv::platform
