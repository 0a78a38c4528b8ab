#include "qbsvrl6/layout/calculations.h"

#include <algorithm>
#include <functional>

#include "qbsvrl6/support/hash.h"

namespace qbsvrl6 {

namespace {

bool areSame(const Value& a, const Value& b) {
    return a.type == b.type && a.boolean == b.boolean && a.date == b.date && a.text == b.text &&
           compare(a.number, b.number) == 0;
}

bool areSame(const BoundName& a, const BoundName& b) {
    return a.kind == b.kind && a.index == b.index && a.table == b.table && a.declaredType == b.declaredType;
}

bool areSame(const Instruction& a, const Instruction& b) {
    return a.operation == b.operation && a.count == b.count && a.operand == b.operand;
}

bool dependsOnRowAlone(const Expression& expression) {
    return expression.readsRow && !expression.dependsOnAggregate && !expression.usesPage &&
           !expression.usesPageCount && expression.lookups.empty();
}

Calculation::Kind kindOf(AggregateKind kind) {
    switch (kind) {
        case AggregateKind::Sum:
            return Calculation::Kind::Sum;
        case AggregateKind::Average:
            return Calculation::Kind::Average;
        case AggregateKind::Count:
            return Calculation::Kind::Count;
        case AggregateKind::Minimum:
            return Calculation::Kind::Minimum;
        case AggregateKind::Maximum:
            return Calculation::Kind::Maximum;
        default:
            return Calculation::Kind::None;
    }
}

// The rows of the other scopes depend on the page, or on the row.
bool isWholeScope(ScopeKind scope) {
    return scope == ScopeKind::Default || scope == ScopeKind::Innermost || scope == ScopeKind::Group ||
           scope == ScopeKind::Report;
}

}  // namespace

bool SameExpression::operator()(const Expression* a, const Expression* b) const {
    const auto same = [](const auto& left, const auto& right) { return areSame(left, right); };
    return std::equal(a->code.begin(), a->code.end(), b->code.begin(), b->code.end(), same) &&
           std::equal(a->constants.begin(), a->constants.end(), b->constants.begin(), b->constants.end(),
                      same) &&
           std::equal(a->names.begin(), a->names.end(), b->names.begin(), b->names.end(), same);
}

std::size_t ExpressionHash::operator()(const Expression* expression) const {
    std::size_t hash = expression->code.size();
    for (const Instruction& instruction : expression->code) {
        mixHash(hash, static_cast<std::size_t>(instruction.operation));
        mixHash(hash, instruction.operand);
    }
    std::u16string key;
    for (const Value& constant : expression->constants) {
        mixHash(hash, std::hash<std::u16string_view>()(constant.text));
        key.clear();
        constant.number.appendKey(key);
        mixHash(hash, std::hash<std::u16string_view>()(key));
        mixHash(hash, static_cast<std::size_t>(constant.date));
    }
    for (const BoundName& name : expression->names) mixHash(hash, name.index);
    return hash;
}

std::uint32_t Calculations::numberOf(const Expression& expression) {
    return numbers_.try_emplace(&expression, static_cast<std::uint32_t>(numbers_.size())).first->second;
}

Calculations::Role Calculations::roleOf(const PlannedText& text) {
    if (!text.text.valued || text.needsPage || text.needsPageCount) return {};
    const Expression& expression = *text.text.parts[*text.text.valued].expression;
    if (dependsOnRowAlone(expression)) return {Calculation::Kind::RowValue, numberOf(expression), {}};
    const bool isAggregate =
        expression.code.size() == 1 && expression.code.front().operation == Operation::Aggregate;
    if (!isAggregate) return {};
    const Aggregate& aggregate = expression.aggregates[expression.code.front().operand];
    const bool isPlain = aggregate.argument && aggregate.table == nullptr && !aggregate.rows &&
                         !aggregate.onceIn && isWholeScope(aggregate.scope.kind) &&
                         dependsOnRowAlone(*aggregate.argument);
    if (!isPlain) return {};
    return {kindOf(aggregate.kind), numberOf(*aggregate.argument), aggregate.scope};
}

Calculation Calculations::of(const PlannedText& text, const Position& position, const RowView& view,
                             std::uint32_t walk) {
    const auto [entry, isNew] = roles_.try_emplace(&text);
    if (isNew) entry->second = roleOf(text);
    const Role& role = entry->second;
    const bool isRowValue = role.kind == Calculation::Kind::RowValue;
    if (role.kind == Calculation::Kind::None || isRowValue != position.ofRow) return {};
    Calculation calculation;
    calculation.kind = role.kind;
    calculation.groups = static_cast<std::uint8_t>(view.groupCount());
    calculation.walk = walk;
    calculation.expression = role.expression;
    if (isRowValue) {
        calculation.startingLevel = static_cast<std::uint8_t>(view.startingLevel(position.row));
        calculation.rows = {position.row, position.row + 1};
    } else {
        calculation.rows = view.rangeOf(role.scope, position);
    }
    return calculation;
}

}  // namespace qbsvrl6
