// The rows of a table in the order of the walk: those that the filter accepts, in groups.
#ifndef QBSVR_QBSVRL6_BIND_WALKED_ROWS_H
#define QBSVR_QBSVRL6_BIND_WALKED_ROWS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qbsvrl6/bind/position.h"

namespace qbsvrl6 {

// Groups of one level follow one another without gaps, and each is within one group of the next outer level:
// a new outer group starts a new inner one.
class WalkedRows {
public:
    // All rows of the table, without groups.
    explicit WalkedRows(std::size_t tableRows = 0) : count_(tableRows) {}

    std::size_t count() const { return count_; }
    // The row of the table; `row` is less than count().
    std::size_t tableRow(std::size_t row) const { return isFiltered_ ? kept_[row] : row; }
    int groupCount() const { return static_cast<int>(groupStarts_.size()); }

    // Keeps only these rows of the table. Call it before setGroups.
    void keep(std::vector<std::uint32_t> tableRows);
    // `starts` are the first rows of the groups, per level; `startingLevels` is, per row, the outermost level
    // whose group starts there.
    void setGroups(std::vector<std::vector<std::uint32_t>> starts, std::vector<std::uint8_t> startingLevels);

    // The rows of the group of this level that holds the row; all rows for other levels.
    RowRange group(int level, std::size_t row) const;
    // The outermost level whose group starts at the row; groupCount() if none does.
    int startingLevel(std::size_t row) const;
    // The scope of aggregates in a row's own texts: its innermost group, or else the report.
    Scope rowScope() const;
    // The rows of any scope at the position.
    RowRange rangeOf(Scope scope, const Position& position) const;

private:
    std::size_t count_ = 0;
    bool isFiltered_ = false;
    std::vector<std::uint32_t> kept_;  // rows of the table; empty without a filter
    std::vector<std::vector<std::uint32_t>> groupStarts_;
    std::vector<std::uint8_t> startingLevels_;  // empty without groups
};

}  // namespace qbsvrl6

#endif
