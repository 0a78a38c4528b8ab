#include "qbsvrl6/api/chart_data.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

std::string describe(const ChartData& data) {
    std::ostringstream text;
    for (const std::u16string& category : data.categories) text << toUtf8(category) << ' ';
    for (const ChartSeries& series : data.series) {
        text << "| " << toUtf8(series.label) << ':';
        for (const double value : series.values) text << ' ' << value;
        for (const ChartPoint& point : series.points)
            text << " (" << point.x << ' ' << point.y << ' ' << point.size << ')';
        text << ' ';
    }
    return text.str();
}

ChartData present() {
    ChartData data;
    data.categories = {u"old"};
    data.series = {{u"甲", {9}, {}}, {u"乙", {8}, {}}, {u"丙", {7}, {}}};
    return data;
}

TEST(ChartData, ReadsRowsInTheirForms) {
    struct Case {
        const char* xml;
        ChartDataUse use;
        const char* expected;
    };
    const char* kLong =
        "<Chart><Row><Category>Q1</Category><Series>A</Series><Value> 1.5 </Value></Row>"
        "<Row><Category>Q2</Category><Series>B</Series><Value>12abc</Value></Row>"
        "<Row><Category>Q1</Category><Series>B</Series><Value>-2e1</Value></Row></Chart>";
    const Case cases[] = {
        {kLong, {}, "Q1 Q2 | A: 1.5 0 | B: -20 0 "},
        {"<Chart><Row Category='Q1' A='1' B='2'/><Row Category='Q2' A='3'/></Chart>",
         {},
         "Q1 Q2 | A: 1 3 | B: 2 0 "},
        {"<c><r category='Q1' value='+1'/><r category='Q2' value='1,234.5'/></c>", {}, "Q1 Q2 | : 1 1234.5 "},
        {kLong, {false, false, true}, "Q1 Q2 | 甲: 1.5 0 | 乙: -20 0 | 丙: "},
        {kLong, {false, true, false}, "old | A: 1.5 0 | B: -20 0 | 丙: "},
        {kLong, {true, false, false}, "old | 甲: 1.5 0 | 乙: -20 0 "},
    };
    for (const Case& test : cases) {
        ChartData data = present();
        readChartValues(toUtf16(test.xml), test.use, data);
        EXPECT_EQ(describe(data), test.expected) << test.xml;
    }
}

TEST(ChartData, ReadsPoints) {
    const std::u16string xml =
        u"<Chart><Row Series='A' X='1' Y='2' Size='3'/><Row Series='B' X='4' Y='5' Size='6'/>"
        u"<Row Series='A' X='7' Y='8' Size='9'/></Chart>";
    ChartData data = present();
    readChartPoints(xml, true, true, data);
    EXPECT_EQ(describe(data), "| A: (1 2 3) (7 8 9) | B: (4 5 6) ");
    data = present();
    readChartPoints(xml, false, false, data);
    EXPECT_EQ(describe(data), "| 甲: (1 2 0) (7 8 0) | 乙: (4 5 0) ");
}

TEST(ChartData, ReadsTheExamplesOfItsDescription) {
    std::ostringstream text;
    text << std::ifstream(QBSVR_SOURCE_DIR "/docs/chart-data.md").rdbuf();
    const std::string document = text.str();
    std::string all;
    for (std::size_t at = document.find("## A program");
         (at = document.find("```xml\n", at)) != std::string::npos;) {
        at += 7;
        const std::u16string example = toUtf16(document.substr(at, document.find("```", at) - at));
        ChartData data;
        if (example.find(u" X=") == std::u16string::npos) {
            readChartValues(example, {}, data);
        } else {
            readChartPoints(example, true, true, data);
        }
        all += describe(data) + "\n";
    }
    EXPECT_EQ(all,
              "一季度 二季度 | 2023: 12 15.5 | 2024: 14 0 \n"
              "一季度 二季度 | North: 12 15.5 | South: 14 18 \n"
              "| A: (1 2.5 3) (2 4 1) \n");
}

TEST(ChartData, FaultsLeaveTheChartAsItWas) {
    std::string many = "<Chart>";
    for (int i = 0; i < 1100; ++i) many += "<Row Category='a' Series='" + std::to_string(i) + "' Value='1'/>";
    for (const std::string& xml : {std::string(""), std::string("<Chart>"), std::string("<Chart/>"),
                                   std::string("<Chart><Row Category='a' Value='1'/>"), many + "</Chart>"}) {
        ChartData data = present();
        EXPECT_THROW(readChartValues(toUtf16(xml), {}, data), EngineError) << xml.substr(0, 60);
        EXPECT_THROW(readChartPoints(toUtf16(xml), true, true, data), EngineError) << xml.substr(0, 60);
        EXPECT_EQ(describe(data), describe(present()));
    }
}

}  // namespace
}  // namespace qbsvrl6
