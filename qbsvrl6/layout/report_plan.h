// A report prepared for its walk: texts are compiled, styles resolved, columns placed. Made once per export.
//
// The plan mirrors the definition and points into it: the definition outlives the plan and does not change
// meanwhile. Lengths are micrometres. They are valid whatever a program has put into the definition: clamped
// to limits::kPaperMicrometres, and already scaled if the grid shrinks to the page.
//
// Texts parse their formats, and controls resolve their conditional styles, on first use: a plan belongs to
// one export and one thread.
#ifndef QBSVR_QBSVRL6_LAYOUT_REPORT_PLAN_H
#define QBSVR_QBSVRL6_LAYOUT_REPORT_PLAN_H

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/chart_query.h"
#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/layout/grid_geometry.h"
#include "qbsvrl6/layout/layout_options.h"
#include "qbsvrl6/layout/report_data.h"
#include "qbsvrl6/layout/style_pool.h"
#include "qbsvrl6/model/named_styles.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

struct ReportPlan;
struct ShownGrid;
class ShownGrids;

struct PlannedText {
    TextTemplate text;
    std::optional<TextTemplate> link;  // none: no link
    TextContent::Evaluate evaluate = TextContent::Evaluate::Now;
    bool suppressRepeated = false;
    bool removeWhenBlank = false;
    // Whether the text shows values that are not known while its band is made: the number and rows of the
    // page, known when the page is complete, or the page count, known when the report is.
    bool needsPage = false;
    bool needsPageCount = false;
};

struct PlannedPicture {
    const PictureContent* content = nullptr;
    TextTemplate source;  // no parts: the picture in the template
    Address start;        // where a relative source starts; who names it
    TextTemplate alternateText;
};

struct PlannedBarcode {
    const BarcodeContent* content = nullptr;
    TextTemplate text;
};

struct PlannedChart {
    const ChartContent* content = nullptr;
    TextTemplate title, xTitle, yTitle, alternateText;
    std::unique_ptr<Binding> table;  // of a chart that reads another table than its section does; may be null
    std::optional<ChartQuery> query;  // none: the chart shows the numbers of the template
};

struct PlannedSubReport {
    std::unique_ptr<ReportPlan> plan;  // null: nested deeper than limits::kSubReportDepth
    SubReportRows rows;
    std::vector<SubReportParameter> passed;
    std::vector<Expression> arguments;  // the values of `passed`, in the scope of the parent
};

// When the value of a condition is known.
enum class Known {
    Now,     // while the band is made
    OnPage,  // when its page is complete: the page's number, its rows, the page count
};

// A conditional style.
struct PlannedCondition {
    Expression when;
    const Style* style = nullptr;  // of the report's `styles`; null: there is no such style
    Known known = Known::Now;
};

struct Visibility {
    std::optional<Expression> when;  // none: always
    Known known = Known::Now;

    bool isLate() const { return when && known == Known::OnPage; }
};

using PlannedContent = std::variant<PlannedText, LineContent, BoxContent, PlannedPicture, PlannedBarcode,
                                    PlannedChart, PlannedSubReport>;

struct PlannedControl {
    const Control* control = nullptr;
    Rect box;                  // in its section or row: the part on the paper
    Micrometres offPaper = 0;  // width of the part beyond the paper
    const std::u16string* gridColumn =
        nullptr;                            // name of the column whose title or cell this is; null: neither
    int firstColumn = -1, lastColumn = -1;  // of the grid that it covers; -1: a free control
    // The column group on whose pages it is shown, if the grid continues on further pages.
    int columnGroup = kEveryColumnGroup;
    int level = 0, levels = 1;           // of a title: the rows of titles that it covers
    std::optional<KeyedRows> rows;       // of a cell: the others show nothing; none: all rows do
    const PooledStyle* style = nullptr;  // without the conditional ones; never null
    std::vector<PlannedCondition> conditions;
    // Styles with conditional ones applied, by the conditions that hold; filled as they occur.
    std::map<std::vector<bool>, const PooledStyle*> variants;
    Visibility visible;
    PlannedContent content;
    bool contentNeedsPage = false;  // its link, barcode, picture or titles show the page's number or rows
    bool isPlain = false;  // a text that is always shown, in one style, and depends on its position alone

    bool hasLateStyle() const {
        return std::any_of(conditions.begin(), conditions.end(),
                           [](const PlannedCondition& condition) { return condition.known != Known::Now; });
    }
};

// In place of an index of ReportPlan::papers: that of the report.
inline constexpr int kOwnPaper = -1;

// A part of a section's height, over its whole width: either a lone sub-report, whose bands can then continue
// from page to page, or the controls above, between and below such sub-reports. The slices of a section do
// not overlap, and each control is in one of them.
struct SectionSlice {
    Micrometres top = 0;
    Micrometres height = 0;
    std::vector<std::size_t> controls;  // indices into the section's, ascending: the order of painting
    bool isSubReport = false;
};

struct PlannedSection {
    const Section* section = nullptr;
    Micrometres height = 0;
    Micrometres width = 0;
    int paper = kOwnPaper;  // that it names
    Visibility visible;
    std::vector<PlannedControl> controls;
    std::vector<SectionSlice> slices;  // from the top down; empty: no sub-report is alone at its height
};

struct PlannedGroup {
    const Group* group = nullptr;
    std::optional<PlannedSection> header, footer;  // none: the group has none
    int paper = kOwnPaper;                         // that it names
    std::optional<TextTemplate> sheet;
};

// How a cell of a row joins others.
struct CellJoins {
    std::optional<Expression> mergeBy;   // none: it is never merged with the cell above
    std::optional<Expression> spanWhen;  // none: it never covers further columns
    int spanLast = -1;                   // the last column that it covers then
    Micrometres spanWidth = 0;
};

// The labels of a grid, which are side by side.
struct PlannedLabels {
    const Labels* labels = nullptr;
    PlannedSection label;
    int columns = 1;
    Micrometres step = 0;  // from one label to the one on its right
    std::optional<Expression> start, copies;
};

struct PlannedGrid {
    const DetailGrid* grid = nullptr;
    GridGeometry geometry;
    std::vector<Micrometres> titleHeights;      // of the rows of titles of one line; empty: no titles
    Micrometres rowHeight = 0;                  // the same, of a row that does not grow
    std::vector<PlannedControl> titles, cells;  // of visible columns, in their order
    std::vector<CellJoins> joins;               // of each cell; empty: no cell joins others
    bool merges = false;                        // some cells merge downwards
    std::vector<PlannedGroup> groups;           // outermost first
    std::optional<PlannedSection> header, footer;
    std::optional<PlannedLabels> labels;  // none: it has rows
    std::optional<Expression> keepWithNext;
    // As the DocumentStructure has them; made when they are needed.
    std::shared_ptr<const std::vector<int>> tableColumns;
    std::shared_ptr<const std::vector<std::u16string>> columnNames;  // null without a structure

    // Whether rows differ from each other in nothing but their texts and heights.
    bool hasPlainRows() const;
};

// Other paper than that of the report.
struct PlannedPaper {
    const NamedPage* page = nullptr;
    std::optional<PlannedSection> header, footer;  // none: those of the report
};

struct ReportPlan {
    const ReportDefinition* report = nullptr;
    std::unique_ptr<Binding> binding;
    std::unique_ptr<NamedStyles> styles;
    Micrometres width = 0;  // of its sections: between the margins, or of the sub-report's box
    std::optional<PlannedSection> pageHeader, pageFooter;
    std::vector<PlannedPaper> papers;
    int firstPaper = kOwnPaper, leftPaper = kOwnPaper;  // of the first page, of pages with even numbers
    std::vector<PlannedSection> reportHeaders, reportFooters;
    std::unique_ptr<PlannedGrid> grid;      // null: the report has none
    const ShownGrid* cross = nullptr;       // of a grid that is a cross-table
    std::unique_ptr<Binding> crossBinding;  // of its texts
    std::vector<PlannedSubReport> unshown;  // by this export, which reads the values that they return
    // Whether a condition, link, barcode, picture or chart uses the page count, here or in a sub-report.
    // Other texts can wait for it.
    bool needsPageCount = false;
};

// The input of a plan.
struct PlanSource {
    const ReportData& data;
    const LayoutOptions& options;
    StylePool& styles;
    const PageSetup& page;  // of the outermost report
    const ShownGrids& grids;
};

// Raises EngineError for invalid expressions and exceeded limits. Logs missing tables, columns that are left
// out, and controls beside the paper.
std::unique_ptr<ReportPlan> planReport(const ReportDefinition& report, const PlanSource& source);

}  // namespace qbsvrl6

#endif
