#include "qbsvrl6/bind/related_names.h"

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

// The outermost tables first.
template <class Is>
const Table* findInside(const Table& table, Is is) {
    for (const Table* const child : table.children()) {
        if (is(*child)) return child;
    }
    for (const Table* const child : table.children()) {
        if (const Table* const found = findInside(*child, is)) return found;
    }
    return nullptr;
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

const Table* findTableWithColumn(const Table& table, std::u16string_view name) {
    return findInside(table, [&](const Table& inner) { return findQualified(inner, name) != Table::npos; });
}

const Table* findTableInside(const Table& table, std::u16string_view name) {
    return findInside(table, [&](const Table& inner) {
        return anyNameOf(inner, [&](std::u16string_view own) { return equalsIgnoringCase(own, name); });
    });
}

std::u16string_view nameInside(const Table& inner, const Table& outer) {
    return std::u16string_view(inner.name()).substr(outer.name().empty() ? 0 : outer.name().size() + 1);
}

}  // namespace qbsvrl6
