// The definition of a report: what a template file holds, as plain values.
//
// A report is a page with margins, sections of free controls around at most one detail grid, and the names of
// its data. Sections appear in this order: page header, report headers (once), detail grid (its title row on
// each page, then groups and rows), report footers (once), page footer. Texts hold placeholders,
// "[Amount:#,##0.00]", that bind/ compiles.
//
// Controls, sections and grids live behind pointers, since handles of the C interface point at them: an
// address stays good until the object is removed or the definition replaced.
#ifndef QBSVR_QBSVRL6_MODEL_REPORT_H
#define QBSVR_QBSVRL6_MODEL_REPORT_H

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "qbsvrl6/model/chart.h"
#include "qbsvrl6/model/style.h"
#include "qbsvrl6/model/text_places.h"
#include "qbsvrl6/support/address.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct Report;

// The numbers are those of tagQBControlType.
enum class ControlKind { Text = 1, Line = 2, Box = 3, Picture = 4, Barcode = 5, Chart = 6, SubReport = 9 };

struct TextContent {
    std::u16string text;            // with placeholders
    std::u16string link;            // with placeholders; empty: none
    bool suppressRepeated = false;  // shown as blank where it equals the row above
    bool removeWhenBlank = false;   // takes no height where the text is blank
    // The text is settled when this scope is complete, so that totals can stand ahead of their rows.
    enum class Evaluate { Now, Page, Group, Report } evaluate = Evaluate::Now;
};

struct LineContent {
    Color color;
    Micrometres width = 250;
    bool dashed = false;
    bool rising =
        false;  // from the lower left to the upper right corner of the box; else from the upper left
};

struct BoxContent {
    BorderLine line{250, {}};
    std::optional<Color> fill;
    Micrometres cornerRadius = 0;
};

enum class PictureFit { Contain, Stretch, Clip };

struct PictureContent {
    std::u16string source;  // file or URL with placeholders, or Base64 data
    Address folder;         // where a relative source starts; without a name at the template's folder
    std::string embedded;   // bytes of a picture held in the template itself; used when source is empty
    PictureFit fit = PictureFit::Contain;
    std::u16string alternateText;  // with placeholders; read where the picture can't be seen
};

struct BarcodeContent {
    int type = 50;        // a tagQBBarcodeType
    std::u16string text;  // with placeholders
    bool showText = true;
};

struct ChartContent {
    ChartSettings settings;
    ChartRows rows;
    ChartData
        data;  // what the template holds; a data request replaces it, and what rows give, for one export
};

// Passes values of the parent's row into a sub-report.
struct SubReportParameter {
    std::u16string name;
    std::u16string expression;  // in the parent's scope
};

struct SubReportContent {
    std::unique_ptr<Report> report;  // never null
    std::vector<SubReportParameter> parameters;
};

using ControlContent = std::variant<TextContent, LineContent, BoxContent, PictureContent, BarcodeContent,
                                    ChartContent, SubReportContent>;

struct ConditionalStyle {
    std::u16string when;   // an expression; the style holds where it is true
    std::u16string style;  // name
};

struct Control {
    std::u16string name;
    Rect box;                 // in its section; of a grid cell not used: the cell is the box
    std::u16string column;    // in sections of the grid: takes x and width from this column ...
    std::u16string toColumn;  // ... up to and with this one; empty: the one column
    std::u16string styleName;
    Style style;  // on top of the named one
    std::vector<ConditionalStyle> conditions;
    std::u16string visibleWhen;  // an expression; empty: always
    ControlContent content;
    SubjectPlace place = {};  // of its element in the template's file, for messages; never saved

    ControlKind kind() const;
};

struct ControlList {
    std::vector<std::unique_ptr<Control>> items;
    int reportDepth = 0;  // of its report, where a program added the section
};

struct Section {
    std::u16string name;
    Micrometres height = 0;
    bool canGrow = true;
    bool canShrink = false;
    bool keepTogether = true;
    bool newPageBefore = false;
    bool newPageAfter = false;
    std::optional<Color> background;
    std::u16string visibleWhen;
    ControlList controls;
};

using SectionPtr = std::unique_ptr<Section>;

struct Group {
    std::u16string name;
    std::u16string by;          // an expression; a change of its value starts a new group
    SectionPtr header, footer;  // may be null
    bool repeatHeader = false;  // on each page that the group goes on to
    bool keepTogether = false;
    bool newPage = false;  // each group but the first starts a page
    bool restartPageNumber = false;
    int minimumRows = 1;  // rows that must follow the header on its page
};

struct Column {
    std::u16string name;
    Micrometres width = 0;
    Control title;
    Control content;
};

// A place where rows come from. Each text is empty where the template leaves it open.
struct DataSource {
    std::u16string connectionString;  // "xml": the query is the address of a data file; empty: inherited
    Address query;
    std::u16string table;  // name of the table in the data; empty: the first
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
    std::u16string filter;  // an expression; rows where it isn't true are left out; empty: all rows
    std::vector<std::unique_ptr<Column>> columns;
    Micrometres titleHeight = 7000;  // 0: no title row
    bool repeatTitle = true;
    Micrometres rowHeight = 6000;
    bool rowCanGrow = true;
    std::optional<Color> alternateBackground;    // of each second row
    std::vector<std::unique_ptr<Group>> groups;  // outermost first
    ColumnAdapt adapt = ColumnAdapt::ShrinkToFit;
    int fixedColumns = 0;        // repeated by the "repeat fixed" methods
    bool fillBlankRows = false;  // blank rows to the page's end
    bool centered = false;       // between the margins
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
    std::u16string value;  // default
};

struct PageSetup {
    Size paper{210'000, 297'000};
    Edges margins{15'000, 15'000, 15'000, 15'000};
    int columns = 1;  // of the detail on a page, as labels use them
    Micrometres columnGap = 5'000;
};

struct Watermark {
    std::u16string text;  // empty: none
    Color color{220, 220, 220};
    double fontSize = 60;  // points
};

struct DocumentInfo {
    std::u16string title, author, subject, keywords;
};

struct Printer {
    std::u16string name;
};

struct ReportDefinition {
    DocumentInfo info;
    PageSetup page;
    double imageResolution = 150;  // dots an inch
    Style font;                    // of the whole report: the root of all styles
    std::vector<NamedStyle> styles;
    std::vector<Parameter> parameters;
    std::vector<Field> fields;
    DataSource data;
    Address backgroundPicture;
    Watermark watermark;
    Printer printer;
    SectionPtr pageHeader, pageFooter;  // may be null
    std::vector<SectionPtr> reportHeaders, reportFooters;
    std::unique_ptr<DetailGrid> grid;          // may be null
    std::shared_ptr<const TextPlaces> places;  // null where the report is from no file; never saved

    // Where its file has the text; one unknown place if it has not.
    std::vector<SubjectPlace> placesOf(std::u16string_view text, TextUse use) const;
};

// State that the C interface keeps with a report: event handlers, the walk's position, the export under way.
struct ReportRuntime {
    virtual ~ReportRuntime() = default;
};

struct Report {
    ReportDefinition definition;
    int depth = 0;  // reports around it, as far as programs reach it through the C interface
    std::unique_ptr<ReportRuntime> runtime;  // made on need; not copied with the definition
};

// A copy down to the sub-reports; theirs have no runtime yet.
ReportDefinition cloneDefinition(const ReportDefinition& source);
std::unique_ptr<Section> cloneSection(const Section& source);
Control cloneControl(const Control& source);

// The report's font, then the named style with its parents (a cycle ends where it closes), then `own`.
ResolvedStyle resolveStyle(const ReportDefinition& report, const std::u16string& styleName, const Style& own);

// Every control of the report itself (not of its sub-reports), in the order of the template: report headers,
// page header, grid (titles, contents, groups), report footers, page footer.
std::vector<Control*> allControls(ReportDefinition& report);

}  // namespace qbsvrl6

#endif
