// Finds the groups of a report's rows, and brings the rows into the order of their groups.
#ifndef QBSVR_QBSVRL6_BIND_GROUP_FINDER_H
#define QBSVR_QBSVRL6_BIND_GROUP_FINDER_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/evaluator.h"
#include "qbsvrl6/bind/walked_rows.h"

namespace qbsvrl6 {

// A group begins where its key changes. Groups with `sort` or `top` have all rows of a key instead, in the
// order of their first rows or of their sort.
class GroupFinder {
public:
    // The evaluator evaluates at `rows`. All outlive the finder.
    GroupFinder(const Binding& binding, WalkedRows& rows, Evaluator& evaluator)
        : binding_(binding), rows_(rows), evaluator_(evaluator) {}

    void find();

private:
    // Groups of one level that are within one group of the next outer level.
    struct Span {
        std::size_t first = 0;
        std::size_t end = 0;
    };

    Value keyOf(std::size_t level, std::size_t row);
    std::vector<std::uint32_t> outerStarts() const;
    void follow(std::size_t level);
    void logRecurring(std::size_t level, std::size_t row, std::u16string_view key);
    void walk(std::vector<std::uint32_t> tableRows);
    void gather(std::size_t level);
    std::vector<Span> spans(std::span<const std::uint32_t> starts) const;
    void sort(std::size_t level, std::span<const Span> spans);
    void rearrange(std::span<const std::uint32_t> groups);
    void limit(std::size_t level, std::span<const Span> spans);
    void drop(std::span<const RowRange> rows);

    const Binding& binding_;
    WalkedRows& rows_;
    Evaluator& evaluator_;
    std::vector<GroupLevel> levels_;  // found so far
};

}  // namespace qbsvrl6

#endif
