#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <random>

#include "larkspur.h"

namespace larkspur {
namespace {

// Sets the time zone of the process during its lifetime.
struct TimeZone {
    explicit TimeZone(const char* name) { set(name); }
    ~TimeZone() { set("UTC"); }
    static void set(const char* name) {
        setenv("TZ", name, 1);
        tzset();
    }
};

// Zones with summer time in both hemispheres, and with standard times that have changed.
const char* const kZones[] = {"UTC",           "America/New_York",  "Europe/Berlin",   "Asia/Shanghai",
                              "Europe/Moscow", "Africa/Casablanca", "America/Caracas", "Australia/Lord_Howe"};

// "2024-3-5 14:7:9", or "none" for a value that wasn't accepted.
str show(const ClkDateTime& value, bool ok = true) {
    if (!ok) return value.m_Time == 0 ? "none" : "none, but a value";
    int year, month, day, hour, minute, second;
    value.Decode(year, month, day, hour, minute, second);
    return i2str(year) + "-" + i2str(month) + "-" + i2str(day) + " " + i2str(hour) + ":" + i2str(minute) +
           ":" + i2str(second);
}

ClkDateTime dateTime(int year, int month, int day, int hour, int minute, int second) {
    ClkDateTime value;
    EXPECT_TRUE(value.SetDateTime(year, month, day, hour, minute, second));
    return value;
}

TEST(DateTime, WallClockIsTheSameInEveryZone) {
    for (const char* name : kZones) {
        const TimeZone zone(name);
        // Daylight saving in both hemispheres, and hours that the change to it skips or repeats.
        for (const auto& [month, day, hour] :
             {std::tuple(1, 15, 12), {7, 15, 12}, {3, 10, 2}, {3, 31, 2}, {11, 3, 1}}) {
            const ClkDateTime value = dateTime(2024, month, day, hour, 30, 0);
            EXPECT_EQ(show(value), "2024-" + i2str(month) + "-" + i2str(day) + " " + i2str(hour) + ":30:0")
                << name;
        }
        for (const int year : {-4712, 0, 1, 1582, 1900, 1945, 1975, 1981, 2012, 2015, 9999}) {
            ClkDateTime value;
            for (const int month : {1, 7}) {
                EXPECT_TRUE(value.SetDate(year, month, 10));
                EXPECT_EQ(show(value), i2str(year) + "-" + i2str(month) + "-10 0:0:0") << name;
            }
        }
        ClkDateTime time;
        EXPECT_TRUE(time.SetTime(8, 30, 0));
        EXPECT_EQ(show(time), "1899-12-30 8:30:0") << name;
        const ClkDateTime friday = dateTime(2024, 3, 1, 12, 0, 0);
        EXPECT_EQ(friday.m_Time, 1709294400) << name;
        EXPECT_EQ(friday.GetDayOfWeek(), 6);
        EXPECT_EQ(friday.GetDayOfYear(), 61);
        std::tm tm = {};
        tm.tm_year = 2024 - 1900;
        tm.tm_mon = 6;
        tm.tm_mday = 32;
        EXPECT_EQ(_mkgmtime(&tm), 1722470400) << name;
        EXPECT_EQ(tm.tm_mday, 1);
    }
}

TEST(DateTime, ArithmeticAndRollOver) {
    ClkDateTime value;
    EXPECT_EQ(show(value), "1970-1-1 0:0:0");
    EXPECT_TRUE(value.SetDate(2023, 2, 30));
    EXPECT_EQ(show(value), "2023-3-2 0:0:0");
    value = dateTime(2024, 2, 28, 12, 34, 56);
    value.GetDay();
    value.IncDays(1);
    EXPECT_EQ(show(value), "2024-2-29 12:34:56");
    EXPECT_TRUE(value.TrimToDate());
    EXPECT_EQ(show(value), "2024-2-29 0:0:0");
    EXPECT_FALSE(value.SetDateTime(1969, 12, 31, 23, 59, 59));
    EXPECT_EQ(ClkDateTime::FloatToDateTime(1.5), 129600);
    EXPECT_EQ(ClkDateTime::FloatToDateTime(-0.00001), 0);
    EXPECT_EQ(ClkDateTime::FloatToDateTime(-1e300), INT64_MIN);
    EXPECT_EQ(ClkDateTime::IntToDateTime(INT_MAX), 185542587100800);
    EXPECT_EQ(ClkDateTime::DateTimeToFloat(129600), 1.5);
    value.m_Time = INT64_MAX;
    value.IncDays(INT_MAX);
    value.SetDateTime(INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN);
    const TimeZone zone("Asia/Shanghai");
    EXPECT_NEAR(static_cast<double>(ClkDateTime::CurrentTime() - std::time(nullptr)), 28800, 2);
}

// Fields near the ends of their ranges and beyond; a year at the ends of int; every daylight flag.
TEST(DateTime, EncodesAsTheLibraryDoesInUtc) {
    const TimeZone zone("UTC");
    std::mt19937_64 random(20240305);
    const auto field = [&](int low, int high) {
        switch (random() % 16) {
            case 0:
                return INT_MIN + static_cast<int>(random() % 3);
            case 1:
                return INT_MAX - static_cast<int>(random() % 3);
            default:
                return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
        }
    };
    for (int i = 0; i < 10000; ++i) {
        std::tm expected = {};
        expected.tm_year = field(-3000, 3000);
        expected.tm_mon = field(-13, 24);
        expected.tm_mday = field(-1, 33);
        expected.tm_hour = field(-1, 25);
        expected.tm_min = field(-1, 61);
        expected.tm_sec = field(-2, 62);
        expected.tm_isdst = static_cast<int>(random() % 4) / 2 * field(-1, 1);
        const std::tm fields = expected;
        std::tm actual = fields;
        const std::int64_t time = std::mktime(&expected);
        ASSERT_EQ(_mkgmtime(&actual), time) << i;
        for (const auto part :
             {&std::tm::tm_year, &std::tm::tm_mon, &std::tm::tm_mday, &std::tm::tm_hour, &std::tm::tm_min,
              &std::tm::tm_sec, &std::tm::tm_wday, &std::tm::tm_yday, &std::tm::tm_isdst})
            ASSERT_EQ(actual.*part, expected.*part) << i;
    }
}

TEST(DateTime, DecodesAsTheLibraryDoes) {
    std::mt19937_64 random(20240305);
    for (int i = 0; i < 20000; ++i) {
        ClkDateTime value;
        value.m_Time = static_cast<std::int64_t>(random()) >> (random() % 64);
        const time_t time = value.m_Time;
        std::tm tm = {};
        if (gmtime_r(&time, &tm) == nullptr) {
            EXPECT_THROW(value.DoDecode(), ClkException) << time;
            EXPECT_EQ(show(value), "1900-1-0 0:0:0") << time;
            continue;
        }
        if (tm.tm_year > INT_MAX - 1900) continue;
        ASSERT_EQ(show(value), i2str(tm.tm_year + 1900) + "-" + i2str(tm.tm_mon + 1) + "-" +
                                   i2str(tm.tm_mday) + " " + i2str(tm.tm_hour) + ":" + i2str(tm.tm_min) +
                                   ":" + i2str(tm.tm_sec))
            << time;
        ASSERT_EQ(value.GetDayOfWeek(), tm.tm_wday + 1) << time;
        ASSERT_EQ(value.GetDayOfYear(), tm.tm_yday + 1) << time;
        // The fast path for digit fields gives the same text as the library.
        constexpr wchar_t kFields[] = L"%Y/%#y-%m-%d年T%#H:%I:%M:%S";
        wchar_t expected[128];
        ASSERT_NE(std::wcsftime(expected, std::size(expected), kFields, &tm), 0U);
        ASSERT_EQ(value.Format(lkstr_fromw(kFields).c_str()), lkstr_fromw(expected)) << time;
        ASSERT_EQ(FormatDateTime(value, u"yyyy//yy-MM-dd年THH:hh:mm:ss"), lkstr_fromw(expected)) << time;
    }
}

TEST(DateTimeFormat, TranslatesAndFormats) {
    const struct {
        const lkchar* format;
        const lkchar* cFormat;
        const lkchar* expected;
    } cases[] = {
        {u"yyyy/MM/dd", u"%Y-%m-%d", u"2024-03-05"},
        {u"yyyy//MM///", u"%Y/%m/-", u"2024/03/-"},
        {u"yyyyy yyy yy.M.d", u"%Y %#Y %y.%#m.%#d", u"2024 2024 24.03.05"},
        {u"HH:mm:ss", u"%H:%M:%S", u"14:07:09"},
        {u"H:m:s hhh", u"%#H:%#M:%#S ", u"14:07:09 "},
        {u"hh:mm tt h", u"%I:%M %p %#I", u"02:07 PM 02"},
        {u"yyyy年MM月dd日", u"%Y年%m月%d日", u"2024年03月05日"},
        {u"dddd ddd", u"%A %a", u"Tuesday Tue"},
        {u"MMMMM MMM mmmm", u"%B %b %B", u"March Mar March"},
        {u"mmm", u"%b", u"Mar"},
        {u"%d %t", u"%x %X", u"03/05/24 14:07:09"},
        {u"%g", u"%c", u"Tue Mar  5 14:07:09 2024"},
        {nullptr, u"%c", u"Tue Mar  5 14:07:09 2024"},
        {u"sssHHH", u"%c", u"Tue Mar  5 14:07:09 2024"},
        {u"%j%n%%", u"%j%n%%", u"065\n%"},
        {u"%Z", u"%Z", u"GMT"},
    };
    const ClkDateTime value = dateTime(2024, 3, 5, 14, 7, 9);
    for (const auto& c : cases) {
        ClkDateTimeFormatParser parser;
        parser.Parse(c.format);
        EXPECT_EQ(parser.m_CFormat, c.cFormat);
        EXPECT_EQ(parser.m_HasMonthInMinuteRun, parser.m_FormatText.find(u"mmm") != lkstr::npos);
        EXPECT_EQ(FormatDateTime(value, c.format), c.expected) << UnicodeTextToPrintf(parser.m_CFormat);
    }
    g_c_DateSep = u"::";
    EXPECT_EQ(FormatDateTime(value, u"yyyy/MM/dd"), u"2024::03::05") << "shown before with another separator";
    g_c_DateSep = u"-";
    const lkstr longText(1000, u'T');
    EXPECT_EQ(FormatDateTime(value, longText.substr(0, 64).c_str()), longText.substr(0, 64));
    EXPECT_EQ(value.Format((longText + u"%A").c_str()), longText + u"Tuesday");
    EXPECT_EQ(value.Format(u"%999999999d"), u"");
}

TEST(DateTimeFormat, Precision) {
    const std::pair<const lkchar*, int> cases[] = {
        {nullptr, 5},  {u"", 5},      {u"ss", 5},
        {u"hh", 5},    {u"yyyy", 0},  {u"yyyy-MM", 1},
        {u"MM-dd", 2}, {u"dd HH", 3}, {u"yyyy-MM-dd HH:mm:ss", 4},
    };
    for (const auto& [format, precision] : cases) EXPECT_EQ(DecodeDateTimeFormatPrecision(format), precision);
}

TEST(DateTimeParse, FindsTheOrder) {
    const std::pair<const lkchar*, const char*> cases[] = {
        {u"2024-03-05", "2024-3-5 0:0:0"},
        {u"2024.3.5", "2024-3-5 0:0:0"},
        {u"2024-03-05T12:34:56.789", "2024-3-5 12:34:56"},
        {u"2024-03-05 12:34", "2024-3-5 12:34:0"},
        {u"2024-03-05 12", "2024-3-5 12:0:0"},
        {u"12:34:56 2024-03-05", "2024-3-5 12:34:56"},
        {u"12:34:56 2024年十月", "none"},
        {u"12:34:56 2024-12", "2024-12-12 12:34:56"},
        {u"1:2:3二2024-15", "2024-2-15 1:2:3"},
        {u"01/02/2024", "2024-1-2 0:0:0"},
        {u"13/02/2024", "2024-2-13 0:0:0"},
        {u"2024-13-05", "2024-5-13 0:0:0"},
        {u"2024-12-31", "2024-12-31 0:0:0"},
        {u"2024-03", "2024-3-3 0:0:0"},
        {u"2024年3月5日", "2024-3-5 0:0:0"},
        {u"2024年三月5日", "2024-3-5 0:0:0"},
        {u"2024年十月5日", "2024-10-5 0:0:0"},
        {u"2024年十一月5日", "2024-11-5 0:0:0"},
        {u"2024年十二月5日", "2024-12-5 0:0:0"},
        {u"2024-02-30", "2024-3-1 0:0:0"},
        {u"24-03-05", "24-3-5 0:0:0"},
        {u"1/2/3", "1-2-3 0:0:0"},
        {u"24/5年十二", "24-12-5 0:0:0"},
        {u"2012年1月10日", "2012-1-10 0:0:0"},
        {u"12:34:56", "none"},
        {u"2024", "none"},
        {u"2024-20", "none"},
        {u"2024-13-13", "none"},
        {u"2024-00-05", "none"},
        {u"20240305", "none"},
        {u"2024年十二月", "none"},
        {u"99999999999-99999999999-1", "none"},
        {u"abc", "none"},
        {u"", "none"},
        {nullptr, "none"},
    };
    const auto parse = [](const lkchar* text) {
        bool ok = true;
        const ClkDateTime value = ParseDateTime(text, ok);
        return show(value, ok);
    };
    for (const char* name : kZones) {
        const TimeZone zone(name);
        for (const auto& [text, expected] : cases) {
            EXPECT_EQ(parse(text), expected) << UnicodeTextToPrintf(text) << " in " << name;
        }
    }
}

TEST(BooleanFormat, SplitsAtTheFirstColon) {
    const struct {
        const lkchar *format, *trueText, *falseText;
    } cases[] = {{nullptr, u"是", u"否"}, {u"真:假", u"真", u"假"}, {u"是", u"是", u""},
                 {u":否", u"", u"否"},    {u"a:b:c", u"a", u"b:c"}, {u"", u"是", u"否"}};
    ClkBooleanFormatParser parser;
    for (const auto& c : cases) {
        parser.Parse(c.format);
        EXPECT_EQ(parser.m_TrueText, c.trueText);
        EXPECT_EQ(parser.m_FalseText, c.falseText);
    }
}

}  // namespace
}  // namespace larkspur
