#include "qbsvrl6/bind/filter_index.h"

#include <cstring>

#include "qbsvrl6/bind/values.h"

namespace qbsvrl6 {

namespace {

// Values that compare as equal have one key; false for values whose equals aren't told by a key.
bool keyOf(const Value& value, std::u16string& key) {
    double number = 0;
    switch (value.type) {
        case ValueType::Null:
            key.clear();
            return true;
        case ValueType::Number:
        case ValueType::Text:
            if (!toNumber(value, number)) {
                key = value.text;
                return true;
            }
            number += 0.0;  // makes one zero of the two
            key.assign(1, u'\0');
            key.append(sizeof(number) / sizeof(char16_t), u'\0');
            std::memcpy(key.data() + 1, &number, sizeof(number));
            return true;
        default:
            return false;
    }
}

}  // namespace

std::unique_ptr<FilterIndex> FilterIndex::make(const Expression& filter, const Table& rows) {
    const auto isName = [&](std::size_t i) { return filter.code[i].operation == Operation::Name; };
    if (filter.code.size() != 3 || !isName(0) || !isName(1) || filter.code[2].operation != Operation::Equal) {
        return nullptr;
    }
    const BoundName* column = &filter.names[filter.code[0].operand];
    const BoundName* parameter = &filter.names[filter.code[1].operand];
    if (column->kind != NameKind::Column) std::swap(column, parameter);
    if (column->kind != NameKind::Column || parameter->kind != NameKind::Parameter) return nullptr;
    if (column->declaredType >= 0 || parameter->declaredType >= 0) return nullptr;
    auto index = std::make_unique<FilterIndex>();
    index->parameter_ = parameter->index;
    std::u16string key;
    for (std::size_t row = 0; row < rows.rowCount(); ++row) {
        if (!keyOf(rows.value(row, column->index), key)) return nullptr;
        index->rows_[key].push_back(static_cast<std::uint32_t>(row));
    }
    return index;
}

const std::vector<std::uint32_t>* FilterIndex::candidates(const Value& value) const {
    std::u16string key;
    if (!keyOf(value, key)) return nullptr;
    const auto found = rows_.find(key);
    return found == rows_.end() ? &none_ : &found->second;
}

}  // namespace qbsvrl6
