#include <gtest/gtest.h>

#include <sstream>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/template_io.h"
#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

// Writes down each chart that is drawn: "title: a b; label 1 2; label (x,y,size)".
class ChartNotes : public DrawingSource {
public:
    std::shared_ptr<const Drawing> barcode(const Control&, std::u16string_view, const Rect&) override {
        return nullptr;
    }
    std::shared_ptr<const Drawing> chart(const Control&, const ChartSettings& settings, const ChartData& data,
                                         const Rect&) override {
        std::ostringstream note;
        note << toUtf8(settings.title) << ':';
        for (const std::u16string& name : data.categories) note << ' ' << toUtf8(name);
        for (const ChartSeries& series : data.series) {
            note << "; " << toUtf8(series.label);
            for (const double value : series.values) note << ' ' << value;
            for (const ChartPoint& p : series.points)
                note << " (" << p.x << ',' << p.y << ',' << p.size << ')';
        }
        notes.push_back(note.str());
        return nullptr;
    }

    std::vector<std::string> notes;
};

using Notes = std::vector<std::string>;

Notes chartsOf(const std::string& elements, const std::string& json) {
    ChartNotes source;
    LayoutOptions options;
    options.drawings = &source;
    layOutText(elements, json, options);
    return source.notes;
}

std::string inHeader(const std::string& chart) {
    return "<ReportHeader height='50mm'>" + chart + "</ReportHeader>";
}

constexpr const char* kSales = R"({"Year": 2024,
  "Sales": [
    {"City": "A", "Day": "2024-01-30", "Kind": "x", "Amount": 1.5, "No": 7},
    {"City": "A", "Day": "2024-02-02", "Kind": "y", "Amount": 2, "No": "8"},
    {"City": "A", "Day": "2024-01-31", "Kind": "x", "Amount": null, "No": "-"},
    {"City": "B", "Day": "2024-02-29", "Kind": "x", "Amount": "4", "No": 9},
    {"City": "B", "Day": "", "Kind": "y", "Amount": "many", "No": 1},
    {"City": "B", "Day": "2024-02-01", "Kind": "x", "Amount": -1, "No": null}],
  "Costs": [{"Place": "B", "Cost": 10}, {"Place": "A", "Cost": 20}, {"Place": "B", "Cost": 30}],
  "None": []})";

TEST(ChartRows, BecomeNumbers) {
    const struct {
        const char* chart;
        Notes expected;
    } cases[] = {
        {"<Chart category='[City]'><Series label='S' value='Amount'/></Chart>", {": A B; S 3.5 3"}},
        {"<Chart category='[Kind]/[City]' title='[Year]'><Series value='Amount * 2'/></Chart>",
         {"2024: x/A y/A x/B y/B;  3 4 6 0"}},
        {"<Chart category='[Day:yyyy-MM]'><Series label='[City] [[1]' value='Amount'/></Chart>",
         {": 2024-01 2024-02 ; A [1] 1.5 2 0; B [1] 0 3 0"}},
        {"<Chart category='[City]'><Series label='s' value='No'/><Series label='a' value='No' "
         "aggregate='average'/><Series label='n' value='No' aggregate='minimum'/><Series label='x' "
         "value='No' aggregate='maximum'/><Series label='c' value='No' aggregate='count'/><Series label='r' "
         "aggregate='count'/></Chart>",
         {": A B; s 15 10; a 7.5 5; n 7 1; x 8 9; c 3 2; r 3 3"}},
        {"<Chart category='[City][Kind]' sort='Day'><Series label='n' aggregate='count'/></Chart>",
         {": Ax Bx Ay By; n 2 2 1 1"}},
        {"<Chart category='[No]' sort='No'><Series label='n' value='Amount'/></Chart>",
         {": 1 7 8 9 - ; n 0 1.5 2 4 0 -1"}},
        // An average of nothing is a gap.
        {"<Chart category='[Kind]'><Series label='[City]' value='If(Kind = \"x\", Amount, null)' "
         "aggregate='average'/></Chart>",
         {": x y; A 1.5 nan; B 1.5 nan"}},
        {"<Chart kind='pie'><Series label='[City]' value='Amount'/></Chart>", {": ; A 3.5; B 3"}},
        {"<Chart category='[City]' filter='Amount &gt; 1'><Series value='Amount' label='S'/></Chart>",
         {": A B; S 3.5 4"}},
        {"<Chart category='[City]' filter='false'><Series value='1' label='S'/><Series value='1' "
         "label='[Kind]'/></Chart>",
         {":; S"}},
        {"<Chart category='[City]'><Series value='Amount / Sum(Amount)' label='share'/></Chart>",
         {": A B; share 0.538462 0.461538"}},
        {"<Chart kind='bubble'><Series label='[City][Mod(No, 2)]' x='No' y='Amount' size='1'/></Chart>",
         {":; A1 (7,1.5,1); A0 (8,2,1); B1 (9,4,1)"}},
        {"<Chart kind='scatterLine'><Series x='No' y='Amount'/></Chart>", {":;  (7,1.5,0) (8,2,0) (9,4,0)"}},
        {"<Chart table='Costs' category='[Place]' filter='Cost &lt; 30'><Series value='Cost' "
         "label='[Year]'/></Chart>",
         {": B A; 2024 10 20"}},
        {"<Chart table='None' category='[Place]'><Series value='Cost' label='S'/></Chart>", {":; S"}},
        {"<Chart table='No such' category='[Place]'><Series value='Cost' label='S'/></Chart>", {":"}},
        {"<Chart title='[Count(*)]'><Category name='[City]'/><Series label='[City]' values='1'/></Chart>",
         {"6: [City]; [City] 1"}},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(chartsOf("<Fields><Field name='Day' type='date'/></Fields>" + inHeader(test.chart), kSales),
                  test.expected)
            << test.chart;
    }
}

// One chart for each group, of its rows, ahead of them and behind; the same in a header that is repeated.
TEST(ChartRows, AreThoseOfTheSection) {
    const std::string chart =
        "<Chart title='[City]' width='20mm' height='10mm' category='[Kind]'><Series label='S' "
        "value='Amount'/>"
        "</Chart>";
    const std::string column =
        "<Columns><Column name='C' width='30mm'><Content text='[City]'/></Column></Columns>";
    const auto grouped = [&](const std::string& header, const std::string& footer) {
        return "<Page width='80mm' height='45mm' margins='5mm'/><Grid titleHeight='0mm' rowHeight='10mm' "
               "filter='Amount &gt; 0'>" +
               column + "<Groups><Group by='City' repeatHeader='true'><Header height='10mm'>" + header +
               "</Header><Footer height='10mm'>" + footer + "</Footer></Group></Groups></Grid>";
    };
    const std::string inner =
        "<SubReport width='60mm' height='10mm'><Parameter name='Of' expression='City'/><Report>"
        "<ReportHeader height='10mm'>"
        "<Chart table='Costs' filter='Place = Of' title='[Of]' category='[Place]'><Series label='S' "
        "value='Cost'/></Chart></ReportHeader></Report></SubReport>";
    const struct {
        const char* name;
        std::string elements;
        Notes expected;
    } cases[] = {
        {"report", inHeader(chart) + grouped("", ""), {"A: x y; S 5.5 2"}},
        {"footer", grouped("", chart), {"A: x y; S 1.5 2", "B: x y; S 4 0"}},
        {"header, again on each group's second page",
         grouped(chart, ""),
         {"A: x y; S 1.5 2", "A: x y; S 1.5 2", "B: x y; S 4 0", "B: x y; S 4 0"}},
        {"parameters of a sub-report",
         grouped(inner, ""),
         {"A: A; S 20", "A: A; S 20", "B: B; S 40", "B: B; S 40"}},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(chartsOf(test.elements, kSales), test.expected) << test.name;
    }
}

TEST(ChartRows, GiveWayToTheNumbersOfAProgram) {
    ReportDefinition report = readTemplate(
        "<Report version='1'>" +
            inHeader("<Chart category='[City]' title='t'><Series label='S' value='Amount'/></Chart>") +
            "</Report>",
        "test");
    std::get<ChartContent>(allControls(report).at(0)->content).data = {{u"Q"}, {{u"P", {5}, {}}}};
    ChartNotes source;
    LayoutOptions options;
    options.drawings = &source;
    RecordingSink sink;
    layOut(report, {}, options, sink);
    EXPECT_EQ(source.notes, Notes{"t: Q; P 5"});
}

TEST(ChartRows, StayWithinTheirLimits) {
    const auto isRefused = [](const std::string& chart, std::size_t rows) {
        try {
            chartsOf(inHeader(chart), numberedRows(static_cast<int>(rows)));
            return false;
        } catch (const EngineError& error) {
            EXPECT_EQ(error.code(), ErrorCode::LimitExceeded) << error.what();
            return true;
        }
    };
    const std::string series = "<Chart><Series label='[n]' value='n'/></Chart>";
    const std::string values = "<Chart category='[n]'><Series value='n' label='[Mod(n, 1000)]'/></Chart>";
    EXPECT_FALSE(isRefused(series, limits::kChartSeries));
    EXPECT_TRUE(isRefused(series, limits::kChartSeries + 1));
    EXPECT_FALSE(isRefused(values, 316));
    EXPECT_TRUE(isRefused(values, 317));
    EXPECT_TRUE(isRefused(
        "<Chart kind='scatterLine'>" + std::string("<Series x='n' y='n'/><Series x='n' y='n'/></Chart>"),
        limits::kChartPoints / 2 + 1));
}

}  // namespace
}  // namespace qbsvrl6
