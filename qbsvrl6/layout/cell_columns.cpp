#include "qbsvrl6/layout/cell_columns.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "qbsvrl6/layout/column_splits.h"
#include "qbsvrl6/layout/grid_geometry.h"
#include "qbsvrl6/layout/paper_edge.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

constexpr Micrometres kNear = 1'000;

class EdgeCollector {
public:
    explicit EdgeCollector(CellColumns columns) : columns_(columns) {}

    void addGridBox(std::int64_t left, Micrometres width) {
        add(gridEdges_, left, width);
        gridStart_ = std::min(gridStart_, onDrawing(left));
        gridEnd_ = std::max(gridEnd_, onDrawing(left + width));
    }
    void addFreeBox(std::int64_t left, std::int64_t width) { add(freeEdges_, left, width); }
    // The boxes of a section that have cells.
    void addCells(std::vector<CellBox> boxes) {
        if (columns_ != CellColumns::Page) cells_.push_back(std::move(boxes));
    }

    // Adopt the edges collected so far, except those close to an adopted one: earlier edges take precedence.
    void takeGridEdges() { take(gridEdges_); }
    void takeFreeEdges() {
        if (columns_ != CellColumns::Page) {
            std::erase_if(freeEdges_,
                          [this](Micrometres edge) { return edge > gridStart_ && edge < gridEnd_; });
        }
        take(freeEdges_);
    }

    std::vector<Micrometres> done() && {
        if (columns_ == CellColumns::Records && !adopted_.empty()) {
            if (adopted_.size() > 1 && end_ - adopted_.back() <= kNear) adopted_.pop_back();
            adopted_.push_back(std::max(end_, adopted_.back() + kNear));
        }
        splitColumns(adopted_, std::move(cells_), kNear);
        return std::move(adopted_);
    }

    static Micrometres onDrawing(std::int64_t edge) {
        constexpr std::int64_t kFarthest = limits::kBandMicrometres;
        return static_cast<Micrometres>(std::clamp<std::int64_t>(edge, 0, kFarthest));
    }

private:
    void add(std::vector<Micrometres>& edges, std::int64_t left, std::int64_t width) {
        const Micrometres end = onDrawing(left + width);
        edges.push_back(onDrawing(left));
        if (columns_ != CellColumns::Records) edges.push_back(end);
        end_ = std::max(end_, end);
    }

    void take(std::vector<Micrometres>& edges) {
        std::sort(edges.begin(), edges.end());
        for (const Micrometres edge : edges) {
            const auto after = std::lower_bound(adopted_.begin(), adopted_.end(), edge);
            if (after != adopted_.end() && *after - edge <= kNear) continue;
            if (after != adopted_.begin() && edge - *(after - 1) <= kNear) continue;
            adopted_.insert(after, edge);
        }
        edges.clear();
    }

    CellColumns columns_;
    std::vector<Micrometres> gridEdges_;
    std::vector<Micrometres> freeEdges_;
    std::vector<std::vector<CellBox>> cells_;  // of each section
    std::vector<Micrometres> adopted_;
    Micrometres gridStart_ = limits::kBandMicrometres;
    Micrometres gridEnd_ = 0;
    Micrometres end_ = 0;
};

// The extent of a report on the paper.
struct Place {
    std::int64_t left = 0;
    Micrometres width = 0;
    int depth = 0;          // of sub-reports
    Micrometres paper = 0;  // its width
};

GridGeometry geometryOf(const ReportDefinition& report, const LayoutOptions& options, const Place& place,
                        const ShownGrids& grids) {
    GridSurroundings surroundings = GridSurroundings::Page;
    if (!options.paged) {
        surroundings = GridSurroundings::Endless;
    } else if (place.depth > 0 || detailColumns(report.page) > 1) {
        surroundings = GridSurroundings::Box;
    }
    return placeColumns(*grids.gridOf(report), grids.columnsOf(report), place.width, surroundings);
}

// Whether the grid shows rows or titles. If not, its columns only position the controls of groups.
bool showsRows(const DetailGrid& grid) {
    if (std::max(grid.rowHeight, grid.titleHeight) >= kNear) return true;
    return grid.rowCanGrow && std::any_of(grid.columns.begin(), grid.columns.end(), [](const auto& column) {
               const auto* const text = std::get_if<TextContent>(&column->content.content);
               return text == nullptr || !text->text.empty();
           });
}

// Lays the column groups of a grid, which have separate pages, over one another.
std::vector<ColumnMove> movesOf(const GridGeometry& geometry) {
    std::vector<ColumnMove> moves(geometry.columns.size());
    std::vector<std::size_t> slots(moves.size());
    std::vector<Micrometres> widths;  // of the slots
    const auto isFixed = [](const PlacedColumn& column) { return column.columnGroup == kEveryColumnGroup; };
    const auto fixed =
        static_cast<std::size_t>(std::count_if(geometry.columns.begin(), geometry.columns.end(), isFixed));
    std::size_t slot = 0;
    for (std::size_t i = 0; i < moves.size(); ++i) {
        const PlacedColumn& column = geometry.columns[i];
        const bool beginsColumnGroup = i > fixed && column.columnGroup != geometry.columns[i - 1].columnGroup;
        slots[i] = slot = i == 0 ? 0 : beginsColumnGroup ? fixed : slot + 1;
        if (slot == widths.size()) widths.push_back(0);
        widths[slot] = std::max(widths[slot], column.width);
    }
    std::vector<Micrometres> lefts(widths.size());
    for (std::size_t i = 1; i < widths.size(); ++i) lefts[i] = lefts[i - 1] + widths[i - 1];
    for (std::size_t i = 0; i < moves.size(); ++i) {
        const PlacedColumn& column = geometry.columns[i];
        moves[i] = {column.x, column.width, lefts[slots[i]], widths[slots[i]]};
    }
    return moves;
}

// The first and last columns of the grid by name: several if a column repeats.
using ColumnNames = std::map<std::u16string_view, std::pair<std::size_t, std::size_t>>;

struct ColumnBox {
    std::int64_t x;  // from the left edge of the page's column
    Micrometres width;
    bool visible;
};
// The columns of the grid that the controls of a group section can name.
struct NamedColumns {
    const ColumnNames* names = nullptr;
    const std::vector<ColumnBox>* boxes = nullptr;
    std::int64_t left = 0;
    bool show = true;

    std::optional<Extent> spanOf(const Control& control) const {
        if (names == nullptr || control.column.empty()) return std::nullopt;
        const auto first = names->find(control.column);
        if (first == names->end()) return std::nullopt;
        const auto to = names->find(control.toColumn);
        const std::size_t last =
            to == names->end() ? first->second.second : std::max(first->second.second, to->second.second);
        const ColumnBox& box = (*boxes)[first->second.first];
        return Extent{left + box.x, (*boxes)[last].x + (*boxes)[last].width - box.x};
    }
};

class Collector {
public:
    Collector(const LayoutOptions& options, CellColumns columns, EdgeCollector& edges,
              const ShownGrids& grids)
        : options_(options), columns_(columns), edges_(edges), grids_(grids) {}

    void addColumns(const ReportDefinition& report, const Place& place) {
        if (!report.grid || report.grid->labels) return;
        const std::vector<ColumnBox> boxes = boxesOf(report, place);
        if (!showsRows(*grids_.gridOf(report))) {
            addOuterEdges(report, place, boxes);
            return;
        }
        for (const std::int64_t left : placesOf(report, place)) {
            for (const ColumnBox& box : boxes) {
                if (box.visible) edges_.addGridBox(left + box.x, box.width);
            }
        }
    }

    void addControls(const ReportDefinition& report, const Place& place) {
        addGridControls(report, place);
        if (place.depth == 0 && options_.onlyDetailGrid) return;
        for (const auto* const sections : {&report.reportHeaders, &report.reportFooters}) {
            for (const SectionPtr& section : *sections) {
                if (section) addSection(section, placeOnPaper(report, section->page, place));
            }
        }
        if (place.depth > 0 || !options_.pageHeadersAndFooters) return;
        addSection(report.pageHeader, place);
        addSection(report.pageFooter, place);
        if (!options_.paged) return;
        for (const NamedPage& page : report.namedPages) {
            addSection(page.header, placeOnPaper(report, page.name, place));
            addSection(page.footer, placeOnPaper(report, page.name, place));
        }
    }

private:
    std::vector<ColumnBox> boxesOf(const ReportDefinition& report, const Place& place) const {
        const GridGeometry geometry = geometryOf(report, options_, place, grids_);
        const bool moves = geometry.columnGroups > 1 && columns_ != CellColumns::Page;
        std::vector<ColumnBox> boxes;
        for (const PlacedColumn& column : geometry.columns) {
            boxes.push_back({std::int64_t{geometry.x} + column.x, column.width, column.visible});
        }
        if (!moves) return boxes;
        const std::vector<ColumnMove> moved = movesOf(geometry);
        for (std::size_t i = 0; i < boxes.size(); ++i) {
            boxes[i] = {std::int64_t{geometry.x} + moved[i].newX, moved[i].newWidth, true};
        }
        return boxes;
    }

    // Of a section that names other paper.
    Place placeOnPaper(const ReportDefinition& report, const std::u16string& name, const Place& place) const {
        if (name.empty() || place.depth > 0 || !options_.paged) return place;
        const auto found = std::find_if(report.namedPages.begin(), report.namedPages.end(),
                                        [&name](const NamedPage& page) { return page.name == name; });
        if (found == report.namedPages.end()) return place;
        return {found->setup.margins.left, printableWidth(found->setup), place.depth,
                found->setup.paper.width};
    }

    // The left edge of each of the page's columns of detail.
    std::vector<std::int64_t> placesOf(const ReportDefinition& report, const Place& place) const {
        const bool repeats = options_.paged && place.depth == 0;
        const std::int64_t step = std::int64_t{place.width} + std::max(report.page.columnGap, 0);
        std::vector<std::int64_t> lefts;
        for (int i = 0; i < (repeats ? detailColumns(report.page) : 1); ++i)
            lefts.push_back(place.left + i * step);
        return lefts;
    }

    // A grid without rows still defines the left and right edge of the content.
    void addOuterEdges(const ReportDefinition& report, const Place& place,
                       const std::vector<ColumnBox>& boxes) {
        if (place.depth > 0 || columns_ == CellColumns::Records || boxes.empty()) return;
        const std::vector<std::int64_t> lefts = placesOf(report, place);
        const std::int64_t left = lefts.front() + boxes.front().x;
        std::int64_t right = left;
        for (const ColumnBox& box : boxes) {
            if (box.visible) right = std::max(right, lefts.back() + box.x + box.width);
        }
        edges_.addFreeBox(left, right - left);
    }

    void addGridControls(const ReportDefinition& report, const Place& place) {
        if (!report.grid) return;
        const DetailGrid& grid = *report.grid;
        if (grid.labels) return addLabels(*grid.labels, place);
        const std::vector<ColumnBox> boxes = boxesOf(report, place);
        const std::int64_t gridX = geometryOf(report, options_, place, grids_).x;
        ColumnNames names;
        const std::vector<ShownColumn> columns = grids_.columnsOf(report);
        for (std::size_t i = 0; i < boxes.size(); ++i) {
            const auto known = names.try_emplace(columns[i].column->name, i, i).first;
            if (columns[i].rows) known->second.second = i;
        }
        const bool columnsShow = showsRows(*grids_.gridOf(report));
        for (const std::int64_t left : placesOf(report, place)) {
            for (std::size_t i = 0; i < boxes.size(); ++i) {
                if (!boxes[i].visible) continue;
                addSubReport(columns[i].column->content,
                             {left + boxes[i].x, boxes[i].width, place.depth, place.paper});
            }
            const auto addGroupSection = [&](const SectionPtr& section) {
                addSection(section, {left + gridX, place.width, place.depth, place.paper},
                           {&names, &boxes, left, columnsShow});
            };
            addGroupSection(grid.header);
            addGroupSection(grid.footer);
            for (const auto& group : grid.groups) {
                addGroupSection(group->header);
                addGroupSection(group->footer);
            }
        }
    }

    // The labels of a row are in one band.
    void addLabels(const Labels& labels, const Place& place) {
        const std::int64_t step = labelStep(labels);
        std::vector<CellBox> cells;
        for (int i = 0; i < labelColumns(labels, place.width); ++i) {
            addControls(labels.label.controls,
                        {place.left + i * step, labels.width, place.depth, place.paper}, {}, cells);
        }
        edges_.addCells(std::move(cells));
    }

    void addSection(const SectionPtr& section, const Place& place, const NamedColumns& columns = {}) {
        if (!section) return;
        std::vector<CellBox> cells;
        addControls(section->controls, place, columns, cells);
        edges_.addCells(std::move(cells));
    }

    void addControls(const ControlList& controls, const Place& place, const NamedColumns& columns,
                     std::vector<CellBox>& cells) {
        for (const auto& control : controls.items) {
            const std::optional<Extent> named = columns.spanOf(*control);
            const Extent span = named ? *named : freeSpan(*control, place);
            // If the grid shows no rows, the columns that controls name count as free controls.
            if (!named || !columns.show) edges_.addFreeBox(span.left, span.width);
            if (!named)
                addSubReport(*control,
                             {span.left, static_cast<Micrometres>(span.width), place.depth, place.paper});
            if (hasCell(*control)) {
                cells.push_back({EdgeCollector::onDrawing(span.left),
                                 EdgeCollector::onDrawing(span.left + span.width), control->box.y,
                                 control->box.bottom()});
            }
        }
    }

    Extent freeSpan(const Control& control, const Place& place) const {
        const Extent span{place.left + control.box.x, control.box.width};
        return options_.paged ? extentOnPaper(control, span, place.paper) : span;
    }

    // Pictures and drawings overlay the cells of workbooks; in records they have cells.
    bool hasCell(const Control& control) const {
        switch (control.kind()) {
            case ControlKind::Line:
            case ControlKind::Box:
                return false;
            case ControlKind::Text:
            case ControlKind::SubReport:
                return true;
            default:
                return columns_ == CellColumns::Records;
        }
    }

    void addSubReport(const Control& control, Place place) {
        const auto* const content = std::get_if<SubReportContent>(&control.content);
        if (content == nullptr || ++place.depth > limits::kSubReportDepth) return;
        addColumns(content->report->definition, place);
        addControls(content->report->definition, place);
    }

    const LayoutOptions& options_;
    CellColumns columns_;
    EdgeCollector& edges_;
    const ShownGrids& grids_;
};

Place placeOf(const ReportDefinition& report, const LayoutOptions& options) {
    return {report.page.margins.left, options.paged ? detailWidth(report.page) : printableWidth(report.page),
            0, report.page.paper.width};
}

}  // namespace

std::vector<Micrometres> columnEdges(const ReportDefinition& report, const LayoutOptions& options,
                                     CellColumns columns, const ShownGrids& grids) {
    EdgeCollector edges(columns);
    Collector collector(options, columns, edges, grids);
    const Place place = placeOf(report, options);
    collector.addColumns(report, place);
    edges.takeGridEdges();
    collector.addControls(report, place);
    edges.takeGridEdges();  // of sub-reports
    edges.takeFreeEdges();
    return std::move(edges).done();
}

std::vector<ColumnMove> columnMoves(const ReportDefinition& report, const LayoutOptions& options,
                                    CellColumns columns, const ShownGrids& grids) {
    if (!report.grid || columns == CellColumns::Page) return {};
    const GridGeometry geometry = geometryOf(report, options, placeOf(report, options), grids);
    if (geometry.columnGroups < 2) return {};
    return movesOf(geometry);
}

}  // namespace qbsvrl6
