// Charts of OpenDocument (1.3 part 3, 11). They hold no numbers: their series name cells of the spreadsheet.
#include "qbsvrl6/sheet/ods/ods_chart.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/drawing/series_colors.h"
#include "qbsvrl6/sheet/ods/ods_sheet.h"
#include "qbsvrl6/sheet/workbook/cell_names.h"
#include "qbsvrl6/sheet/workbook/chart_block.h"
#include "qbsvrl6/support/append.h"

namespace qbsvrl6 {

namespace {

using namespace chart_style;

constexpr std::string_view kGeneral = "N0";

// "'Chart numbers'.$A$1:.$B$2"
std::string cellsOf(const SheetArea& area) {
    std::string name = "'Chart numbers'.";
    const std::string cells = areaName(area, "$");
    const std::size_t colon = cells.find(':');
    name += cells.substr(0, colon);
    return colon == std::string::npos ? name : name + ":." + cells.substr(colon + 1);
}

class ChartPart {
public:
    ChartPart(const ShownChart& chart, const ChartBlock& numbers, std::int64_t firstRow, Size size,
              const ResolvedStyle* style)
        : chart_(chart), numbers_(numbers), firstRow_(firstRow), size_(size), style_(style) {}

    std::string write();

private:
    ChartKind kind() const { return chart_.settings.kind; }
    bool isPie() const { return kind() == ChartKind::Pie; }
    bool hasSeparateAxes() const { return hasPoints(kind()); }
    std::string_view className() const;

    // The cells of a column: its title, or its numbers.
    std::string titleCell(std::size_t column) const { return columnCells(column, 0, 1); }
    std::string numberCells(std::size_t column) const {
        return columnCells(column, 1, std::max<std::size_t>(numbers_.rowCount(), 1));
    }
    std::string columnCells(std::size_t sheetColumn, std::size_t row, std::size_t rows) const;

    // Opens a style of the next number, and returns the name for its use.
    std::string openStyle(std::string_view dataStyle = {});
    void closeStyle() { styles_.close().lineEnd(); }
    void writeFont(int points, bool bold);
    void writeFill(const Color& color, double opacity = 1);
    std::string styleOfText(int points, bool bold, bool isVertical);
    std::string styleOfAxis(bool isCategory, bool isHorizontal);
    std::string styleOfSeries(std::size_t series);
    std::string styleOfSlice(std::size_t slice);
    void writeLabels();

    void writeTitle(const std::u16string& text, int points, bool bold, bool isVertical);
    void writeAxis(bool isHorizontal);
    void writeSeries(std::size_t index);
    bool hasLegend() const;

    const ShownChart& chart_;
    const ChartBlock& numbers_;
    std::int64_t firstRow_;  // of the block in the sheet: that of the titles
    Size size_;
    const ResolvedStyle* style_;
    OdsFormats formats_;
    std::string_view numberStyle_ = kGeneral;
    std::string stylesText_, body_;
    XmlWriter styles_{stylesText_}, xml_{body_};
    int styleCount_ = 0;
};

std::string_view ChartPart::className() const {
    switch (kind()) {
        case ChartKind::Line:
            return "chart:line";
        case ChartKind::Pie:
            return "chart:circle";
        case ChartKind::ScatterLine:
            return "chart:scatter";
        case ChartKind::Bubble:
            return "chart:bubble";
        case ChartKind::Bar:
            break;
    }
    return "chart:bar";
}

std::string ChartPart::columnCells(std::size_t sheetColumn, std::size_t row, std::size_t rows) const {
    const auto index = static_cast<int>(sheetColumn);
    const std::int64_t first = firstRow_ + static_cast<std::int64_t>(row);
    return cellsOf({first, first + static_cast<std::int64_t>(rows) - 1, index, index});
}

std::string ChartPart::openStyle(std::string_view dataStyle) {
    std::string name = "ch" + std::to_string(++styleCount_);
    styles_.open("style:style").attribute("style:name", name).attribute("style:family", "chart");
    if (!dataStyle.empty()) styles_.attribute("style:data-style-name", dataStyle);
    return name;
}

void ChartPart::writeFont(int points, bool bold) {
    CellStyle font;
    if (style_ != nullptr) font.fontFamily = style_->fontFamily;
    font.fontSize = points;
    font.bold = bold;
    font.color = kInk;
    writeTextProperties(styles_, font);
}

void ChartPart::writeFill(const Color& color, double opacity) {
    styles_.attribute("draw:fill", "solid").attribute("draw:fill-color", OdsColor{color});
    if (opacity < 1) {
        std::string& out = styles_.beginAttribute("draw:opacity");
        appendNumber(out, opacity * 100, 0);
        out += '%';
        styles_.endAttribute();
    }
}

std::string ChartPart::styleOfText(int points, bool bold, bool isVertical) {
    std::string name = openStyle();
    styles_.open("style:chart-properties").attribute("style:rotation-angle", isVertical ? 90 : 0).close();
    styles_.open("style:graphic-properties").attribute("draw:stroke", "none").attribute("draw:fill", "none");
    styles_.close();
    writeFont(points, bold);
    closeStyle();
    return name;
}

// What is left out of an axis is as spreadsheet programs have it.
std::string ChartPart::styleOfAxis(bool isCategory, bool isHorizontal) {
    std::string name = openStyle(isCategory ? kGeneral : numberStyle_);
    styles_.open("style:chart-properties").attribute("chart:display-label", "true");
    styles_.attribute("chart:tick-marks-major-inner", "false");
    styles_.attribute("chart:tick-marks-major-outer", "false");
    styles_.attribute("chart:axis-label-position", "outside-start");
    styles_.attribute("chart:link-data-style-to-source", "false");
    styles_.attribute("chart:reverse-direction", isPie() && !isHorizontal ? "true" : "false");
    if (isCategory) styles_.attribute("text:line-break", "true");
    // Lines begin in the middle of a category, as bars do, not on the axis.
    if (isCategory && kind() == ChartKind::Line) styles_.attribute("loext:major-origin", "0.5");
    if (!isHorizontal && numbers_.axisBeginsAtZero) styles_.attribute("chart:minimum", 0);
    if (!isHorizontal && numbers_.axisEndsAtZero) styles_.attribute("chart:maximum", 0);
    if (kind() == ChartKind::Bar && !isHorizontal) {
        styles_.attribute("chart:gap-width", gapOfBars(numbers_.series.size()));
        styles_.attribute("chart:overlap", 0);
    }
    styles_.close().open("style:graphic-properties");
    if (isHorizontal) {
        styles_.attribute("draw:stroke", "solid").attribute("svg:stroke-width", OdsLength{kAxisWidth});
        styles_.attribute("svg:stroke-color", OdsColor{kAxisLine});
    } else {
        styles_.attribute("draw:stroke", "none");
    }
    styles_.close();
    writeFont(kLabelPoints, false);
    closeStyle();
    return name;
}

// The numbers at bars, points and slices; slices without them have their share.
void ChartPart::writeLabels() {
    const bool showsValues = chart_.settings.showValues;
    if (!showsValues && !isPie()) return;
    styles_.attribute("chart:data-label-number", showsValues ? "value" : "percentage");
    const bool isOutside = kind() == ChartKind::Bar || isPie();
    styles_.attribute("chart:label-position", isOutside ? "outside" : "top");
    styles_.attribute("chart:link-data-style-to-source", "false");
}

std::string ChartPart::styleOfSeries(std::size_t series) {
    constexpr Micrometres kMarker = 1'400;
    const bool isLine = kind() == ChartKind::Line || kind() == ChartKind::ScatterLine;
    const Color color = seriesColor(series);
    std::string name = openStyle(numberStyle_);
    if (isPie()) styles_.attribute("style:percentage-data-style-name", formats_.of(u"0.0%").name);
    styles_.open("style:chart-properties");
    if (isLine) {
        styles_.attribute("chart:symbol-type", "named-symbol").attribute("chart:symbol-name", "circle");
        styles_.attribute("chart:symbol-width", OdsLength{kMarker});
        styles_.attribute("chart:symbol-height", OdsLength{kMarker});
    }
    writeLabels();
    styles_.close().open("style:graphic-properties");
    if (isLine) {
        styles_.attribute("draw:stroke", "solid").attribute("svg:stroke-width", OdsLength{kSeriesLine});
        styles_.attribute("svg:stroke-color", OdsColor{color});
    } else {
        styles_.attribute("draw:stroke", "none");
    }
    writeFill(color, kind() == ChartKind::Bubble ? kBubbleOpacity : 1);
    styles_.close();
    writeFont(kLabelPoints, false);
    closeStyle();
    return name;
}

std::string ChartPart::styleOfSlice(std::size_t slice) {
    std::string name = openStyle(numberStyle_);
    styles_.open("style:graphic-properties").attribute("draw:stroke", "solid");
    styles_.attribute("svg:stroke-width", OdsLength{kSeam}).attribute("svg:stroke-color", "#ffffff");
    writeFill(seriesColor(slice));
    styles_.close();
    closeStyle();
    return name;
}

void ChartPart::writeTitle(const std::u16string& text, int points, bool bold, bool isVertical) {
    if (text.empty()) return;
    xml_.open("chart:title").attribute("chart:style-name", styleOfText(points, bold, isVertical)).text();
    appendOdsText(xml_.content(), text, {});
    xml_.close().lineEnd();
}

void ChartPart::writeAxis(bool isHorizontal) {
    const bool isCategory = isHorizontal && !hasSeparateAxes();
    const ChartSettings& settings = chart_.settings;
    xml_.open("chart:axis").attribute("chart:dimension", isHorizontal ? "x" : "y");
    xml_.attribute("chart:name", isHorizontal ? "primary-x" : "primary-y");
    xml_.attribute("chart:style-name", styleOfAxis(isCategory, isHorizontal));
    if (!isPie())
        writeTitle(isHorizontal ? settings.xTitle : settings.yTitle, kLabelPoints, false, !isHorizontal);
    if (isCategory && !numbers_.categories.empty()) {
        xml_.open("chart:categories").attribute("table:cell-range-address", numberCells(0)).close();
    }
    if (!isCategory && !isPie()) {
        const std::string name = openStyle();
        styles_.open("style:graphic-properties").attribute("draw:stroke", "solid");
        styles_.attribute("svg:stroke-width", OdsLength{kThinLine});
        styles_.attribute("svg:stroke-color", OdsColor{kGridLine}).close();
        closeStyle();
        xml_.open("chart:grid").attribute("chart:style-name", name).attribute("chart:class", "major").close();
    }
    xml_.close().lineEnd();
}

// The domains of a bubble are the values and then the x; its values are the sizes.
void ChartPart::writeSeries(std::size_t index) {
    const ChartBlock::Series& series = numbers_.series[index];
    const auto cells = [&](std::size_t column) { return numberCells(numbers_.sheetColumn(column)); };
    const auto domain = [&](std::size_t column) {
        xml_.open("chart:domain").attribute("table:cell-range-address", cells(column)).close();
    };
    const bool isBubble = kind() == ChartKind::Bubble;
    xml_.open("chart:series").attribute("chart:style-name", styleOfSeries(index));
    xml_.attribute("chart:values-cell-range-address", cells(isBubble ? series.size : series.values));
    if (!numbers_.columns[series.values].title.empty()) {
        xml_.attribute("chart:label-cell-address", titleCell(numbers_.sheetColumn(series.values)));
    }
    xml_.attribute("chart:class", className());
    if (isBubble) domain(series.values);
    if (hasSeparateAxes()) domain(series.x);
    for (std::size_t slice = 0; isPie() && slice < numbers_.categories.size(); ++slice) {
        xml_.open("chart:data-point").attribute("chart:style-name", styleOfSlice(slice)).close();
    }
    xml_.close().lineEnd();
}

bool ChartPart::hasLegend() const {
    const auto isNamed = [](const std::u16string& name) { return !name.empty(); };
    const bool any =
        isPie() ? std::any_of(numbers_.categories.begin(), numbers_.categories.end(), isNamed)
                : std::any_of(numbers_.series.begin(), numbers_.series.end(), [&](const auto& series) {
                      return isNamed(numbers_.columns[series.values].title);
                  });
    return chart_.settings.showLegend && any;
}

std::string ChartPart::write() {
    if (numbers_.format != u"General") numberStyle_ = formats_.of(numbers_.format).name;
    const std::string whole = openStyle();
    styles_.open("style:graphic-properties").attribute("draw:stroke", "none");
    writeFill(style_ != nullptr && style_->background ? *style_->background : Color{255, 255, 255});
    styles_.close();
    closeStyle();
    xml_.open("chart:chart").attribute("svg:width", OdsLength{size_.width});
    xml_.attribute("svg:height", OdsLength{size_.height}).attribute("xlink:href", "..");
    xml_.attribute("xlink:type", "simple").attribute("chart:class", className());
    xml_.attribute("chart:style-name", whole).lineEnd();
    writeTitle(chart_.settings.title, kTitlePoints, true, false);
    if (hasLegend()) {
        xml_.open("chart:legend").attribute("chart:legend-position", "bottom");
        xml_.attribute("chart:style-name", styleOfText(kLabelPoints, false, false)).close().lineEnd();
    }
    const std::string plot = openStyle();
    styles_.open("style:chart-properties").attribute("chart:include-hidden-cells", "true");
    styles_.attribute("chart:treat-empty-cells", "leave-gap");
    if (isPie()) styles_.attribute("chart:angle-offset", 90);
    if (kind() == ChartKind::ScatterLine) styles_.attribute("chart:lines", "true");
    styles_.close();
    closeStyle();
    const int last = static_cast<int>(numbers_.sheetColumn(numbers_.columns.size())) - 1;
    const auto rows = static_cast<std::int64_t>(numbers_.rowCount());
    xml_.open("chart:plot-area").attribute("chart:style-name", plot);
    xml_.attribute("table:cell-range-address", cellsOf({firstRow_, firstRow_ + rows, 0, last}));
    xml_.attribute("chart:data-source-has-labels", "both").lineEnd();
    writeAxis(true);
    writeAxis(false);
    for (std::size_t i = 0; i < numbers_.series.size(); ++i) writeSeries(i);
    const std::string wall = openStyle();
    styles_.open("style:graphic-properties").attribute("draw:stroke", "none").attribute("draw:fill", "none");
    styles_.close();
    closeStyle();
    xml_.open("chart:wall").attribute("chart:style-name", wall).close();
    xml_.close().close().lineEnd();

    std::string part;
    XmlWriter document(part);
    openOdsPart(document, "office:document-content").open("office:automatic-styles").lineEnd();
    document.open("number:number-style").attribute("style:name", kGeneral);
    document.open("number:number").attribute("number:min-integer-digits", 1).close().close().lineEnd();
    document.content() += formats_.styles();
    document.content() += stylesText_;
    document.close().open("office:body").open("office:chart").content() += body_;
    document.close().close().close().lineEnd();
    return part;
}

}  // namespace

bool OdsCharts::canHold(const ShownChart& chart) const {
    constexpr std::size_t kMostBytes = 64u << 20;  // of all charts; further ones are drawn
    return bytes_ <= kMostBytes && canBeNative(chart, rowCount_, OdsSheet::kMaxRows);
}

std::string OdsCharts::add(const ShownChart& chart, Size size, const ResolvedStyle* style) {
    const ChartBlock numbers = blockOf(chart);
    if (rowCount_ > 0) {
        rows_.append("<table:table-row><table:table-cell/></table:table-row>\n");
        ++rowCount_;
    }
    const std::int64_t firstRow = rowCount_;
    for (std::size_t row = 0; row <= numbers.rowCount(); ++row) {
        XmlWriter xml(rows_.end());
        xml.open("table:table-row");
        for (const SheetValue& value : numbers.row(row)) {
            xml.open("table:table-cell");
            if (value.isNumber()) {
                xml.attribute("office:value-type", "float").attribute("office:value", value.number);
                xml.open("text:p").text(value.number).close();
            } else if (value.kind == SheetValue::Kind::Text) {
                xml.attribute("office:value-type", "string").text();
                appendOdsText(xml.content(), value.text, {});
            }
            xml.close();
        }
        xml.close().lineEnd();
        rows_.writeIfLarge();
        ++rowCount_;
    }
    parts_.push_back(ChartPart(chart, numbers, firstRow, size, style).write());
    bytes_ += parts_.back().size();
    const int last = static_cast<int>(numbers.sheetColumn(numbers.columns.size())) - 1;
    columnCount_ = std::max(columnCount_, last + 1);
    std::string object;
    XmlWriter xml(object);
    xml.open("draw:object")
        .attribute("draw:notify-on-update-of-ranges", cellsOf({firstRow, rowCount_ - 1, 0, last}));
    xml.attribute("xlink:href", "./Object ", parts_.size()).attribute("xlink:type", "simple");
    xml.attribute("xlink:show", "embed").attribute("xlink:actuate", "onLoad").close();
    return object;
}

void OdsCharts::writeNumbers(Spool& body, std::string_view tableStyle) {
    std::string start;
    XmlWriter xml(start);
    xml.open("table:table").attribute("table:name", kChartNumbersSheet);
    xml.attribute("table:style-name", tableStyle).lineEnd();
    xml.open("table:table-column").attribute("table:number-columns-repeated", columnCount_).close().lineEnd();
    body.append(start);
    body.append(std::move(rows_));
    body.append("</table:table>\n");
}

}  // namespace qbsvrl6
