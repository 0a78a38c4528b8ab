#include "qbsvrl6/bind/expression.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <set>
#include <utility>

#include "qbsvrl6/bind/dates.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/error.h"
#include "tests/cases.h"
#include "tests/qbsvrl6/bind/sample_data.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

std::string errorColumn(const std::u16string& expression) {
    try {
        Expression::parse(expression);
        return "";
    } catch (const EngineError& error) {
        EXPECT_EQ(error.code(), ErrorCode::BadExpression) << error.what();
        return std::to_string(error.place().position.column);
    }
}

// These zones have changed their standard time, or had none in the year of a date.
std::string dateInEveryZone(const std::u16string& text) {
    std::set<std::string> shown;
    for (const char* const zone :
         {"UTC", "Europe/Moscow", "Asia/Singapore", "America/Caracas", "Asia/Shanghai"}) {
        setenv("TZ", zone, 1);
        tzset();
        TextArena arena;
        std::int64_t seconds = 0;
        shown.insert(parseDate(text, seconds) ? toUtf8(toText(makeDate(seconds), arena)) : "");
    }
    unsetenv("TZ");
    EXPECT_EQ(shown.size(), 1u) << toUtf8(text);
    return *shown.begin();
}

TEST(Expression, GivesValuesAndErrors) {
    expectCases(QBSVR_SOURCE_DIR "/tests/qbsvrl6/bind/cases/expressions.txt",
                [](const TextCase& one, const std::string& view) {
                    Orders orders(one.data.empty() ? ordersReport() : ReportDefinition(),
                                  one.data.empty() ? kOrders : one.data.c_str());
                    return eachLine(one, [&](const std::string& line) {
                        const std::u16string text = toUtf16(line);
                        return view == "columns" ? errorColumn(text)
                               : view == "dates" ? dateInEveryZone(text)
                                                 : orders.show(u"[" + text + u"]");
                    });
                });
    EXPECT_EQ(errorColumn(std::u16string(200, u'(')), "101");
    EXPECT_EQ(errorColumn(std::u16string(20'000, u'1')), "1");
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
