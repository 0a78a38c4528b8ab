// DrawingML charts (ECMA-376 part 1, 21.2). The elements are in the order of their schema.
#include "qbsvrl6/sheet/xlsx/xlsx_chart.h"

#include <algorithm>
#include <cmath>

#include "qbsvrl6/drawing/series_colors.h"

namespace qbsvrl6 {

namespace {

using namespace chart_style;

constexpr Micrometres kNumbersRow = 4'500;

int emu(Micrometres length) { return 36 * length; }

class ChartPart {
public:
    ChartPart(const ShownChart& chart, const ChartBlock& block, std::int64_t firstRow,
              const ResolvedStyle* style)
        : chart_(chart), block_(block), firstRow_(firstRow), style_(style) {}

    std::string write();

private:
    bool isPie() const { return chart_.settings.kind == ChartKind::Pie; }
    bool hasSeparateAxes() const { return hasPoints(chart_.settings.kind); }
    std::string cells(std::size_t column, std::size_t row, std::size_t rows) const;

    void value(std::string_view name, std::string_view text) {
        xml_.open(name).attribute("val", text).close();
    }
    void value(std::string_view name, std::size_t number) {
        xml_.open(name).attribute("val", number).close();
    }
    void fill(const Color& color, double opacity = 1);
    void line(const Color& color, int width);
    void font(std::string_view name, int points, bool bold);
    void textProperties(int points);
    void title(const std::u16string& text, int points, bool bold, bool isVertical);
    void shape(const Color& color);
    void writePlot();
    void writeChart();
    void writeSeries();
    void writeSlices(std::size_t count);
    void writeSeriesStyle(std::size_t series);
    void writeMarker(std::size_t series);
    void writeLabels();
    void texts(std::string_view name, std::size_t column, std::size_t row, std::size_t count);
    void numbers(std::string_view name, std::size_t column);
    void writeAxes();
    void writeAxis(bool isCategory, bool isHorizontal);
    void writeLegend();

    const ShownChart& chart_;
    const ChartBlock& block_;
    std::int64_t firstRow_;  // of the block in the sheet: that of the titles
    const ResolvedStyle* style_;
    std::string part_;
    XmlWriter xml_{part_};
};

std::string ChartPart::cells(std::size_t column, std::size_t row, std::size_t rows) const {
    const auto index = static_cast<int>(column);
    const std::int64_t first = firstRow_ + static_cast<std::int64_t>(row);
    return areaName({first, first + static_cast<std::int64_t>(rows) - 1, index, index}, "$");
}

void ChartPart::fill(const Color& color, double opacity) {
    xml_.open("a:solidFill").open("a:srgbClr").attribute("val", HexColor{color});
    if (opacity < 1) xml_.open("a:alpha").attribute("val", std::lround(opacity * 100'000)).close();
    xml_.close().close();
}

void ChartPart::line(const Color& color, int width) {
    xml_.open("a:ln").attribute("w", width);
    fill(color);
    xml_.close();
}

void ChartPart::font(std::string_view name, int points, bool bold) {
    xml_.open(name).attribute("sz", points * 100).attribute("b", bold ? 1 : 0);
    fill(kInk);
    if (style_ != nullptr && !style_->fontFamily.empty()) {
        for (const char* const script : {"a:latin", "a:ea"}) {
            xml_.open(script).attribute("typeface", style_->fontFamily).close();
        }
    }
    xml_.close();
}

void ChartPart::textProperties(int points) {
    xml_.open("c:txPr").open("a:bodyPr").close().open("a:p").open("a:pPr");
    font("a:defRPr", points, false);
    xml_.close().open("a:endParaRPr").close().close().close();
}

void ChartPart::title(const std::u16string& text, int points, bool bold, bool isVertical) {
    xml_.open("c:title").open("c:tx").open("c:rich").open("a:bodyPr");
    if (isVertical) xml_.attribute("rot", -5'400'000).attribute("vert", "horz");
    xml_.close().open("a:p").open("a:r");
    font("a:rPr", points, bold);
    xml_.element("a:t", text).close().close().close().close();
    value("c:overlay", "0");
    xml_.close();
}

void ChartPart::shape(const Color& color) {
    xml_.open("c:spPr");
    fill(color, chart_.settings.kind == ChartKind::Bubble ? kBubbleOpacity : 1);
    xml_.close();
}

void ChartPart::writeSeriesStyle(std::size_t series) {
    const ChartKind kind = chart_.settings.kind;
    if (kind == ChartKind::Line || kind == ChartKind::ScatterLine) {
        xml_.open("c:spPr");
        line(seriesColor(series), emu(kSeriesLine));
        xml_.close();
        writeMarker(series);
    } else if (kind != ChartKind::Pie) {
        shape(seriesColor(series));
        value("c:invertIfNegative", "0");
    }
}

void ChartPart::writeMarker(std::size_t series) {
    xml_.open("c:marker");
    value("c:symbol", "circle");
    value("c:size", "4");
    xml_.open("c:spPr");
    fill(seriesColor(series));
    xml_.open("a:ln").open("a:noFill").close().close().close().close();
}

void ChartPart::writeSlices(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        xml_.open("c:dPt");
        value("c:idx", i);
        xml_.open("c:spPr");
        fill(seriesColor(i));
        line({255, 255, 255}, emu(kSeam));
        xml_.close().close();
    }
}

// The numbers at bars, points and slices; slices without them have their share.
void ChartPart::writeLabels() {
    const ChartKind kind = chart_.settings.kind;
    const bool showsValues = chart_.settings.showValues;
    if (!showsValues && !isPie()) return;
    xml_.open("c:dLbls").open("c:numFmt");
    xml_.attribute("formatCode", showsValues ? std::u16string_view(block_.format) : u"0.0%");
    xml_.attribute("sourceLinked", 0).close();
    xml_.open("c:spPr").open("a:noFill").close().close();
    textProperties(kLabelPoints);
    value("c:dLblPos", kind == ChartKind::Bar || isPie() ? "outEnd" : "t");
    const auto show = [&](std::string_view name, bool isShown) { value(name, isShown ? "1" : "0"); };
    show("c:showLegendKey", false);
    show("c:showVal", showsValues && kind != ChartKind::Bubble);
    show("c:showCatName", false);
    show("c:showSerName", false);
    show("c:showPercent", isPie() && !showsValues);
    show("c:showBubbleSize", kind == ChartKind::Bubble);
    if (isPie()) show("c:showLeaderLines", true);
    xml_.close();
}

void ChartPart::texts(std::string_view name, std::size_t column, std::size_t row, std::size_t count) {
    const bool isTitle = row == 0;
    xml_.open(name).open("c:strRef");
    xml_.element("c:f", "'", kChartNumbersSheet, "'!", cells(column, row, count));
    xml_.open("c:strCache");
    value("c:ptCount", count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t first = block_.categories.empty() ? 0 : 1;
        const std::u16string& text = isTitle ? block_.columns[column - first].title : block_.categories[i];
        xml_.open("c:pt").attribute("idx", i).element("c:v", text).close();
    }
    xml_.close().close().close();
}

void ChartPart::numbers(std::string_view name, std::size_t column) {
    const std::vector<double>& values = block_.columns[column].numbers;
    const std::size_t count = std::max<std::size_t>(block_.rowCount(), 1);
    xml_.open(name).open("c:numRef");
    xml_.element("c:f", "'", kChartNumbersSheet, "'!", cells(block_.sheetColumn(column), 1, count));
    xml_.open("c:numCache").element("c:formatCode", block_.format);
    value("c:ptCount", count);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!std::isfinite(values[i])) continue;
        xml_.open("c:pt").attribute("idx", i).element("c:v", values[i]).close();
    }
    xml_.close().close().close();
}

void ChartPart::writeSeries() {
    const ChartKind kind = chart_.settings.kind;
    for (std::size_t i = 0; i < block_.series.size(); ++i) {
        const ChartBlock::Series& series = block_.series[i];
        xml_.open("c:ser");
        value("c:idx", i);
        value("c:order", i);
        if (!block_.columns[series.values].title.empty()) {
            texts("c:tx", block_.sheetColumn(series.values), 0, 1);
        }
        writeSeriesStyle(i);
        if (isPie()) writeSlices(block_.categories.size());
        writeLabels();
        if (hasSeparateAxes()) {
            numbers("c:xVal", series.x);
            numbers("c:yVal", series.values);
            if (kind == ChartKind::Bubble) numbers("c:bubbleSize", series.size);
        } else {
            if (!block_.categories.empty()) texts("c:cat", 0, 1, block_.categories.size());
            numbers("c:val", series.values);
        }
        if (kind == ChartKind::Line || kind == ChartKind::ScatterLine) value("c:smooth", "0");
        if (kind == ChartKind::Bubble) value("c:bubble3D", "0");
        xml_.close();
    }
}

void ChartPart::writeChart() {
    switch (chart_.settings.kind) {
        case ChartKind::Bar:
            xml_.open("c:barChart");
            value("c:barDir", "col");
            value("c:grouping", "clustered");
            value("c:varyColors", "0");
            writeSeries();
            value("c:gapWidth", gapOfBars(block_.columns.size()));
            break;
        case ChartKind::Line:
            xml_.open("c:lineChart");
            value("c:grouping", "standard");
            value("c:varyColors", "0");
            writeSeries();
            value("c:marker", "1");
            break;
        case ChartKind::Pie:
            xml_.open("c:pieChart");
            value("c:varyColors", "1");
            writeSeries();
            value("c:firstSliceAng", "0");
            break;
        case ChartKind::ScatterLine:
            xml_.open("c:scatterChart");
            value("c:scatterStyle", "lineMarker");
            value("c:varyColors", "0");
            writeSeries();
            break;
        case ChartKind::Bubble:
            xml_.open("c:bubbleChart");
            value("c:varyColors", "0");
            writeSeries();
            value("c:bubbleScale", "100");
            value("c:showNegBubbles", "0");
            value("c:sizeRepresents", "area");
            break;
    }
    if (!isPie()) {
        value("c:axId", "1");
        value("c:axId", "2");
    }
    xml_.close().lineEnd();
}

void ChartPart::writeAxes() {
    writeAxis(!hasSeparateAxes(), true);
    writeAxis(false, false);
}

void ChartPart::writeAxis(bool isCategory, bool isHorizontal) {
    const ChartSettings& settings = chart_.settings;
    xml_.open(isCategory ? "c:catAx" : "c:valAx");
    value("c:axId", isHorizontal ? "1" : "2");
    xml_.open("c:scaling");
    value("c:orientation", "minMax");
    if (!isCategory && block_.axisEndsAtZero) value("c:max", "0");
    if (!isCategory && block_.axisBeginsAtZero) value("c:min", "0");
    xml_.close();
    value("c:delete", "0");
    value("c:axPos", isHorizontal ? "b" : "l");
    if (!isCategory) {
        xml_.open("c:majorGridlines").open("c:spPr");
        line(kGridLine, emu(kThinLine));
        xml_.close().close();
    }
    const std::u16string& text = isHorizontal ? settings.xTitle : settings.yTitle;
    if (!text.empty()) title(text, kLabelPoints, false, !isHorizontal);
    xml_.open("c:numFmt")
        .attribute("formatCode", isCategory ? std::u16string_view(u"General") : block_.format);
    xml_.attribute("sourceLinked", 0).close();
    value("c:majorTickMark", "none");
    value("c:minorTickMark", "none");
    value("c:tickLblPos", "low");
    xml_.open("c:spPr");
    if (isHorizontal) {
        line(kAxisLine, emu(kAxisWidth));
    } else {
        xml_.open("a:ln").open("a:noFill").close().close();
    }
    xml_.close();
    textProperties(kLabelPoints);
    value("c:crossAx", isHorizontal ? "2" : "1");
    value("c:crosses", "autoZero");
    if (isCategory) {
        value("c:auto", "0");
        value("c:lblAlgn", "ctr");
        value("c:lblOffset", "100");
        value("c:noMultiLvlLbl", "1");
    } else {
        value("c:crossBetween", hasSeparateAxes() ? "midCat" : "between");
    }
    xml_.close().lineEnd();
}

void ChartPart::writeLegend() {
    const auto hasName = [](const std::u16string& name) { return !name.empty(); };
    const auto hasTitle = [](const ChartSeries& series) { return !series.label.empty(); };
    const std::vector<ChartSeries>& series = chart_.data->series;
    const bool isNamed = isPie() ? std::any_of(block_.categories.begin(), block_.categories.end(), hasName)
                                 : std::any_of(series.begin(), series.end(), hasTitle);
    if (!chart_.settings.showLegend || !isNamed) return;
    xml_.open("c:legend");
    value("c:legendPos", "b");
    value("c:overlay", "0");
    textProperties(kLabelPoints);
    xml_.close();
}

void ChartPart::writePlot() {
    xml_.open("c:plotArea").open("c:layout").close().lineEnd();
    writeChart();
    if (!isPie()) writeAxes();
    xml_.open("c:spPr").open("a:noFill").close().close().close().lineEnd();
}

std::string ChartPart::write() {
    xml_.declare().open("c:chartSpace");
    xml_.attribute("xmlns:c", kChartNamespace);
    xml_.attribute("xmlns:a", "http://schemas.openxmlformats.org/drawingml/2006/main");
    xml_.attribute("xmlns:r", kRelationNamespace).lineEnd();
    value("c:roundedCorners", "0");
    xml_.open("c:chart");
    const std::u16string& text = chart_.settings.title;
    if (!text.empty()) title(text, kTitlePoints, true, false);
    value("c:autoTitleDeleted", text.empty() ? "1" : "0");
    writePlot();
    writeLegend();
    value("c:plotVisOnly", "0");
    value("c:dispBlanksAs", "gap");
    xml_.close().open("c:spPr");
    fill(style_ != nullptr && style_->background ? *style_->background : Color{255, 255, 255});
    xml_.open("a:ln").open("a:noFill").close().close().close();
    textProperties(kLabelPoints);
    xml_.close().lineEnd();
    return std::move(part_);
}

}  // namespace

bool XlsxChartNumbers::canHold(const ShownChart& chart) const {
    return canBeNative(chart, sheet_.rowCount(), XlsxSheet::kMaxRows);
}

void XlsxChartNumbers::addRow(const std::vector<SheetValue>& cells) {
    constexpr int kPlainStyle = 0;
    sheet_.beginRow(kNumbersRow, 0);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i].kind != SheetValue::Kind::Blank)
            sheet_.addValue(static_cast<int>(i), kPlainStyle, cells[i]);
    }
    sheet_.endRow();
    columns_ = std::max(columns_, static_cast<int>(cells.size()));
}

std::string XlsxChartNumbers::add(const ShownChart& chart, const ResolvedStyle* style) {
    if (sheet_.rowCount() > 0) addRow({});
    const ChartBlock numbers = blockOf(chart);
    const std::int64_t firstRow = sheet_.rowCount();
    for (std::size_t row = 0; row <= numbers.rowCount(); ++row) addRow(numbers.row(row));
    return ChartPart(chart, numbers, firstRow, style).write();
}

}  // namespace qbsvrl6
