// Joins the borders of neighbouring cells into long lines: a table's grid is one line per column and one per
// row.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_EDGE_COLLECTOR_H
#define QBSVR_QBSVRL6_PAINT_PDF_EDGE_COLLECTOR_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Coordinates are integers in the caller's unit.
class EdgeCollector {
public:
    struct Line {
        bool vertical = false;
        std::int64_t at = 0;  // x of a vertical line, y of a horizontal one
        std::int64_t from = 0;
        std::int64_t to = 0;  // at least `from`
        std::int64_t width = 0;
        Color color;
    };

    void add(const Line& line) {
        std::vector<Line>& lines = line.vertical ? vertical_ : horizontal_;
        std::size_t& next = line.vertical ? nextVertical_ : nextHorizontal_;
        // Rows repeat their edges in the same order, and neighbours share one: the line to lengthen is usually
        // the one after the last, or the last itself.
        if (next < lines.size() && lengthen(lines[next], line)) {
            ++next;
            return;
        }
        if (next > 0 && lengthen(lines[next - 1], line)) return;
        const std::size_t oldest = lines.size() - std::min(lines.size(), kTries);
        for (std::size_t i = lines.size(); i > oldest; --i) {
            if (!lengthen(lines[i - 1], line)) continue;
            next = i;
            return;
        }
        lines.push_back(line);
        next = lines.size();
    }

    const std::vector<Line>& vertical() const { return vertical_; }
    const std::vector<Line>& horizontal() const { return horizontal_; }
    bool empty() const { return vertical_.empty() && horizontal_.empty(); }
    void clear() {
        vertical_.clear();
        horizontal_.clear();
        nextVertical_ = nextHorizontal_ = 0;
    }

private:
    // How many of the newest lines are searched: more than most tables have columns.
    static constexpr std::size_t kTries = 64;

    static bool lengthen(Line& line, const Line& by) {
        const bool joins = line.at == by.at && line.width == by.width && line.from <= by.to &&
                           by.from <= line.to && line.color == by.color;
        if (joins) {
            line.from = std::min(line.from, by.from);
            line.to = std::max(line.to, by.to);
        }
        return joins;
    }

    std::vector<Line> vertical_, horizontal_;
    std::size_t nextVertical_ = 0, nextHorizontal_ = 0;
};

}  // namespace qbsvrl6

#endif
