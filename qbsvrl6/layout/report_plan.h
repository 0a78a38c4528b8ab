// A report made ready for its walk: texts compiled, styles resolved, columns placed. Made once for an export.
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
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

struct ReportPlan;

struct PlannedText {
    TextTemplate text;
    std::optional<TextTemplate> link;
    TextContent::Evaluate evaluate = TextContent::Evaluate::Now;
    bool suppressRepeated = false;
    bool removeWhenBlank = false;
    bool needsPage = false;  // its page's number or rows: settled when the page is complete
    bool needsPageCount = false;
};

struct PlannedPicture {
    const PictureContent* content = nullptr;
    TextTemplate source;
    std::string folder;  // where a relative source starts
    TextTemplate alternateText;
};

struct PlannedBarcode {
    const BarcodeContent* content = nullptr;
    TextTemplate text;
};

struct PlannedChart {
    const ChartContent* content = nullptr;
    TextTemplate title, xTitle, yTitle;
    std::unique_ptr<Binding> table;   // of a chart that looks at another table than its section
    std::optional<ChartQuery> query;  // none: the content's own data is shown
};

struct PlannedSubReport {
    std::unique_ptr<ReportPlan> plan;  // null: beyond the limit of depth
    std::vector<Expression> arguments;
};

// When what a condition reads is known.
enum class Known {
    Now,     // as the band is made
    OnPage,  // when its page is complete: the page's number, its rows, the page count
};

struct PlannedCondition {
    Expression when;
    const std::u16string* style = nullptr;  // name
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
    Rect box;                                    // in its section or row, as far as it is on the paper
    Micrometres offPaper = 0;                    // width that it would have beyond the paper's edges
    const std::u16string* gridColumn = nullptr;  // name of the column that this is the title or cell of
    int firstColumn = -1, lastColumn = -1;
    int set = kEverySet;  // of columns, where the grid goes on to pages of their own
    const PooledStyle* style = nullptr;
    std::vector<PlannedCondition> conditions;
    std::map<std::vector<bool>, const PooledStyle*> variants;  // by the conditions that hold
    Visibility visible;
    PlannedContent content;
    bool contentNeedsPage = false;  // its link, barcode, picture or titles show the page's number or rows

    bool hasLateStyle() const {
        return std::any_of(conditions.begin(), conditions.end(),
                           [](const PlannedCondition& condition) { return condition.known != Known::Now; });
    }
};

// A stretch of a section's height: either a sub-report alone, whose bands can so go on from page to page, or
// what stands above, between and below those.
struct SectionSlice {
    Micrometres top = 0;
    Micrometres height = 0;
    std::vector<std::size_t> controls;  // indices
    bool isSubReport = false;
};

struct PlannedSection {
    const Section* section = nullptr;
    Micrometres height = 0;
    Visibility visible;
    std::vector<PlannedControl> controls;
    std::vector<SectionSlice> slices;  // from the top down; empty: no sub-report stands alone in its stretch
};

struct PlannedGroup {
    const Group* group = nullptr;
    std::optional<PlannedSection> header, footer;
};

struct PlannedGrid {
    const DetailGrid* grid = nullptr;
    GridGeometry geometry;
    Micrometres titleHeight = 0;  // of one line
    Micrometres rowHeight = 0;
    std::vector<PlannedControl> titles, cells;  // visible columns only
    std::vector<PlannedGroup> groups;
};

struct ReportPlan {
    const ReportDefinition* report = nullptr;
    std::unique_ptr<Binding> binding;
    Micrometres width = 0;  // of its sections
    std::optional<PlannedSection> pageHeader, pageFooter;
    std::vector<PlannedSection> reportHeaders, reportFooters;
    std::unique_ptr<PlannedGrid> grid;
    // A condition, link, barcode, picture or chart of it or of its sub-reports shows the page count. Other
    // texts can wait for it.
    bool needsPageCount = false;
};

// What an export's plan is made from.
struct PlanSource {
    const ReportData& data;
    const LayoutOptions& options;
    StylePool& styles;
    const PageSetup& page;  // of the outermost report
};

// Raises EngineError for faulty expressions and passed limits.
std::unique_ptr<ReportPlan> planReport(const ReportDefinition& report, const PlanSource& source);

}  // namespace qbsvrl6

#endif
