#include "qbsvrl6/chart/chart.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <tuple>

#include "qbsvrl6/chart/axis.h"
#include "qbsvrl6/drawing/move.h"
#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/fonts/shaping.h"
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
                        EXPECT_TRUE(std::abs(point.x) < 1e6 && std::abs(point.y) < 1e6) << point.y;
                    }
                }
            }
        }
    }
}

TEST(Chart, CountsValuesWithoutALabel) {
    const auto dataOf = [](std::size_t series) {
        ChartData data;
        for (int i = 0; i < 12; ++i) data.categories.push_back(toUtf16(std::to_string(i + 1)));
        for (std::size_t s = 0; s < series; ++s) {
            auto& values = data.series.emplace_back(ChartSeries{u"S", {}, {}}).values;
            for (int i = 0; i < 12; ++i)
                values.push_back(1234.5 + i * 700 % 4000 + static_cast<double>(s) * 90);
        }
        return data;
    };
    const struct {
        ChartKind kind;
        std::size_t series;
        std::size_t labels;    // of values
        std::size_t vertical;  // of these
    } cases[] = {
        {ChartKind::Bar, 1, 12, 0},  {ChartKind::Bar, 2, 24, 24}, {ChartKind::Bar, 5, 0, 0},
        {ChartKind::Line, 1, 12, 0}, {ChartKind::Line, 5, 3, 0},
    };
    ChartSettings settings;
    settings.showValues = true;
    settings.valueFormat = u"0.00";
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(test.kind) << ' ' << test.series);
        settings.kind = test.kind;
        std::size_t leftOut = 0, labels = 0, vertical = 0;
        const Drawing drawing =
            drawChart(settings, dataOf(test.series), {136'000, 60'000}, u"SimSun", &leftOut);
        for (const auto& element : drawing.elements) {
            const auto* label = std::get_if<Drawing::Label>(&element);
            if (label == nullptr || label->fontSize >= 8) continue;
            ++labels;
            if (label->rotation == -90) ++vertical;
        }
        EXPECT_EQ(labels, test.labels);
        EXPECT_EQ(vertical, test.vertical);
        EXPECT_EQ(leftOut, test.series * 12 - test.labels);
    }
}

TEST(Chart, GivesFiftySlicesColoursOfTheirOwn) {
    ChartData data;
    data.series = {{u"", std::vector<double>(50, 1.0), {}}};
    data.categories.assign(50, u"");
    ChartSettings settings;
    settings.kind = ChartKind::Pie;
    std::set<std::tuple<int, int, int>> colors;
    for (const auto& element : drawChart(settings, data, {90'000, 60'000}, u"SimSun").elements) {
        const auto* path = std::get_if<Drawing::Path>(&element);
        if (path != nullptr && path->fill)
            colors.insert({path->fill->red, path->fill->green, path->fill->blue});
    }
    EXPECT_EQ(colors.size(), 50u);
}

struct Extent {
    double left, top, right, bottom;
};

// Of a label that is not rotated.
Extent extentOf(const Drawing::Label& label) {
    const double em = label.fontSize * kMicrometresPerPoint;
    const double width =
        shape(resolveFont(label.fontFamily, label.bold, false), label.text)->width / 1000 * em;
    const double left = label.x - width * static_cast<double>(label.anchor) / 2;
    return {left, label.y - em * 0.7, left + width, label.y};
}

// Labels that overlap, or extend beyond the box.
std::string faultsOf(const Drawing& drawing, Size box) {
    std::string faults;
    std::vector<std::pair<Extent, std::string>> labels;
    for (const auto& element : drawing.elements) {
        const auto* const label = std::get_if<Drawing::Label>(&element);
        if (label == nullptr || label->rotation != 0) continue;
        const Extent one = extentOf(*label);
        const std::string text = toUtf8(label->text);
        if (one.left < 0 || one.right > box.width || one.top < 0 || one.bottom > box.height)
            faults += text + " sticks out\n";
        for (const auto& [other, otherText] : labels) {
            const bool apart = one.right <= other.left || other.right <= one.left ||
                               one.bottom <= other.top || other.bottom <= one.top;
            if (!apart) faults += text + " on " + otherText + "\n";
        }
        labels.emplace_back(one, text);
    }
    return faults;
}

TEST(Chart, KeepsLabelsApartAndInside) {
    const std::vector<std::u16string> longNames = {u"华东地区直营门店", u"Online shop and marketplace",
                                                   u"经销商与代理商渠道（不含团购）", u"团购"};
    std::vector<std::u16string> months;
    for (char16_t month = 0; month < 24; ++month)
        months.push_back(u"2024年" + std::u16string(1, u'A' + month));
    const std::u16string longName(60, u'长');
    ChartData slices{longNames, {{u"s", {1, 200, 1, 180}, {}}}};
    for (int i = 0; i < 20; ++i) {
        slices.categories.push_back(u"x");
        slices.series[0].values.push_back(i % 3);
    }
    const ChartData one{{u"a", u"b"}, {{u"s", {5, 0}, {}}}};
    const ChartData bars{longNames, {{longName, {12, -15, 173, 8}, {}}, {u"b", {50, 60, -40, 0}, {}}}};
    const ChartData year{months, {{u"a", std::vector<double>(24, 1234.5), {}}}};
    const ChartData points{{}, {{u"a", {}, {{0, 0, 1}, {1e6, 5e6, 10}, {9e6, -3e5, 4}}}}};
    const ChartData branches{std::vector<std::u16string>(9, longNames[2]), {{u"a", {1, 2, 3}, {}}}};
    ChartData cloud{{}, {{u"a", {}, {}}}};
    for (int i = 0; i < 300; ++i)
        cloud.series[0].points.push_back({i * 37 % 101 * 1.5, i * 53 % 89 * 0.5, 1});
    const struct {
        const char* name;
        ChartKind kind;
        const ChartData& data;
    } cases[] = {{"branches", ChartKind::Line, branches},  {"a cloud", ChartKind::Bubble, cloud},
                 {"slices", ChartKind::Pie, slices},       {"one slice", ChartKind::Pie, one},
                 {"long names", ChartKind::Bar, bars},     {"a year's bars", ChartKind::Bar, year},
                 {"a year's line", ChartKind::Line, year}, {"large numbers", ChartKind::ScatterLine, points},
                 {"bubbles", ChartKind::Bubble, points}};
    for (const auto& test : cases) {
        for (const Size box : {Size{170'000, 60'000}, Size{90'000, 60'000}, Size{50'000, 70'000}}) {
            ChartSettings settings;
            settings.kind = test.kind;
            settings.title = longName;
            settings.xTitle = test.kind == ChartKind::Pie ? u"" : longName;
            settings.showValues = test.kind == ChartKind::Bar || &test.data == &cloud;
            EXPECT_EQ(faultsOf(drawChart(settings, test.data, box, u"SimSun"), box), "")
                << test.name << " in " << box.width;
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
              "sans-serif\" font-weight=\"bold\" transform=\"rotate(90 0 "
              "0)\">&lt;a&gt;&amp;\xEF\xBF\xBD</text></svg>");
}

}  // namespace
}  // namespace qbsvrl6
