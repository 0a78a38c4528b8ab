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
    void addGridEdge(std::int64_t edge) { gridEdges_.push_back(onDrawing(edge)); }
    void addFreeEdge(std::int64_t edge) { freeEdges_.push_back(onDrawing(edge)); }

    // Make cuts of the edges collected so far that no earlier cut is near to: what comes first leads.
    void takeGridEdges() { take(gridEdges_); }
    void takeFreeEdges(FreeEdges freeEdges) {
        if (freeEdges == FreeEdges::Yield && !cuts_.empty()) {
            std::erase_if(freeEdges_, [first = cuts_.front(), last = cuts_.back()](Micrometres edge) {
                return edge > first && edge < last;
            });
        }
        take(freeEdges_);
    }

    std::vector<Micrometres> done() && { return std::move(cuts_); }

private:
    static Micrometres onDrawing(std::int64_t edge) {
        constexpr std::int64_t kFarthest = limits::kBandMicrometres;
        return static_cast<Micrometres>(std::clamp<std::int64_t>(edge, 0, kFarthest));
    }

    void take(std::vector<Micrometres>& edges) {
        std::sort(edges.begin(), edges.end());
        for (const Micrometres edge : edges) {
            const auto behind = std::lower_bound(cuts_.begin(), cuts_.end(), edge);
            if (behind != cuts_.end() && *behind - edge <= kNear) continue;
            if (behind != cuts_.begin() && edge - *(behind - 1) <= kNear) continue;
            cuts_.insert(behind, edge);
        }
        edges.clear();
    }

    std::vector<Micrometres> gridEdges_;
    std::vector<Micrometres> freeEdges_;
    std::vector<Micrometres> cuts_;
};

// Where a report stands on the paper.
struct Place {
    std::int64_t left = 0;
    Micrometres width = 0;
    int depth = 0;  // of sub-reports
};

class Collector {
public:
    Collector(const LayoutOptions& options, Cuts& cuts) : options_(options), cuts_(cuts) {}

    GridGeometry geometryOf(const ReportDefinition& report, const Place& place) const {
        GridSurroundings surroundings = GridSurroundings::Page;
        if (!options_.paged) {
            surroundings = GridSurroundings::Endless;
        } else if (place.depth > 0 || detailColumns(report.page) > 1) {
            surroundings = GridSurroundings::Box;
        }
        return placeColumns(*report.grid, place.width, surroundings);
    }

    void addColumns(const ReportDefinition& report, const Place& place) {
        if (!report.grid) return;
        const GridGeometry geometry = geometryOf(report, place);
        const bool repeats = options_.paged && place.depth == 0;
        std::int64_t left = place.left + geometry.x;
        for (int i = repeats ? detailColumns(report.page) : 1; i > 0; --i) {
            for (const PlacedColumn& column : geometry.columns) {
                if (!column.visible) continue;
                cuts_.addGridEdge(left + column.x);
                cuts_.addGridEdge(left + column.x + column.width);
            }
            left += std::int64_t{place.width} + std::max(report.page.columnGap, 0);
        }
    }

    void addControls(const ReportDefinition& report, const Place& place) {
        addGridControls(report, place);
        if (place.depth == 0 && options_.onlyDetailGrid) return;
        for (const SectionPtr& section : report.reportHeaders) addSection(section, place);
        for (const SectionPtr& section : report.reportFooters) addSection(section, place);
        if (place.depth > 0 || !options_.pageHeadersAndFooters) return;
        addSection(report.pageHeader, place);
        addSection(report.pageFooter, place);
    }

private:
    void addGridControls(const ReportDefinition& report, const Place& place) {
        if (!report.grid) return;
        const GridGeometry geometry = geometryOf(report, place);
        const std::int64_t left = place.left + geometry.x;
        for (std::size_t i = 0; i < report.grid->columns.size(); ++i) {
            const PlacedColumn& column = geometry.columns[i];
            if (!column.visible) continue;
            addSubReport(report.grid->columns[i]->content, {left + column.x, column.width, place.depth});
        }
        for (const auto& group : report.grid->groups) {
            addSection(group->header, {left, place.width, place.depth});
            addSection(group->footer, {left, place.width, place.depth});
        }
    }

    void addSection(const SectionPtr& section, const Place& place) {
        if (!section) return;
        for (const auto& control : section->controls.items) {
            if (!control->column.empty()) continue;  // stands on edges of the grid
            const std::int64_t left = place.left + control->box.x;
            cuts_.addFreeEdge(left);
            cuts_.addFreeEdge(left + control->box.width);
            addSubReport(*control, {left, control->box.width, place.depth});
        }
    }

    void addSubReport(const Control& control, Place place) {
        const auto* const content = std::get_if<SubReportContent>(&control.content);
        if (content == nullptr || ++place.depth > limits::kSubReportDepth) return;
        addColumns(content->report->definition, place);
        addControls(content->report->definition, place);
    }

    const LayoutOptions& options_;
    Cuts& cuts_;
};

}  // namespace

std::vector<Micrometres> columnCuts(const ReportDefinition& report, const LayoutOptions& options,
                                    FreeEdges freeEdges) {
    Cuts cuts;
    Collector collector(options, cuts);
    const Micrometres width = options.paged ? detailWidth(report.page) : printableWidth(report.page);
    const Place place{report.page.margins.left, width, 0};
    collector.addColumns(report, place);
    cuts.takeGridEdges();
    collector.addControls(report, place);
    cuts.takeGridEdges();  // of sub-reports
    cuts.takeFreeEdges(freeEdges);
    return std::move(cuts).done();
}

}  // namespace qbsvrl6
