#include "qbsvrl6/data/table.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The type of a stored value and the places of its number, in a byte.
class Kind {
public:
    static constexpr int kMostPlaces = 30;
    static constexpr int kReadFromText = 31;  // instead of places: the number does not fit into a word

    constexpr Kind(ValueType type = ValueType::Null, int places = 0)
        : bits_(static_cast<std::uint8_t>(places << kTypeBits | static_cast<int>(type))) {}
    constexpr ValueType type() const { return static_cast<ValueType>(bits_ & ((1 << kTypeBits) - 1)); }
    constexpr int places() const { return bits_ >> kTypeBits; }

private:
    static constexpr int kTypeBits = 3;
    std::uint8_t bits_;
};

constexpr std::size_t kSlotBytes = sizeof(Kind) + sizeof(std::uint32_t) + sizeof(std::int64_t);

// One column of slots. Slot n is that of row n if many rows have a value; otherwise only those rows have
// slots. The slots end at the last row that has a value; `numbers` is empty as long as there are texts only.
struct ColumnStorage {
    ColumnNames::Id name = ColumnNames::kRow;
    bool isSparse = false;
    std::size_t gaps = 0;  // slots without a value
    std::vector<Kind> kinds;
    std::vector<std::uint32_t> textEnds;  // of each slot in `texts`; the next slot's text starts there
    std::vector<std::int64_t> numbers;    // of numbers, without their places, booleans and dates
    std::vector<std::uint32_t> rows;      // of the slots, where they are sparse
    std::u16string texts;

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    std::size_t slotOf(std::size_t row) const {
        if (!isSparse) return row < kinds.size() ? row : kNone;
        const auto found = std::lower_bound(rows.begin(), rows.end(), row);
        return found != rows.end() && *found == row ? static_cast<std::size_t>(found - rows.begin()) : kNone;
    }

    bool endsAt(std::size_t row) const {
        return isSparse ? !rows.empty() && rows.back() == row : kinds.size() == row + 1;
    }

    // Makes the next slot that of `row`, the last one; a value that it had is dropped.
    void openRow(std::size_t row) {
        if (endsAt(row)) {
            const std::size_t last = kinds.size() - 1;
            texts.resize(textStart(last));
            kinds.resize(last);
            textEnds.resize(last);
            numbers.resize(std::min(numbers.size(), last));
            if (isSparse) rows.pop_back();
        }
        if (isSparse && 2 * rows.size() > row) restoreGaps(row);
        if (!isSparse && row > kinds.size()) fillGap(row);
        if (isSparse) rows.push_back(static_cast<std::uint32_t>(row));
    }

    void close(Kind kind, std::u16string_view text) {
        appendText(text);
        kinds.push_back(kind);
        textEnds.push_back(static_cast<std::uint32_t>(texts.size()));
    }

    void appendText(std::u16string_view text) {
        if (text.size() > std::numeric_limits<std::uint32_t>::max() - texts.size()) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "a column of data holds more than 4 billion characters");
        }
        texts.append(text);
    }

    void setNumber(std::int64_t number) {
        numbers.resize(kinds.size());
        numbers.push_back(number);
    }

    std::u16string_view text(std::size_t slot) const {
        const std::uint32_t start = textStart(slot);
        return std::u16string_view(texts).substr(start, textEnds[slot] - start);
    }

private:
    std::uint32_t textStart(std::size_t slot) const { return slot == 0 ? 0 : textEnds[slot - 1]; }

    void fillGap(std::size_t row) {
        constexpr std::size_t kFewGaps = 16;
        constexpr std::size_t kGapsPerValue = 3;
        gaps += row - kinds.size();
        if (gaps > kFewGaps + kGapsPerValue * (row - gaps)) return dropGaps();
        kinds.resize(row);
        textEnds.resize(row, static_cast<std::uint32_t>(texts.size()));
    }

    void dropGaps() {
        std::size_t slot = 0;
        for (std::size_t row = 0; row < kinds.size(); ++row) {
            if (kinds[row].type() == ValueType::Null) continue;
            kinds[slot] = kinds[row];
            textEnds[slot] = textEnds[row];
            if (row < numbers.size()) numbers[slot] = numbers[row];
            rows.push_back(static_cast<std::uint32_t>(row));
            ++slot;
        }
        kinds.resize(slot);
        textEnds.resize(slot);
        numbers.resize(std::min(numbers.size(), slot));
        isSparse = true;
    }

    // For a column that begins late, or has more and more values: slots for all rows before `row`.
    void restoreGaps(std::size_t row) {
        std::vector<Kind> allKinds(row);
        std::vector<std::uint32_t> allTextEnds(row);
        std::vector<std::int64_t> allNumbers(numbers.empty() ? 0 : row);
        std::size_t next = 0;
        for (std::size_t slot = 0; slot < rows.size(); ++slot) {
            std::fill_n(allTextEnds.begin() + static_cast<std::ptrdiff_t>(next), rows[slot] - next,
                        textStart(slot));
            next = rows[slot];
            allKinds[next] = kinds[slot];
            if (slot < numbers.size()) allNumbers[next] = numbers[slot];
            allTextEnds[next++] = textEnds[slot];
        }
        std::fill(allTextEnds.begin() + static_cast<std::ptrdiff_t>(next), allTextEnds.end(),
                  textStart(rows.size()));
        gaps = row - rows.size();
        kinds = std::move(allKinds);
        textEnds = std::move(allTextEnds);
        numbers = std::move(allNumbers);
        rows = {};
        isSparse = false;
    }
};

}  // namespace

struct Table::Storage {
    std::u16string name;
    std::size_t rowCount = 0;
    std::vector<ColumnStorage> columns;
    ColumnNames names;
    // Not yet counted in the budget.
    std::uint64_t cells = 0;
    std::uint64_t bytes = 0;

    // The column, ready for the current row's value; null when there is none.
    ColumnStorage* open(std::size_t column, std::size_t textUnits) {
        if (column >= columns.size() || rowCount == 0) return nullptr;
        ColumnStorage& stored = columns[column];
        const std::size_t slots = stored.kinds.size();
        stored.openRow(rowCount - 1);
        ++cells;
        bytes += (stored.kinds.size() + 1 - std::min(slots, stored.kinds.size())) * kSlotBytes +
                 textUnits * sizeof(char16_t);
        return &stored;
    }

    void count() {
        spend(&Budget::cells, std::exchange(cells, 0), "the data");
        spend(&Budget::dataBytes, std::exchange(bytes, 0), "the data");
    }
};

Table::Table(std::u16string name) : storage_(std::make_unique<Storage>()) {
    storage_->name = std::move(name);
}
Table::~Table() = default;
Table::Table(Table&&) noexcept = default;
Table& Table::operator=(Table&&) noexcept = default;

const std::u16string& Table::name() const { return storage_->name; }
void Table::rename(std::u16string name) { storage_->name = std::move(name); }
std::size_t Table::rowCount() const { return storage_->rowCount; }
std::size_t Table::columnCount() const { return storage_->columns.size(); }
std::u16string Table::columnName(std::size_t column) const {
    return toUtf16(storage_->names.whole(storage_->columns[column].name));
}

std::size_t Table::findColumn(std::u16string_view name) const {
    return storage_->names.findColumn(toUtf8(name));
}

Value Table::value(std::size_t row, std::size_t column) const {
    if (column >= storage_->columns.size()) return {};
    const ColumnStorage& stored = storage_->columns[column];
    const std::size_t slot = stored.slotOf(row);
    if (slot == ColumnStorage::kNone) return {};
    const Kind kind = stored.kinds[slot];
    switch (kind.type()) {
        case ValueType::Null:
            return {};
        case ValueType::Boolean: {
            const bool boolean = stored.numbers[slot] != 0;
            return {ValueType::Boolean, boolean, {}, 0, boolean ? u"true" : u"false"};
        }
        case ValueType::Number: {
            if (kind.places() != Kind::kReadFromText) {
                return {ValueType::Number, false, Decimal(stored.numbers[slot], kind.places()), 0,
                        stored.text(slot)};
            }
            Value value{ValueType::Number, false, {}, 0, stored.text(slot)};
            Number::parse(value.text, value.number);
            return value;
        }
        case ValueType::Date:
            return {ValueType::Date, false, {}, stored.numbers[slot], stored.text(slot)};
        default:
            return {kind.type(), false, {}, 0, stored.text(slot)};
    }
}

ColumnNames& Table::names() { return storage_->names; }

std::size_t Table::columnOf(ColumnNames::Id name) {
    const std::size_t known = storage_->names.columnOf(name);
    if (known != npos) return known;
    const std::size_t column = storage_->columns.size();
    if (column == limits::kDataColumns) return npos;
    storage_->bytes += sizeof(ColumnStorage);
    storage_->columns.emplace_back().name = name;
    storage_->names.setColumn(name, column);
    return column;
}

void Table::beginRow() {
    if (storage_->rowCount == std::numeric_limits<std::uint32_t>::max()) {
        throw EngineError(ErrorCode::LimitExceeded, "the data has too many rows");
    }
    goOn();
    storage_->count();
    ++storage_->cells;
    ++storage_->rowCount;
    storage_->names.beginRecord(ColumnNames::kRow);
}

void Table::endRows() {
    storage_->bytes += sizeof(Storage);
    storage_->count();
}

void Table::setNull(std::size_t column) {
    if (ColumnStorage* stored = storage_->open(column, 0)) stored->close(ValueType::Null, {});
}

void Table::setBoolean(std::size_t column, bool value) {
    if (ColumnStorage* stored = storage_->open(column, 0)) {
        stored->setNumber(value ? 1 : 0);
        stored->close(ValueType::Boolean, {});
    }
}

void Table::setNumber(std::size_t column, const Number& value, std::u16string_view asWritten) {
    ColumnStorage* const stored = storage_->open(column, asWritten.size());
    if (stored == nullptr) return;
    int places = Kind::kReadFromText;
    std::int64_t number = 0;
    if (const Decimal* const decimal = value.decimal()) {
        number = static_cast<std::int64_t>(decimal->coefficient());
        if (number == decimal->coefficient() && decimal->places() <= Kind::kMostPlaces)
            places = decimal->places();
    }
    stored->setNumber(number);
    stored->close({ValueType::Number, places}, asWritten);
}

void Table::setText(std::size_t column, std::u16string_view value) {
    if (ColumnStorage* stored = storage_->open(column, value.size())) stored->close(ValueType::Text, value);
}

void Table::setDate(std::size_t column, std::int64_t seconds, std::u16string_view asWritten) {
    if (ColumnStorage* stored = storage_->open(column, asWritten.size())) {
        stored->setNumber(seconds);
        stored->close(ValueType::Date, asWritten);
    }
}

void Table::addText(std::size_t column, std::u16string_view value) {
    const bool isKnown = column < storage_->columns.size() && storage_->rowCount > 0;
    if (!isKnown || !storage_->columns[column].endsAt(storage_->rowCount - 1)) return setText(column, value);
    ColumnStorage& stored = storage_->columns[column];
    constexpr std::u16string_view kBetween = u", ";
    storage_->bytes += (kBetween.size() + value.size()) * sizeof(char16_t);
    stored.appendText(kBetween);
    stored.appendText(value);
    stored.textEnds.back() = static_cast<std::uint32_t>(stored.texts.size());
}

const Table* DataSet::table(std::u16string_view name) const {
    if (name.empty()) return tables_.empty() ? nullptr : &tables_.front();
    const auto found = tableIndex_.find(std::u16string(name));
    return found == tableIndex_.end() ? nullptr : &tables_[found->second];
}

void DataSet::add(Table table) {
    table.endRows();
    tableIndex_.emplace(table.name(), tables_.size());
    tables_.push_back(std::move(table));
}

const DataParameter* DataSet::parameter(std::u16string_view name) const {
    const auto found = parameterIndex_.find(lowerCase(name));
    return found == parameterIndex_.end() ? nullptr : &parameters_[found->second];
}

void DataSet::add(DataParameter parameter) {
    spend(&Budget::cells, 1, "the parameters of the data");
    spend(&Budget::dataBytes,
          sizeof parameter + (2 * parameter.name.size() + parameter.text.size()) * sizeof(char16_t),
          "the parameters of the data");
    parameterIndex_.insert_or_assign(lowerCase(parameter.name), parameters_.size());
    parameters_.push_back(std::move(parameter));
}

void logMissingTable(const DataSet& data, std::u16string_view name, std::string_view user,
                     TextPosition place) {
    std::vector<std::u16string_view> names;
    for (const Table& table : data.tables()) {
        if (!table.name().empty()) names.push_back(table.name());
    }
    const bool nameless = names.empty() && !data.tables().empty();
    logError(data.origin + " has no table \"" + toUtf8(name) + "\" for " + std::string(user) + "; " +
                 (nameless ? "its one table has no name" : suggestion(name, names)),
             place);
}

}  // namespace qbsvrl6
