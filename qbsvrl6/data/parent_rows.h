// Which rows of a table belong to which row of its parent: a customer's orders, an order's lines.
#ifndef QBSVR_QBSVRL6_DATA_PARENT_ROWS_H
#define QBSVR_QBSVRL6_DATA_PARENT_ROWS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qbsvrl6 {

struct RowRange {
    std::size_t first = 0;
    std::size_t end = 0;  // after the last one
    bool operator==(const RowRange&) const = default;
};

// The rows of one parent row follow one another, in the order of the parent rows.
class ParentRows {
public:
    // Adds the next row. Returns the bytes that this takes.
    std::size_t add(std::size_t row, std::size_t parentRow) {
        const std::size_t known = starts_.size();
        if (parentRow < known) return 0;
        starts_.resize(parentRow + 1, static_cast<std::uint32_t>(row));
        return (starts_.size() - known) * sizeof(std::uint32_t);
    }

    // Of `rowCount` rows.
    RowRange childrenOf(std::size_t parentRow, std::size_t rowCount) const {
        const auto start = [&](std::size_t i) { return i < starts_.size() ? starts_[i] : rowCount; };
        return {start(parentRow), start(parentRow + 1)};
    }

    std::size_t parentOf(std::size_t row) const {
        const auto next = std::upper_bound(starts_.begin(), starts_.end(), row);
        return static_cast<std::size_t>(next - starts_.begin()) - (next == starts_.begin() ? 0 : 1);
    }

private:
    std::vector<std::uint32_t> starts_;  // by parent row, up to the last one that has rows
};

}  // namespace qbsvrl6

#endif
