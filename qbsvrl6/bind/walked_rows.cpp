#include "qbsvrl6/bind/walked_rows.h"

#include <algorithm>
#include <utility>

namespace qbsvrl6 {

WalkedRows WalkedRows::part(RowRange rows) const {
    WalkedRows part({first_ + rows.first, first_ + rows.end});
    const auto at = [this](std::size_t row) { return list_.begin() + static_cast<std::ptrdiff_t>(row); };
    if (isListed_) part.list({at(rows.first), at(rows.end)});
    part.holder_ = holder_;
    return part;
}

void WalkedRows::list(std::vector<std::uint32_t> tableRows) {
    list_ = std::move(tableRows);
    isListed_ = true;
    count_ = list_.size();
    levels_.clear();
}

RowRange WalkedRows::group(int level, std::size_t row) const {
    if (level < 0 || level >= groupCount()) return {0, count_};
    const std::vector<std::uint32_t>& starts = levels_[static_cast<std::size_t>(level)].starts;
    const auto next = std::upper_bound(starts.begin(), starts.end(), row);
    if (next == starts.begin()) return {0, 0};
    return {*(next - 1), next == starts.end() ? count_ : *next};
}

bool WalkedRows::isOthers(int level, std::size_t row) const {
    if (level < 0 || level >= groupCount()) return false;
    const std::vector<std::uint32_t>& others = levels_[static_cast<std::size_t>(level)].others;
    return !others.empty() && std::binary_search(others.begin(), others.end(), group(level, row).first);
}

// A group of any level starts where one of the innermost level does.
int WalkedRows::startingLevel(std::size_t row) const {
    const auto starts = [row](const GroupLevel& level) {
        return std::binary_search(level.starts.begin(), level.starts.end(), row);
    };
    if (levels_.empty() || !starts(levels_.back())) return groupCount();
    return static_cast<int>(std::find_if(levels_.begin(), levels_.end(), starts) - levels_.begin());
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
        case ScopeKind::BroughtForward:
            return {0, std::min(position.pageRows.first, count_)};
        case ScopeKind::CarriedForward:
            return {0, std::min(position.pageRows.end, count_)};
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
