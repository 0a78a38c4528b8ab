#include "qbsvrl6/bind/walked_rows.h"

#include <algorithm>
#include <utility>

namespace qbsvrl6 {

void WalkedRows::list(std::vector<std::uint32_t> tableRows) {
    list_ = std::move(tableRows);
    isListed_ = true;
    count_ = list_.size();
}

void WalkedRows::setGroups(std::vector<std::vector<std::uint32_t>> starts,
                           std::vector<std::uint8_t> startingLevels) {
    groupStarts_ = std::move(starts);
    startingLevels_ = std::move(startingLevels);
}

RowRange WalkedRows::group(int level, std::size_t row) const {
    if (level < 0 || level >= groupCount()) return {0, count_};
    const std::vector<std::uint32_t>& starts = groupStarts_[static_cast<std::size_t>(level)];
    const auto next = std::upper_bound(starts.begin(), starts.end(), row);
    if (next == starts.begin()) return {0, 0};
    return {*(next - 1), next == starts.end() ? count_ : *next};
}

int WalkedRows::startingLevel(std::size_t row) const {
    return row < startingLevels_.size() ? startingLevels_[row] : groupCount();
}

Scope WalkedRows::rowScope() const {
    return groupCount() > 0 ? Scope{ScopeKind::Group, groupCount() - 1} : Scope{ScopeKind::Report, 0};
}

RowRange WalkedRows::rangeOf(Scope scope, const Position& position) const {
    if (scope.kind == ScopeKind::Default) scope = position.scope;
    const auto innermost = [&] {
        const Scope& own = position.scope;
        return group(own.kind == ScopeKind::Group ? own.level : groupCount() - 1, position.row);
    };
    const std::size_t runningEnd = std::min(position.row + (position.isBeforeRow ? 0 : 1), count_);
    switch (scope.kind) {
        case ScopeKind::Group:
            return group(scope.level, position.row);
        case ScopeKind::Innermost:
            return innermost();
        case ScopeKind::Page:
            return {position.pageRows.first, std::min(position.pageRows.end, count_)};
        case ScopeKind::Running:
            return {0, runningEnd};
        case ScopeKind::GroupRunning:
            return {std::min(innermost().first, runningEnd), runningEnd};
        case ScopeKind::Default:
        case ScopeKind::Report:
            break;
    }
    return {0, count_};
}

}  // namespace qbsvrl6
