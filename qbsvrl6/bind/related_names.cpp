#include "qbsvrl6/bind/related_names.h"

#include <algorithm>

#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

constexpr char16_t kPoint = u'.';

// Calls `found` for the table's name and each of its ends until it returns true.
template <class Found>
bool anyNameOf(const Table& table, Found found) {
    std::u16string_view name = table.name();
    while (!name.empty()) {
        if (found(name)) return true;
        const std::size_t point = name.find(kPoint);
        name = point == std::u16string_view::npos ? std::u16string_view() : name.substr(point + 1);
    }
    return false;
}

}  // namespace

std::size_t findQualified(const Table& table, std::u16string_view name) {
    std::size_t column = Table::npos;
    anyNameOf(table, [&](std::u16string_view qualifier) {
        const bool isQualified = name.size() > qualifier.size() && name[qualifier.size()] == kPoint &&
                                 equalsIgnoringCase(name.substr(0, qualifier.size()), qualifier);
        if (isQualified) column = table.findColumn(name.substr(qualifier.size() + 1));
        return column != Table::npos;
    });
    return column;
}

RelatedColumn findAround(const Table* table, std::u16string_view name) {
    for (; table != nullptr; table = table->parent()) {
        std::size_t column = findQualified(*table, name);
        if (column == Table::npos) column = table->findColumn(name);
        if (column != Table::npos) return {table, column};
    }
    return {};
}

void TablesInside::add(const Table& outer) {
    for (const Table* const child : outer.children()) {
        const Found found{count_++, child};
        anyNameOf(*child, [&](std::u16string_view name) {
            byName_[lowerCase(name)].push_back(found);
            return false;
        });
    }
    for (const Table* const child : outer.children()) add(*child);
}

const Table* TablesInside::withColumn(std::u16string_view name) const {
    const std::u16string folded = lowerCase(name);
    Found first;
    for (std::size_t point = folded.find(kPoint); point != std::u16string::npos;
         point = folded.find(kPoint, point + 1)) {
        const auto tables = byName_.find(folded.substr(0, point));
        if (tables == byName_.end()) continue;
        const std::u16string_view column = name.substr(point + 1);
        const auto found = std::find_if(
            tables->second.begin(), tables->second.end(),
            [column](const Found& inner) { return inner.table->findColumn(column) != Table::npos; });
        if (found == tables->second.end()) continue;
        if (first.table == nullptr || found->order < first.order) first = *found;
    }
    return first.table;
}

const Table* TablesInside::named(std::u16string_view name) const {
    const auto tables = byName_.find(lowerCase(name));
    return tables == byName_.end() ? nullptr : tables->second.front().table;
}

std::u16string_view nameInside(const Table& inner, const Table& outer) {
    return std::u16string_view(inner.name()).substr(outer.name().empty() ? 0 : outer.name().size() + 1);
}

}  // namespace qbsvrl6
