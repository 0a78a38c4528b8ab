#include "qbsvrl6/data/column_names.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/keyed_hash.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// Byte by byte, so that a name has one hash however it is divided into keys.
std::uint64_t continueHash(std::uint64_t hash, std::string_view bytes) {
    for (const char byte : bytes) hash = nextKeyedHash(hash, static_cast<unsigned char>(byte));
    return hash;
}

constexpr std::size_t kIndexBytes = 40;  // of a name in one index

std::string folded(std::string_view name) {
    std::string result(name);
    std::transform(result.begin(), result.end(), result.begin(), lowered<char>);
    return result;
}

}  // namespace

// `hash` is that of the record's whole name. A name in a record without one has no point before it.
std::uint64_t ColumnNames::hashIn(const Name& record, std::uint64_t hash, std::string_view key) {
    return continueHash(record.units == 0 ? firstKeyedHash() : continueHash(hash, "."), key);
}

ColumnNames::Id ColumnNames::nameOf(Id record, std::string_view key) {
    Name& outer = names_[record];
    if (outer.next < outer.keys.size() && names_[outer.keys[outer.next]].key == key) {
        return outer.keys[outer.next++];
    }
    const auto [first, last] = exact_.equal_range(hashIn(outer, outer.hash, key));
    for (auto found = first; found != last; ++found) {
        const Name& name = names_[found->second];
        if (name.record != record || name.key != key) continue;
        outer.next = name.position + 1;
        return found->second;
    }
    if (first != last) {
        const std::string name = (outer.units == 0 ? "" : whole(record) + '.').append(key);
        for (auto found = first; found != last; ++found) {
            if (whole(found->second) == name) return found->second;
        }
    }
    return add(record, key);
}

ColumnNames::Id ColumnNames::add(Id record, std::string_view key) {
    const Name& outer = names_[record];
    Name name;
    name.key = key;
    name.hash = hashIn(outer, outer.hash, key);
    name.foldedHash = hashIn(outer, outer.foldedHash, folded(key));
    name.units = toUtf16(key).size() + (outer.units == 0 ? 0 : outer.units + 1);
    name.record = record;
    name.position = static_cast<std::uint32_t>(outer.keys.size());
    checkFigure(&Budget::nameUnits, name.units, "the name of a column");
    spend(&Budget::dataBytes, sizeof(Name) + key.size() + 2 * kIndexBytes, "the names of columns");
    const auto id = static_cast<Id>(names_.size());
    exact_.emplace(name.hash, id);
    names_.push_back(std::move(name));
    names_[record].keys.push_back(id);
    names_[record].next = names_[id].position + 1;
    return id;
}

void ColumnNames::setColumn(Id id, std::size_t column) {
    names_[id].column = column;
    const auto [first, last] = folded_.equal_range(names_[id].foldedHash);
    const bool isKnown = std::any_of(first, last, [&](const Index::value_type& other) {
        return folded(whole(other.second)) == folded(whole(id));
    });
    if (!isKnown) folded_.emplace(names_[id].foldedHash, id);
}

std::size_t ColumnNames::findColumn(std::string_view wanted) const {
    const auto [first, last] = exact_.equal_range(continueHash(firstKeyedHash(), wanted));
    for (auto found = first; found != last; ++found) {
        const Name& name = names_[found->second];
        if (name.column != npos && whole(found->second) == wanted) return name.column;
    }
    const std::string lower = folded(wanted);
    const auto [firstFolded, lastFolded] = folded_.equal_range(continueHash(firstKeyedHash(), lower));
    for (auto found = firstFolded; found != lastFolded; ++found) {
        if (folded(whole(found->second)) == lower) return names_[found->second].column;
    }
    return npos;
}

// Keys of an outer record that is nothing but "" add no point.
std::string ColumnNames::whole(Id id) const {
    std::vector<std::string_view> keys;
    for (; id != kRow; id = names_[id].record) keys.push_back(names_[id].key);
    std::string name;
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        if (!name.empty()) name += '.';
        name += *key;
    }
    return name;
}

}  // namespace qbsvrl6
