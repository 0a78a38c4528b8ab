#include "qbsvrl6/data/table.h"

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
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

// One column. Its vectors end at the last row that has a value, so that a column which appears late or is
// mostly absent costs little; `numbers` is empty as long as there are texts only.
struct ColumnStorage {
    std::u16string name;
    std::vector<Kind> kinds;
    std::vector<std::uint32_t> textEnds;  // of each row in `texts`; the next row's text starts there
    std::vector<std::int64_t> numbers;    // of numbers, without their places, and booleans
    std::u16string texts;

    std::uint32_t textStart(std::size_t row) const { return row == 0 ? 0 : textEnds[row - 1]; }

    // Makes `row` the last one; a value that it had is dropped.
    void openRow(std::size_t row) {
        const std::size_t count = std::min(kinds.size(), row);
        texts.resize(textStart(count));
        kinds.resize(count);
        textEnds.resize(count);
        kinds.resize(row);
        textEnds.resize(row, static_cast<std::uint32_t>(texts.size()));
    }

    void close(Kind kind, std::u16string_view text) {
        if (text.size() > std::numeric_limits<std::uint32_t>::max() - texts.size()) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "a column of data holds more than 4 billion characters");
        }
        texts.append(text);
        kinds.push_back(kind);
        textEnds.push_back(static_cast<std::uint32_t>(texts.size()));
    }

    void setNumber(std::size_t row, std::int64_t number) {
        numbers.resize(row);
        numbers.push_back(number);
    }

    std::u16string_view text(std::size_t row) const {
        const std::uint32_t start = textStart(row);
        return std::u16string_view(texts).substr(start, textEnds[row] - start);
    }
};

}  // namespace

struct Table::Storage {
    std::u16string name;
    std::size_t rowCount = 0;
    std::vector<ColumnStorage> columns;
    std::unordered_map<std::u16string, std::size_t> byName;

    // The column, ready for the current row's value; null when there is none.
    ColumnStorage* open(std::size_t column) {
        if (column >= columns.size() || rowCount == 0) return nullptr;
        columns[column].openRow(rowCount - 1);
        return &columns[column];
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
const std::u16string& Table::columnName(std::size_t column) const { return storage_->columns[column].name; }

std::size_t Table::findColumn(std::u16string_view name) const {
    const auto exact = storage_->byName.find(std::u16string(name));
    if (exact != storage_->byName.end()) return exact->second;
    const auto& columns = storage_->columns;
    const auto similar = std::find_if(columns.begin(), columns.end(), [&](const ColumnStorage& column) {
        return equalsIgnoringCase(column.name, name);
    });
    return similar == columns.end() ? npos : static_cast<std::size_t>(similar - columns.begin());
}

Value Table::value(std::size_t row, std::size_t column) const {
    if (column >= storage_->columns.size()) return {};
    const ColumnStorage& stored = storage_->columns[column];
    if (row >= stored.kinds.size()) return {};
    const Kind kind = stored.kinds[row];
    switch (kind.type()) {
        case ValueType::Null:
            return {};
        case ValueType::Boolean: {
            const bool boolean = stored.numbers[row] != 0;
            return {ValueType::Boolean, boolean, {}, 0, boolean ? u"true" : u"false"};
        }
        case ValueType::Number: {
            if (kind.places() != Kind::kReadFromText) {
                return {ValueType::Number, false, Decimal(stored.numbers[row], kind.places()), 0,
                        stored.text(row)};
            }
            Value value{ValueType::Number, false, {}, 0, stored.text(row)};
            Number::parse(value.text, value.number);
            return value;
        }
        default:
            return {kind.type(), false, {}, 0, stored.text(row)};
    }
}

std::size_t Table::addColumn(std::u16string name) {
    const std::size_t column = storage_->columns.size();
    storage_->byName.emplace(name, column);
    storage_->columns.emplace_back();
    storage_->columns.back().name = std::move(name);
    return column;
}

void Table::beginRow() { ++storage_->rowCount; }

void Table::setNull(std::size_t column) {
    if (ColumnStorage* stored = storage_->open(column)) stored->close(ValueType::Null, {});
}

void Table::setBoolean(std::size_t column, bool value) {
    if (ColumnStorage* stored = storage_->open(column)) {
        stored->setNumber(storage_->rowCount - 1, value ? 1 : 0);
        stored->close(ValueType::Boolean, {});
    }
}

void Table::setNumber(std::size_t column, const Number& value, std::u16string_view asWritten) {
    ColumnStorage* const stored = storage_->open(column);
    if (stored == nullptr) return;
    int places = Kind::kReadFromText;
    std::int64_t number = 0;
    if (const Decimal* const decimal = value.decimal()) {
        number = static_cast<std::int64_t>(decimal->coefficient());
        if (number == decimal->coefficient() && decimal->places() <= Kind::kMostPlaces)
            places = decimal->places();
    }
    stored->setNumber(storage_->rowCount - 1, number);
    stored->close({ValueType::Number, places}, asWritten);
}

void Table::setText(std::size_t column, std::u16string_view value) {
    if (ColumnStorage* stored = storage_->open(column)) stored->close(ValueType::Text, value);
}

const Table* DataSet::table(std::u16string_view name) const {
    if (name.empty()) return tables.empty() ? nullptr : &tables.front();
    const auto found =
        std::find_if(tables.begin(), tables.end(), [&](const Table& table) { return table.name() == name; });
    return found == tables.end() ? nullptr : &*found;
}

void logMissingTable(const DataSet& data, std::u16string_view name, std::string_view user,
                     TextPosition place) {
    std::vector<std::u16string_view> names;
    for (const Table& table : data.tables) {
        if (!table.name().empty()) names.push_back(table.name());
    }
    const bool nameless = names.empty() && !data.tables.empty();
    logError(data.origin + " has no table \"" + toUtf8(name) + "\" for " + std::string(user) + "; " +
                 (nameless ? "its one table has no name" : suggestion(name, names)),
             place);
}

const DataParameter* DataSet::parameter(std::u16string_view name) const {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const DataParameter& parameter) { return parameter.name == name; });
    return found == parameters.end() ? nullptr : &*found;
}

}  // namespace qbsvrl6
