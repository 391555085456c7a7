// Dates and times through pictures.
#include <windows.h>
//
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <ctime>
#include <string>

namespace {

constexpr SYSTEMTIME kMoment = {2024, 2, 1, 5, 14, 7, 9, 123};  // a Monday

/// What one of the two calls makes of a format; "error N" for a failure.
template <class Call>
std::string TextOf(Call call, const SYSTEMTIME& when, const char* format) {
    char buffer[128];
    SetLastError(NO_ERROR);
    const int size = call(0, 0, &when, format, buffer, sizeof buffer);
    if (size == 0) return "error " + std::to_string(GetLastError());
    EXPECT_EQ(static_cast<std::size_t>(size), std::strlen(buffer) + 1);
    return buffer;
}
std::string DateText(const SYSTEMTIME& when, const char* format) {
    return TextOf(GetDateFormatA, when, format);
}
std::string TimeText(const SYSTEMTIME& when, const char* format) {
    return TextOf(GetTimeFormatA, when, format);
}

struct Case {
    const char* format;
    const char* text;
};

TEST(DatePicture, LettersStandForPartsOfTheDate) {
    const Case cases[] = {{"d:MM:yyyy", "5:02:2024"},
                          {"dd ddd dddd ddddd", "05 Mon Monday Monday"},
                          {"M MM MMM MMMM", "2 02 Feb February"},
                          {"y yy yyy yyyy yyyyy", "24 24 2024 2024 2024"},
                          {"g gg yyyy", "AD ADAD 2024"},
                          {"MMMMM dddddd yyyyyy", "February Monday 2024"},
                          {"gg 'gg'", "ADAD gg"},
                          {"dMy", "5224"},
                          {"", ""},
                          {"D Y h:m t", "D Y h:m t"},
                          {"%d", "%5"},
                          {"\\d \"d\"", "\\5 \"5\""},
                          {"'day' d", "day 5"},
                          {"d, MMM 'of' yy", "5, Feb of 24"},
                          {"'it''s' d", "it's 5"},
                          {"'open d", "open d"},
                          {"''", ""},
                          {"''''d", "'5"},
                          {"d''d", "55"}};
    for (const Case& c : cases) EXPECT_EQ(DateText(kMoment, c.format), c.text) << c.format;

    EXPECT_EQ(DateText({2005, 12, 0, 31, 0, 0, 0, 0}, "ddd y MMMM"),
              "Sat 05 December");  // the weekday is worked out
    EXPECT_EQ(DateText({1601, 1, 0, 1, 0, 0, 0, 0}, "d.M.yyyy"), "1.1.1601");
    for (const SYSTEMTIME& none :
         {SYSTEMTIME{2024, 13, 0, 5, 0, 0, 0, 0}, SYSTEMTIME{2024, 0, 0, 5, 0, 0, 0, 0},
          SYSTEMTIME{2024, 2, 0, 30, 0, 0, 0, 0}, SYSTEMTIME{2024, 1, 0, 0, 0, 0, 0, 0},
          SYSTEMTIME{1600, 1, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{65535, 1, 0, 1, 0, 0, 0, 0}}) {
        EXPECT_EQ(DateText(none, "d"), "error 87");
    }
}

TEST(TimePicture, LettersStandForPartsOfTheTime) {
    const Case cases[] = {{"h:mm:ss", "2:07:09"},
                          {"hh hhh H HH HHH", "02 02 14 14 14"},
                          {"m mm s ss", "7 07 9 09"},
                          {"t tt ttt", "P PM PM"},
                          {"h 'o''clock' t", "2 o'clock P"},
                          {"HH'h'mm", "14h07"},
                          {"d M y S", "d M y S"},
                          {"", ""},
                          {"HHHH mmm sss tttt g", "14 07 09 PM g"},
                          {"h''h '''H'", "22 'H"},
                          {"'x", "x"}};
    for (const Case& c : cases) EXPECT_EQ(TimeText(kMoment, c.format), c.text) << c.format;

    EXPECT_EQ(TimeText({0, 0, 0, 0, 0, 0, 0, 0}, "h H tt"), "12 0 AM");  // the date is not looked at
    EXPECT_EQ(TimeText({0, 0, 0, 0, 12, 0, 0, 0}, "h H tt"), "12 12 PM");
    for (const SYSTEMTIME& none :
         {SYSTEMTIME{2024, 1, 0, 1, 24, 0, 0, 0}, SYSTEMTIME{2024, 1, 0, 1, 0, 60, 0, 0},
          SYSTEMTIME{2024, 1, 0, 1, 0, 0, 60, 0}, SYSTEMTIME{2024, 1, 0, 1, 0, 0, 0, 1000}}) {
        EXPECT_EQ(TimeText(none, "h"), "error 87");
    }
}

TEST(DatePicture, BufferSizes) {
    char buffer[16] = "";
    EXPECT_EQ(GetDateFormatA(0, 0, &kMoment, "d:MM:yyyy", nullptr, 0), 10);
    EXPECT_EQ(GetDateFormatA(0, 0, &kMoment, "d:MM:yyyy", buffer, 10), 10);
    EXPECT_STREQ(buffer, "5:02:2024");
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(GetDateFormatA(0, 0, &kMoment, "d:MM:yyyy", buffer, 9), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(buffer[9], '#');
    EXPECT_EQ(GetTimeFormatA(0, 0, &kMoment, "HH", nullptr, 3), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(GetDateFormatA(0, 0, &kMoment, "d", buffer, -1), 0);
}

TEST(LocalTime, IsNow) {
    SYSTEMTIME now = {};
    std::time_t before = 0;
    do {  // the clock may go on between
        before = std::time(nullptr);
        GetLocalTime(&now);
    } while (std::time(nullptr) != before);
    using namespace std::chrono;
    const sys_days today = year{now.wYear} / month{now.wMonth} / day{now.wDay};
    EXPECT_NEAR(double(today.time_since_epoch().count()), double(before / 86400), 1) << "in any time zone";
    EXPECT_EQ(now.wSecond, before % 60);
    char buffer[16];
    ASSERT_NE(GetDateFormatA(0, 0, nullptr, "yyyy", buffer, sizeof buffer), 0);
    EXPECT_NEAR(std::stoi(buffer), now.wYear, 1);
}

}  // namespace
