// The grid of a report: its columns, titles, cells and groups.
#include <algorithm>
#include <utility>

#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/layout/planner.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

// The rows of a cross-table are of its own table.
void Planner::bindCross(const ShownGrid& shown, std::span<const SubReportParameter> passed) {
    DataSources sources = plan_->binding->sources();
    sources.rows = &shown.rows->tables().front();
    sources.head = nullptr;
    plan_->cross = &shown;
    plan_->crossBinding = std::make_unique<Binding>(shown.names, sources, passed);
    binding_ = plan_->crossBinding.get();
}

void Planner::planGrid(std::span<const SubReportParameter> passed) {
    const DetailGrid& grid = *source_.grids.gridOf(report_);
    columns_ = source_.grids.columnsOf(report_);
    const ShownGrid* const shown = source_.grids.find(report_);
    if (shown != nullptr && shown->cross) bindCross(*shown, passed);
    plan_->grid = std::make_unique<PlannedGrid>();
    PlannedGrid& planned = *plan_->grid;
    planned.grid = &grid;
    if (source_.options.structure != nullptr) {
        auto names = std::make_shared<std::vector<std::u16string>>();
        for (const ShownColumn& shownColumn : columns_) names->push_back(shownColumn.column->name);
        planned.columnNames = std::move(names);
    }
    GridSurroundings surroundings = GridSurroundings::Page;
    Micrometres available = plan_->width;
    if (!source_.options.paged) {
        surroundings = GridSurroundings::Endless;
    } else if (depth_ > 0) {
        surroundings = GridSurroundings::Box;
    } else if (detailColumns(report_.page) > 1) {
        surroundings = GridSurroundings::Box;
        available = detailWidth(report_.page);
    }
    planned.geometry = placeColumns(grid, columns_, available, surroundings);
    warnOfDiscarded(planned.geometry, available);
    Site site{left_ + planned.geometry.x, planned.geometry.scale};
    if (depth_ == 0 && source_.options.paged) site.left += lastDetailColumn(report_.page);
    planned.titleHeights = titleHeights(grid.titleHeight, site.scale);
    planned.rowHeight = scaledLength(soundLength(grid.rowHeight), site.scale);
    for (const auto& column : report_.grid->columns) columnIndex_.try_emplace(column->name);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const PlacedColumn& place = planned.geometry.columns[i];
        const Column& column = *columns_[i].column;
        NamedColumns& named = columnIndex_[column.name];
        if (named.first == kNoColumn) named.first = named.last = i;
        if (columns_[i].rows) named.last = i;
        if (!place.visible) continue;
        binding_->setTotaledRows(columns_[i].rows);
        const auto cell = [&](const Control& control, Micrometres height) {
            PlannedControl made = planControl(control, {place.x, 0, place.width, height}, site);
            made.gridColumn = &column.name;
            made.firstColumn = made.lastColumn = static_cast<int>(i);
            made.columnGroup = place.columnGroup;
            return made;
        };
        if (!planned.titleHeights.empty()) {
            planned.titles.push_back(cell(column.title, planned.titleHeights.back()));
            planned.titles.back().level = levelsOf(column);
            planned.titles.back().levels =
                static_cast<int>(planned.titleHeights.size()) - planned.titles.back().level;
        }
        planned.cells.push_back(cell(column.content, planned.rowHeight));
        planned.cells.back().rows = columns_[i].rows;
    }
    binding_->setTotaledRows(std::nullopt);
    if (!planned.titleHeights.empty()) planTitleSpans(planned, site);
    planJoins(planned);
    if (grid.labels) planLabels(*grid.labels, planned);
    for (const auto& group : grid.groups) {
        PlannedGroup made;
        made.group = group.get();
        made.paper = paperNamed(group->page);
        if (group->header) made.header = planGroupSection(*group->header, planned.geometry, site);
        if (!group->sheet.empty()) made.sheet = binding_->compileText(group->sheet);
        if (group->footer) made.footer = planGroupSection(*group->footer, planned.geometry, site);
        planned.groups.push_back(std::move(made));
    }
    if (grid.header) planned.header = planGroupSection(*grid.header, planned.geometry, site);
    if (grid.footer) planned.footer = planGroupSection(*grid.footer, planned.geometry, site);
    if (!trimmed(grid.keepWithNext).empty()) planned.keepWithNext = binding_->compile(grid.keepWithNext);
    binding_ = plan_->binding.get();
}

// Rows of titles above the title of the column.
int Planner::levelsOf(const Column& column) {
    int levels = 0;
    for (const auto& span : column.titleSpans) levels += span->levels;
    return levels;
}

std::vector<Micrometres> Planner::titleHeights(Micrometres titleHeight, double scale) const {
    const Micrometres lowest = scaledLength(soundLength(titleHeight), scale);
    if (lowest == 0) return {};
    std::vector<Micrometres> heights;
    for (const ShownColumn& column : columns_) {
        std::size_t level = 0;
        for (const auto& span : column.column->titleSpans) {
            const auto end = level + static_cast<std::size_t>(span->levels);
            if (heights.size() < end) heights.resize(end);
            const Micrometres own = scaledLength(soundLength(span->height), scale);
            if (span->levels == 1) heights[level] = std::max(heights[level], own);
            level = end;
        }
    }
    for (Micrometres& height : heights) {
        if (height == 0) height = lowest;
    }
    heights.push_back(lowest);
    return heights;
}

// A title over columns on several lines or pages is repeated on each.
void Planner::planTitleSpans(PlannedGrid& planned, const Site& site) {
    const GridGeometry& geometry = planned.geometry;
    const auto spanAt = [&](std::size_t column, std::size_t depth) -> const TitleSpan* {
        const auto& spans = columns_[column].column->titleSpans;
        return depth < spans.size() ? spans[depth].get() : nullptr;
    };
    std::vector<std::size_t> shown;
    for (std::size_t i = 0; i < geometry.columns.size(); ++i) {
        if (geometry.columns[i].visible) shown.push_back(i);
    }
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const std::size_t first = shown[i];
        int level = 0;
        for (std::size_t depth = 0; depth < columns_[first].column->titleSpans.size(); ++depth) {
            const TitleSpan& span = *columns_[first].column->titleSpans[depth];
            const auto continues = [&](std::size_t column) {
                return spanAt(column, depth) == &span &&
                       geometry.columns[column].line == geometry.columns[first].line &&
                       geometry.columns[column].columnGroup == geometry.columns[first].columnGroup;
            };
            const int at = std::exchange(level, level + span.levels);
            if (i > 0 && continues(shown[i - 1])) continue;
            std::size_t end = i + 1;
            while (end < shown.size() && continues(shown[end])) ++end;
            const std::size_t last = shown[end - 1];
            const PlacedColumn& left = geometry.columns[first];
            const PlacedColumn& right = geometry.columns[last];
            PlannedControl made = planControl(span.title,
                                              {left.x, 0, right.x + right.width - left.x,
                                               planned.titleHeights[static_cast<std::size_t>(at)]},
                                              site);
            made.firstColumn = static_cast<int>(first);
            made.lastColumn = static_cast<int>(last);
            made.columnGroup = left.columnGroup;
            made.level = at;
            made.levels = span.levels;
            planned.titles.push_back(std::move(made));
        }
    }
}

void Planner::planJoins(PlannedGrid& planned) {
    const auto joins = [](const ShownColumn& shown) {
        return !shown.column->mergeBy.empty() || shown.column->span > 1;
    };
    if (std::none_of(columns_.begin(), columns_.end(), joins)) return;
    const GridGeometry& geometry = planned.geometry;
    for (const PlannedControl& cell : planned.cells) {
        const auto at = static_cast<std::size_t>(cell.firstColumn);
        const Column& column = *columns_[at].column;
        CellJoins& made = planned.joins.emplace_back();
        if (!trimmed(column.mergeBy).empty() && geometry.lines == 1) {
            made.mergeBy = binding_->compile(column.mergeBy);
            planned.merges = true;
        }
        if (column.span < 2 || trimmed(column.spanWhen).empty()) continue;
        made.spanWhen = binding_->compile(column.spanWhen);
        std::size_t last = at;
        const std::size_t end = std::min(at + static_cast<std::size_t>(column.span), columns_.size());
        for (std::size_t i = at + 1; i < end; ++i) {
            const PlacedColumn& place = geometry.columns[i];
            const PlacedColumn& own = geometry.columns[at];
            if (place.line != own.line || place.columnGroup != own.columnGroup) break;
            if (place.visible) last = i;
        }
        made.spanLast = static_cast<int>(last);
        made.spanWidth = geometry.columns[last].x + geometry.columns[last].width - cell.box.x;
    }
}

void Planner::warnOfDiscarded(const GridGeometry& geometry, Micrometres available) const {
    constexpr std::size_t kMostNames = 10;
    std::size_t lost = 0;
    std::string names;
    for (std::size_t i = 0; i < geometry.columns.size(); ++i) {
        if (!geometry.columns[i].discarded) continue;
        if (++lost <= kMostNames) names += (lost == 1 ? "" : ", ") + quoted(columns_[i].column->name);
    }
    if (lost == 0) return;
    if (lost > kMostNames) names += " and " + std::to_string(lost - kMostNames) + " more";
    logWarning("the columns need " + inMillimetres(geometry.needed) + " and have " +
               inMillimetres(available) + ": adapt=\"discard\" leaves out " + names +
               "; another adapt, narrower columns or wider paper would keep them");
}

// Controls that name columns follow them: to their line where group sections wrap, and to each page that
// holds some of them.
PlannedSection Planner::planGroupSection(const Section& section, const GridGeometry& geometry,
                                         const Site& site) {
    PlannedSection planned = emptySection(section, site);
    planned.paper = paperNamed(section.page);
    int lines = 1;
    for (const auto& control : section.controls.items) {
        Rect box = control->box;
        box = {scaledLength(soundOffset(box.x), geometry.scale),
               scaledLength(soundOffset(box.y), geometry.scale),
               scaledLength(soundLength(box.width), geometry.scale),
               scaledLength(soundLength(box.height), geometry.scale)};
        const auto first = columnIndex_.find(control->column);
        if (control->column.empty() || first == columnIndex_.end()) {
            planned.controls.push_back(planFreeControl(*control, box, site));
            planned.controls.back().columnGroup = 0;
            continue;
        }
        if (first->second.first == kNoColumn) continue;
        const auto to = columnIndex_.find(control->toColumn);
        if (to != columnIndex_.end() && to->second.last != kNoColumn) {
            const std::size_t last = std::max(first->second.last, to->second.last);
            planColumnControl(*control, box, {first->second.first, last}, {geometry, site, lines, planned});
            continue;
        }
        // One for each value of a column that repeats, with the totals of its rows.
        for (std::size_t i = first->second.first; i <= first->second.last; ++i) {
            binding_->setTotaledRows(columns_[i].rows);
            planColumnControl(*control, box, {i, i}, {geometry, site, lines, planned});
        }
        binding_->setTotaledRows(std::nullopt);
    }
    planned.height *= lines;
    if (geometry.columnGroups == 1) slice(planned);
    return planned;
}

// A control of these columns, on each page that has some of them.
void Planner::planColumnControl(const Control& control, Rect box, const NamedColumns& columns,
                                const GroupSection& section) {
    const GridGeometry& geometry = section.geometry;
    for (int columnGroup = 0; columnGroup < geometry.columnGroups; ++columnGroup) {
        const auto span = columnSpan(geometry, columns.first, columns.last, columnGroup);
        if (!span) continue;
        const PlacedColumn& left = geometry.columns[span->first];
        const PlacedColumn& right = geometry.columns[span->second];
        box.x = left.x;
        box.width = right.x + right.width - left.x;
        Rect own = box;
        if (geometry.wrapGroups) {
            own.y += left.line * section.planned.height;
            section.lines = std::max(section.lines, left.line + 1);
        }
        PlannedControl made = planControl(control, own, section.site);
        made.firstColumn = static_cast<int>(span->first);
        made.lastColumn = static_cast<int>(span->second);
        const bool everywhere = geometry.columns[columns.last].columnGroup == kEveryColumnGroup;
        made.columnGroup = everywhere ? kEveryColumnGroup : columnGroup;
        section.planned.controls.push_back(std::move(made));
        if (everywhere) break;
    }
}

void Planner::planLabels(const Labels& labels, PlannedGrid& planned) {
    PlannedLabels& made = planned.labels.emplace();
    made.labels = &labels;
    made.step = labelStep(labels);
    made.columns = labelColumns(labels, plan_->width);
    made.label = planSection(labels.label, {left_ + (made.columns - 1) * made.step});
    if (!trimmed(labels.start).empty()) made.start = binding_->compile(labels.start);
    if (!trimmed(labels.copies).empty()) made.copies = binding_->compile(labels.copies);
}

// The first and last column of the range that are in the column group, on the line of the first; none if
// only fixed columns are in it and the range extends beyond them.
std::optional<std::pair<std::size_t, std::size_t>> Planner::columnSpan(const GridGeometry& geometry,
                                                                       std::size_t first, std::size_t last,
                                                                       int columnGroup) {
    std::optional<std::pair<std::size_t, std::size_t>> span;
    bool own = geometry.columns[last].columnGroup == kEveryColumnGroup;
    for (std::size_t i = first; i <= last; ++i) {
        if (!geometry.inColumnGroup(i, columnGroup)) continue;
        if (span && geometry.columns[i].line != geometry.columns[span->first].line) break;
        own = own || geometry.columns[i].columnGroup == columnGroup;
        span = {span ? span->first : i, i};
    }
    // If group sections do not wrap, columns on later lines have no position in them.
    if (span && !geometry.wrapGroups && geometry.columns[span->first].line > 0) return std::nullopt;
    return own ? span : std::nullopt;
}

}  // namespace qbsvrl6
