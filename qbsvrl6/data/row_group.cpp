#include "qbsvrl6/data/row_group.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

struct Header {
    std::uint32_t rows = 0;
    std::uint32_t columns = 0;
};

// An entry of the directory, which follows the header.
struct Part {
    std::uint64_t start = 0;  // of the column, in the block
    std::uint32_t slots = 0;
    std::uint32_t numbers = 0;  // as many as slots, or none
};

constexpr std::size_t kRowsPerSlot = 2;  // with fewer rows, each row has a slot

std::size_t aligned(std::size_t size) {
    constexpr std::size_t kTo = alignof(std::int64_t);
    return (size + kTo - 1) / kTo * kTo;
}

template <class T>
const T* arrayAt(const char* bytes) {
    return reinterpret_cast<const T*>(bytes);
}

template <class T>
char* put(char* to, const T* from, std::size_t count) {
    if (count > 0) std::memcpy(to, from, count * sizeof(T));
    return to + count * sizeof(T);
}

// The slots and numbers of every row, from those of the rows that have a value.
void fillGaps(std::vector<Slot>& slots, std::vector<std::int64_t>& numbers, std::size_t rows) {
    std::size_t from = slots.size();
    slots.resize(rows);
    if (!numbers.empty()) numbers.resize(rows);
    for (std::size_t row = rows; row-- > 0;) {
        if (from > 0 && slots[from - 1].row == row) {
            --from;
            slots[row] = slots[from];
            if (!numbers.empty()) numbers[row] = numbers[from];
        } else {
            slots[row] = {from == 0 ? 0 : slots[from - 1].textEnd, static_cast<std::uint16_t>(row), {}};
        }
    }
}

}  // namespace

void OpenColumn::add(std::size_t row, StoredKind kind, std::u16string_view text) {
    if (has(row)) {
        slots_.pop_back();
        texts_.resize(textUnitsBefore(slots_.size()));
        numbers_.resize(std::min(numbers_.size(), slots_.size()));
    }
    appendText(text);
    slots_.push_back({static_cast<std::uint32_t>(texts_.size()), static_cast<std::uint16_t>(row), kind});
}

void OpenColumn::add(std::size_t row, StoredKind kind, std::u16string_view text, std::int64_t number) {
    add(row, kind, text);
    numbers_.resize(slots_.size() - 1);
    numbers_.push_back(number);
}

void OpenColumn::extendText(std::u16string_view text) {
    appendText(text);
    slots_.back().textEnd = static_cast<std::uint32_t>(texts_.size());
}

void OpenColumn::appendText(std::u16string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max() - texts_.size()) {
        throw EngineError(ErrorCode::LimitExceeded, "a row of data holds more than 4 billion characters");
    }
    texts_.append(text);
}

// Memory that only an unusual group needed is returned.
void OpenColumn::clear() {
    constexpr std::size_t kUsualUnits = 1u << 16;
    slots_.clear();
    numbers_.clear();
    texts_.clear();
    if (texts_.capacity() > kUsualUnits) texts_.shrink_to_fit();
}

OpenGroup::Block OpenGroup::seal() {
    std::vector<Part> directory(columns.size());
    std::size_t size = sizeof(Header) + columns.size() * sizeof(Part);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        OpenColumn& column = columns[i];
        if (!column.numbers_.empty()) column.numbers_.resize(column.slots_.size());
        const std::size_t values = column.slots_.size();
        if (values < rows && values * kRowsPerSlot >= rows) fillGaps(column.slots_, column.numbers_, rows);
        size = aligned(size);
        directory[i] = {size, static_cast<std::uint32_t>(column.slots_.size()),
                        static_cast<std::uint32_t>(column.numbers_.size())};
        size += column.numbers_.size() * sizeof(std::int64_t) + column.slots_.size() * sizeof(Slot) +
                column.texts_.size() * sizeof(char16_t);
    }
    Block block{std::make_unique_for_overwrite<char[]>(size), size};
    const Header header{static_cast<std::uint32_t>(rows), static_cast<std::uint32_t>(columns.size())};
    char* to = put(put(block.bytes.get(), &header, 1), directory.data(), directory.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        OpenColumn& column = columns[i];
        char* const start = block.bytes.get() + directory[i].start;
        std::fill(to, start, '\0');
        to = put(start, column.numbers_.data(), column.numbers_.size());
        to = put(to, column.slots_.data(), column.slots_.size());
        to = put(to, column.texts_.data(), column.texts_.size());
        column.clear();
    }
    rows = 0;
    return block;
}

Value RowGroup::value(std::size_t row, std::size_t column) const {
    const auto& header = *arrayAt<Header>(block_);
    if (column >= header.columns) return {};
    const Part& part = arrayAt<Part>(block_ + sizeof(Header))[column];
    const auto* const numbers = arrayAt<std::int64_t>(block_ + part.start);
    const auto* const slots = arrayAt<Slot>(block_ + part.start + part.numbers * sizeof(std::int64_t));
    const auto* const texts = reinterpret_cast<const char16_t*>(slots + part.slots);
    const Slot* slot = slots + row;
    if (part.slots != header.rows) {
        const Slot* const end = slots + part.slots;
        slot = std::lower_bound(slots, end, row, [](const Slot& a, std::size_t b) { return a.row < b; });
        if (slot == end || slot->row != row) return {};
    }
    const std::uint32_t start = slot == slots ? 0 : slot[-1].textEnd;
    const std::u16string_view text(texts + start, slot->textEnd - start);
    const StoredKind kind = slot->kind;
    switch (kind.type()) {
        case ValueType::Null:
            return {};
        case ValueType::Boolean: {
            const bool boolean = numbers[slot - slots] != 0;
            return {ValueType::Boolean, boolean, {}, 0, boolean ? u"true" : u"false"};
        }
        case ValueType::Number: {
            if (kind.places() != StoredKind::kReadFromText) {
                return {ValueType::Number, false, Decimal(numbers[slot - slots], kind.places()), 0, text};
            }
            Value value{ValueType::Number, false, {}, 0, text};
            Number::parse(value.text, value.number);
            return value;
        }
        case ValueType::Date:
            return {ValueType::Date, false, {}, numbers[slot - slots], text};
        default:
            return {kind.type(), false, {}, 0, text};
    }
}

}  // namespace qbsvrl6
