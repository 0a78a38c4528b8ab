#include "qbsvrl6/data/table.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "qbsvrl6/data/row_groups.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

struct Table::Storage {
    std::u16string name;
    ColumnNames names;
    std::vector<ColumnNames::Id> columns;
    RowGroups rows;
    const Table* parent = nullptr;
    std::vector<const Table*> children;
    ParentRows parentRows;
    // Not yet counted in the budget.
    std::uint64_t cells = 0;
    std::uint64_t bytes = 0;

    // The column, ready for a value of the current row; null when there is none.
    OpenColumn* open(std::size_t column, std::size_t textUnits) {
        if (column >= columns.size() || rows.count() == 0) return nullptr;
        std::vector<OpenColumn>& open = rows.columns();
        if (open.size() <= column) open.resize(columns.size());
        ++cells;
        bytes += sizeof(Slot) + sizeof(std::int64_t) + textUnits * sizeof(char16_t);
        return &open[column];
    }

    // Whether the current row has a value there.
    bool hasValue(std::size_t column) {
        const std::vector<OpenColumn>& open = rows.columns();
        return column < open.size() && rows.count() > 0 && open[column].has(rows.lastRow());
    }

    // Returns the bytes that are new.
    std::uint64_t count() {
        spend(&Budget::cells, std::exchange(cells, 0), "the data");
        spend(&Budget::dataBytes, bytes, "the data");
        return std::exchange(bytes, 0);
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
std::size_t Table::rowCount() const { return storage_->rows.count(); }
std::size_t Table::columnCount() const { return storage_->columns.size(); }
std::u16string Table::columnName(std::size_t column) const {
    return toUtf16(storage_->names.whole(storage_->columns[column]));
}

std::size_t Table::findColumn(std::u16string_view name) const {
    return storage_->names.findColumn(toUtf8(name));
}

Value Table::value(std::size_t row, std::size_t column) const { return storage_->rows.value(row, column); }

bool Table::isPaged() const { return storage_->rows.arePaged(); }

const Table* Table::parent() const { return storage_->parent; }
const std::vector<const Table*>& Table::children() const { return storage_->children; }
RowRange Table::childrenOf(std::size_t parentRow) const {
    return storage_->parentRows.childrenOf(parentRow, rowCount());
}

bool Table::isWithin(const Table& other) const {
    const Table* outer = parent();
    while (outer != nullptr && outer != &other) outer = outer->parent();
    return outer != nullptr;
}

RowRange Table::rowsWithin(const Table& other, RowRange rows) const {
    if (parent() != &other) rows = parent()->rowsWithin(other, rows);
    const std::size_t first = childrenOf(rows.first).first;
    return {first, rows.first < rows.end ? childrenOf(rows.end - 1).end : first};
}

std::size_t Table::parentRow(std::size_t row) const { return storage_->parentRows.parentOf(row); }

void Table::setParent(Table& parent) {
    storage_->parent = &parent;
    parent.storage_->children.push_back(this);
}

ColumnNames& Table::names() { return storage_->names; }

std::size_t Table::columnOf(ColumnNames::Id name) {
    const std::size_t known = storage_->names.columnOf(name);
    if (known != npos) return known;
    const std::size_t column = storage_->columns.size();
    if (column == limits::kDataColumns) return npos;
    storage_->bytes += sizeof(OpenColumn);
    storage_->columns.push_back(name);
    storage_->names.setColumn(name, column);
    return column;
}

void Table::beginRow() {
    if (storage_->rows.count() == std::numeric_limits<std::uint32_t>::max()) {
        throw EngineError(ErrorCode::LimitExceeded, "the data has too many rows");
    }
    goOn();
    if (const Table* const parent = storage_->parent) {
        storage_->bytes += storage_->parentRows.add(rowCount(), parent->rowCount() - 1);
    }
    storage_->rows.beginRow(storage_->count());
    ++storage_->cells;
    storage_->names.beginRecord(ColumnNames::kRow);
}

void Table::endRows() {
    storage_->bytes += sizeof(Storage);
    storage_->count();
    storage_->rows.end();
}

void Table::setNull(std::size_t column) {
    if (OpenColumn* open = storage_->open(column, 0)) open->add(storage_->rows.lastRow(), {}, {});
}

void Table::setBoolean(std::size_t column, bool value) {
    if (OpenColumn* open = storage_->open(column, 0)) {
        open->add(storage_->rows.lastRow(), ValueType::Boolean, {}, value ? 1 : 0);
    }
}

void Table::setNumber(std::size_t column, const Number& value, std::u16string_view asWritten) {
    OpenColumn* const open = storage_->open(column, asWritten.size());
    if (open == nullptr) return;
    int places = StoredKind::kReadFromText;
    std::int64_t number = 0;
    if (const Decimal* const decimal = value.decimal()) {
        number = static_cast<std::int64_t>(decimal->coefficient());
        if (number == decimal->coefficient() && decimal->places() <= StoredKind::kMostPlaces)
            places = decimal->places();
    }
    open->add(storage_->rows.lastRow(), {ValueType::Number, places}, asWritten, number);
}

void Table::setText(std::size_t column, std::u16string_view value) {
    OpenColumn* const open = storage_->open(column, value.size());
    if (open != nullptr) open->add(storage_->rows.lastRow(), ValueType::Text, value);
}

void Table::setDate(std::size_t column, std::int64_t seconds, std::u16string_view asWritten) {
    OpenColumn* const open = storage_->open(column, asWritten.size());
    if (open != nullptr) open->add(storage_->rows.lastRow(), ValueType::Date, asWritten, seconds);
}

void Table::addText(std::size_t column, std::u16string_view value) {
    if (!storage_->hasValue(column)) return setText(column, value);
    OpenColumn& open = storage_->rows.columns()[column];
    constexpr std::u16string_view kBetween = u", ";
    storage_->bytes += (kBetween.size() + value.size()) * sizeof(char16_t);
    open.extendText(kBetween);
    open.extendText(value);
}

const Table* DataSet::table(std::u16string_view name) const {
    if (name.empty()) return tables_.empty() ? nullptr : &tables_.front();
    const auto found = tableIndex_.find(std::u16string(name));
    return found == tableIndex_.end() ? nullptr : &tables_[found->second];
}

void DataSet::add(Table table) {
    table.endRows();
    tables_.push_back(std::move(table));
    addToIndex(tables_.size() - 1);
}

Table& DataSet::open(std::u16string name, Table* parent) {
    Table& table = tables_.emplace_back(std::move(name));
    if (parent != nullptr) table.setParent(*parent);
    addToIndex(tables_.size() - 1);
    return table;
}

void DataSet::addToIndex(std::size_t index) {
    const Table& table = tables_[index];
    const auto [known, isNew] = tableIndex_.try_emplace(table.name(), index);
    if (!isNew && table.parent() == nullptr && tables_[known->second].parent() != nullptr)
        known->second = index;
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

namespace {

bool isEmptyColumn(const Table& table, std::u16string_view name) {
    const std::size_t column = table.findColumn(name);
    if (column == Table::npos) return false;
    std::size_t row = 0;
    while (row < table.rowCount() && table.value(row, column).isNull()) ++row;
    return row == table.rowCount();
}

// Whether a table within the rows of this one may be missing only because no row holds any of its rows:
// `inside` is its name there, "Orders.Lines".
bool holdsNoRows(const Table& table, std::u16string_view inside) {
    if (table.rowCount() == 0) return true;
    std::size_t point = 0;
    do {
        point = inside.find(u'.', point + 1);
        if (isEmptyColumn(table, inside.substr(0, point))) return true;
    } while (point != std::u16string_view::npos);
    return false;
}

bool isOfEmptyRows(const DataSet& data, std::u16string_view name) {
    return std::any_of(data.tables().begin(), data.tables().end(), [name](const Table& table) {
        const std::size_t size = table.name().size();
        if (size == 0) return holdsNoRows(table, name);
        return name.size() > size && name.starts_with(table.name()) && name[size] == u'.' &&
               holdsNoRows(table, name.substr(size + 1));
    });
}

}  // namespace

void logMissingTable(const DataSet& data, std::u16string_view name, std::string_view user,
                     TextPosition place) {
    if (isOfEmptyRows(data, name)) return;
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
