// The rows of a table in the order of the walk: those that the filter accepts, sorted, in groups.
#ifndef QBSVR_QBSVRL6_BIND_WALKED_ROWS_H
#define QBSVR_QBSVRL6_BIND_WALKED_ROWS_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "qbsvrl6/bind/position.h"

namespace qbsvrl6 {

// A row of any table.
struct TableRow {
    const Table* table = nullptr;  // null: none
    std::size_t row = 0;
};

// The groups of one level.
struct GroupLevel {
    std::vector<std::uint32_t> starts;  // the first row of each, ascending
    std::vector<std::uint32_t> others;  // those of the groups that hold the others of `top`
};

// Groups of one level follow one another without gaps, and each is within one group of the next outer level:
// a new outer group starts a new inner one.
class WalkedRows {
public:
    // Rows of the table that follow one another, without groups.
    explicit WalkedRows(RowRange tableRows = {}) : first_(tableRows.first), count_(tableRows.end - first_) {}

    std::size_t count() const { return count_; }
    // The row of the table; `row` is less than count().
    std::size_t tableRow(std::size_t row) const { return isListed_ ? list_[row] : first_ + row; }
    int groupCount() const { return static_cast<int>(levels_.size()); }

    // Some of these rows, without groups.
    WalkedRows part(RowRange rows) const;
    // Walks these rows of the table, in this order, without groups. The list takes 4 bytes per row; without a
    // list, rows take nothing.
    void list(std::vector<std::uint32_t> tableRows);
    bool isListed() const { return isListed_; }
    // The row of an outer report's table that holds the rows, even if there are none.
    void setHolder(TableRow holder) { holder_ = holder; }
    TableRow holder() const { return holder_; }
    // Outermost first.
    void setGroups(std::vector<GroupLevel> levels) { levels_ = std::move(levels); }

    // The rows of the group of this level that holds the row; all rows for other levels.
    RowRange group(int level, std::size_t row) const;
    // Whether the group of this level that holds the row holds the others of `top`.
    bool isOthers(int level, std::size_t row) const;
    // The outermost level whose group starts at the row; groupCount() if none does.
    int startingLevel(std::size_t row) const;
    // Whether the row is the first one of its group of this level; -1: of all rows.
    bool startsGroup(int level, std::size_t row) const {
        return row == 0 || (level >= 0 && startingLevel(row) <= level);
    }
    // The scope of aggregates in a row's own texts: its innermost group, or else the report.
    Scope rowScope() const;
    // The rows of any scope at the position.
    RowRange rangeOf(Scope scope, const Position& position) const;

private:
    std::size_t first_ = 0;
    std::size_t count_ = 0;
    bool isListed_ = false;
    std::vector<std::uint32_t> list_;  // rows of the table
    TableRow holder_;
    std::vector<GroupLevel> levels_;
};

}  // namespace qbsvrl6

#endif
