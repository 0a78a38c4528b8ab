// Plans a report: compiles its texts, resolves its styles and places its columns (report_plan.h).
#ifndef QBSVR_QBSVRL6_LAYOUT_PLANNER_H
#define QBSVR_QBSVRL6_LAYOUT_PLANNER_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qbsvrl6/layout/grid_geometry.h"
#include "qbsvrl6/layout/report_plan.h"
#include "qbsvrl6/layout/shown_grid.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

// The nearest length that a template can hold.
inline Micrometres soundLength(Micrometres length) {
    return std::clamp<Micrometres>(length, 0, limits::kPaperMicrometres);
}

inline Micrometres soundOffset(Micrometres offset) {
    return std::clamp<Micrometres>(offset, -limits::kPaperMicrometres, limits::kPaperMicrometres);
}

// For one report or sub-report.
class Planner {
public:
    // `left` is where the report's sections begin on the paper.
    Planner(const ReportDefinition& report, const PlanSource& source, Micrometres left, int depth)
        : report_(report), source_(source), page_(&source.page), left_(left), depth_(depth) {}

    // A sub-report is planned for a box of this width. It reads the outer report's data if it has none
    // itself. With `sectionRows`, its rows are from the table of the outer report.
    std::unique_ptr<ReportPlan> plan(Micrometres width, const DataSet* outerData,
                                     std::span<const SubReportParameter> passed,
                                     const DataSources* sectionRows = nullptr);

private:
    static constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);

    // The columns of a name: several if it repeats, none if there are no values.
    struct NamedColumns {
        std::size_t first = kNoColumn, last = kNoColumn;
    };

    // Whether the planned section is a page header or footer, whose scope is the page.
    enum class Page { IsOwn, IsNot };

    // The surroundings of a section or row.
    struct Site {
        Micrometres left = 0;  // its left edge on the paper; in columns of detail, that of the last one
        double scale = 1;      // of its lengths and fonts
        Page page = Page::IsNot;
    };

    void addSection(std::vector<PlannedSection>& sections, const SectionPtr& section);

    // While it exists, sections are planned for this paper.
    class PaperInUse {
    public:
        PaperInUse(Planner& planner, int paper)
            : planner_(planner), page_(planner.page_), left_(planner.left_), width_(planner.width_) {
            if (paper == kOwnPaper) return;
            planner.page_ = &planner.report_.namedPages[static_cast<std::size_t>(paper)].setup;
            planner.left_ = soundOffset(planner.page_->margins.left);
            planner.width_ = printableWidth(*planner.page_);
        }
        ~PaperInUse() {
            planner_.page_ = page_;
            planner_.left_ = left_;
            planner_.width_ = width_;
        }
        PaperInUse(const PaperInUse&) = delete;
        PaperInUse& operator=(const PaperInUse&) = delete;

    private:
        Planner& planner_;
        const PageSetup* page_;
        Micrometres left_, width_;
    };

    int paperNamed(const std::u16string& name) const;
    void planPapers();
    Visibility visibility(const std::u16string& text, Page page);
    Known whenKnown(const Expression& condition, Page page);

    PlannedSection planSection(const Section& section, const Site& site);
    static void slice(PlannedSection& section);
    PlannedSection emptySection(const Section& section, const Site& site);

    PlannedControl planFreeControl(const Control& control, Rect box, const Site& site);
    PlannedControl planControl(const Control& control, const Rect& box, const Site& site);
    static bool isPlain(const PlannedControl& control);
    static void warnOfMissingText(const Control& control);
    static std::vector<const TextTemplate*> contentTexts(const PlannedContent& content);

    PlannedContent planContent(const TextContent& content, const Rect&, const Site& site);
    PlannedContent planContent(const LineContent& content, const Rect&, const Site&) { return content; }
    PlannedContent planContent(const BoxContent& content, const Rect&, const Site&) { return content; }
    PlannedContent planContent(const PictureContent& content, const Rect&, const Site&);
    PlannedContent planContent(const BarcodeContent& content, const Rect&, const Site&);
    PlannedContent planContent(const ChartContent& content, const Rect&, const Site&);
    std::optional<DataSources> tableSources(const std::u16string& name);
    PlannedContent planContent(const SubReportContent& content, const Rect& box, const Site& site);
    PlannedSubReport planSubReport(const SubReportContent& content, const Rect& box, const Site& site);

    void bindCross(const ShownGrid& shown, std::span<const SubReportParameter> passed);
    void planGrid(std::span<const SubReportParameter> passed);
    static int levelsOf(const Column& column);
    std::vector<Micrometres> titleHeights(Micrometres titleHeight, double scale) const;
    void planTitleSpans(PlannedGrid& planned, const Site& site);
    void planJoins(PlannedGrid& planned);
    void warnOfDiscarded(const GridGeometry& geometry, Micrometres available) const;
    PlannedSection planGroupSection(const Section& section, const GridGeometry& geometry, const Site& site);

    // The section of a grid that is being planned.
    struct GroupSection {
        const GridGeometry& geometry;
        const Site& site;
        int& lines;
        PlannedSection& planned;
    };
    void planColumnControl(const Control& control, Rect box, const NamedColumns& columns,
                           const GroupSection& section);
    void planLabels(const Labels& labels, PlannedGrid& planned);
    static std::optional<std::pair<std::size_t, std::size_t>> columnSpan(const GridGeometry& geometry,
                                                                         std::size_t first, std::size_t last,
                                                                         int columnGroup);

    const ReportDefinition& report_;
    const PlanSource& source_;
    const PageSetup* page_;  // that sections are planned for
    Micrometres left_;
    Micrometres width_ = 0;  // of sections
    int depth_;
    std::unique_ptr<ReportPlan> plan_;
    Binding* binding_ = nullptr;  // of the texts that are being planned
    const DataSet* data_ = nullptr;
    std::vector<ShownColumn> columns_;  // of the grid
    std::unordered_map<std::u16string, NamedColumns> columnIndex_;
};

}  // namespace qbsvrl6

#endif
