#include "qbsvrl6/layout/column_splits.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace qbsvrl6 {

namespace {

struct Columns {
    std::size_t first = 0, end = 0;
};

class Splitter {
public:
    Splitter(std::vector<Micrometres>& edges, Micrometres tolerance) : edges_(edges), tolerance_(tolerance) {}

    // Boxes of one row, from left to right.
    void splitRow(std::span<const CellBox> row) {
        for (std::size_t i = 1; i < row.size(); ++i) {
            if (hasColumn(row, i) || addEdge(row[i].left)) continue;
            // There is an edge already, but the previous box was moved to its column.
            addEdge(row[i - 1].left);
        }
    }

private:
    // Whether the box has a column to the right of all boxes beside it.
    bool hasColumn(std::span<const CellBox> row, std::size_t index) const {
        const CellBox& box = row[index];
        const std::size_t end = columnsOf(box).end;
        return std::none_of(
            row.begin(), row.begin() + static_cast<std::ptrdiff_t>(index),
            [&](const CellBox& other) { return isBeside(other, box) && columnsOf(other).end >= end; });
    }

    // Boxes that overlap for more than half of their width are on top of each other.
    bool isBeside(const CellBox& left, const CellBox& right) const {
        const Micrometres narrower = std::min(left.right - left.left, right.right - right.left);
        return left.right - right.left <= std::max(tolerance_, narrower / 2);
    }

    // The columns of the box's cell, which begins at the edge nearest to the box's left side.
    Columns columnsOf(const CellBox& box) const {
        const std::size_t first = std::min(edgeNear(box.left), edges_.size() - 2);
        return {first, std::max(edgeNear(box.right), first + 1)};
    }

    std::size_t edgeNear(Micrometres x) const {
        const auto after = std::lower_bound(edges_.begin(), edges_.end(), x);
        if (after == edges_.begin()) return 0;
        const auto index = static_cast<std::size_t>(after - edges_.begin());
        if (after == edges_.end()) return index - 1;
        return *after - x < x - *(after - 1) ? index : index - 1;
    }

    bool addEdge(Micrometres x) {
        const auto after = std::lower_bound(edges_.begin(), edges_.end(), x);
        if (after == edges_.begin() || after == edges_.end()) return false;
        if (*after - x <= tolerance_ || x - *(after - 1) <= tolerance_) return false;
        edges_.insert(after, x);
        return true;
    }

    std::vector<Micrometres>& edges_;
    Micrometres tolerance_;
};

bool sharesRow(const CellBox& above, const CellBox& below) {
    const Micrometres common = std::min(above.bottom, below.bottom) - below.top;
    return 2 * common > std::min(above.bottom - above.top, below.bottom - below.top);
}

}  // namespace

void splitColumns(std::vector<Micrometres>& edges, std::vector<CellBox> boxes, Micrometres tolerance) {
    if (edges.size() < 2) return;
    std::sort(boxes.begin(), boxes.end(), [](const CellBox& a, const CellBox& b) { return a.top < b.top; });
    Splitter splitter(edges, tolerance);
    std::vector<CellBox> row;
    for (std::size_t i = 0; i < boxes.size();) {
        // High boxes of the rows above extend into this one.
        const CellBox& first = boxes[i];
        std::erase_if(row, [&](const CellBox& box) { return !sharesRow(box, first); });
        do {
            row.push_back(boxes[i++]);
        } while (i < boxes.size() && sharesRow(first, boxes[i]));
        std::sort(row.begin(), row.end(), [](const CellBox& a, const CellBox& b) { return a.left < b.left; });
        splitter.splitRow(row);
    }
}

}  // namespace qbsvrl6
