// The local time, and formats of dates and times.
#include <sys/time.h>

#include <chrono>
#include <ctime>
#include <string_view>

#include "automation/calendar.h"
#include "stringapiset.h"
#include "winbase.h"
#include "winerror.h"
#include "winnls.h"

namespace {

using bv::platform::kMonths;
using bv::platform::kShortName;
using bv::platform::kWeekdays;

constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;

/// Text into the caller's buffer as far as it goes, counted to the end.
class Writer {
public:
    Writer(char* buffer, int size) : buffer_(buffer), size_(static_cast<std::size_t>(size)) {}

    void Put(char c) {
        if (used_ < size_) buffer_[used_] = c;
        ++used_;
    }
    void Put(std::string_view text) {
        for (const char c : text) Put(c);
    }
    void Number(int value, int least_digits) {
        char digits[8];
        char* at = digits + sizeof digits;
        for (; value > 0 || least_digits > 0; value /= 10, --least_digits)
            *--at = static_cast<char>('0' + value % 10);
        Put(std::string_view(at, static_cast<std::size_t>(digits + sizeof digits - at)));
    }
    /// Ends the text. What the call gives: its length with the NUL, or 0 for no room.
    int Finish() {
        Put('\0');
        if (used_ > INT32_MAX || (size_ != 0 && used_ > size_)) {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return 0;
        }
        return static_cast<int>(used_);
    }

private:
    char* buffer_;
    std::size_t size_;
    std::size_t used_ = 0;
};

/// Walks through a format: quoted text and other characters go out, runs of a letter go to put(letter,
/// length), which gives false for a letter that it has no meaning for.
template <typename PutField>
int FormatFields(const char* format, Writer out, PutField put) {
    while (*format) {
        const char c = *format;
        if (c == '\'') {
            ++format;
            for (; *format; ++format) {
                if (*format == '\'' && *++format != '\'') break;
                out.Put(*format);
            }
            continue;
        }
        int length = 1;
        while (format[length] == c) ++length;
        if (!put(out, c, length)) {
            for (int i = 0; i < length; ++i) out.Put(c);
        }
        format += length;
    }
    return out.Finish();
}

int Twelve(int hour) { return hour % 12 == 0 ? 12 : hour % 12; }

/// The checks that both calls make. False with the last error set.
bool CanFormat(DWORD flags, const void* buffer, int size, bool valid) {
    if (flags != 0) {
        SetLastError(ERROR_INVALID_FLAGS);
        return false;
    }
    if (size < 0 || (size > 0 && !buffer) || !valid) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    return true;
}

SYSTEMTIME Now() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return now;
}

int FormatDate(DWORD flags, const SYSTEMTIME& when, const char* format, char* buffer, int size) {
    const std::chrono::year_month_day date{std::chrono::year{when.wYear}, std::chrono::month{when.wMonth},
                                           std::chrono::day{when.wDay}};
    const bool valid = when.wYear >= kFirstYear && when.wYear <= kLastYear && date.ok();
    if (!CanFormat(flags, buffer, size, valid)) return 0;
    const std::string_view weekday =
        kWeekdays[std::chrono::weekday{std::chrono::sys_days{date}}.c_encoding()];
    const std::string_view month = kMonths[when.wMonth - 1];
    return FormatFields(format, Writer(buffer, size), [&](Writer& out, char letter, int length) {
        switch (letter) {
            case 'd':
                if (length > 2) {
                    out.Put(length == 3 ? weekday.substr(0, kShortName) : weekday);
                } else {
                    out.Number(when.wDay, length);
                }
                return true;
            case 'M':
                if (length > 2) {
                    out.Put(length == 3 ? month.substr(0, kShortName) : month);
                } else {
                    out.Number(when.wMonth, length);
                }
                return true;
            case 'y':
                out.Number(length > 2 ? when.wYear : when.wYear % 100, length > 2 ? 4 : 2);
                return true;
            case 'g':
                for (; length > 0; --length) out.Put("AD");  // each letter is an era of its own
                return true;
            default:
                return false;
        }
    });
}

int FormatTime(DWORD flags, const SYSTEMTIME& when, const char* format, char* buffer, int size) {
    const bool valid = when.wHour < 24 && when.wMinute < 60 && when.wSecond < 60 && when.wMilliseconds < 1000;
    if (!CanFormat(flags, buffer, size, valid)) return 0;
    return FormatFields(format, Writer(buffer, size), [&](Writer& out, char letter, int length) {
        const int digits = length > 1 ? 2 : 1;
        switch (letter) {
            case 'h':
                out.Number(Twelve(when.wHour), digits);
                return true;
            case 'H':
                out.Number(when.wHour, digits);
                return true;
            case 'm':
                out.Number(when.wMinute, digits);
                return true;
            case 's':
                out.Number(when.wSecond, digits);
                return true;
            case 't':
                out.Put(std::string_view(when.wHour < 12 ? "AM" : "PM").substr(0, length > 1 ? 2 : 1));
                return true;
            default:
                return false;
        }
    });
}

}  // namespace

void GetLocalTime(LPSYSTEMTIME lpSystemTime) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    std::tm local = {};
    localtime_r(&now.tv_sec, &local);
    *lpSystemTime = {static_cast<WORD>(local.tm_year + 1900), static_cast<WORD>(local.tm_mon + 1),
                     static_cast<WORD>(local.tm_wday),        static_cast<WORD>(local.tm_mday),
                     static_cast<WORD>(local.tm_hour),        static_cast<WORD>(local.tm_min),
                     static_cast<WORD>(local.tm_sec),         static_cast<WORD>(now.tv_usec / 1000)};
}

int GetDateFormatA(LCID, DWORD dwFlags, const SYSTEMTIME* lpDate, LPCSTR lpFormat, LPSTR lpDateStr,
                   int cchDate) {
    return FormatDate(dwFlags, lpDate ? *lpDate : Now(), lpFormat ? lpFormat : "M/d/yyyy", lpDateStr,
                      cchDate);
}

int GetTimeFormatA(LCID, DWORD dwFlags, const SYSTEMTIME* lpTime, LPCSTR lpFormat, LPSTR lpTimeStr,
                   int cchTime) {
    return FormatTime(dwFlags, lpTime ? *lpTime : Now(), lpFormat ? lpFormat : "h:mm:ss tt", lpTimeStr,
                      cchTime);
}
