#include "qbsvrl6/bind/expression.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string_view>
#include <utility>

#include "qbsvrl6/bind/dates.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/error.h"
#include "tests/qbsvrl6/bind/sample_data.h"

namespace qbsvrl6 {
namespace {

struct Case {
    const char16_t* expression;
    const char* shown;  // of the first row of the orders
};

TEST(Expression, GivesValues) {
    const Case cases[] = {
        // Literals and names.
        {u"1.50", "1.5"},
        {u"1e3", "1000"},
        {u".5", "0.5"},
        {u"'it''s'", "it's"},
        {u"\"a\"\"b\"", "a\"b"},
        {u"City", "上海"},
        {u"city", "上海"},
        {u"`City`", "上海"},
        {u"1 * [Price] + [ Count ]", "3.1"},
        {u"Price", "1.10"},
        {u"Company", "蓝海"},
        {u"Limit + 1", "4"},
        {u"Nothing", ""},
        {u"true", "是"},
        {u"null", ""},
        {u"ReportTitle", "订单"},
        // Arithmetic: precedence, null, text that reads as a number, no division by zero, no infinity.
        {u"2 + 3 * 4 - 6 / 2", "11"},
        {u"(2 + 3) * -4", "-20"},
        {u"--2", "2"},
        {u"'12.5' * 2", "25"},
        {u"'x' * 2", ""},
        {u"null + 1", ""},
        {u"1 / 0", ""},
        {u"1e308 * 10", ""},
        {u"1 - 2 - 3", "-4"},
        // Text joins after arithmetic, before comparison.
        {u"1 + 2 & '元' = '3元'", "是"},
        {u"City & null & No", "上海7"},
        // Comparison of numbers, texts, dates, null.
        {u"10 > 9", "是"},
        {u"'10' > '9'", "否"},
        {u"'10' > 9", "是"},
        {u"2 <> 2", "否"},
        {u"'a' <= 'a'", "是"},
        {u"null = ''", "是"},
        {u"null < 0", "是"},
        {u"When = '2024/3/5'", "是"},
        {u"When < '2024-03-06'", "是"},
        {u"Paid = true", "是"},
        {u"Paid = '是'", "是"},
        // Logic looks no further than it has to.
        {u"1 = 1 or 1", "是"},
        {u"false and City", "否"},
        {u"not not Price", "是"},
        {u"not 1 = 2", "是"},
        {u"0 or null or 'x'", "否"},
        {u"true or false and false", "是"},
        {u"If(Price > 1, 'dear', 'cheap')", "dear"},
        {u"If(null, 1, If(0, 2, 3))", "3"},
        // Dates take days.
        {u"When + 30", "2024-04-04"},
        {u"When - Date(2024, 2, 28)", "6"},
        {u"When + 0.5", "2024-03-05 12:00:00"},
        {u"When * 2", ""},
    };
    Orders orders;
    for (const Case& test : cases) {
        EXPECT_EQ(orders.show(u"[" + std::u16string(test.expression) + u"]"), test.shown)
            << toUtf8(test.expression);
    }
}

// What decimals say, not what their binary fractions do.
TEST(Expression, CalculatesInDecimals) {
    const Case cases[] = {
        {u"0.1 + 0.2 = 0.3", "是"},
        {u"0.1 + 0.2", "0.3"},
        {u"0.3 - 0.1 - 0.2 = 0", "是"},
        {u"1.10 = 1.1 and 1e2 = 100 and -0.0 = 0", "是"},
        {u"'1.10' = 1.1 and '0.3' = 0.1 + 0.2 and In(0.1 * 3, 0.3)", "是"},
        {u"0.07 * 100", "7"},
        {u"1.1 * 1.1", "1.21"},
        {u"Price * 0.000001", "0.0000011"},
        {u"-(0.1 * 3) + 0.3", "0"},
        {u"12345678901234567.89 + 0.01", "12345678901234567.9"},
        {u"9007199254740993 = 9007199254740992", "否"},
        {u"9999999999999999999 * 9999999999999999999", "99999999999999999980000000000000000001"},
        {u"0.1 + 1e20 - 1e20", "0.1"},
        // A quotient that ends is a decimal, any other a double.
        {u"0.3 / 3 = 0.1 and 0.7 / 0.07 = 10 and 1 / 8 = 0.125 and -6 / -0.75 = 8", "是"},
        {u"1 / 3 * 3 = 1 and 1 / 3 <> 0.333 and 0.1 / 3 * 3 = 0.1", "是"},
        {u"2 / 3", "0.666666667"},
        {u"98765432109876543.21 / 3", "32921810703292181.07"},
        {u"-98765432109876543.21 / 7", "-14109347444268077.601"},
        {u"Round(123456789012345.67 / 3, 2)", "41152263004115.22"},
        // Beyond what a decimal holds, the nearest double.
        {u"1e308 > 1e307 and 1e-300 > 0 and 1e-300 * 1e300 = 1", "是"},
        {u"1e30 * 1e30 > 9e59 and 1e38 + 1e38 = 2e38", "是"},
        {u"1e308 + 1e308", ""},
        {u"Abs(-0.3) = 0.1 + 0.2 and Floor(-0.5) = -1 and Ceiling(0.7 / 0.1) = 7", "是"},
        {u"Mod(5.5, 0.1) = 0 and Mod(-0.3, 0.7) = 0.4 and Mod(1, 0.1) = 0 and Mod(7, -3) = -2", "是"},
        {u"Power(1.1, 2) = 1.21 and Power(2, -1) = 0.5 and Power(10, 400) = null", "是"},
        {u"Round(1.005, 2) & ' ' & Round(-0.285, 2) & ' ' & Round(2.5 * 0.03, 2)", "1.01 -0.29 0.08"},
        {u"Round(1.00499999999, 2) & ' ' & Round(10000000.005, 2)", "1 10000000.01"},
        {u"Round(0.49999999999999999999) & Round(5e30, -31) / 1e31", "01"},
        {u"Round(201 / 7 * 7 / 200, 2) & ' ' & Round(12345678901.67 / 3, 2)", "1.01 4115226300.56"},
        {u"Floor(1 / 49 * 49)", "1"},
        // What a format shows are the decimal's digits, however many.
        {u"Text(12345678901234567.89, '#,##0.00')", "12,345,678,901,234,567.89"},
        {u"Text(-1234567890123456.785, '#,##0.00;(#,##0.00)')", "(1,234,567,890,123,456.79)"},
        {u"Text(9007199254740993, '0.00')", "9007199254740993.00"},
        {u"Text(100000000.005, '0.00') & ' ' & Text(0.28505, '0.00%')", "100000000.01 28.51%"},
    };
    Orders orders;
    for (const Case& test : cases) {
        EXPECT_EQ(orders.show(u"[" + std::u16string(test.expression) + u"]"), test.shown)
            << toUtf8(test.expression);
    }
}

// Data of many forms: mixed places, texts, exponents, digits that no word and no double holds.
TEST(Expression, SumsDecimalsOfData) {
    constexpr const char* kAmounts = R"([
      {"A": 0.1, "B": "0.10", "W": 12345678901234567890.01, "S": 1e2},
      {"A": 0.2, "B": "0.2", "W": 0.00000000000000001, "S": 100.00},
      {"A": -0.3, "B": "-0.300", "W": -12345678901234567890, "S": "100"},
      {"A": -0.0, "B": "x", "W": 1E-2, "S": 1.5e-7}])";
    const Case cases[] = {
        {u"Sum(A)", "0"},
        {u"Sum(B) = 0 and Sum(A) = Sum(B)", "是"},
        {u"Sum(W)", "0.02000000000000001"},
        {u"Sum(S)", "300.00000015"},
        {u"Average(If(A > 0, A, null))", "0.15"},
        {u"Sum(A, Running)", "0.1"},
        {u"Sum(Abs(A) * 1.5)", "0.9"},
        {u"CountDistinct(A * 10)", "4"},
        {u"CountDistinct(S)", "3"},
        {u"CountDistinct(A - A)", "1"},
        {u"Minimum(A + 0.1) = -0.2", "是"},
        {u"Sum(A / 3) + 1", "1"},
        {u"Sum(1e308)", ""},
        {u"A", "0.1"},
        {u"W", "12345678901234567890.01"},
    };
    Orders orders({}, kAmounts);
    for (const Case& test : cases) {
        EXPECT_EQ(orders.show(u"[" + std::u16string(test.expression) + u"]"), test.shown)
            << toUtf8(test.expression);
    }
}

TEST(Expression, CallsFunctions) {
    const Case cases[] = {
        {u"Upper('abcé é')", "ABCÉ É"},
        {u"Lower('ABC ЖÄ')", "abc жä"},
        {u"'<' & Trim('  a b　') & '>'", "<a b>"},
        {u"Left('中文text', 3)", "中文t"},
        {u"Left('😀😀', 1)", "😀"},
        {u"Left('ab', -1)", ""},
        {u"Right('abc', 2)", "bc"},
        {u"Right('a', 9)", "a"},
        {u"Mid('abcdef', 2, 3)", "bcd"},
        {u"Mid('abc', 2)", "bc"},
        {u"Mid('abc', 9)", ""},
        {u"Length('中😀')", "2"},
        {u"Find('abcabc', 'ca')", "3"},
        {u"Find('abc', 'x')", "0"},
        {u"Replace('aXbX', 'X', '--')", "a--b--"},
        {u"Replace('abc', '', 'x')", "abc"},
        {u"Contains('abc', 'bc') and StartsWith('abc', 'ab') and EndsWith('abc', 'bc')", "是"},
        {u"Text(1234.5, '#,##0.00') & Text(When, 'yyyy年M月')", "1,234.502024年03月"},
        {u"Round(1.005, 2)", "1.01"},
        {u"Round(-2.5)", "-3"},
        {u"Round(1250, -2)", "1300"},
        {u"Abs(-3) + Floor(-1.5) + Ceiling(1.2)", "3"},
        {u"Mod(-1, 7)", "6"},
        {u"Mod(1, 0)", ""},
        {u"Power(2, 10)", "1024"},
        {u"Sqrt(-1)", ""},
        {u"Number(' 42 ')", "42"},
        {u"Number('4,2')", ""},
        {u"Year(When) & '-' & Month(When) & '-' & Day(When)", "2024-3-5"},
        {u"Hour(Now()) & ':' & Minute(Now()) & ':' & Second(Now())", "13:53:49"},
        {u"DayOfWeek(When)", "3"},
        {u"Year('abc')", ""},
        {u"Date('2024年3月5日')", "2024-03-05"},
        {u"Date(2023, 14, 1)", "2024-02-01"},
        {u"Date(2024, 3, 0)", "2024-02-29"},
        {u"Today()", "2024-03-05"},
        {u"AddDays(When, -5)", "2024-02-29"},
        {u"AddMonths(Date(2024, 1, 31), 1)", "2024-02-29"},
        {u"AddMonths(When, -15)", "2022-12-05"},
        {u"AddMonths('2024-03-31 08:30', -1)", "2024-02-29 08:30:00"},
        {u"Date(-1, -1, 1)", "-2-11-01"},
        {u"Date(40000, 1, 1)", ""},
        {u"AddMonths(When, 9999999)", ""},
        {u"IsBlank('  ') and IsBlank(null)", "是"},
        {u"Coalesce(null, '', Nothing, 'x')", "x"},
        {u"In(City, '北京', '上海')", "是"},
    };
    Orders orders;
    for (const Case& test : cases) {
        EXPECT_EQ(orders.show(u"[" + std::u16string(test.expression) + u"]"), test.shown)
            << toUtf8(test.expression);
    }
}

TEST(Expression, TellsFaultsWithTheirColumn) {
    struct Fault {
        std::u16string expression;
        int column;
    };
    const Fault faults[] = {
        {u"", 1},
        {u"1 +", 4},
        {u"1 2", 3},
        {u"(1", 3},
        {u"1 + [x", 5},
        {u"'abc", 1},
        {u"a = b = c", 7},
        {u"Sum(", 5},
        {u"Sum(Price, )", 12},
        {u"Sum(Sum(Price))", 5},
        {u"Left('a')", 1},
        {u"Nope(1)", 1},
        {u"If(1, 2)", 8},
        {u"1 # 2", 3},
        {u"and", 1},
        {u"1e999", 1},
        {std::u16string(200, u'('), 101},
        {std::u16string(20'000, u'1'), 1},
    };
    for (const Fault& fault : faults) {
        const std::string shown = toUtf8(fault.expression.substr(0, 40));
        try {
            Expression::parse(fault.expression);
            ADD_FAILURE() << shown << " was accepted";
        } catch (const EngineError& error) {
            EXPECT_EQ(error.code(), ErrorCode::BadExpression) << shown;
            EXPECT_EQ(error.place().position.column, fault.column) << shown << ": " << error.what();
        }
    }
}

// No zone takes part: these have changed their standard time, or had none in the year of a date.
TEST(Expression, ReadsAndShowsDatesAlikeInEveryZone) {
    const std::pair<std::u16string_view, std::string_view> cases[] = {
        {u"2012-01-10", "2012-01-10"},
        {u" 2012/01/10 ", "2012-01-10"},
        {u"2012年1月10日", "2012-01-10"},
        {u"2012-01-10 14:30", "2012-01-10 14:30:00"},
        {u"2012-01-10T00:00:01", "2012-01-10 00:00:01"},
        {u"1975/7/31", "1975-07-31"},
        {u"1900年12月31日", "1900-12-31"},
        {u"14:30:00 2012-01-10", "2012-01-10 14:30:00"},
        {u"Di, 2012-01-10 (due)", "2012-01-10"},
        {u"2024年十二月5日", "2024-12-05"},
        {u"2024-03", "2024-03-01"},
        {u"2024年3月", "2024-03-01"},
        // Points have the day first, other separators the month.
        {u"10.01.2012", "2012-01-10"},
        {u"am 5. 3. 2024 um 14:30", "2024-03-05 14:30:00"},
        {u"10/01/2012", "2012-10-01"},
        {u"1-10-2012 2:30 pm", "2012-01-10 14:30:00"},
        {u"13/02/2024", ""},
        {u"2012/13/01", ""},
        {u"10.01.12", ""},
        {u"24-03-05", ""},
        {u"1/2/3", ""},
        {u"20240305", ""},
        {u"2024", ""},
        // Days and times that are none.
        {u"2023-02-29", ""},
        {u"2023-02-32", ""},
        {u"2024-00-05", ""},
        {u"2024-03-05 25:00", ""},
        {u"2024-03-05 24:01", ""},
        {u"2024-03-05 24:00", "2024-03-06"},
        {u"2024-03-05 12:60", ""},
        {u"2024-03-05 12:30:60", ""},
        {u"2024-03-05 12", ""},
        {u"2024-03 14:30", ""},
        {u"14:30", ""},
        // Halves of the day, fractions, zones.
        {u"2024-03-05 02:30 PM", "2024-03-05 14:30:00"},
        {u"2024-03-05 12:30:09 a.m.", "2024-03-05 00:30:09"},
        {u"2024-03-05 12:30pm", "2024-03-05 12:30:00"},
        {u"3/5/2024 2 PM", "2024-03-05 14:00:00"},
        {u"2024年3月5日 下午2:30", "2024-03-05 14:30:00"},
        {u"上午 10:05 2024/3/5", "2024-03-05 10:05:00"},
        {u"2024年3月5日下午2时30分09秒", "2024-03-05 14:30:09"},
        {u"2024年3月5日14时", "2024-03-05 14:00:00"},
        {u"2024-03-05 14:30 PM", ""},
        {u"2024-03-05T14:07:09.123+08:00", "2024-03-05 14:07:09"},
        {u"2024-03-05T14:07:09Z", "2024-03-05 14:07:09"},
        {u"2024-03-05T14:07:09 -0500", "2024-03-05 14:07:09"},
        {u"2024-03-05 14:07 2024", ""},
        {u"99999999999-99999999999-1", ""},
        {u"2024-03-0000000000055", ""},
        {u"2024-13-33", ""},
    };
    TextArena arena;
    for (const char* const zone :
         {"UTC", "Europe/Moscow", "Asia/Singapore", "America/Caracas", "Asia/Shanghai"}) {
        setenv("TZ", zone, 1);
        tzset();
        for (const auto& [text, expected] : cases) {
            std::int64_t seconds = 0;
            const bool isDate = parseDate(text, seconds);
            EXPECT_EQ(isDate ? toUtf8(toText(makeDate(seconds), arena)) : "", expected)
                << toUtf8(text) << ' ' << zone;
        }
    }
    unsetenv("TZ");
}

// Hostile texts end in an error or a value, in reasonable time.
TEST(Expression, BearsHostileFields) {
    ReportDefinition report = ordersReport();
    report.fields.push_back({u"f0", DataType::Number, u"Price"});
    report.fields.push_back({u"t0", DataType::Text, u"City"});
    for (int i = 1; i < 60; ++i) {
        const std::u16string before = toUtf16(std::to_string(i - 1));
        const std::u16string own = toUtf16(std::to_string(i));
        report.fields.push_back({u"f" + own, DataType::Number, u"f" + before + u" + f" + before});
        report.fields.push_back({u"t" + own, DataType::Text, u"t" + before + u" & t" + before});
    }
    report.fields.push_back({u"Loop", DataType::Number, u"1 + Back"});
    report.fields.push_back({u"Back", DataType::Number, u"Loop"});
    report.fields.push_back({u"Nested", DataType::Number, u"Sum(Share)"});
    Orders orders(std::move(report));
    EXPECT_EQ(orders.show(u"[f20]"), "1153433.6");
    EXPECT_EQ(orders.show(u"[f59 > 1e16]"), "是");
    EXPECT_THROW(orders.show(u"[t59]"), EngineError);
    EXPECT_THROW(orders.show(u"[Loop]"), EngineError);
    EXPECT_EQ(orders.show(u"[Round(Sum(Nested, Report), 2)]"), "-3.88");
    EXPECT_NO_THROW(orders.show(u"[AddDays(Date(9999999, 1, 1), 9999999)][Year(Date(9999999, 1, 1))]"));
    std::u16string many = u"1";
    for (int i = 0; i < 4000; ++i) many += u"+1";
    EXPECT_EQ(orders.show(u"[" + many + u"]"), "4001");
}

}  // namespace
}  // namespace qbsvrl6
