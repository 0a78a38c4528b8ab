#include "qbsvrl6/layout/column_splits.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <queue>
#include <set>
#include <span>
#include <utility>

namespace qbsvrl6 {

namespace {

// More high boxes than these, side by side, do not extend into the rows below.
constexpr std::size_t kHighBoxes = 200;

// The rightmost sides of several boxes.
struct Sides {
    Micrometres left = std::numeric_limits<Micrometres>::min();
    Micrometres right = std::numeric_limits<Micrometres>::min();

    void add(const Sides& other) {
        left = std::max(left, other.left);
        right = std::max(right, other.right);
    }
    bool isEmpty() const { return right == std::numeric_limits<Micrometres>::min(); }
};

// The rightmost sides among those boxes of a row that end before a position, in a tree of prefixes.
class EndedBoxes {
public:
    explicit EndedBoxes(std::span<const CellBox> row) : tree_(row.size()) {
        for (const CellBox& box : row) ends_.push_back(box.right);
        std::sort(ends_.begin(), ends_.end());
    }

    void add(const CellBox& box) {
        const auto rank = std::lower_bound(ends_.begin(), ends_.end(), box.right) - ends_.begin();
        for (auto i = static_cast<std::size_t>(rank); i < tree_.size(); i |= i + 1) {
            tree_[i].add({box.left, box.right});
        }
    }

    // Of the boxes that end at `x` or before it.
    Sides endedAt(Micrometres x) const {
        Sides sides;
        const auto count = std::upper_bound(ends_.begin(), ends_.end(), x) - ends_.begin();
        for (auto i = static_cast<std::size_t>(count); i > 0; i &= i - 1) sides.add(tree_[i - 1]);
        return sides;
    }

private:
    std::vector<Micrometres> ends_;  // ascending
    std::vector<Sides> tree_;        // [i]: of the boxes with the ranks from i & (i + 1) to i
};

// The rightmost sides of the boxes beside each box of a row, on its left. Boxes that overlap for more than
// half of the narrower one's width are on top of each other, unless they overlap for less than the tolerance.
class Neighbours {
public:
    Neighbours(std::span<const CellBox> row, Micrometres tolerance)
        : tolerance_(tolerance), passed_(row), halfPassed_(row) {}

    // Call it for the boxes of the row from left to right.
    Sides of(const CellBox& box) {
        while (!unfinished_.empty() && middle(unfinished_.top()) <= box.left) {
            halfPassed_.add(unfinished_.top());
            unfinished_.pop();
        }
        Sides sides = passed_.endedAt(box.left + tolerance_);
        sides.add(halfPassed_.endedAt(box.left + (box.right - box.left) / 2));
        passed_.add(box);
        unfinished_.push(box);
        return sides;
    }

private:
    static Micrometres middle(const CellBox& box) { return box.right - (box.right - box.left) / 2; }
    struct LaterMiddle {
        bool operator()(const CellBox& a, const CellBox& b) const { return middle(a) > middle(b); }
    };

    Micrometres tolerance_;
    EndedBoxes passed_;
    EndedBoxes halfPassed_;  // more than half of them is left of the current box
    std::priority_queue<CellBox, std::vector<CellBox>, LaterMiddle> unfinished_;
};

class Splitter {
public:
    Splitter(const std::vector<Micrometres>& edges, Micrometres tolerance)
        : tolerance_(tolerance), edges_(edges.begin(), edges.end()) {}

    // Boxes of one row, from left to right.
    void splitRow(std::span<const CellBox> row) {
        Neighbours neighbours(row, tolerance_);
        for (std::size_t i = 0; i < row.size(); ++i) {
            const Sides left = neighbours.of(row[i]);
            const bool hasColumn = left.isEmpty() || endOf(left) < endOf({row[i].left, row[i].right});
            if (hasColumn || addEdge(row[i].left)) continue;
            // There is an edge already, but the previous box was moved to its column.
            addEdge(row[i - 1].left);
        }
    }

    std::vector<Micrometres> edges() const { return {edges_.begin(), edges_.end()}; }

private:
    // The right edge of the cell that begins at the edge nearest to the left side.
    Micrometres endOf(const Sides& box) const {
        const auto last = std::prev(edges_.end());
        const auto first = edgeNear(box.left);
        return std::max(*edgeNear(box.right), *(first == last ? last : std::next(first)));
    }

    std::set<Micrometres>::const_iterator edgeNear(Micrometres x) const {
        const auto after = edges_.lower_bound(x);
        if (after == edges_.begin()) return after;
        const auto before = std::prev(after);
        return after != edges_.end() && *after - x < x - *before ? after : before;
    }

    bool addEdge(Micrometres x) {
        const auto after = edges_.lower_bound(x);
        if (after == edges_.begin() || after == edges_.end()) return false;
        if (*after - x <= tolerance_ || x - *std::prev(after) <= tolerance_) return false;
        edges_.insert(after, x);
        return true;
    }

    Micrometres tolerance_;
    std::set<Micrometres> edges_;
};

bool sharesRow(const CellBox& above, const CellBox& below) {
    const Micrometres common = std::min(above.bottom, below.bottom) - below.top;
    return 2 * common > std::min(above.bottom - above.top, below.bottom - below.top);
}

void splitSection(std::vector<CellBox> boxes, Splitter& splitter) {
    std::sort(boxes.begin(), boxes.end(), [](const CellBox& a, const CellBox& b) { return a.top < b.top; });
    std::vector<CellBox> row;
    for (std::size_t i = 0; i < boxes.size();) {
        // High boxes of the rows above extend into this one.
        const CellBox& first = boxes[i];
        std::erase_if(row, [&](const CellBox& box) { return !sharesRow(box, first); });
        row.resize(std::min(row.size(), kHighBoxes));
        do {
            row.push_back(boxes[i++]);
        } while (i < boxes.size() && sharesRow(first, boxes[i]));
        std::sort(row.begin(), row.end(), [](const CellBox& a, const CellBox& b) { return a.left < b.left; });
        splitter.splitRow(row);
    }
}

}  // namespace

void splitColumns(std::vector<Micrometres>& edges, std::vector<std::vector<CellBox>> sections,
                  Micrometres tolerance) {
    if (edges.size() < 2) return;
    Splitter splitter(edges, tolerance);
    for (std::vector<CellBox>& boxes : sections) splitSection(std::move(boxes), splitter);
    edges = splitter.edges();
}

}  // namespace qbsvrl6
