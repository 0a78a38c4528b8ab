#include "qbsvrl6/bind/filter_index.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/values.h"

namespace qbsvrl6 {

namespace {

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
    TextArena texts;
    KeyIndex index(rows.rowCount(), [&, column = column](std::size_t row) {
        texts.reset();
        const Value value = rows.value(row, column->index);
        return column->declaredType ? convertTo(value, *column->declaredType, texts) : value;
    });
    return std::make_unique<FilterIndex>(*parameter, std::move(index));
}

}  // namespace qbsvrl6
