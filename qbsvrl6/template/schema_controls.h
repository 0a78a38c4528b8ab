// The vocabulary of templates, as schema.h explains it: styles, sources of rows, and controls.
#ifndef QBSVR_QBSVRL6_TEMPLATE_SCHEMA_CONTROLS_H
#define QBSVR_QBSVRL6_TEMPLATE_SCHEMA_CONTROLS_H

#include <algorithm>
#include <array>
#include <type_traits>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/template/schema_words.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

// Paper, margins, page headers and footers belong to the outermost report alone.
enum class ReportPlace { Root, SubReport };

template <class Element, class ReportLike>
void describeReport(Element& element, ReportLike& report, ReportPlace place);

// All style attributes are optional. An unset one is inherited: from the named style and its parents, then
// from <DefaultStyle>, then from that of the report around a sub-report, then from the built-in defaults of
// ResolvedStyle (model/style.h).
//
// Units: `fontSize` is in points; `lineSpacing` is a multiple of the font's own line height; `padding` has
// one length for all sides or four, from the left clockwise. `border` sets all four lines, `borderLeft` and
// so on replace single ones; four equal lines are saved as one `border`.
template <class Element, class StyleLike>
void describeStyle(Element& element, StyleLike& style) {
    element.attribute("font", style.fontFamily, TextCodec{});
    element.attribute("language", style.language, WordCodec<TextLanguage>{kLanguages});
    element.attribute("fontSize", style.fontSize, FontSizeCodec{});
    element.attribute("bold", style.bold, SwitchCodec{});
    element.attribute("italic", style.italic, SwitchCodec{});
    element.attribute("underline", style.underline, SwitchCodec{});
    element.attribute("color", style.color, ColorCodec{});
    element.attribute("background", style.background, ColorCodec{});
    element.attribute("align", style.align, WordCodec<HorizontalAlign>{kAligns});
    element.attribute("verticalAlign", style.verticalAlign, WordCodec<VerticalAlign>{kVerticalAligns});
    element.attribute("fit", style.fit, WordCodec<TextFit>{kFits});
    element.attribute("rotation", style.rotation, WordCodec<int>{kRotations});
    element.attribute("lineSpacing", style.lineSpacing, NumberCodec{0.5, 10});
    element.attribute("padding", style.padding, EdgesCodec{});
    element.borders(style.borderLeft, style.borderTop, style.borderRight, style.borderBottom);
}

// Where rows come from. `connection` is one of model/connection.h, or empty to inherit that of the enclosing
// report. `query` is the address of a data file, or SQL. Relative files start at the folder of the template,
// also in a copy that is saved elsewhere. <Query> is the same for texts of several lines. `method`, <Header>
// and <Body> belong to a query that is a web address; a body is posted. `table` names one table of the data;
// without it, the first is used. Names of tables are checked at export, when the data is there. `tableUse`
// distinguishes equal table names in messages.
template <class Element, class SourceLike>
void describeDataSource(Element& element, SourceLike& source, TextUse tableUse) {
    element.connection("connection", source.connection, tableUse);
    element.query("query", source.query);
    element.tableName("table", source.table, tableUse);
    element.attribute("method", source.method, HttpMethod::Get, WordCodec<HttpMethod>{kHttpMethods});
    element.queryText("Query", source.query);
    element.list("Header", source.headers, [](auto& child, auto& header) {
        child.required("name", header.name, TextCodec{});
        child.attribute("value", header.value, {}, TextCodec{});
    });
    element.text("Body", source.body);
}

// The content of each type of control. Its attributes share one element with those of the style and of the
// control itself, so their names differ: a line has `lineColor`, since `color` belongs to the style.
//
// A PlaceholderCodec is a text with placeholders, "[Amount:#,##0.00]". Only its grammar is checked here.
// Names are resolved at export, against the data.

// Text in the style of the control. `suppressRepeated` applies to cells: a value that equals that of the row
// above is not shown. `removeWhenBlank` applies to sections: an empty text takes no height.
template <class Element, class ContentLike>
void describeText(Element& element, ContentLike& text) {
    static const TextContent defaults;
    element.attribute("text", text.text, {}, PlaceholderCodec{});
    element.attribute("link", text.link, {}, PlaceholderCodec{});
    element.attribute("evaluate", text.evaluate, defaults.evaluate,
                      WordCodec<TextContent::Evaluate>{kEvaluations});
    element.attribute("suppressRepeated", text.suppressRepeated, defaults.suppressRepeated, SwitchCodec{});
    element.attribute("removeWhenBlank", text.removeWhenBlank, defaults.removeWhenBlank, SwitchCodec{});
}

// A diagonal of the control's box, from the upper left corner or, if `rising`, from the lower left one. A box
// without height or width makes a horizontal or vertical line.
template <class Element, class ContentLike>
void describeLine(Element& element, ContentLike& line) {
    static const LineContent defaults;
    element.attribute("lineWidth", line.width, defaults.width, LengthCodec{});
    element.attribute("lineColor", line.color, defaults.color, ColorCodec{});
    element.attribute("dashed", line.dashed, defaults.dashed, SwitchCodec{});
    element.attribute("rising", line.rising, defaults.rising, SwitchCodec{});
}

// A frame, filled if `fill` is set. `cornerRadius` is a length, limited to half of the shorter side when
// drawn.
template <class Element, class ContentLike>
void describeBox(Element& element, ContentLike& box) {
    static const BoxContent defaults;
    element.attribute("lineWidth", box.line.width, defaults.line.width, LengthCodec{});
    element.attribute("lineColor", box.line.color, defaults.line.color, ColorCodec{});
    element.attribute("fill", box.fill, ColorCodec{});
    element.attribute("cornerRadius", box.cornerRadius, defaults.cornerRadius, LengthCodec{});
    element.attribute("signature", box.isSignature, defaults.isSignature, SwitchCodec{});
}

// `source` is a file, a URL or Base64 data, and wins over the bytes of <Embedded>. `folder` is where a
// relative source starts. It is saved only if that is not the folder of the saved template.
template <class Element, class ContentLike>
void describePicture(Element& element, ContentLike& picture) {
    static const PictureContent defaults;
    element.attribute("source", picture.source, {}, PlaceholderCodec{});
    element.startingFolder("folder", picture.folder, picture.source);
    element.attribute("scale", picture.fit, defaults.fit, WordCodec<PictureFit>{kPictureFits});
    element.attribute("alternateText", picture.alternateText, {}, PlaceholderCodec{});
    element.bytes("Embedded", picture.embedded);
}

// `type` is a number of tagQBBarcodeType. Numbers without a symbol, and texts that the symbol cannot hold,
// are accepted here and logged at export.
template <class Element, class ContentLike>
void describeBarcode(Element& element, ContentLike& barcode) {
    static const BarcodeContent defaults;
    element.attribute("type", barcode.type, defaults.type, IntegerCodec{1, 999});
    element.attribute("text", barcode.text, {}, PlaceholderCodec{});
    element.attribute("showText", barcode.showText, defaults.showText, SwitchCodec{});
}

// Charts have their numbers from rows, from the template, or from a program. Both kinds of <Series> have the
// same name; a series with one of these attributes reads its numbers from rows. The two kinds are not mixed.
inline constexpr std::array<const char*, 5> kRowSeriesMarks = {"value", "aggregate", "x", "y", "size"};

// The numbers of the series are expressions over rows: one per category, or one point per row. Which
// attributes are required depends on the kind of the chart, so <Chart> reads `kind` first. Each distinct
// `label` becomes a series of its own.
template <class Element, class SeriesLike>
void describeRowSeries(Element& element, SeriesLike& series, ChartKind kind) {
    constexpr ExpressionCodec kNeeded{.mayBeBlank = false};
    element.attribute("label", series.label, {}, PlaceholderCodec{});
    if (hasPoints(kind)) {
        element.required("x", series.x, kNeeded);
        element.required("y", series.y, kNeeded);
        if (kind == ChartKind::Bubble) element.required("size", series.size, kNeeded);
        return;
    }
    element.attribute("aggregate", series.aggregate, ChartAggregate::Sum,
                      WordCodec<ChartAggregate>{kChartAggregates});
    if (series.aggregate == ChartAggregate::Count) {
        element.attribute("value", series.value, {}, ExpressionCodec{});  // none: the rows themselves
    } else {
        element.required("value", series.value, kNeeded);
    }
}

// The rows are those of the section around the chart, or all rows of `table`. `filter` and `sort` select and
// order them before there are pages, and therefore don't know the page.
template <class Element, class RowsLike>
void describeChartRows(Element& element, RowsLike& rows, ChartKind kind) {
    element.tableName("table", rows.table, TextUse::ChartTable);
    element.attribute("filter", rows.filter, {}, ExpressionCodec{.knowsPage = false});
    element.attribute("category", rows.category, {}, PlaceholderCodec{});
    element.attribute("sort", rows.sort, {}, SortCodec{});
    element.attribute("top", rows.top, 0, IntegerCodec{1, static_cast<int>(limits::kChartPoints)});
    element.attribute("others", rows.others, {}, TextCodec{});
    element.refuse(!rows.others.empty() && rows.top == 0,
                   "\"others\" needs \"top\", the number of categories before it");
    const auto marked = [](const auto& child) { return child.hasAny(kRowSeriesMarks); };
    element.listOf("Series", rows.series, marked,
                   [=](auto& child, auto& series) { describeRowSeries(child, series, kind); });
    const bool hasCategories = !rows.category.empty() || !rows.sort.empty() || rows.top > 0;
    element.refuse(rows.series.empty() && (hasCategories || !rows.table.empty() || !rows.filter.empty()),
                   "a chart of rows has a <Series> with \"value\", or with \"x\" and \"y\"");
    element.refuse(hasCategories && hasPoints(kind), "scatter lines and bubbles have no categories");
}

// The numbers are in the template itself: `values` one per category, or <Point> elements. `size` is that of a
// bubble; other charts ignore it. A list of values may be shorter than that of the categories.
template <class Element, class DataLike>
void describeChartData(Element& element, DataLike& data, bool isOfRows) {
    constexpr const char* kMixed = "the numbers of a chart are either all of rows or all in the template";
    element.list("Category", data.categories, [=](auto& child, auto& name) {
        child.refuse(isOfRows, kMixed);
        child.required("name", name, TextCodec{});
    });
    const auto unmarked = [](const auto& child) { return !child.hasAny(kRowSeriesMarks); };
    element.listOf("Series", data.series, unmarked, [=](auto& child, auto& series) {
        child.refuse(isOfRows, kMixed);
        child.attribute("label", series.label, {}, TextCodec{});
        child.attribute("values", series.values, {}, NumberListCodec{});
        child.list("Point", series.points, [](auto& point, auto& value) {
            point.required("x", value.x, kAnyNumber);
            point.required("y", value.y, kAnyNumber);
            point.attribute("size", value.size, 0.0, kAnyNumber);
        });
    });
}

// `valueFormat` is a number format (docs/formats.md) for axes and value labels; without one, numbers have as
// many digits as they need.
template <class Element, class ContentLike>
void describeChart(Element& element, ContentLike& chart) {
    static const ChartSettings defaults;
    auto& settings = chart.settings;
    element.attribute("kind", settings.kind, defaults.kind, WordCodec<ChartKind>{kChartKinds});
    element.attribute("title", settings.title, {}, PlaceholderCodec{});
    element.attribute("xTitle", settings.xTitle, {}, PlaceholderCodec{});
    element.attribute("yTitle", settings.yTitle, {}, PlaceholderCodec{});
    element.attribute("alternateText", chart.alternateText, {}, PlaceholderCodec{});
    element.attribute("showLegend", settings.showLegend, defaults.showLegend, SwitchCodec{});
    element.attribute("showValues", settings.showValues, defaults.showValues, SwitchCodec{});
    element.attribute("valueFormat", settings.valueFormat, {}, TextCodec{});
    // If a program has replaced the numbers of the rows, its numbers are saved.
    if (chart.data.empty()) describeChartRows(element, chart.rows, settings.kind);
    describeChartData(element, chart.data, !chart.rows.series.empty());
}

inline bool hasOwnRows(const ReportDefinition& report) {
    const auto isSet = [](const DataSource& source) {
        return !source.connection.empty() || !source.query.empty() || !source.table.empty();
    };
    return isSet(report.data) || (report.grid && isSet(report.grid->recordset));
}

// Parameters are expressions in the scope of the enclosing report and replace the values of the sub-report's
// parameters of the same name. `Return` gives values back: its expressions are in the scope of the nested
// report. With rows="section", its rows are those of the section around it. The nested report is complete,
// except that it has no pages; the depth is limited (limits::kSubReportDepth).
template <class Element, class ContentLike>
void describeSubReport(Element& element, ContentLike& subReport) {
    element.attribute("rows", subReport.hasSectionRows, false, WordCodec<bool>{kSubReportRows});
    element.list("Parameter", subReport.parameters, [](auto& child, auto& parameter) {
        child.required("name", parameter.name, TextCodec{});
        child.required("expression", parameter.expression, ExpressionCodec{.mayBeBlank = false});
    });
    element.list("Return", subReport.returns, [](auto& child, auto& returned) {
        child.returnName("name", returned.name);
        child.innerExpression("expression", returned.expression);
    });
    element.nestedReport("Report", subReport.report);
    element.refuse(
        subReport.hasSectionRows && subReport.report && hasOwnRows(subReport.report->definition),
        "rows=\"section\" takes the rows of the section: <Data> and <Recordset> have no place here");
}

// The attributes of a control apart from its content. The position of a cell is that of its column and row.
// In sections of the grid, `column` and `toColumn` replace x and width: the control follows these columns
// wherever they are. Names of columns and styles must exist. Names of controls need not be unique.
template <class Element, class ControlLike>
void describeControlFrame(Element& element, ControlLike& control, bool inCell) {
    element.attribute("name", control.name, {}, TextCodec{});
    if (!inCell) {
        element.attribute("x", control.box.x, 0, kPosition);
        element.attribute("y", control.box.y, 0, kPosition);
        element.attribute("width", control.box.width, 0, LengthCodec{});
        element.attribute("height", control.box.height, 0, LengthCodec{});
        element.columnReference("column", control.column);
        element.columnReference("toColumn", control.toColumn);
    }
    element.styleReference("style", control.styleName);
    element.attribute("visibleWhen", control.visibleWhen, {}, ExpressionCodec{});
    describeStyle(element, control.style);
}

// Conditional styles, in order: each one whose test is true is applied on top of the ones before.
template <class Element, class ControlLike>
void describeConditions(Element& element, ControlLike& control) {
    element.list("When", control.conditions, [](auto& child, auto& condition) {
        child.required("test", condition.when, ExpressionCodec{.mayBeBlank = false});
        child.styleReference("style", condition.style);
    });
}

// Calls `visit` for each type of control: with the name of its element, an empty content, and the function
// that describes such content.
template <class Visitor>
void forEachControlKind(Visitor&& visit) {
    visit("Text", TextContent{}, [](auto& element, auto& content) { describeText(element, content); });
    visit("Line", LineContent{}, [](auto& element, auto& content) { describeLine(element, content); });
    visit("Box", BoxContent{}, [](auto& element, auto& content) { describeBox(element, content); });
    visit("Picture", PictureContent{},
          [](auto& element, auto& content) { describePicture(element, content); });
    visit("Barcode", BarcodeContent{},
          [](auto& element, auto& content) { describeBarcode(element, content); });
    visit("Chart", ChartContent{}, [](auto& element, auto& content) { describeChart(element, content); });
    visit("SubReport", SubReportContent{},
          [](auto& element, auto& content) { describeSubReport(element, content); });
}

}  // namespace qbsvrl6

#endif
