#include "qbsvrl6/layout/grid_geometry.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "qbsvrl6/layout/style_pool.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

constexpr Micrometres kNarrowestDetail = 1'000;
constexpr int kMostLabels = 100;  // side by side

class Placer {
public:
    Placer(const DetailGrid& grid, std::span<const ShownColumn> columns, Micrometres available,
           GridSurroundings surroundings)
        : grid_(grid), columns_(columns), available_(available), surroundings_(surroundings) {
        for (const ShownColumn& column : columns) {
            const Micrometres width =
                column.hidden ? 0 : std::clamp<Micrometres>(column.width, 0, limits::kPaperMicrometres);
            geometry_.columns.push_back({0, width, 0, 0, !column.hidden});
            total_ += width;
        }
        shareOut();
        geometry_.needed = total_;
        if (total_ > limits::kBandMicrometres) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "the detail grid is wider than " +
                                  std::to_string(limits::kBandMicrometres / 1'000'000) + " metres");
        }
    }

    GridGeometry place() {
        const bool endless = surroundings_ == GridSurroundings::Endless;
        if (endless || total_ <= available_) {
            sideBySide();
        } else {
            adapt();
        }
        for (const PlacedColumn& column : geometry_.columns) {
            if (column.visible) geometry_.width = std::max(geometry_.width, column.x + column.width);
        }
        if (!endless && grid_.centered) geometry_.x = std::max(0, (available_ - geometry_.width) / 2);
        return std::move(geometry_);
    }

private:
    // Divides the width that is left among the columns with shares. A column whose share is less than its least
    // width has that, and the others divide the rest.
    void shareOut() {
        std::vector<std::size_t> open;
        std::int64_t left = available_;
        for (std::size_t i = 0; i < geometry_.columns.size(); ++i) {
            const bool shares = columns_[i].column->share > 0 && geometry_.columns[i].visible;
            if (shares) open.push_back(i);
            if (!shares) left -= geometry_.columns[i].width;
        }
        const auto shareOf = [&](std::size_t column) { return columns_[column].column->share; };
        for (bool settled = false; !settled && !open.empty();) {
            double shares = 0;
            for (const std::size_t column : open) shares += shareOf(column);
            const auto tooNarrow = [&](std::size_t column) {
                return static_cast<double>(left) * shareOf(column) / shares < geometry_.columns[column].width;
            };
            settled = std::none_of(open.begin(), open.end(), tooNarrow);
            if (settled) break;
            std::vector<std::size_t> wider;
            std::int64_t rest = left;
            for (const std::size_t column : open) {
                if (tooNarrow(column)) {
                    rest -= geometry_.columns[column].width;
                } else {
                    wider.push_back(column);
                }
            }
            left = rest;
            open = std::move(wider);
        }
        double shares = 0;
        for (const std::size_t column : open) shares += shareOf(column);
        double reached = 0;
        std::int64_t x = 0;
        for (const std::size_t column : open) {
            reached += shareOf(column);
            const auto edge = static_cast<std::int64_t>(static_cast<double>(left) * reached / shares);
            const auto width = static_cast<Micrometres>(edge - x);
            total_ += width - geometry_.columns[column].width;
            geometry_.columns[column].width = width;
            x = edge;
        }
    }

    void sideBySide() {
        Micrometres x = 0;
        for (PlacedColumn& column : geometry_.columns) {
            column.x = x;
            x += column.width;
        }
    }

    void adapt() {
        switch (grid_.adapt) {
            case ColumnAdapt::Discard:
                discard();
                break;
            case ColumnAdapt::Wrap:
            case ColumnAdapt::WrapExcludeGroup:
                wrap();
                break;
            case ColumnAdapt::ResizeToFit:
                squeeze();
                break;
            case ColumnAdapt::ShrinkToFit:
                geometry_.scale = static_cast<double>(available_) / static_cast<double>(total_);
                squeeze();
                break;
            case ColumnAdapt::ToNewPage:
            case ColumnAdapt::ToNewPageEx:
                toNewPages(0);
                break;
            case ColumnAdapt::ToNewPageRepeatFixed:
            case ColumnAdapt::ToNewPageRepeatFixedEx:
                toNewPages(static_cast<std::size_t>(std::max(grid_.fixedColumns, 0)));
                break;
        }
    }

    // Columns that don't fit are left out; a first column that is wider than the page is cut.
    void discard() {
        sideBySide();
        bool first = true;
        bool fits = true;
        for (PlacedColumn& column : geometry_.columns) {
            if (!column.visible) continue;
            if (first) column.width = std::min(column.width, available_);
            fits = fits && column.x + column.width <= available_;
            column.visible = fits;
            column.discarded = !fits;
            first = false;
        }
    }

    // Scales all widths by the same factor. It rounds edges rather than widths, so that their sum is the page
    // width.
    void squeeze() {
        std::int64_t edge = 0;
        Micrometres x = 0;
        for (PlacedColumn& column : geometry_.columns) {
            edge += column.width;
            const auto next = static_cast<Micrometres>(edge * available_ / total_);
            column.x = x;
            column.width = next - x;
            x = next;
        }
    }

    // Puts columns side by side until one doesn't fit, then starts again after the fixed ones. Returns the
    // number of starts.
    template <typename Assign>
    int fill(std::size_t fixed, Assign assign) {
        Micrometres left = 0;
        for (std::size_t i = 0; i < fixed; ++i) left += geometry_.columns[i].width;
        Micrometres x = left;
        int count = 0;
        for (std::size_t i = fixed; i < geometry_.columns.size(); ++i) {
            PlacedColumn& column = geometry_.columns[i];
            column.width = std::min(column.width, available_ - left);
            if (x > left && x + column.width > available_) {
                ++count;
                x = left;
            }
            column.x = x;
            assign(column, count);
            x += column.width;
        }
        return count + 1;
    }

    void wrap() {
        geometry_.wrapGroups = grid_.adapt != ColumnAdapt::WrapExcludeGroup;
        geometry_.lines = fill(0, [](PlacedColumn& column, int line) { column.line = line; });
    }

    void toNewPages(std::size_t wanted) {
        if (surroundings_ == GridSurroundings::Box) return wrap();
        geometry_.columnGroupsInTurn =
            grid_.adapt == ColumnAdapt::ToNewPageEx || grid_.adapt == ColumnAdapt::ToNewPageRepeatFixedEx;
        // The fixed columns use at most half of the page.
        std::size_t fixed = 0;
        Micrometres width = 0;
        while (fixed < std::min(wanted, geometry_.columns.size()) &&
               width + geometry_.columns[fixed].width <= available_ / 2) {
            geometry_.columns[fixed].x = width;
            geometry_.columns[fixed].columnGroup = kEveryColumnGroup;
            width += geometry_.columns[fixed].width;
            ++fixed;
        }
        geometry_.columnGroups =
            fill(fixed, [](PlacedColumn& column, int columnGroup) { column.columnGroup = columnGroup; });
    }

    const DetailGrid& grid_;
    std::span<const ShownColumn> columns_;
    Micrometres available_;
    GridSurroundings surroundings_;
    std::int64_t total_ = 0;
    GridGeometry geometry_;
};

}  // namespace

Micrometres GridGeometry::widthOf(int columnGroup) const {
    if (columnGroup == kEveryColumnGroup) return width;
    Micrometres right = 0;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (inColumnGroup(i, columnGroup)) right = std::max(right, columns[i].x + columns[i].width);
    }
    return right;
}

std::vector<ShownColumn> definedColumns(const DetailGrid& grid) {
    std::vector<ShownColumn> columns;
    columns.reserve(grid.columns.size());
    for (const auto& column : grid.columns) columns.push_back({column.get(), column->width});
    return columns;
}

GridGeometry placeColumns(const DetailGrid& grid, std::span<const ShownColumn> columns, Micrometres available,
                          GridSurroundings surroundings) {
    return Placer(grid, columns, std::max<Micrometres>(available, 1), surroundings).place();
}

Micrometres printableWidth(const PageSetup& page) {
    const std::int64_t width = std::int64_t{page.paper.width} - page.margins.left - page.margins.right;
    return static_cast<Micrometres>(std::clamp<std::int64_t>(width, 0, limits::kPaperMicrometres));
}

int detailColumns(const PageSetup& page) {
    const std::int64_t gap = std::max<Micrometres>(page.columnGap, 0);
    const std::int64_t most = (printableWidth(page) + gap) / (kNarrowestDetail + gap);
    return static_cast<int>(std::clamp<std::int64_t>(page.columns, 1, std::max<std::int64_t>(most, 1)));
}

Micrometres detailWidth(const PageSetup& page) {
    const int columns = detailColumns(page);
    if (columns == 1) return printableWidth(page);
    return (printableWidth(page) - (columns - 1) * std::max<Micrometres>(page.columnGap, 0)) / columns;
}

Micrometres lastDetailColumn(const PageSetup& page) {
    const int columns = detailColumns(page);
    if (columns == 1) return 0;  // whatever the gap
    return (columns - 1) * (detailWidth(page) + std::max<Micrometres>(page.columnGap, 0));
}

Micrometres labelStep(const Labels& labels) {
    const auto sound = [](Micrometres length, Micrometres least) {
        return std::clamp<Micrometres>(length, least, limits::kPaperMicrometres);
    };
    return sound(labels.width, kNarrowestDetail) + sound(labels.columnGap, 0);
}

int labelColumns(const Labels& labels, Micrometres available) {
    const Micrometres fitting = (available + std::max<Micrometres>(labels.columnGap, 0)) / labelStep(labels);
    return std::clamp(labels.columns > 0 ? labels.columns : fitting, 1, kMostLabels);
}

}  // namespace qbsvrl6
