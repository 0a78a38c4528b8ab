#include "qbsvrl6/chart/chart.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "qbsvrl6/chart/axis.h"
#include "qbsvrl6/drawing/move.h"
#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Axis, EndsOnRoundNumbers) {
    const struct {
        double low, high;
        bool withZero;
        double expectedLow, expectedHigh, step;
    } cases[] = {
        {3, 97, true, 0, 100, 20},        {3, 97, false, 0, 100, 20},
        {-12, 30, true, -20, 30, 10},     {0.11, 0.34, false, 0.1, 0.35, 0.05},
        {1000, 1000, true, 0, 1000, 200},
    };
    for (const auto& test : cases) {
        const Axis axis = makeAxis(test.low, test.high, 5, test.withZero);
        SCOPED_TRACE(testing::Message() << test.low << " to " << test.high);
        EXPECT_NEAR(axis.low, test.expectedLow, 1e-9);
        EXPECT_NEAR(axis.high, test.expectedHigh, 1e-9);
        ASSERT_GE(axis.ticks.size(), 2u);
        EXPECT_NEAR(axis.ticks[1] - axis.ticks[0], test.step, 1e-9);
        EXPECT_NEAR(axis.ticks.back(), axis.high, 1e-9);
    }
}

TEST(Axis, BearsAnyRange) {
    const double values[] = {0, 1, -1, 1e-300, -1e-300, 1e308, -1e308, 0.1 + 0.2, 1e15 + 1};
    for (const double low : values) {
        for (const double high : values) {
            if (low > high) continue;
            for (const bool withZero : {false, true}) {
                const Axis axis = makeAxis(low, high, 6, withZero);
                SCOPED_TRACE(testing::Message() << low << " to " << high);
                EXPECT_LT(axis.low, axis.high);
                EXPECT_LE(axis.ticks.size(), 16u);
                EXPECT_TRUE(std::isfinite(axis.position(low)));
            }
        }
    }
}

std::size_t count(const Drawing& drawing, char16_t kind) {
    std::size_t result = 0;
    for (const auto& element : drawing.elements) {
        const auto* path = std::get_if<Drawing::Path>(&element);
        if (path != nullptr && kind == u'C' && path->fill && path->commands.find('C') != std::string::npos)
            ++result;
        if (path != nullptr && kind == u'R' && path->fill && path->commands == "MLLLZ") ++result;
    }
    return result;
}

bool shows(const Drawing& drawing, std::u16string_view text) {
    for (const auto& element : drawing.elements) {
        const auto* label = std::get_if<Drawing::Label>(&element);
        if (label != nullptr && label->text == text) return true;
    }
    return false;
}

TEST(Chart, DrawsEachValueOnce) {
    ChartData data;
    data.categories = {u"一季度", u"二季度", u"三季度"};
    data.series = {{u"张三", {1, 2, 3}, {}}, {u"李四", {4, kNan, 6}, {}}};
    ChartSettings settings;
    settings.title = u"业绩";
    const Size box{120'000, 80'000};

    // Five finite values and two keys of the legend.
    const Drawing bars = drawChart(settings, data, box, u"SimSun");
    EXPECT_EQ(count(bars, u'R'), 7u);
    for (const char16_t* text : {u"业绩", u"一季度", u"三季度", u"张三", u"李四", u"0", u"6"}) {
        EXPECT_TRUE(shows(bars, text)) << toUtf8(text);
    }

    settings.kind = ChartKind::Line;
    EXPECT_EQ(count(drawChart(settings, data, box, u"SimSun"), u'C'), 5u);

    settings.kind = ChartKind::Pie;
    data.series.resize(1);
    const Drawing pie = drawChart(settings, data, box, u"SimSun");
    EXPECT_EQ(count(pie, u'C'), 3u);
    EXPECT_TRUE(shows(pie, u"50.0%"));

    settings.kind = ChartKind::Bubble;
    data.series = {{u"A", {}, {{1, 1, 4}, {2, 3, 1}, {3, kNan, 1}, {4, 4, -1}}}};
    EXPECT_EQ(count(drawChart(settings, data, box, u"SimSun"), u'C'), 2u);
}

TEST(Chart, BearsAnyDataInAnyBox) {
    ChartData odd;
    odd.categories.assign(500, u"a long name of a category");
    odd.series = {
        {u"<&>", {kInfinity, -kInfinity, kNan, 1e308, -1e308}, {{kNan, 1, 1}, {1e308, -1e308, kInfinity}}},
        {std::u16string(2'000, u'长'), std::vector<double>(3'000, 0.0), {}}};
    ChartSettings settings;
    settings.title = u"t";
    settings.xTitle = u"x";
    settings.yTitle = u"y";
    settings.showValues = true;
    for (const ChartKind kind :
         {ChartKind::Bar, ChartKind::Pie, ChartKind::Line, ChartKind::ScatterLine, ChartKind::Bubble}) {
        settings.kind = kind;
        for (const ChartData& data : {ChartData{}, odd}) {
            for (const Size box : {Size{0, 0}, Size{-5, 10}, Size{1'000, 1'000}, Size{100'000, 60'000}}) {
                for (const auto& element : drawChart(settings, data, box, u"SimSun").elements) {
                    const auto* path = std::get_if<Drawing::Path>(&element);
                    if (path == nullptr) continue;
                    for (const auto& point : path->points) {
                        EXPECT_TRUE(std::isfinite(point.x) && std::isfinite(point.y));
                    }
                }
            }
        }
    }
}

TEST(Drawing, MovesAsAWhole) {
    Drawing drawing;
    drawing.elements.emplace_back(PathBuilder().moveTo(100, 200).lineTo(300, 400).stroke({}, 100).take());
    drawing.elements.emplace_back(
        Drawing::Label{100, 200, Drawing::Label::Anchor::Start, 0, 8, false, u"", u"a", {}});
    moveBy(drawing, 1'000, 2'000);
    const std::string svg = toSvg(drawing, {5'000, 5'000});
    EXPECT_NE(svg.find("d=\"M11 22L13 24\""), std::string::npos) << svg;
    EXPECT_NE(svg.find("<text x=\"11\" y=\"22\""), std::string::npos) << svg;
}

TEST(Svg, EscapesTexts) {
    Drawing drawing;
    drawing.elements.emplace_back(
        Drawing::Label{0, 0, Drawing::Label::Anchor::Middle, 90, 8, true, u"A\"B", u"<a>&\x01", {}});
    EXPECT_EQ(toSvg(drawing, {10'000, 5'000}, u"x<y"),
              "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"10mm\" height=\"5mm\" viewBox=\"0 0 100 "
              "50\" role=\"img\">"
              "<title>x&lt;y</title>"
              "<text x=\"0\" y=\"0\" font-size=\"28.22\" text-anchor=\"middle\" fill=\"#000000\" "
              "font-family=\"A&quot;B, "
              "sans-serif\" font-weight=\"bold\" transform=\"rotate(90 0 0)\">&lt;a&gt;&amp; </text></svg>");
}

}  // namespace
}  // namespace qbsvrl6
