#include "qbsvrl6/bind/filter_index.h"

#include <utility>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/budget.h"

namespace qbsvrl6 {

namespace {

// Values that compare as equal have the same key. Returns false for values without a key.
bool keyOf(const Value& value, std::u16string& key) {
    Number number;
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
            key.assign(1, u'\0');
            number.appendKey(key);
            return true;
        default:
            return false;
    }
}

// Whether the filter is false whenever the comparison that ends before `next` is: each "and" after it jumps
// to a constant false.
bool isDecidedByFalse(const std::vector<Instruction>& code, std::size_t next,
                      const std::vector<Value>& constants) {
    while (next < code.size()) {
        if (code[next].operation != Operation::JumpIfFalse) return false;
        next = code[next].operand;
        if (next >= code.size() || code[next].operation != Operation::Constant) return false;
        const Value& result = constants[code[next].operand];
        if (result.type != ValueType::Boolean || result.boolean) return false;
        ++next;
    }
    return true;
}

}  // namespace

std::unique_ptr<FilterIndex> FilterIndex::make(const Expression& filter, const Table& rows) {
    const std::vector<Instruction>& code = filter.code;
    const auto isName = [&](std::size_t i) { return code[i].operation == Operation::Name; };
    const bool compares = code.size() >= 3 && isName(0) && isName(1) && code[2].operation == Operation::Equal;
    if (!compares || !isDecidedByFalse(code, 3, filter.constants)) return nullptr;
    const BoundName* column = &filter.names[code[0].operand];
    const BoundName* parameter = &filter.names[code[1].operand];
    if (column->kind != NameKind::Column) std::swap(column, parameter);
    if (column->kind != NameKind::Column || parameter->kind != NameKind::Parameter) return nullptr;
    auto index = std::make_unique<FilterIndex>();
    index->parameter_ = parameter;
    std::u16string key;
    TextArena scratch;
    for (std::size_t row = 0; row < rows.rowCount(); ++row) {
        goOn();
        Value value = rows.value(row, column->index);
        if (column->declaredType >= 0) {
            value = convertTo(value, static_cast<DataType>(column->declaredType), scratch);
        }
        if (!keyOf(value, key)) return nullptr;
        index->rows_[key].push_back(static_cast<std::uint32_t>(row));
        scratch.reset();
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
