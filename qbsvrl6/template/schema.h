// The vocabulary of templates, defined once for reading and writing: this file has reports, grids and libraries,
// schema_controls.h what is in their sections.
//
// Each describe function names the attributes and children of one element, in the order in which they are
// written. `Element` is ReadElement (read_element.h) or WriteElement (writer.cpp), which have the same members; a
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
#include "qbsvrl6/template/schema_controls.h"
#include "qbsvrl6/template/schema_words.h"
#include "qbsvrl6/template/text_values.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

// The version of the format, in the attribute `version` of the root: required, and always 1. Files of another
// version are rejected rather than read in part. A change that older files survive, such as a new attribute
// with a default, keeps the version.
inline constexpr int kTemplateVersion = 1;

// What an item of a list holds, for elements that walk lists without changing them.
template <class T>
const T& describedIn(const T& item) {
    return item;
}
template <class T>
const T& describedIn(const Owned<T>& item) {
    return *item;
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
