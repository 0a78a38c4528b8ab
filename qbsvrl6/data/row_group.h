// Some rows of a table with all of their columns, in one block of bytes that moves between memory and a file
// unchanged. OpenGroup collects rows; RowGroup reads them in the block that it makes.
//
// The block has a header, a directory of the columns and each column: its numbers, its slots and its texts. A
// column has a slot per row, or, if most rows have no value, only the slots of those that have one.
#ifndef QBSVR_QBSVRL6_DATA_ROW_GROUP_H
#define QBSVR_QBSVRL6_DATA_ROW_GROUP_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/data/value.h"

namespace qbsvrl6 {

// The type of a stored value and the places of its number, in a byte.
class StoredKind {
public:
    static constexpr int kMostPlaces = 30;
    static constexpr int kReadFromText = 31;  // instead of places: the number does not fit into a word

    constexpr StoredKind(ValueType type = ValueType::Null, int places = 0)
        : bits_(static_cast<std::uint8_t>(places << kTypeBits | static_cast<int>(type))) {}
    constexpr ValueType type() const { return static_cast<ValueType>(bits_ & ((1 << kTypeBits) - 1)); }
    constexpr int places() const { return bits_ >> kTypeBits; }

private:
    static constexpr int kTypeBits = 3;
    std::uint8_t bits_;
};

struct Slot {
    std::uint32_t textEnd = 0;  // in the column's texts; the next slot's text starts there
    std::uint16_t row = 0;      // of the group
    StoredKind kind;
};

// A column of the rows that are being collected.
class OpenColumn {
public:
    // Ends the value of this row, the last one; a value that it had is replaced.
    void add(std::size_t row, StoredKind kind, std::u16string_view text);
    void add(std::size_t row, StoredKind kind, std::u16string_view text, std::int64_t number);
    bool has(std::size_t row) const { return !slots_.empty() && slots_.back().row == row; }
    // Adds to the text of the last value.
    void extendText(std::u16string_view text);

private:
    friend class OpenGroup;
    void appendText(std::u16string_view text);
    std::size_t textUnitsBefore(std::size_t slot) const { return slot == 0 ? 0 : slots_[slot - 1].textEnd; }
    void clear();

    std::vector<Slot> slots_;            // of the rows that have a value
    std::vector<std::int64_t> numbers_;  // by slot; they end at the last number
    std::u16string texts_;
};

class OpenGroup {
public:
    static constexpr std::size_t kMostRows = 1u << 12;

    std::size_t rows = 0;
    std::vector<OpenColumn> columns;

    struct Block {
        std::unique_ptr<char[]> bytes;
        std::size_t size = 0;
    };
    // The rows as a block. The group is then empty.
    Block seal();
};

// Reads a block, which outlives the object and the texts of its values.
class RowGroup {
public:
    RowGroup() = default;
    explicit RowGroup(const char* block) : block_(block) {}

    // `row` counts from the group's first. A column that is newer than the block reads as null.
    Value value(std::size_t row, std::size_t column) const;

private:
    const char* block_ = nullptr;
};

}  // namespace qbsvrl6

#endif
