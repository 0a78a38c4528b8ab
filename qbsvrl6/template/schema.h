// The vocabulary of templates, defined once for reading and writing.
//
// Each describe function names the attributes and children of one element, in the order in which they are
// written. `Element` is ReadElement (reader.cpp) or WriteElement (writer.cpp), which have the same members; a
// described value is const when it is written. A field of the model that is named here is both read and
// saved.
//
// An attribute has a name, a field, a default and a codec (values.h). An attribute that is absent leaves the
// field at its default; a field that equals its default is not written. `attribute` without a default is for
// optional fields: absent means unset. `required` rejects an attribute that is absent or empty. The codec
// defines the units and the range: lengths are micrometres in the model and have a unit in the file, font
// sizes are points, and values out of range are errors with line and column.
//
// The order of the calls is the order in saved files. It also matters where one attribute decides how the
// next ones are read, as the kind of a chart does. docs/template-format.xsd and docs/template-format.md
// describe the same vocabulary; a test compares the three.
#ifndef QBSVR_QBSVRL6_TEMPLATE_SCHEMA_H
#define QBSVR_QBSVRL6_TEMPLATE_SCHEMA_H

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/template/text_values.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

// The version of the format, in the attribute `version` of the root: required, and always 1. Files of another
// version are rejected rather than read in part. A change that older files survive, such as a new attribute
// with a default, keeps the version.
inline constexpr int kTemplateVersion = 1;

// The words of enumerated attributes, with their values. Case matters. The first word is written for a
// value that has none: programs can set any number through the C interface.

// Vertical formats, in micrometres. Other papers have a width and a height instead of a size.
inline constexpr std::array<Word<Size>, 6> kPaperSizes = {{{"A3", {297'000, 420'000}},
                                                           {"A4", {210'000, 297'000}},
                                                           {"A5", {148'000, 210'000}},
                                                           {"A6", {105'000, 148'000}},
                                                           {"Letter", {215'900, 279'400}},
                                                           {"Legal", {215'900, 355'600}}}};
// Whether width and height of the size are exchanged.
inline constexpr std::array<Word<bool>, 2> kOrientations = {{{"portrait", false}, {"landscape", true}}};
inline constexpr std::array<Word<HttpMethod>, 2> kHttpMethods = {
    {{"GET", HttpMethod::Get}, {"POST", HttpMethod::Post}}};
// The types of fields and parameters. Their values are converted to it when they are read.
inline constexpr std::array<Word<DataType>, 4> kDataTypes = {{{"text", DataType::Text},
                                                              {"number", DataType::Number},
                                                              {"boolean", DataType::Boolean},
                                                              {"date", DataType::Date}}};
inline constexpr std::array<Word<PdfDuplex>, 4> kDuplexes = {{{"unset", PdfDuplex::Unset},
                                                              {"simplex", PdfDuplex::Simplex},
                                                              {"longEdge", PdfDuplex::LongEdge},
                                                              {"shortEdge", PdfDuplex::ShortEdge}}};
inline constexpr std::array<Word<WorkbookFreeze>, 3> kFreezes = {
    {{"titles", WorkbookFreeze::Titles}, {"both", WorkbookFreeze::Both}, {"none", WorkbookFreeze::None}}};
inline constexpr std::array<Word<WorkbookCharts>, 2> kWorkbookCharts = {
    {{"native", WorkbookCharts::Native}, {"drawn", WorkbookCharts::Drawn}}};
inline constexpr std::array<Word<AttachmentRelation>, 5> kRelations = {
    {{"Unspecified", AttachmentRelation::Unspecified},
     {"Data", AttachmentRelation::Data},
     {"Source", AttachmentRelation::Source},
     {"Alternative", AttachmentRelation::Alternative},
     {"Supplement", AttachmentRelation::Supplement}}};
// Of ideographs, which have other forms in each language. `auto` decides by the text and the font.
inline constexpr std::array<Word<TextLanguage>, 4> kLanguages = {{{"auto", TextLanguage::Unknown},
                                                                  {"zh", TextLanguage::Chinese},
                                                                  {"ja", TextLanguage::Japanese},
                                                                  {"ko", TextLanguage::Korean}}};
inline constexpr std::array<Word<HorizontalAlign>, 4> kAligns = {{{"left", HorizontalAlign::Left},
                                                                  {"center", HorizontalAlign::Center},
                                                                  {"right", HorizontalAlign::Right},
                                                                  {"justify", HorizontalAlign::Justify}}};
inline constexpr std::array<Word<VerticalAlign>, 3> kVerticalAligns = {
    {{"top", VerticalAlign::Top}, {"middle", VerticalAlign::Middle}, {"bottom", VerticalAlign::Bottom}}};
inline constexpr std::array<Word<TextFit>, 4> kFits = {{{"grow", TextFit::Grow},
                                                        {"clip", TextFit::Clip},
                                                        {"ellipsis", TextFit::Ellipsis},
                                                        {"shrink", TextFit::Shrink}}};
// Degrees clockwise.
inline constexpr std::array<Word<int>, 4> kRotations = {{{"0", 0}, {"90", 90}, {"180", 180}, {"270", 270}}};
// The scope that has to be complete before a text is evaluated.
inline constexpr std::array<Word<TextContent::Evaluate>, 4> kEvaluations = {
    {{"now", TextContent::Evaluate::Now},
     {"page", TextContent::Evaluate::Page},
     {"group", TextContent::Evaluate::Group},
     {"report", TextContent::Evaluate::Report}}};
inline constexpr std::array<Word<PictureFit>, 3> kPictureFits = {
    {{"contain", PictureFit::Contain}, {"stretch", PictureFit::Stretch}, {"clip", PictureFit::Clip}}};
inline constexpr std::array<Word<ChartKind>, 5> kChartKinds = {{{"bar", ChartKind::Bar},
                                                                {"pie", ChartKind::Pie},
                                                                {"line", ChartKind::Line},
                                                                {"scatterLine", ChartKind::ScatterLine},
                                                                {"bubble", ChartKind::Bubble}}};
// How the values of the rows of one category become one number.
inline constexpr std::array<Word<ChartAggregate>, 5> kChartAggregates = {
    {{"sum", ChartAggregate::Sum},
     {"average", ChartAggregate::Average},
     {"count", ChartAggregate::Count},
     {"minimum", ChartAggregate::Minimum},
     {"maximum", ChartAggregate::Maximum}}};
// Whether the rows of a sub-report are those of the section around it.
inline constexpr std::array<Word<bool>, 2> kSubReportRows = {{{"table", false}, {"section", true}}};
// What happens to columns that are wider than the page (docs/column-adapt.md). The methods with `Ex`
// put the remaining columns after all rows, the others after the rows of each page; `RepeatFixed` repeats the
// first `fixedColumns` columns on them.
inline constexpr std::array<Word<ColumnAdapt>, 9> kAdapts = {
    {{"discard", ColumnAdapt::Discard},
     {"wrap", ColumnAdapt::Wrap},
     {"resizeToFit", ColumnAdapt::ResizeToFit},
     {"shrinkToFit", ColumnAdapt::ShrinkToFit},
     {"toNewPage", ColumnAdapt::ToNewPage},
     {"toNewPageEx", ColumnAdapt::ToNewPageEx},
     {"toNewPageRepeatFixed", ColumnAdapt::ToNewPageRepeatFixed},
     {"toNewPageRepeatFixedEx", ColumnAdapt::ToNewPageRepeatFixedEx},
     {"wrapExcludeGroup", ColumnAdapt::WrapExcludeGroup}}};

// Whether labels follow one another downwards.
inline constexpr std::array<Word<bool>, 2> kFlows = {{{"across", false}, {"down", true}}};
// The numbers of pages that a section starts on.
inline constexpr std::array<Word<PageSide>, 3> kPageSides = {
    {{"any", PageSide::Any}, {"odd", PageSide::Odd}, {"even", PageSide::Even}}};
inline constexpr std::array<Word<TotalPlace>, 2> kTotalPlaces = {
    {{"after", TotalPlace::After}, {"before", TotalPlace::Before}}};

// x and y are relative to the upper left corner of the section, which begins at the left margin. They may be
// negative: controls may begin in the margin.
inline constexpr LengthCodec kPosition{-limits::kPaperMicrometres, limits::kPaperMicrometres};
// Finite: the grammar of numbers has no other.
inline constexpr NumberCodec kAnyNumber{-std::numeric_limits<double>::max(),
                                        std::numeric_limits<double>::max()};

// What an item of a list holds, for elements that walk lists without changing them.
template <class T>
const T& describedIn(const T& item) {
    return item;
}
template <class T>
const T& describedIn(const Owned<T>& item) {
    return *item;
}

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

// Where a section uses a part of an included library: its controls are moved by x and y.
inline constexpr const char* kUsePart = "UsePart";
template <class Element, class UseLike>
void describePartUse(Element& element, UseLike& use) {
    element.required("name", use.name, TextCodec{});
    element.attribute("x", use.x, 0, kPosition);
    element.attribute("y", use.y, 0, kPosition);
}

// The height of a section that has none itself: that of the parts that it uses.
inline Micrometres heightOfParts(const ControlList& controls) {
    Micrometres height = 0;
    for (const auto& control : controls.items) {
        if (control->part) height = std::max(height, control->part->y + control->part->height);
    }
    return std::min(height, limits::kPaperMicrometres);
}

// A band across the page: headers and footers of the report, of pages and of groups. `height` is what it has
// before it grows or shrinks with its content. A section that is not kept together may be divided between
// pages.
template <class Element, class SectionLike>
void describeSection(Element& element, SectionLike& section) {
    static const Section defaults;
    element.attribute("name", section.name, {}, TextCodec{});
    element.attribute("height", section.height, heightOfParts(section.controls), LengthCodec{});
    element.attribute("canGrow", section.canGrow, defaults.canGrow, SwitchCodec{});
    element.attribute("canShrink", section.canShrink, defaults.canShrink, SwitchCodec{});
    element.attribute("keepTogether", section.keepTogether, defaults.keepTogether, SwitchCodec{});
    element.attribute("newPageBefore", section.newPageBefore, defaults.newPageBefore, SwitchCodec{});
    element.attribute("newPageAfter", section.newPageAfter, defaults.newPageAfter, SwitchCodec{});
    element.attribute("startOn", section.startOn, defaults.startOn, WordCodec<PageSide>{kPageSides});
    element.pageReference("page", section.page);
    element.attribute("background", section.background, ColorCodec{});
    element.attribute("visibleWhen", section.visibleWhen, {}, ExpressionCodec{});
    element.controls(section.controls);
    if constexpr (!std::is_const_v<SectionLike>) {
        constexpr const char* kHeight = "height";
        if (!element.hasAny({&kHeight, 1})) section.height = heightOfParts(section.controls);
    }
}

inline constexpr auto kSection = [](auto& element, auto& section) { describeSection(element, section); };
inline constexpr auto kPageSection = [](auto& element, auto& section) {
    element.withoutReturns([&] { describeSection(element, section); });
};

// Whether the expression is only a name, which headers and footers can show as the key of the group.
inline bool isName(const std::u16string& expression) {
    try {
        return Expression::parse(expression).loneName() != nullptr;
    } catch (const EngineError&) {
        return false;
    }
}

// The order of <Group> elements is the order of the groups, outermost first. A change of the value of `by`
// from one row to the next begins a group. With `sort` or `top`, a group has all rows of its key within the
// outer group: `sort` orders the groups, and those after the first `top` ones are left out or become one
// group, whose key is `others`. Without `showRows`, the group is only its header and footer. `minimumRows`
// must follow the header on its page.
template <class Element, class GroupLike>
void describeGroup(Element& element, GroupLike& group) {
    static const Group defaults;
    element.attribute("name", group.name, {}, TextCodec{});
    element.required("by", group.by, ExpressionCodec{.mayBeBlank = false, .knowsPage = false});
    element.attribute("sort", group.sort, {}, SortCodec{});
    element.attribute("top", group.top, defaults.top, IntegerCodec{1, 1'000'000});
    element.attribute("others", group.others, {}, TextCodec{});
    element.refuse(!group.others.empty() && group.top == 0,
                   "\"others\" needs \"top\", the number of groups before it");
    element.refuse(!group.others.empty() && !isName(group.by),
                   "\"others\" needs a \"by\" that is a name: declare a calculated field for the expression");
    element.attribute("showRows", group.showRows, defaults.showRows, SwitchCodec{});
    element.attribute("repeatHeader", group.repeatHeader, defaults.repeatHeader, SwitchCodec{});
    element.attribute("keepTogether", group.keepTogether, defaults.keepTogether, SwitchCodec{});
    element.attribute("newPage", group.newPage, defaults.newPage, SwitchCodec{});
    element.attribute("restartPageNumber", group.restartPageNumber, defaults.restartPageNumber,
                      SwitchCodec{});
    element.pageReference("page", group.page);
    element.attribute("sheet", group.sheet, {}, PlaceholderCodec{});
    element.attribute("showTitle", group.showTitle, defaults.showTitle, SwitchCodec{});
    element.attribute("minimumRows", group.minimumRows, defaults.minimumRows, IntegerCodec{0, 1000});
    element.pointer("Header", group.header, kSection);
    element.pointer("Footer", group.footer, kSection);
}

// A width is a length, a share of the width that is left ("2*"), or that of the widest text ("auto").
// `minWidth` is the least one of the latter two.
template <class Element, class ColumnLike>
void describeColumnWidth(Element& element, ColumnLike& column) {
    ColumnWidth width{column.width, column.share, column.fitsContent};
    Micrometres least = width.isLength() ? 0 : column.width;
    element.required("width", width, ColumnWidthCodec{});
    element.attribute("minWidth", least, 0, LengthCodec{});
    element.refuse(width.isLength() && least > 0, "\"minWidth\" is of a column whose width is no length");
    if constexpr (!std::is_const_v<ColumnLike>) {
        column.width = width.isLength() ? width.length : least;
        column.share = width.share;
        column.fitsContent = width.fitsContent;
    }
}

// A column is shown if `visibleWhen` is true, which is decided once. In rows where `spanWhen` is true, its
// cell covers `span` columns. Cells below one another with an equal value of `mergeBy` are one cell.
template <class Element, class ColumnLike>
void describeColumn(Element& element, ColumnLike& column) {
    constexpr ExpressionCodec kOfRows{.knowsPage = false};
    element.required("name", column.name, TextCodec{});
    describeColumnWidth(element, column);
    element.attribute("visibleWhen", column.visibleWhen, {}, kOfRows);
    element.attribute("repeat", column.repeat, {}, kOfRows);
    element.attribute("sort", column.repeatSort, {}, SortCodec{});
    element.refuse(column.repeat.empty() && !column.repeatSort.empty(),
                   "\"sort\" is the order of the columns of \"repeat\"");
    element.attribute("mergeBy", column.mergeBy, {}, kOfRows);
    element.attribute("span", column.span, 1, IntegerCodec{2, static_cast<int>(limits::kGridColumns)});
    element.attribute("spanWhen", column.spanWhen, {}, kOfRows);
    element.refuse((column.span > 1) == column.spanWhen.empty(),
                   "\"span\" and \"spanWhen\" are only used together");
    element.cell("Title", column.title);
    element.cell("Content", column.content);
    element.refuse(!column.repeat.empty() && column.content.kind() != ControlKind::Text,
                   "a column with \"repeat\" has a text as its content");
}

// A title over the columns in the element. `height` is that of its row of titles.
template <class Element, class SpanLike>
void describeTitleSpan(Element& element, SpanLike& span) {
    element.attribute("title", std::get<TextContent>(span.title.content).text, {}, PlaceholderCodec{});
    element.attribute("height", span.height, 0, LengthCodec{});
    element.styleReference("style", span.title.styleName);
    describeStyle(element, span.title.style);
}

// Conditional styles of a cross-table: the tests are expressions of totals, as the values of cells are.
template <class Element, class Conditions>
void describeCrossConditions(Element& element, Conditions& conditions) {
    element.list("When", conditions, [](auto& child, auto& condition) {
        child.required("test", condition.when, ExpressionCodec{.mayBeBlank = false, .ofCross = true});
        child.styleReference("style", condition.style);
    });
}

// A level of the rows or columns of a cross-table. `by`, `sort`, `top` and `others` are those of a group. Each
// key has a `title`. `total` is the title of the total over the keys, next to them.
template <class Element, class LevelLike>
void describeCrossLevel(Element& element, LevelLike& level, bool isOfRows) {
    static const CrossLevel defaults;
    element.attribute("name", level.name, {}, TextCodec{});
    element.required("by", level.by, ExpressionCodec{.mayBeBlank = false, .knowsPage = false});
    element.attribute("sort", level.sort, {}, SortCodec{});
    element.attribute("top", level.top, defaults.top, IntegerCodec{1, 1'000'000});
    element.attribute("others", level.others, {}, TextCodec{});
    element.refuse(!level.others.empty() && level.top == 0,
                   "\"others\" needs \"top\", the number of keys before it");
    element.refuse(!level.others.empty() && !isName(level.by),
                   "\"others\" needs a \"by\" that is a name: declare a calculated field for the expression");
    element.attribute("title", level.title, {}, PlaceholderCodec{});
    element.styleReference("style", level.styleName);
    element.attribute("total", level.total, {}, PlaceholderCodec{});
    element.attribute("totalPlace", level.totalPlace, defaults.totalPlace,
                      WordCodec<TotalPlace>{kTotalPlaces});
    element.styleReference("totalStyle", level.totalStyleName);
    if (isOfRows) {
        element.attribute("heading", level.heading, {}, PlaceholderCodec{});
        element.styleReference("headingStyle", level.headingStyleName);
        element.attribute("width", level.width, defaults.width, LengthCodec{});
    } else {
        element.attribute("height", level.height, defaults.height, LengthCodec{});
    }
    describeCrossConditions(element, level.conditions);
}

// A measure: its value is an expression of totals over the rows of each cell.
template <class Element, class CellLike>
void describeCrossCell(Element& element, CellLike& cell) {
    static const CrossCell defaults;
    element.attribute("title", cell.title, {}, PlaceholderCodec{});
    element.styleReference("titleStyle", cell.titleStyleName);
    element.required("value", cell.value, ExpressionCodec{.mayBeBlank = false, .ofCross = true});
    element.attribute("format", cell.format, {}, TextCodec{});
    element.refuse(cell.format.find(u']') != std::u16string::npos,
                   "a format has no closing bracket, which ends that of a placeholder");
    element.attribute("empty", cell.empty, {}, TextCodec{});
    element.attribute("width", cell.width, defaults.width, LengthCodec{});
    element.styleReference("style", cell.styleName);
    describeStyle(element, cell.style);
    describeCrossConditions(element, cell.conditions);
}

// The grid of a cross-table, whose columns and rows come from the data: at most one grid per report.
template <class Element, class GridLike>
void describeCrossTable(Element& element, GridLike& grid) {
    static const DetailGrid defaults;
    if constexpr (!std::is_const_v<GridLike>) {
        grid.cross.emplace();
        grid.adapt = ColumnAdapt::ToNewPageRepeatFixed;
    }
    element.attribute("titleHeight", grid.titleHeight, defaults.titleHeight, LengthCodec{});
    element.attribute("repeatTitle", grid.repeatTitle, defaults.repeatTitle, SwitchCodec{});
    element.attribute("rowHeight", grid.rowHeight, defaults.rowHeight, LengthCodec{});
    element.attribute("rowCanGrow", grid.rowCanGrow, defaults.rowCanGrow, SwitchCodec{});
    element.attribute("alternateBackground", grid.alternateBackground, ColorCodec{});
    element.attribute("adapt", grid.adapt, ColumnAdapt::ToNewPageRepeatFixed,
                      WordCodec<ColumnAdapt>{kAdapts});
    element.attribute("centered", grid.centered, defaults.centered, SwitchCodec{});
    element.attribute("filter", grid.filter, {}, ExpressionCodec{.knowsPage = false});
    element.child("Recordset",
                  [&](auto& child) { describeDataSource(child, grid.recordset, TextUse::GridTable); });
    auto& cross = *grid.cross;
    element.list("Row", cross.rows, [](auto& child, auto& level) { describeCrossLevel(child, level, true); });
    element.list("Column", cross.columns,
                 [](auto& child, auto& level) { describeCrossLevel(child, level, false); });
    element.list("Cell", cross.cells, [](auto& child, auto& cell) { describeCrossCell(child, cell); });
    element.refuse(cross.cells.empty(), "a <CrossTable> has a <Cell>");
    element.refuse(std::max(cross.rows.size(), cross.columns.size()) > limits::kCrossLevels ||
                       cross.cells.size() > limits::kCrossMeasures,
                   "a <CrossTable> has at most 16 levels of rows, 16 of columns and 64 cells");
    static_assert(limits::kCrossLevels == 16 && limits::kCrossMeasures == 64);
}

// The detail grid: at most one per report. A title height of 0 means no titles. The height of rows is the
// least one if they can grow. `sort` is the order of the rows. Column names are unique, since controls refer
// to them. `alternateBackground` is that of every second row of the innermost group.
template <class Element, class GridLike>
void describeGrid(Element& element, GridLike& grid) {
    static const DetailGrid defaults;
    element.attribute("titleHeight", grid.titleHeight, defaults.titleHeight, LengthCodec{});
    element.attribute("repeatTitle", grid.repeatTitle, defaults.repeatTitle, SwitchCodec{});
    element.attribute("rowHeight", grid.rowHeight, defaults.rowHeight, LengthCodec{});
    element.attribute("rowCanGrow", grid.rowCanGrow, defaults.rowCanGrow, SwitchCodec{});
    element.attribute("alternateBackground", grid.alternateBackground, ColorCodec{});
    element.attribute("adapt", grid.adapt, defaults.adapt, WordCodec<ColumnAdapt>{kAdapts});
    element.attribute("fixedColumns", grid.fixedColumns, defaults.fixedColumns,
                      IntegerCodec{0, static_cast<int>(limits::kGridColumns)});
    element.attribute("fillBlankRows", grid.fillBlankRows, defaults.fillBlankRows, SwitchCodec{});
    element.attribute("centered", grid.centered, defaults.centered, SwitchCodec{});
    element.attribute("rowsMayBreak", grid.rowsMayBreak, defaults.rowsMayBreak, SwitchCodec{});
    element.attribute("keepWithNext", grid.keepWithNext, {}, ExpressionCodec{.knowsPage = false});
    element.attribute("filter", grid.filter, {}, ExpressionCodec{.knowsPage = false});
    element.attribute("sort", grid.sort, {}, SortCodec{});
    element.child("Recordset",
                  [&](auto& child) { describeDataSource(child, grid.recordset, TextUse::GridTable); });
    element.child("Columns", [&](auto& columns) {
        columns.columnTree(
            "Column", "Span", grid.columns, [](auto& child, auto& column) { describeColumn(child, column); },
            [](auto& child, auto& span) { describeTitleSpan(child, span); });
    });
    element.pointer("Header", grid.header, kSection);
    element.pointer("Footer", grid.footer, kSection);
    element.child("Groups", [&](auto& groups) {
        groups.list("Group", grid.groups, [](auto& child, auto& group) { describeGroup(child, group); });
    });
}

// Labels in place of the rows of a grid: one for each row, or as many as `copies` gives. They are side by side,
// in lines or, with `flow`, in columns; the first sheet begins at the place `start`.
template <class Element, class GridLike>
void describeLabels(Element& element, GridLike& grid) {
    static const Labels defaults;
    if constexpr (!std::is_const_v<GridLike>) {
        grid.labels.emplace();
        grid.labels->label.canGrow = false;
        grid.titleHeight = 0;
    }
    auto& labels = *grid.labels;
    constexpr LengthCodec kSize{1'000};
    element.required("width", labels.width, kSize);
    element.required("height", labels.label.height, kSize);
    element.attribute("columns", labels.columns, defaults.columns, IntegerCodec{1, 100});
    element.attribute("columnGap", labels.columnGap, defaults.columnGap, LengthCodec{});
    element.attribute("rowGap", labels.rowGap, defaults.rowGap, LengthCodec{});
    element.attribute("flow", labels.down, defaults.down, WordCodec<bool>{kFlows});
    element.attribute("start", labels.start, {}, ExpressionCodec{.knowsPage = false});
    element.attribute("copies", labels.copies, {}, ExpressionCodec{.knowsPage = false});
    element.attribute("background", labels.label.background, ColorCodec{});
    element.attribute("filter", grid.filter, {}, ExpressionCodec{.knowsPage = false});
    element.attribute("sort", grid.sort, {}, SortCodec{});
    element.child("Recordset",
                  [&](auto& child) { describeDataSource(child, grid.recordset, TextUse::GridTable); });
    element.controls(labels.label.controls);
}

// The paper has a `size` with an `orientation`, or a `width` and `height`, never both; `margins` is a list of
// edges as `padding` is. `columns` divide the space between the margins for the detail, as labels need it;
// `columnGap` is a length between two of them.
template <class Element, class ReportLike>
void describePage(Element& element, ReportLike& report) {
    static const PageSetup defaults;
    auto& page = report.page;
    element.paper(page);
    element.attribute("columns", page.columns, defaults.columns, IntegerCodec{1, 100});
    element.attribute("columnGap", page.columnGap, defaults.columnGap, LengthCodec{});
    element.pageReference("first", report.firstPage);
    element.pageReference("left", report.leftPage);
}

// Other paper, which sections and groups name. Without a size, it is as large as that of the report. Its headers,
// footers and background take the place of those of the report.
template <class Element, class PageLike>
void describeNamedPage(Element& element, PageLike& page, const Size& ofReport) {
    element.required("name", page.name, TextCodec{});
    element.paper(page.setup, ofReport);
    element.child("Background", [&](auto& background) { background.address("picture", page.background); });
    element.pointer("PageHeader", page.header, kPageSection);
    element.pointer("PageFooter", page.footer, kPageSection);
}

// A file inside the PDF: its `source` is as that of a picture, or XML in a parameter. A file that can't be
// read ends the export. `invoice` is the profile of an electronic invoice.
template <class Element, class AttachmentLike>
void describeAttachment(Element& element, AttachmentLike& attachment) {
    element.placedName("name", attachment.name);
    element.refuse(attachment.name.empty(), "an <Attachment> has a \"name\"");
    element.attribute("source", attachment.source, {}, PlaceholderCodec{});
    element.startingFolder("folder", attachment.folder, attachment.source);
    element.attribute("relation", attachment.relation, AttachmentRelation::Unspecified,
                      WordCodec<AttachmentRelation>{kRelations});
    element.attribute("type", attachment.type, {}, MimeTypeCodec{});
    element.attribute("description", attachment.description, {}, TextCodec{});
    element.attribute("modified", attachment.modified, {}, MomentCodec{});
    element.attribute("invoice", attachment.invoiceProfile, {}, InvoiceProfileCodec{});
    element.bytes("Embedded", attachment.embedded);
}

// What a PDF promises. Other formats have no use for it.
template <class Element, class PdfLike>
void describePdf(Element& element, PdfLike& pdf) {
    static const PdfSettings defaults;
    element.attribute("standard", pdf.standard, PdfStandardCodec{});
    element.attribute("ua", pdf.accessible, defaults.accessible, SwitchCodec{});
    element.attribute("duplex", pdf.duplex, defaults.duplex, WordCodec<PdfDuplex>{kDuplexes});
    element.attribute("unscaled", pdf.unscaled, defaults.unscaled, SwitchCodec{});
    element.list("Attachment", pdf.attachments,
                 [](auto& child, auto& attachment) { describeAttachment(child, attachment); });
    element.refuse(std::count_if(pdf.attachments.begin(), pdf.attachments.end(),
                                 [](const Attachment& file) { return !file.invoiceProfile.empty(); }) > 1,
                   "a document has one electronic invoice: one <Attachment> with \"invoice\"");
    element.refuse(!pdf.attachments.empty() && pdf.standard && !allowsAttachments(*pdf.standard),
                   "this standard allows no attached files of any kind: \"a-3u\" and \"none\" do");
    element.refuse(pdf.accessible && pdf.standard == PdfStandard::A1b,
                   "PDF/UA needs PDF 1.7, and \"a-1b\" is PDF 1.4: \"a-2a\" and \"a-2u\" go with it");
}

// What workbooks have besides the cells. Other formats have no use for it.
template <class Element, class WorkbookLike>
void describeWorkbook(Element& element, WorkbookLike& workbook) {
    static const WorkbookSettings defaults;
    element.attribute("formulas", workbook.formulas, defaults.formulas, SwitchCodec{});
    element.attribute("filter", workbook.filter, defaults.filter, SwitchCodec{});
    element.attribute("outline", workbook.outline, defaults.outline, SwitchCodec{});
    element.attribute("printArea", workbook.printArea, defaults.printArea, SwitchCodec{});
    element.attribute("freeze", workbook.freeze, defaults.freeze, WordCodec<WorkbookFreeze>{kFreezes});
    element.attribute("charts", workbook.charts, defaults.charts, WordCodec<WorkbookCharts>{kWorkbookCharts});
    element.attribute("hideChartNumbers", workbook.hideChartNumbers, defaults.hideChartNumbers,
                      SwitchCodec{});
}

// How CSV is written. The codecs are those of the options of an export, which win.
template <class Element, class SettingsLike>
void describeCsv(Element& element, SettingsLike& csv) {
    element.attribute("values", csv.values, CsvValuesCodec{});
    element.attribute("separator", csv.separator, CsvSeparatorCodec{});
    element.attribute("quotes", csv.quotes, CsvQuotesCodec{});
    element.attribute("lineEnds", csv.lineEnds, LineEndsCodec{});
    element.attribute("encoding", csv.encoding, {}, TextEncodingCodec{});
}

// The same for TXT.
template <class Element, class SettingsLike>
void describeTxt(Element& element, SettingsLike& txt) {
    element.attribute("widths", txt.widths, {}, TextWidthsCodec{});
    element.attribute("lineEnds", txt.lineEnds, LineEndsCodec{});
    element.attribute("encoding", txt.encoding, {}, TextEncodingCodec{});
}

// The background and watermark of each page, and the printer. A watermark without text is none; its
// size is in points.
template <class Element, class ReportLike>
void describePaper(Element& element, ReportLike& report) {
    static const ReportDefinition defaults;
    element.child("Background",
                  [&](auto& background) { background.address("picture", report.backgroundPicture); });
    element.child("Watermark", [&](auto& watermark) {
        watermark.attribute("text", report.watermark.text, {}, TextCodec{});
        watermark.attribute("color", report.watermark.color, defaults.watermark.color, ColorCodec{});
        watermark.attribute("fontSize", report.watermark.fontSize, defaults.watermark.fontSize,
                            FontSizeCodec{});
    });
    element.child("Printer",
                  [&](auto& printer) { printer.attribute("name", report.printer.name, {}, TextCodec{}); });
}

// The libraries that a template or a library includes. Later ones win over earlier ones, and what the template
// sets itself wins over all.
template <class Element, class ReportLike>
void describeIncludes(Element& element, ReportLike& report) {
    element.list("Include", report.includes, [](auto& child, auto& include) {
        child.address("href", include.href);
        child.library(include);
    });
}

template <class Element, class ReportLike>
void describeStyles(Element& element, ReportLike& report) {
    element.child("DefaultStyle", [&](auto& style) { describeStyle(style, report.font); });
    element.child("Styles", [&](auto& styles) {
        styles.namedList("Style", report.styles, std::numeric_limits<std::size_t>::max(),
                         [](auto& child, auto& style) {
                             child.required("name", style.name, TextCodec{});
                             child.styleReference("parent", style.parent);
                             describeStyle(child, style.style);
                         });
    });
}

// A part of a library: the contents of a section, or of a part of it. It is of no row of a certain grid, so
// that it names no columns and groups, and returns no values.
template <class Element, class PartLike>
void describePart(Element& element, PartLike& part) {
    element.required("name", part.name, TextCodec{});
    element.required("height", part.height, LengthCodec{});
    element.withoutReturns([&] { element.controls(part.controls); });
}

// The root of a library. Its styles are read into a report without contents.
inline constexpr const char* kLibraryRoot = "Library";
template <class Element, class ReportLike, class Parts>
void describeLibrary(Element& element, ReportLike& report, Parts& parts) {
    describeIncludes(element, report);
    describeStyles(element, report);
    element.child("Parts", [&](auto& child) {
        child.partList("Part", parts, [](auto& one, auto& part) { describePart(one, part); });
    });
    element.checkReferences(report);
}

// The root, and the report of a sub-report. Children are written in this order and may be read in any. Each
// occurs once, except report headers and footers, which are several sections below one another. Names of
// styles, parameters and fields are unique within the report. References to styles and columns are checked at
// its end, when all of them are known. `imageResolution` is in dots per inch, for documents of pictures.
template <class Element, class ReportLike>
void describeReport(Element& element, ReportLike& report, ReportPlace place) {
    static const ReportDefinition defaults;
    constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();
    const bool hasPages = place == ReportPlace::Root;
    if (hasPages) {
        element.attribute("imageResolution", report.imageResolution, defaults.imageResolution,
                          NumberCodec{10, 2400});
        element.attribute("defuseFormulas", report.defuseFormulas, defaults.defuseFormulas, SwitchCodec{});
    } else {
        element.attribute("inherit", report.inherits, defaults.inherits, SwitchCodec{});
        element.refuseChildren(
            {"Pdf", "Page", "Background", "Watermark", "Printer", "PageHeader", "PageFooter"},
            "pages are those of the outermost report");
        element.refuseChildren({"Workbook", "Csv", "Txt"}, "the settings are those of the outermost report");
        element.refuseChildren({"Include"}, "its report inherits the styles of the outermost one");
    }
    if (hasPages) describeIncludes(element, report);
    element.child("Info", [&](auto& info) {
        info.attribute("title", report.info.title, {}, TextCodec{});
        info.attribute("author", report.info.author, {}, TextCodec{});
        info.attribute("subject", report.info.subject, {}, TextCodec{});
        info.attribute("keywords", report.info.keywords, {}, TextCodec{});
        info.attribute("language", report.info.language, {}, LanguageTagCodec{});
        info.attribute("created", report.info.created, {}, MomentCodec{});
    });
    if (hasPages) {
        element.child("Pdf", [&](auto& pdf) { describePdf(pdf, report.pdf); });
        element.child("Workbook", [&](auto& workbook) { describeWorkbook(workbook, report.workbook); });
        element.child("Csv", [&](auto& csv) { describeCsv(csv, report.csv); });
        element.child("Txt", [&](auto& txt) { describeTxt(txt, report.txt); });
    }
    if (hasPages) {
        element.childWithout("Page", "name", [&](auto& page) { describePage(page, report); });
        element.namedList("Page", report.namedPages, limits::kNamedPages, [&](auto& child, auto& page) {
            describeNamedPage(child, page, report.page.paper);
        });
    }
    describeStyles(element, report);
    element.child("Parameters", [&](auto& parameters) {
        parameters.namedList("Parameter", report.parameters, kNoLimit, [](auto& child, auto& parameter) {
            child.required("name", parameter.name, TextCodec{});
            child.attribute("type", parameter.type, DataType::Text, WordCodec<DataType>{kDataTypes});
            child.attribute("value", parameter.value, {}, TextCodec{});
            child.attribute("required", parameter.required, false, SwitchCodec{});
        });
    });
    element.child("Fields", [&](auto& fields) {
        fields.namedList("Field", report.fields, kNoLimit, [](auto& child, auto& field) {
            child.required("name", field.name, TextCodec{});
            child.attribute("type", field.type, DataType::Text, WordCodec<DataType>{kDataTypes});
            child.attribute("expression", field.expression, {}, ExpressionCodec{});
        });
    });
    element.child("Data", [&](auto& data) { describeDataSource(data, report.data, TextUse::ReportTable); });
    if (hasPages) describePaper(element, report);
    if (hasPages) element.pointer("PageHeader", report.pageHeader, kPageSection);
    element.list("ReportHeader", report.reportHeaders, kSection);
    const bool isCross = report.grid && report.grid->cross;
    const bool isLabels = report.grid && report.grid->labels;
    element.pointerIf(!isCross && !isLabels, "Grid", report.grid,
                      [](auto& grid, auto& value) { describeGrid(grid, value); });
    element.pointerIf(isCross, "CrossTable", report.grid,
                      [](auto& grid, auto& value) { describeCrossTable(grid, value); });
    element.pointerIf(isLabels, "Labels", report.grid,
                      [](auto& grid, auto& value) { describeLabels(grid, value); });
    element.list("ReportFooter", report.reportFooters, kSection);
    if (hasPages) element.pointer("PageFooter", report.pageFooter, kPageSection);
    element.checkReferences(report);
}

}  // namespace qbsvrl6

#endif
