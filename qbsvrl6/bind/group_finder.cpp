#include "qbsvrl6/bind/group_finder.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "qbsvrl6/bind/mixed_texts.h"
#include "qbsvrl6/bind/sort_keys.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/keyed_hash.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

bool isGathered(const Binding::BoundGroup& group) { return !group.sort.empty() || group.group->top > 0; }

// Notices keys that occur again. Beyond limits::kGroupKeysWatched keys it notices fewer.
class SeenKeys {
public:
    void clear() { hashes_.clear(); }
    // Whether the key occurs again.
    bool add(const std::u16string& key) {
        const std::uint64_t hash = KeyedHash()(key);
        if (hashes_.size() == limits::kGroupKeysWatched) return hashes_.contains(hash);
        return !hashes_.insert(hash).second;
    }

private:
    std::unordered_set<std::uint64_t> hashes_;
};

std::size_t groupEnd(std::span<const std::uint32_t> starts, std::size_t group, std::size_t rows) {
    return group + 1 < starts.size() ? starts[group + 1] : rows;
}

}  // namespace

void GroupFinder::find() {
    for (std::size_t level = 0; level < binding_.groups().size(); ++level) {
        rows_.setGroups(levels_);
        evaluator_.forgetAggregates();
        if (isGathered(binding_.groups()[level])) {
            gather(level);
        } else {
            follow(level);
        }
    }
    rows_.setGroups(std::move(levels_));
    evaluator_.forgetAggregates();
}

Value GroupFinder::keyOf(std::size_t level, std::size_t row) {
    Position position;
    position.row = row;
    position.ofRow = true;
    return evaluator_.evaluate(binding_.groups()[level].key, position);
}

// The first rows of the groups of the innermost level that is known.
std::vector<std::uint32_t> GroupFinder::outerStarts() const {
    if (!levels_.empty()) return levels_.back().starts;
    return rows_.count() > 0 ? std::vector<std::uint32_t>{0} : std::vector<std::uint32_t>{};
}

void GroupFinder::follow(std::size_t level) {
    const std::vector<std::uint32_t> outer = outerStarts();
    auto nextOuter = outer.begin();
    GroupLevel found;
    OwnedValue current;
    SeenKeys seen;
    for (std::size_t row = 0; row < rows_.count(); ++row) {
        goOn();
        const Value key = keyOf(level, row);
        // A new outer group starts a new inner one, whatever its key.
        const bool startsOuter = nextOuter != outer.end() && *nextOuter == row;
        if (startsOuter) {
            ++nextOuter;
            seen.clear();
        } else if (compareValues(key, current.get(), evaluator_.arena()) == 0) {
            continue;
        }
        current = OwnedValue(key);
        found.starts.push_back(static_cast<std::uint32_t>(row));
        if (seen.add(distinctKey(key))) logRecurring(level, row, toText(key, evaluator_.arena()));
    }
    levels_.push_back(std::move(found));
}

void GroupFinder::logRecurring(std::size_t level, std::size_t row, std::u16string_view key) {
    constexpr std::size_t kShown = 80;
    const ReportDefinition& report = binding_.report();
    const Group& group = *binding_.groups()[level].group;
    const std::string by = toUtf8(std::u16string_view(group.by).substr(0, kShown));
    const std::string name = group.name.empty() ? by : toUtf8(group.name);
    if (!isNewWarning("group " + std::to_string(reinterpret_cast<std::uintptr_t>(&report)) + ' ' +
                      std::to_string(level))) {
        return;
    }
    const std::string message = "the rows of the group \"" + name + "\" are not together: row " +
                                std::to_string(rows_.tableRow(row) + 1) + " begins another group of \"" +
                                toUtf8(key.substr(0, kShown)) + "\"; sort=\"" + by +
                                "\" of the grid or of the group brings them together";
    const auto hasSameKey = [&](const Binding::BoundGroup& outer) { return outer.group->by == group.by; };
    const auto& groups = binding_.groups();
    const auto before =
        std::count_if(groups.begin(), groups.begin() + static_cast<std::ptrdiff_t>(level), hasSameKey);
    const std::vector<TextPosition> places = report.placesOf(group.by, TextUse::GroupKey);
    logWarning(message, places[std::min(places.size() - 1, static_cast<std::size_t>(before))]);
}

// What has been read of the rows in their old order is no longer true.
void GroupFinder::walk(std::vector<std::uint32_t> tableRows) {
    rows_.list(std::move(tableRows));
    evaluator_.forgetAggregates();
}

// Numbers the keys in each outer group, and moves the rows of each key together.
void GroupFinder::gather(std::size_t level) {
    const std::vector<std::uint32_t> outer = outerStarts();
    auto nextOuter = outer.begin();
    checkLeft(&Budget::dataBytes, rows_.count() * 2 * sizeof(std::uint32_t), "grouped rows");
    std::vector<std::uint32_t> groupOf;
    groupOf.reserve(rows_.count());
    std::vector<std::uint32_t> counts;
    std::unordered_map<std::u16string, std::uint32_t, KeyedHash> known;
    constexpr std::size_t kKeyBytes = 80;  // of an entry of the map, besides the text of a long key
    std::uint64_t keyBytes = 0;
    for (std::size_t row = 0; row < rows_.count(); ++row) {
        goOn();
        if (nextOuter != outer.end() && *nextOuter == row) {
            ++nextOuter;
            known.clear();
            keyBytes = 0;
        }
        std::u16string key = distinctKey(keyOf(level, row));
        const std::size_t bytes = kKeyBytes + key.size() * sizeof(char16_t);
        const auto [group, isNew] =
            known.try_emplace(std::move(key), static_cast<std::uint32_t>(counts.size()));
        if (isNew) {
            counts.push_back(0);
            checkLeft(&Budget::dataBytes, keyBytes += bytes, "the keys of grouped rows");
        }
        ++counts[group->second];
        groupOf.push_back(group->second);
    }
    GroupLevel found;
    std::uint32_t start = 0;
    for (const std::uint32_t count : counts) {
        found.starts.push_back(start);
        start += count;
    }
    if (!std::is_sorted(groupOf.begin(), groupOf.end())) {
        std::vector<std::uint32_t> list(rows_.count());
        std::vector<std::uint32_t> next = found.starts;
        for (std::size_t row = 0; row < groupOf.size(); ++row) {
            list[next[groupOf[row]]++] = static_cast<std::uint32_t>(rows_.tableRow(row));
        }
        walk(std::move(list));
    }
    const std::vector<Span> inOuter = spans(found.starts);
    levels_.push_back(std::move(found));
    if (!binding_.groups()[level].sort.empty()) sort(level, inOuter);
    if (binding_.groups()[level].group->top > 0) limit(level, inOuter);
}

std::vector<GroupFinder::Span> GroupFinder::spans(std::span<const std::uint32_t> starts) const {
    std::vector<Span> result;
    std::size_t group = 0;
    const std::vector<std::uint32_t> outer = outerStarts();
    for (std::size_t i = 0; i < outer.size(); ++i) {
        const std::size_t end = groupEnd(outer, i, rows_.count());
        const std::size_t first = group;
        while (group < starts.size() && starts[group] < end) ++group;
        result.push_back({first, group});
    }
    return result;
}

// Totals in the sort are those of each group; names refer to its first row.
void GroupFinder::sort(std::size_t level, std::span<const Span> spans) {
    const std::vector<std::uint32_t> starts = levels_[level].starts;
    const std::vector<SortTerm>& terms = binding_.groups()[level].sort;
    rows_.setGroups(levels_);
    evaluator_.forgetAggregates();
    SortKeys keys(starts.size(), terms, [&](std::size_t term, std::size_t group) {
        Position position;
        position.row = starts[group];
        position.scope = {ScopeKind::Group, static_cast<int>(level)};
        return evaluator_.evaluate(terms[term].expression, position);
    });
    rows_.setGroups({});
    evaluator_.forgetAggregates();
    const ReportDefinition& report = binding_.report();
    for (const SortKeys::Mixed& mixed : keys.mixedTerms()) {
        logMixedTerm(terms[mixed.term].expression, mixed,
                     "the group of row " + std::to_string(rows_.tableRow(starts[mixed.item]) + 1),
                     report.placesOf(binding_.groups()[level].group->sort, TextUse::Report).front());
    }
    std::vector<std::uint32_t> groups;
    groups.reserve(starts.size());
    for (const Span& span : spans) {
        keys.sort(span.first, span.end);
        for (std::size_t at = span.first; at < span.end; ++at) {
            groups.push_back(static_cast<std::uint32_t>(keys.itemAt(at)));
        }
    }
    if (!std::is_sorted(groups.begin(), groups.end())) rearrange(groups);
}

// Brings the groups of the innermost level into this order.
void GroupFinder::rearrange(std::span<const std::uint32_t> groups) {
    std::vector<std::uint32_t>& starts = levels_.back().starts;
    std::vector<std::uint32_t> newStarts;
    newStarts.reserve(starts.size());
    std::vector<std::uint32_t> list;
    list.reserve(rows_.count());
    for (const std::uint32_t group : groups) {
        newStarts.push_back(static_cast<std::uint32_t>(list.size()));
        const std::size_t end = groupEnd(starts, group, rows_.count());
        for (std::size_t row = starts[group]; row < end; ++row) {
            goOn();
            list.push_back(static_cast<std::uint32_t>(rows_.tableRow(row)));
        }
    }
    starts = std::move(newStarts);
    walk(std::move(list));
}

// Merges the groups after the first ones into one of the others, or leaves out their rows.
void GroupFinder::limit(std::size_t level, std::span<const Span> spans) {
    const Group& group = *binding_.groups()[level].group;
    const auto top = static_cast<std::size_t>(group.top);
    const bool merges = !group.others.empty();
    const std::vector<std::uint32_t> starts = std::move(levels_[level].starts);
    GroupLevel limited;
    std::vector<RowRange> dropped;
    for (const Span& span : spans) {
        const std::size_t shown = std::min(span.end, span.first + top);
        for (std::size_t i = span.first; i < shown; ++i) limited.starts.push_back(starts[i]);
        if (shown == span.end) continue;
        if (merges) {
            limited.starts.push_back(starts[shown]);
            limited.others.push_back(starts[shown]);
        } else {
            dropped.push_back({starts[shown], groupEnd(starts, span.end - 1, rows_.count())});
        }
    }
    levels_[level] = std::move(limited);
    if (!dropped.empty()) drop(dropped);
}

// No group loses all of its rows.
void GroupFinder::drop(std::span<const RowRange> rows) {
    std::vector<std::uint32_t> list;
    auto next = rows.begin();
    for (std::size_t row = 0; row < rows_.count(); ++row) {
        goOn();
        while (next != rows.end() && next->end <= row) ++next;
        if (next != rows.end() && next->first <= row) continue;
        list.push_back(static_cast<std::uint32_t>(rows_.tableRow(row)));
    }
    const auto move = [&](std::vector<std::uint32_t>& starts) {
        std::size_t before = 0;
        auto range = rows.begin();
        for (std::uint32_t& start : starts) {
            for (; range != rows.end() && range->end <= start; ++range) before += range->end - range->first;
            start -= static_cast<std::uint32_t>(before);
        }
    };
    for (GroupLevel& level : levels_) {
        move(level.starts);
        move(level.others);
    }
    walk(std::move(list));
}

}  // namespace qbsvrl6
