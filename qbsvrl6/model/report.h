// The definition of a report: what a template file holds, as plain values.
//
// A report is a page with margins, sections of free controls around at most one detail grid, and the names of
// its data. Sections appear in this order: page header, report headers (once), detail grid (its title row on
// each page, then groups and rows), report footers (once), page footer. Texts hold placeholders,
// "[Amount:#,##0.00]", that bind/ compiles.
//
// All of it is values: a copy of a definition is a report of its own. Controls, sections and grids are Owned
// because handles of the C interface point at them: an address is valid until the object is removed or the
// definition replaced.
#ifndef QBSVR_QBSVRL6_MODEL_REPORT_H
#define QBSVR_QBSVRL6_MODEL_REPORT_H

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "qbsvrl6/model/chart.h"
#include "qbsvrl6/model/owned.h"
#include "qbsvrl6/model/pdf_settings.h"
#include "qbsvrl6/model/style.h"
#include "qbsvrl6/model/text_places.h"
#include "qbsvrl6/model/text_settings.h"
#include "qbsvrl6/model/workbook_settings.h"
#include "qbsvrl6/support/address.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

class Inherited;
struct Report;

// The numbers are those of tagQBControlType.
enum class ControlKind { Text = 1, Line = 2, Box = 3, Picture = 4, Barcode = 5, Chart = 6, SubReport = 9 };

struct TextContent {
    std::u16string text;            // with placeholders
    std::u16string link;            // with placeholders; empty: none
    bool suppressRepeated = false;  // not shown if it equals the row above
    bool removeWhenBlank = false;   // takes up no height if the text is empty
    // The text is evaluated when this scope is complete, so that totals can come before their rows.
    enum class Evaluate { Now, Page, Group, Report } evaluate = Evaluate::Now;
};

struct LineContent {
    Color color;
    Micrometres width = 250;
    bool dashed = false;
    // From the lower left to the upper right corner of the box; otherwise from the upper left.
    bool rising = false;
};

struct BoxContent {
    BorderLine line{250, {}};
    std::optional<Color> fill;
    Micrometres cornerRadius = 0;
    bool isSignature = false;  // where a signed PDF shows its signature
};

enum class PictureFit { Contain, Stretch, Clip };

struct PictureContent {
    std::u16string source;  // file or URL with placeholders, or Base64 data
    Address folder;         // where a relative source starts; without a name: the template's folder
    std::string embedded;   // bytes of a picture held in the template itself; used when source is empty
    PictureFit fit = PictureFit::Contain;
    std::u16string alternateText;  // with placeholders; read aloud in place of the picture
};

struct BarcodeContent {
    int type = 50;        // a tagQBBarcodeType
    std::u16string text;  // with placeholders
    bool showText = true;
};

struct ChartContent {
    ChartSettings settings;
    ChartRows rows;
    // What the template holds; a data request replaces it, and what rows give, for one export.
    ChartData data;
    std::u16string alternateText;  // with placeholders; empty: its title, or its numbers in a tagged PDF
};

// Passes values of the parent's row into a sub-report.
struct SubReportParameter {
    std::u16string name;
    std::u16string expression;  // in the parent's scope
};

// A value of the rows of a sub-report, which the parent reads by this name.
struct ReturnedValue {
    std::u16string name;
    std::u16string expression;  // in the sub-report's scope
};

struct SubReportContent {
    Owned<Report> report;         // never null
    bool hasSectionRows = false;  // walks the rows of the section around it, in their order
    std::vector<SubReportParameter> parameters;
    std::vector<ReturnedValue> returns;
};

using ControlContent = std::variant<TextContent, LineContent, BoxContent, PictureContent, BarcodeContent,
                                    ChartContent, SubReportContent>;

struct ConditionalStyle {
    std::u16string when;   // an expression; the style applies if it is true
    std::u16string style;  // name
};

// Where a section uses a part of a library. It never changes.
struct PartUse {
    std::u16string name;
    Micrometres x = 0, y = 0;
    Micrometres height = 0;  // of the part
};

struct Control {
    std::u16string name;
    Rect box;                 // in its section; not used for a grid cell: the cell is the box
    std::u16string column;    // in sections of the grid: x and width are those of this column ...
    std::u16string toColumn;  // ... to this one; empty: the one column
    std::u16string styleName;
    Style style;  // on top of the named one
    std::vector<ConditionalStyle> conditions;
    std::u16string visibleWhen;  // an expression; empty: always
    ControlContent content;
    TextPosition position = {};  // of its element in the template's file, for messages; never saved
    std::shared_ptr<const PartUse> part = {};  // of a control of a library, which is not saved; null: none

    ControlKind kind() const;
};

struct ControlList {
    std::vector<Owned<Control>> items;
    int reportDepth = 0;  // of its report, where a program added the section
};

enum class PageSide { Any, Odd, Even };

struct Section {
    std::u16string name;
    Micrometres height = 0;
    bool canGrow = true;
    bool canShrink = false;
    bool keepTogether = true;
    bool newPageBefore = false;
    bool newPageAfter = false;
    PageSide startOn = PageSide::Any;  // odd or even: it starts a page with such a number
    std::u16string page;               // name of the paper that it needs; empty: any
    std::optional<Color> background;
    std::u16string visibleWhen;
    ControlList controls;
};

using SectionPtr = Owned<Section>;

struct Group {
    std::u16string name;
    std::u16string by;          // an expression; a change of its value starts a new group
    SectionPtr header, footer;  // may be null
    bool repeatHeader = false;  // on each page where the group continues
    bool keepTogether = false;
    bool newPage = false;  // each group except the first starts a page
    bool restartPageNumber = false;
    std::u16string page;     // name of the paper of each group; empty: that of the report
    std::u16string sheet;    // of workbooks, with placeholders: the name of its own sheet; empty: none
    bool showTitle = false;  // the titles of the columns are below the header, not above all rows
    int minimumRows = 1;     // rows that must follow the header on its page
    // With a sort or a top, a group has all rows of its key within the outer group.
    std::u16string sort;  // order of the groups: expressions, "Sum(Amount) desc"; empty: of their first rows
    int top = 0;          // number of groups; 0: all
    std::u16string others;  // the key of a group of all others; empty: their rows are left out
    bool showRows = true;   // false: only the header and footer, not the rows and inner groups
};

// A title over neighbouring columns, which share the object. It never changes.
struct TitleSpan {
    Control title;           // a text
    Micrometres height = 0;  // of its row; 0: that of the title row
    int levels = 1;          // rows of titles that it covers
};

struct Column {
    std::u16string name;
    Micrometres width = 0;     // of a column with a share or an automatic width: the least one
    double share = 0;          // of the width that the other columns leave; 0: none
    bool fitsContent = false;  // as wide as its widest text
    Control title;
    Control content;
    std::u16string visibleWhen;  // an expression, evaluated once per report; empty: always
    std::u16string mergeBy;      // an expression; cells below one another with the same value are one
    int span = 1;                // columns that the cell covers in rows where `spanWhen` is true
    std::u16string spanWhen;     // an expression; empty: in no row
    std::u16string repeat;       // an expression: there is a column for each of its values; empty: one column
    std::u16string repeatSort;   // the order of these values, as that of a group
    std::vector<std::shared_ptr<const TitleSpan>> titleSpans;  // above the title, outermost first
    int outline = 0;  // of a cross-table: the levels whose totals are beside it
};

// Whether a level of a cross-table has a total over its values, and where.
enum class TotalPlace { After, Before };

// One level of the rows or columns of a cross-table: a row or column per key.
struct CrossLevel {
    std::u16string name;    // totals of cells refer to it; empty: that of `by`, if that is a name
    std::u16string by;      // an expression: the key
    std::u16string sort;    // as that of a group; empty: in the order of their first rows
    int top = 0;            // number of keys; 0: all
    std::u16string others;  // one more key, for all others; empty: their rows are left out
    std::u16string title;   // of each key, with placeholders; empty: the key
    std::u16string total;   // title of the total over the keys, with placeholders; empty: no total
    TotalPlace totalPlace = TotalPlace::After;
    std::u16string styleName;                  // of the titles of its keys
    std::u16string totalStyleName;             // of the totals and their titles
    std::vector<ConditionalStyle> conditions;  // of the cells of each key
    // Of rows: the column with the titles of the keys.
    std::u16string heading;  // its own title, with placeholders
    std::u16string headingStyleName;
    Micrometres width = 25'000;
    // Of columns: the row with the titles.
    Micrometres height = 0;  // 0: that of the title row
};

// A measure of a cross-table.
struct CrossCell {
    std::u16string title;  // of its column; empty: the columns have no titles for measures
    std::u16string value;  // an expression of totals over the rows of the cell
    std::u16string format;
    std::u16string empty;  // shown in cells without rows
    Micrometres width = 20'000;
    std::u16string titleStyleName;
    std::u16string styleName;
    Style style;  // on top of the named one
    std::vector<ConditionalStyle> conditions;
};

// What makes a grid a cross-table: its columns and rows come from the data.
struct CrossTable {
    std::vector<CrossLevel> rows, columns;  // outermost first
    std::vector<CrossCell> cells;           // side by side in each column
};

// What makes a grid a sheet of labels: one or more for each row, side by side.
struct Labels {
    Micrometres width = 0;
    int columns = 0;  // 0: as many as the page has room for
    Micrometres columnGap = 0, rowGap = 0;
    bool down = false;      // labels follow one another downwards, then across
    std::u16string start;   // an expression: the first position, from 1, on the first sheet; empty: 1
    std::u16string copies;  // an expression: labels per row; empty: 1
    Section label;          // its controls and height
};

// Where rows come from. A text is empty if the template does not set it.
enum class HttpMethod { Get, Post };

struct HttpHeader {
    std::u16string name, value;
};

struct DataSource {
    Address connection;    // connection.h; a relative file in it starts at its folder; empty: inherited
    Address query;         // or SQL, as the connection needs it
    std::u16string table;  // name of the table in the data; empty: the first
    // Of a query that is a web address. A body is posted.
    HttpMethod method = HttpMethod::Get;
    std::vector<HttpHeader> headers;
    std::u16string body;
};

// The numbers are those of tagQBColumnPrintAdaptMethod.
enum class ColumnAdapt {
    Discard = 1,
    Wrap = 2,
    ResizeToFit = 3,
    ShrinkToFit = 4,
    ToNewPage = 5,
    ToNewPageEx = 6,
    ToNewPageRepeatFixed = 7,
    ToNewPageRepeatFixedEx = 8,
    WrapExcludeGroup = 9,
};

struct DetailGrid {
    DataSource recordset;
    std::u16string filter;  // an expression; rows for which it isn't true are left out; empty: all rows
    std::u16string sort;    // expressions: "Region, Amount desc"; empty: the order of the data
    std::vector<Owned<Column>> columns;
    Micrometres titleHeight = 7000;  // 0: no title row
    bool repeatTitle = true;
    Micrometres rowHeight = 6000;
    bool rowCanGrow = true;
    std::optional<Color> alternateBackground;  // of each second row
    std::vector<Owned<Group>> groups;          // outermost first
    ColumnAdapt adapt = ColumnAdapt::ShrinkToFit;
    int fixedColumns = 0;         // repeated by the "repeat fixed" methods
    bool fillBlankRows = false;   // empty rows to the end of the page
    bool centered = false;        // between the margins
    bool rowsMayBreak = false;    // a row that does not fit on the rest of the page is split between lines
    std::u16string keepWithNext;  // an expression; rows for which it is true are on the page of the next row
    SectionPtr header, footer;    // before the first and after the last row; may be null
    std::optional<CrossTable> cross;  // then it has no columns and groups of its own
    std::optional<Labels> labels;     // the same
};

enum class DataType { Text, Number, Boolean, Date };

struct Field {
    std::u16string name;
    DataType type = DataType::Text;
    std::u16string expression;  // calculated; empty: read from the data
};

struct Parameter {
    std::u16string name;
    DataType type = DataType::Text;
    std::u16string value;   // default
    bool required = false;  // an export without a value from the program or the data fails
};

struct PageSetup {
    Size paper{210'000, 297'000};
    Edges margins{15'000, 15'000, 15'000, 15'000};
    int columns = 1;  // of the detail on a page, as labels use them
    Micrometres columnGap = 5'000;
};

// Other paper than that of the report, for sections and groups that name it.
struct NamedPage {
    std::u16string name;
    PageSetup setup;
    SectionPtr header, footer;  // null: those of the report
    Address background;         // empty: that of the report
};

struct Watermark {
    std::u16string text;  // empty: none
    Color color{220, 220, 220};
    double fontSize = 60;  // points
};

struct DocumentInfo {
    std::u16string title, author, subject, keywords;
    std::u16string language;  // "en", "zh-CN"; empty: that of the texts
    std::u16string created;   // "2026-03-01T09:30:00+08:00"; empty: documents have no date
};

struct Printer {
    std::u16string name;
};

// The styles of a file that templates include.
struct Library {
    Style font;
    std::vector<NamedStyle> styles;  // of equal names, the first one counts
    std::vector<Address> files;      // that it includes itself
};

struct Include {
    Address href;
    std::shared_ptr<const Library> library;  // never null in a template that has been read
};

struct ReportDefinition {
    std::vector<Include> includes;
    DocumentInfo info;
    PdfSettings pdf;
    WorkbookSettings workbook;
    TextSettings csv, txt;
    PageSetup page;
    std::u16string firstPage, leftPage;  // names of the paper of these pages; empty: that of the others
    std::vector<NamedPage> namedPages;
    double imageResolution = 150;  // dots per inch
    bool defuseFormulas = false;   // in CSV: spreadsheets show texts that look like formulas as texts
    Style font;                    // of the whole report: the root of all styles
    // Of a sub-report: whether it has styles, the font and parameters of the reports around it, and what they
    // are (inheritance.h); null: nothing.
    bool inherits = true;
    std::shared_ptr<const Inherited> inherited;
    std::vector<NamedStyle> styles;
    std::vector<Parameter> parameters;
    std::vector<Field> fields;
    DataSource data;
    Address backgroundPicture;
    Watermark watermark;
    Printer printer;
    SectionPtr pageHeader, pageFooter;  // may be null
    std::vector<SectionPtr> reportHeaders, reportFooters;
    Owned<DetailGrid> grid;                    // may be null
    std::shared_ptr<const TextPlaces> places;  // null where the report is from no file; never saved

    // The positions of the text in the template's file; a single unknown position if it has none.
    std::vector<TextPosition> placesOf(std::u16string_view text, TextUse use) const;
};

// State that the C interface keeps with a report: event handlers, the walk's position, the export under way.
struct ReportRuntime {
    virtual ~ReportRuntime() = default;
};

// A copy copies only the definition, not the state of the C interface.
struct Report {
    Report() = default;
    Report(const Report& other) : definition(other.definition) {}
    Report& operator=(const Report&) = delete;
    ~Report() = default;

    ReportDefinition definition;
    int depth = 0;  // number of enclosing reports, for those that programs reach through the C interface
    std::unique_ptr<ReportRuntime> runtime;  // made on first use
};

// Every control of the report itself (not of its sub-reports), in the order of the template: report headers,
// page header, grid (titles, contents, groups), report footers, page footer.
std::vector<Control*> allControls(ReportDefinition& report);

}  // namespace qbsvrl6

#endif
