#include "qbsvrl6/bind/filter_index.h"

#include <algorithm>
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

bool isFalse(const Expression& filter, std::size_t at) {
    if (at >= filter.code.size() || filter.code[at].operation != Operation::Constant) return false;
    const Value& constant = filter.constants[filter.code[at].operand];
    return constant.type == ValueType::Boolean && !constant.boolean;
}

// Whether the filter is false if the value before `next` is.
bool staysFalse(const Expression& filter, std::size_t next) {
    while (next < filter.code.size()) {
        const Instruction& instruction = filter.code[next];
        switch (instruction.operation) {
            case Operation::ToBoolean:
                ++next;
                break;
            case Operation::Jump:
                next = instruction.operand;
                break;
            case Operation::JumpIfFalse:
                if (!isFalse(filter, instruction.operand)) return false;
                next = instruction.operand + 1;
                break;
            default:
                return false;
        }
    }
    return true;
}

// Whether the filter is false if the comparison at `at` is: it is so after the comparison, and wherever the
// filter jumps over it.
bool isNecessary(const Expression& filter, std::size_t at) {
    constexpr std::size_t kLength = 3;
    if (!staysFalse(filter, at + kLength)) return false;
    return std::all_of(filter.code.begin(), filter.code.begin() + static_cast<std::ptrdiff_t>(at),
                       [&](const Instruction& before) {
                           const bool isJump = before.operation == Operation::Jump ||
                                               before.operation == Operation::JumpIfFalse ||
                                               before.operation == Operation::JumpIfTrue;
                           if (!isJump || before.operand <= at) return true;
                           return before.operation == Operation::JumpIfFalse &&
                                  isFalse(filter, before.operand) && staysFalse(filter, before.operand + 1);
                       });
}

struct Equality {
    const BoundName* column = nullptr;
    const BoundName* parameter = nullptr;
};

// The first comparison of a column with a parameter that every row must pass; empty if there is none.
Equality findEquality(const Expression& filter) {
    const std::vector<Instruction>& code = filter.code;
    for (std::size_t at = 0; at + 2 < code.size(); ++at) {
        const bool compares = code[at].operation == Operation::Name &&
                              code[at + 1].operation == Operation::Name &&
                              code[at + 2].operation == Operation::Equal;
        if (!compares) continue;
        Equality found{&filter.names[code[at].operand], &filter.names[code[at + 1].operand]};
        if (found.column->kind != NameKind::Column) std::swap(found.column, found.parameter);
        const bool isKnown =
            found.column->kind == NameKind::Column && found.parameter->kind == NameKind::Parameter;
        if (isKnown && isNecessary(filter, at)) return found;
    }
    return {};
}

}  // namespace

std::unique_ptr<FilterIndex> FilterIndex::make(const Expression& filter, const Table& rows) {
    const auto [column, parameter] = findEquality(filter);
    if (column == nullptr) return nullptr;
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
