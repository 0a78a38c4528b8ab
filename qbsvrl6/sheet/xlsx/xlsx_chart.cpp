// DrawingML charts (ECMA-376 part 1, 21.2). The elements are in the order of their schema.
#include "qbsvrl6/sheet/xlsx/xlsx_chart.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qbsvrl6/drawing/series_colors.h"

namespace qbsvrl6 {

namespace {

// What spreadsheet programs accept.
constexpr std::size_t kMostSeries = 255;
constexpr std::size_t kMostNumbers = 32'000;  // of a series

constexpr Color kInk{64, 64, 64};
constexpr Color kAxisLine{120, 128, 136};
constexpr Color kGridLine{222, 226, 230};
constexpr int kTitlePoints = 11;
constexpr int kLabelPoints = 8;
constexpr int kThinLine = 5'400;  // EMU
constexpr Micrometres kNumbersRow = 4'500;

// The numbers of a chart as columns of its block in the sheet.
struct NumberColumn {
    std::u16string title;
    std::vector<double> numbers;
};
struct Block {
    std::vector<std::u16string> categories;  // in the first column; empty: the columns begin there
    std::vector<NumberColumn> columns;
};

bool isCategoryPie(const ChartData& data) { return data.series.size() == 1 && data.categories.size() > 1; }

// A pie shows the categories of its only series, or else the sums of its series.
Block pieBlock(const ChartData& data) {
    Block block;
    NumberColumn& values = block.columns.emplace_back();
    const auto add = [&](const std::u16string& label, double value) {
        block.categories.push_back(label);
        values.numbers.push_back(value > 0 ? value : std::numeric_limits<double>::quiet_NaN());
    };
    if (isCategoryPie(data)) {
        const ChartSeries& only = data.series.front();
        values.title = only.label;
        for (std::size_t i = 0; i < only.values.size(); ++i) {
            add(i < data.categories.size() ? data.categories[i] : std::u16string(), only.values[i]);
        }
        return block;
    }
    for (const ChartSeries& series : data.series) {
        double sum = 0;
        for (const double value : series.values) sum += std::isfinite(value) ? value : 0;
        add(series.label, sum);
    }
    return block;
}

Block pointBlock(const ChartData& data, bool haveSizes) {
    Block block;
    for (const ChartSeries& series : data.series) {
        NumberColumn x{u"x", {}}, y{series.label, {}}, size{u"", {}};
        for (const ChartPoint& point : series.points) {
            if (haveSizes && !(point.size > 0)) continue;
            x.numbers.push_back(point.x);
            y.numbers.push_back(point.y);
            size.numbers.push_back(point.size);
        }
        block.columns.push_back(std::move(x));
        block.columns.push_back(std::move(y));
        if (haveSizes) block.columns.push_back(std::move(size));
    }
    return block;
}

Block categoryBlock(const ChartData& data) {
    Block block;
    block.categories = data.categories;
    for (const ChartSeries& series : data.series) {
        block.columns.push_back({series.label, series.values});
        block.categories.resize(std::max(block.categories.size(), series.values.size()));
    }
    return block;
}

Block blockOf(const ShownChart& chart) {
    const ChartKind kind = chart.settings.kind;
    if (kind == ChartKind::Pie) return pieBlock(*chart.data);
    if (hasPoints(kind)) return pointBlock(*chart.data, kind == ChartKind::Bubble);
    return categoryBlock(*chart.data);
}

std::size_t rowCountOf(const Block& block) {
    std::size_t rows = block.categories.size();
    for (const NumberColumn& column : block.columns) rows = std::max(rows, column.numbers.size());
    return rows;
}

// Whole numbers with their thousands, others as they are.
std::u16string usualFormat(const Block& block) {
    double greatest = 0;
    for (const NumberColumn& column : block.columns) {
        for (const double number : column.numbers) {
            if (!std::isfinite(number)) continue;
            if (number != std::trunc(number)) return u"General";
            greatest = std::max(greatest, std::abs(number));
        }
    }
    constexpr double kLeastSteps = 10;
    return greatest < kLeastSteps ? u"General" : u"#,##0";
}

class ChartPart {
public:
    ChartPart(const ShownChart& chart, const Block& block, std::int64_t firstRow, const ResolvedStyle* style)
        : chart_(chart), block_(block), firstRow_(firstRow), style_(style) {
        format_ = chart.spreadsheetFormat.empty() ? usualFormat(block) : chart.spreadsheetFormat;
    }

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
    const Block& block_;
    std::int64_t firstRow_;  // of the block in the sheet: that of the titles
    const ResolvedStyle* style_;
    std::u16string format_;
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
    fill(color, chart_.settings.kind == ChartKind::Bubble ? 0.65 : 1);
    xml_.close();
}

void ChartPart::writeSeriesStyle(std::size_t series) {
    constexpr int kSeriesLine = 16'200;  // EMU
    const ChartKind kind = chart_.settings.kind;
    if (kind == ChartKind::Line || kind == ChartKind::ScatterLine) {
        xml_.open("c:spPr");
        line(seriesColor(series), kSeriesLine);
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
    constexpr int kSeam = 10'800;  // EMU
    for (std::size_t i = 0; i < count; ++i) {
        xml_.open("c:dPt");
        value("c:idx", i);
        xml_.open("c:spPr");
        fill(seriesColor(i));
        line({255, 255, 255}, kSeam);
        xml_.close().close();
    }
}

// The numbers at bars, points and slices; slices without them have their share.
void ChartPart::writeLabels() {
    const ChartKind kind = chart_.settings.kind;
    const bool showsValues = chart_.settings.showValues;
    if (!showsValues && !isPie()) return;
    xml_.open("c:dLbls").open("c:numFmt");
    xml_.attribute("formatCode", showsValues ? std::u16string_view(format_) : u"0.0%");
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
    xml_.element("c:f", "'", XlsxChartNumbers::kName, "'!", cells(column, row, count));
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
    const std::size_t first = block_.categories.empty() ? 0 : 1;
    const std::vector<double>& values = block_.columns[column].numbers;
    const std::size_t count = std::max<std::size_t>(rowCountOf(block_), 1);
    xml_.open(name).open("c:numRef");
    xml_.element("c:f", "'", XlsxChartNumbers::kName, "'!", cells(column + first, 1, count));
    xml_.open("c:numCache").element("c:formatCode", format_);
    value("c:ptCount", count);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!std::isfinite(values[i])) continue;
        xml_.open("c:pt").attribute("idx", i).element("c:v", values[i]).close();
    }
    xml_.close().close().close();
}

void ChartPart::writeSeries() {
    const ChartKind kind = chart_.settings.kind;
    const std::size_t step = !hasSeparateAxes() ? 1 : kind == ChartKind::Bubble ? 3 : 2;
    const std::size_t first = block_.categories.empty() ? 0 : 1;
    for (std::size_t series = 0; series * step < block_.columns.size(); ++series) {
        const std::size_t column = series * step;
        const std::size_t titled = column + (hasSeparateAxes() ? 1 : 0);
        xml_.open("c:ser");
        value("c:idx", series);
        value("c:order", series);
        if (!block_.columns[titled].title.empty()) texts("c:tx", titled + first, 0, 1);
        writeSeriesStyle(series);
        if (isPie()) writeSlices(block_.categories.size());
        writeLabels();
        if (hasSeparateAxes()) {
            numbers("c:xVal", column);
            numbers("c:yVal", column + 1);
            if (kind == ChartKind::Bubble) numbers("c:bubbleSize", column + 2);
        } else {
            if (!block_.categories.empty()) texts("c:cat", 0, 1, block_.categories.size());
            numbers("c:val", column);
        }
        if (kind == ChartKind::Line || kind == ChartKind::ScatterLine) value("c:smooth", "0");
        if (kind == ChartKind::Bubble) value("c:bubble3D", "0");
        xml_.close();
    }
}

void ChartPart::writeChart() {
    // The bars of all series take 72 % of a category.
    constexpr std::size_t kGapOfOneBar = 39;
    constexpr std::size_t kWidestGap = 500;
    switch (chart_.settings.kind) {
        case ChartKind::Bar:
            xml_.open("c:barChart");
            value("c:barDir", "col");
            value("c:grouping", "clustered");
            value("c:varyColors", "0");
            writeSeries();
            value("c:gapWidth",
                  std::min(kGapOfOneBar * std::max<std::size_t>(block_.columns.size(), 1), kWidestGap));
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
    xml_.close();
    value("c:delete", "0");
    value("c:axPos", isHorizontal ? "b" : "l");
    if (!isCategory) {
        xml_.open("c:majorGridlines").open("c:spPr");
        line(kGridLine, kThinLine);
        xml_.close().close();
    }
    const std::u16string& text = isHorizontal ? settings.xTitle : settings.yTitle;
    if (!text.empty()) title(text, kLabelPoints, false, !isHorizontal);
    xml_.open("c:numFmt").attribute("formatCode", isCategory ? std::u16string_view(u"General") : format_);
    xml_.attribute("sourceLinked", 0).close();
    value("c:majorTickMark", "none");
    value("c:minorTickMark", "none");
    value("c:tickLblPos", "low");
    xml_.open("c:spPr");
    if (isHorizontal) {
        line(kAxisLine, kThinLine * 3 / 2);
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

SheetValue cellOf(const std::u16string& text) {
    SheetValue value;
    if (text.empty()) return value;
    value.kind = SheetValue::Kind::Text;
    value.text = std::u16string_view(text).substr(0, XlsxSheet::kMaxUnits);
    return value;
}

SheetValue cellOf(double number) {
    SheetValue value;
    if (!std::isfinite(number)) return value;
    value.kind = SheetValue::Kind::Number;
    value.number = number;
    return value;
}

}  // namespace

bool XlsxChartNumbers::canHold(const ShownChart& chart) const {
    if (chart.data == nullptr || chart.data->series.empty() || chart.data->series.size() > kMostSeries)
        return false;
    std::size_t rows = chart.data->categories.size();
    for (const ChartSeries& series : chart.data->series) {
        rows = std::max({rows, series.values.size(), series.points.size()});
    }
    constexpr std::int64_t kTitleAndGap = 2;
    return rows > 0 && rows <= kMostNumbers &&
           sheet_.rowCount() + static_cast<std::int64_t>(rows) + kTitleAndGap <= XlsxSheet::kMaxRows;
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
    const Block block = blockOf(chart);
    const std::int64_t firstRow = sheet_.rowCount();
    std::vector<SheetValue> cells;
    if (!block.categories.empty()) cells.push_back(cellOf(chart.settings.title));
    for (const NumberColumn& column : block.columns) cells.push_back(cellOf(column.title));
    addRow(cells);
    for (std::size_t row = 0; row < rowCountOf(block); ++row) {
        cells.clear();
        if (!block.categories.empty()) cells.push_back(cellOf(block.categories[row]));
        for (const NumberColumn& column : block.columns) {
            cells.push_back(row < column.numbers.size() ? cellOf(column.numbers[row]) : SheetValue());
        }
        addRow(cells);
    }
    return ChartPart(chart, block, firstRow, style).write();
}

}  // namespace qbsvrl6
