#include <algorithm>
#include <vector>

#include "qbsvrl6/layout/grid_geometry.h"
#include "qbsvrl6/layout/layout.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

constexpr Micrometres kNear = 1'000;

class Cuts {
public:
    // `far` keeps edges on what a drawing can hold.
    void add(std::int64_t edge) {
        constexpr std::int64_t kFar = limits::kBandMicrometres;
        edges_.push_back(static_cast<Micrometres>(std::clamp<std::int64_t>(edge, 0, kFar)));
    }

    // Takes the edges collected so far that no earlier cut is near to: what is taken first leads.
    void take() {
        std::sort(edges_.begin(), edges_.end());
        for (const Micrometres edge : edges_) {
            const auto behind = std::lower_bound(cuts_.begin(), cuts_.end(), edge);
            if (behind != cuts_.end() && *behind - edge < kNear) continue;
            if (behind != cuts_.begin() && edge - *(behind - 1) < kNear) continue;
            cuts_.insert(behind, edge);
        }
        edges_.clear();
    }

    std::vector<Micrometres> done() && { return std::move(cuts_); }

private:
    std::vector<Micrometres> edges_;
    std::vector<Micrometres> cuts_;
};

GridSurroundings surroundingsOf(const LayoutOptions& options, const PageSetup& page, bool nested) {
    if (!options.paged) return GridSurroundings::Endless;
    return nested || detailColumns(page) > 1 ? GridSurroundings::Box : GridSurroundings::Page;
}

void addGrid(Cuts& cuts, const ReportDefinition& report, const LayoutOptions& options, std::int64_t left,
             Micrometres available, bool nested) {
    if (!report.grid) return;
    const GridGeometry geometry =
        placeColumns(*report.grid, available, surroundingsOf(options, report.page, nested));
    const int repeats = options.paged && !nested ? detailColumns(report.page) : 1;
    for (int i = 0; i < repeats; ++i) {
        for (const PlacedColumn& column : geometry.columns) {
            if (!column.visible) continue;
            cuts.add(left + geometry.x + column.x);
            cuts.add(left + geometry.x + column.x + column.width);
        }
        left += std::int64_t{available} + std::max(report.page.columnGap, 0);
    }
}

void addSection(Cuts& cuts, const SectionPtr& section, const LayoutOptions& options, std::int64_t left,
                int depth);

void addControls(Cuts& cuts, const ReportDefinition& report, const LayoutOptions& options, std::int64_t left,
                 int depth) {
    for (const SectionPtr& section : report.reportHeaders) addSection(cuts, section, options, left, depth);
    for (const SectionPtr& section : report.reportFooters) addSection(cuts, section, options, left, depth);
    if (depth == 0 && options.pageHeadersAndFooters) {
        addSection(cuts, report.pageHeader, options, left, depth);
        addSection(cuts, report.pageFooter, options, left, depth);
    }
}

// Group sections stand where the grid does.
void addGroupControls(Cuts& cuts, const ReportDefinition& report, const LayoutOptions& options,
                      std::int64_t left, Micrometres available, int depth) {
    if (!report.grid) return;
    left += placeColumns(*report.grid, available, surroundingsOf(options, report.page, depth > 0)).x;
    for (const auto& group : report.grid->groups) {
        addSection(cuts, group->header, options, left, depth);
        addSection(cuts, group->footer, options, left, depth);
    }
}

void addSection(Cuts& cuts, const SectionPtr& section, const LayoutOptions& options, std::int64_t left,
                int depth) {
    if (!section) return;
    for (const auto& control : section->controls.items) {
        if (!control->column.empty()) continue;
        cuts.add(left + control->box.x);
        cuts.add(left + control->box.x + control->box.width);
        const auto* const sub = std::get_if<SubReportContent>(&control->content);
        if (sub == nullptr || depth >= limits::kSubReportDepth) continue;
        const ReportDefinition& inner = sub->report->definition;
        const std::int64_t innerLeft = left + control->box.x;
        addGrid(cuts, inner, options, innerLeft, control->box.width, true);
        addControls(cuts, inner, options, innerLeft, depth + 1);
        addGroupControls(cuts, inner, options, innerLeft, control->box.width, depth + 1);
    }
}

}  // namespace

std::vector<Micrometres> columnCuts(const ReportDefinition& report, const LayoutOptions& options) {
    Cuts cuts;
    const Micrometres left = report.page.margins.left;
    const Micrometres available = options.paged ? detailWidth(report.page) : printableWidth(report.page);
    addGrid(cuts, report, options, left, available, false);
    cuts.take();
    addGroupControls(cuts, report, options, left, available, 0);
    if (!options.onlyDetailGrid) addControls(cuts, report, options, left, 0);
    cuts.take();
    return std::move(cuts).done();
}

}  // namespace qbsvrl6
