#include "qbsvrl6/bind/evaluator.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qbsvrl6/bind/dates.h"
#include "qbsvrl6/bind/functions.h"
#include "qbsvrl6/bind/lookup_table.h"
#include "qbsvrl6/bind/mixed_texts.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr double kLargestDays = 1e7;
constexpr std::size_t kShortText = 256;

// Dates calculate in days: "Due + 14", "Due - Ordered". All other values calculate as numbers; the result is
// null if an operand is, or if it is not finite.
Value calculated(Operation operation, const Value& left, const Value& right) {
    const bool leftDate = left.type == ValueType::Date;
    const bool rightDate = right.type == ValueType::Date;
    if (leftDate && rightDate) {
        if (operation != Operation::Subtract) return {};
        return makeNumber((Number(left.date) - Number(right.date)) / kSecondsADay);
    }
    if (leftDate || rightDate) {
        const bool adds = operation == Operation::Add;
        if (!adds && !(operation == Operation::Subtract && leftDate)) return {};
        double days = 0;
        if (!toNumber(leftDate ? right : left, days) || !(std::fabs(days) <= kLargestDays)) return {};
        const auto seconds =
            static_cast<std::int64_t>(std::llround(days * static_cast<double>(kSecondsADay)));
        return makeDate((leftDate ? left : right).date + (adds ? seconds : -seconds));
    }
    Number leftRoom;
    Number rightRoom;
    const Number* const a = numberOf(left, leftRoom);
    const Number* const b = numberOf(right, rightRoom);
    if (a == nullptr || b == nullptr) return {};
    switch (operation) {
        case Operation::Add:
            return makeNumber(*a + *b);
        case Operation::Subtract:
            return makeNumber(*a - *b);
        case Operation::Multiply:
            return makeNumber(*a * *b);
        default:
            return makeNumber(*a / *b);
    }
}

bool compares(Operation operation, int order) {
    switch (operation) {
        case Operation::Equal:
            return order == 0;
        case Operation::NotEqual:
            return order != 0;
        case Operation::Less:
            return order < 0;
        case Operation::LessOrEqual:
            return order <= 0;
        case Operation::Greater:
            return order > 0;
        default:
            return order >= 0;
    }
}

}  // namespace

Evaluator::Evaluator(const Binding& binding, const RowTables& tables, const WalkedRows& rows,
                     std::span<const OwnedValue> passed, std::int64_t now)
    : binding_(binding),
      tables_(tables),
      rowTable_(tables.tableFor(binding.sources().rows)),
      headTable_(tables.tableFor(binding.sources().head)),
      rows_(rows),
      now_(now),
      memos_(binding.calculatedCount()),
      aggregates_(binding.aggregateSlots()) {
    for (const Binding::BoundParameter& parameter : binding.parameters()) {
        parameters_.push_back(parameter.value);
    }
    for (std::size_t i = 0; i < passed.size(); ++i) parameters_[binding.passedParameter(i)] = passed[i];
    for (std::size_t i = 0; i < parameters_.size(); ++i) {
        const std::optional<DataType>& type = binding.parameters()[i].type;
        if (type) parameters_[i] = OwnedValue(convertTo(parameters_[i].get(), *type, arena_));
    }
}

// Frees the texts of earlier evaluations.
void Evaluator::begin() {
    stack_.clear();
    arena_.reset();
    inner_ = {};
}

Value Evaluator::evaluate(const Expression& expression, const Position& position) {
    begin();
    return run(expression, position);
}

Value Evaluator::evaluateWith(const Expression& expression, const Position& position,
                              std::span<const Value> totals) {
    begin();
    totaled_ = &expression;
    totals_ = totals;
    const Value value = run(expression, position);
    totaled_ = nullptr;
    return value;
}

bool Evaluator::isTrue(const Expression& expression, const Position& position) {
    return toBoolean(evaluate(expression, position));
}

void Evaluator::evaluateText(TextTemplate& text, const Position& position, EvaluatedText& result) {
    result.text.clear();
    result.color.reset();
    result.value.clear();
    result.pageFields.clear();
    begin();
    for (std::size_t index = 0; index < text.parts.size(); ++index) {
        TextPart& part = text.parts[index];
        if (!part.expression) {
            result.text += part.literal;
            continue;
        }
        const Value value = run(*part.expression, position);
        const std::size_t start = result.text.size();
        part.format.append(value, arena_, result, text.valued == index);
        if (part.pageField) {
            const bool isNumber = *part.pageField == PageField::Kind::Number;
            result.pageFields.push_back({*part.pageField, start, result.text.size() - start,
                                         isNumber ? position.pageNumber : position.pageCount});
        }
    }
}

Value Evaluator::runCode(const Expression& expression, const Position& position) {
    const std::vector<Instruction>& code = expression.code;
    for (std::size_t next = 0; next < code.size();) {
        const Instruction& instruction = code[next++];
        const auto pop = [this] {
            const Value value = stack_.back();
            stack_.pop_back();
            return value;
        };
        switch (instruction.operation) {
            case Operation::Constant:
                stack_.push_back(expression.constants[instruction.operand]);
                break;
            case Operation::Name:
                stack_.push_back(readName(expression.names[instruction.operand], position));
                break;
            case Operation::System:
                stack_.push_back(readSystem(static_cast<SystemValue>(instruction.operand), position));
                break;
            case Operation::Aggregate:
                stack_.push_back(totaled_ == &expression
                                     ? totals_[instruction.operand]
                                     : aggregate(expression.aggregates[instruction.operand], position));
                break;
            case Operation::Lookup:
                stack_.push_back(lookUp(expression.lookups[instruction.operand], position));
                break;
            case Operation::Call:
                call(expression, instruction, position);
                break;
            case Operation::Negate: {
                Number number;
                const bool isNumber = toNumber(stack_.back(), number);
                if (!isNumber) noteIfUnread(expression, stack_.back(), DataType::Number, position);
                stack_.back() = isNumber ? makeNumber(-number) : Value();
                break;
            }
            case Operation::Not:
                stack_.back() = makeBoolean(!toBoolean(stack_.back()));
                break;
            case Operation::ToBoolean:
                stack_.back() = makeBoolean(toBoolean(stack_.back()));
                break;
            case Operation::Jump:
                next = instruction.operand;
                break;
            case Operation::JumpIfFalse:
                if (!toBoolean(pop())) next = instruction.operand;
                break;
            case Operation::JumpIfTrue:
                if (toBoolean(pop())) next = instruction.operand;
                break;
            default:
                binary(expression, instruction.operation, position);
                break;
        }
    }
    const Value result = stack_.back();
    stack_.pop_back();
    return result;
}

void Evaluator::binary(const Expression& expression, Operation operation, const Position& position) {
    const Value right = stack_.back();
    stack_.pop_back();
    Value& left = stack_.back();
    switch (operation) {
        case Operation::Add:
        case Operation::Subtract:
        case Operation::Multiply:
        case Operation::Divide: {
            const Value result = calculated(operation, left, right);
            if (result.isNull()) {
                noteIfUnread(expression, left, DataType::Number, position);
                noteIfUnread(expression, right, DataType::Number, position);
            }
            left = result;
            break;
        }
        case Operation::Join: {
            const std::u16string_view a = toText(left, arena_);
            const std::u16string_view b = toText(right, arena_);
            char16_t* const joined = arena_.allocate(a.size() + b.size());
            std::copy(b.begin(), b.end(), std::copy(a.begin(), a.end(), joined));
            left = makeText({joined, a.size() + b.size()});
            break;
        }
        default: {
            bool isMixed = false;
            const int order = compareValues(left, right, arena_, &isMixed);
            if (isMixed && operation != Operation::Equal && operation != Operation::NotEqual) {
                noteMixed(expression, left, right, position);
                noteMixed(expression, right, left, position);
            }
            left = makeBoolean(compares(operation, order));
            break;
        }
    }
}

void Evaluator::call(const Expression& expression, const Instruction& instruction, const Position& position) {
    FunctionContext context{arena_, now_};
    const std::size_t first = stack_.size() - instruction.count;
    const Function& function = functions()[instruction.operand];
    const std::span<const Value> arguments(stack_.data() + first, instruction.count);
    const Value result = function.call(arguments, context);
    if (result.isNull() && function.reads != Reads::Anything) {
        const DataType needed = function.reads == Reads::Dates ? DataType::Date : DataType::Number;
        for (const Value& argument : arguments) noteIfUnread(expression, argument, needed, position);
    }
    stack_.resize(first);
    stack_.push_back(result);
}

Value Evaluator::readName(const BoundName& name, const Position& position) {
    if (name.kind == NameKind::Column && !name.declaredType && !position.ofOthers)
        return readColumn(name.index, position);
    if (position.ofOthers) {
        if (const std::optional<Value> value = readOfOthers(name, position)) return *value;
    }
    if (name.kind == NameKind::Calculated) return readCalculated(name, position);
    if (name.kind == NameKind::Returned)
        return returned_ == nullptr ? Value() : returned_->read(name.index, position);
    const Value value = readSource(name, position);
    if (!name.declaredType) return value;
    return converted(name, value, *name.declaredType, position);
}

// The key of a group of others is the text of `others`. Its other columns are empty, since its rows are of
// several groups.
std::optional<Value> Evaluator::readOfOthers(const BoundName& name, const Position& position) const {
    if (position.scope.kind != ScopeKind::Group) return std::nullopt;
    const std::vector<Binding::BoundGroup>& groups = binding_.groups();
    for (int level = 0; level <= position.scope.level; ++level) {
        const Binding::BoundGroup& group = groups[static_cast<std::size_t>(level)];
        const BoundName* const key = group.key.loneName();
        const bool isKey =
            key != nullptr && key->kind == name.kind && key->index == name.index && key->table == name.table;
        if (!isKey) continue;
        if (!rows_.isOthers(level, position.row)) return std::nullopt;
        return makeText(group.group->others);
    }
    const bool isOfRow = name.kind == NameKind::Column || name.kind == NameKind::Related ||
                         (name.kind == NameKind::Returned &&
                          binding_.returnSite(binding_.returned(name.index).site).site.isOfRow);
    return isOfRow && rows_.isOthers(position.scope.level, position.row) ? std::optional(Value())
                                                                         : std::nullopt;
}

Value Evaluator::converted(const BoundName& name, const Value& value, DataType type,
                           const Position& position) {
    const Value converted = convertTo(value, type, arena_);
    if (converted.type == ValueType::Text && type != DataType::Text)
        binding_.unreadValues().add(sourceOf(name, position), converted.text, type);
    return converted;
}

UnreadValues::Source Evaluator::sourceOf(const BoundName& name, const Position& position) const {
    switch (name.kind) {
        case NameKind::Column:
            return {"the field", name.name, rows_.tableRow(position.row)};
        case NameKind::Related:
            return {"the field", name.name, rowAround(name.table, position).row};
        case NameKind::HeadColumn:
            return {"the field", name.name, 0};
        case NameKind::Parameter:
            return {"the parameter", name.name};
        case NameKind::Calculated:
        case NameKind::Returned:
        case NameKind::Unknown:
            break;
    }
    return {"the field", name.name};
}

void Evaluator::noteIfUnread(const Expression& expression, const Value& value, DataType needed,
                             const Position& position) {
    if (value.type != ValueType::Text) return;
    Number number;
    std::int64_t date = 0;
    if (toNumber(value, number) || (needed == DataType::Date && toDate(value, date))) return;
    binding_.unreadValues().add(textSourceOf(expression, value, position), value.text, needed);
}

// A text that a number or date is compared with.
void Evaluator::noteMixed(const Expression& expression, const Value& value, const Value& other,
                          const Position& position) {
    const bool isNumber = other.type == ValueType::Number;
    if (value.type != ValueType::Text || (!isNumber && other.type != ValueType::Date)) return;
    if (trimmed(value.text).empty()) return;
    binding_.mixedValues().add(textSourceOf(expression, value, position), value.text,
                               isNumber ? DataType::Number : DataType::Date);
}

// Finds the source of the value by its text, which is that of a column or parameter.
UnreadValues::Source Evaluator::textSourceOf(const Expression& expression, const Value& value,
                                             const Position& position) {
    const auto isSource = [&](const BoundName& name) {
        const bool isCalculated = name.kind == NameKind::Calculated;
        if (isCalculated && !isFresh(memos_[name.index], position)) return false;
        const Value source = isCalculated ? memos_[name.index].value : readSource(name, position);
        return source.text == value.text;
    };
    const auto source = std::find_if(expression.names.begin(), expression.names.end(), isSource);
    const bool isName = source != expression.names.end();
    return isName ? sourceOf(*source, position) : UnreadValues::Source{"a calculated text", {}};
}

Value Evaluator::readSource(const BoundName& name, const Position& position) {
    switch (name.kind) {
        case NameKind::Column:
            return readColumn(name.index, position);
        case NameKind::Related: {
            const TableRow around = rowAround(name.table, position);
            return around.table == nullptr ? Value() : readTable(*around.table, around.row, name.index);
        }
        case NameKind::HeadColumn:
            return readTable(*headTable_, 0, name.index);
        case NameKind::Parameter:
            return parameters_[name.index].get();
        default:
            return {};
    }
}

// The row of the table that is, or is around, the current one.
TableRow Evaluator::rowAround(const Table* table, const Position& position) const {
    TableRow at = inner_;
    if (at.table == nullptr) {
        const bool isRow = position.row < rows_.count();
        at = isRow ? TableRow{binding_.sources().rows, rows_.tableRow(position.row)} : rows_.holder();
    }
    while (at.table != nullptr && at.table != table) at = {at.table->parent(), at.table->parentRow(at.row)};
    return at;
}

// The row of the report's table that holds the row of a table within it.
TableRow Evaluator::holderOf(TableRow inner) const {
    while (inner.table != binding_.sources().rows) {
        inner = {inner.table->parent(), inner.table->parentRow(inner.row)};
    }
    return inner;
}

Value Evaluator::readTable(const Table& table, std::size_t row, std::uint32_t column) {
    Value value = table.value(row, column);
    if (table.isPaged()) value.text = arena_.copy(value.text);
    return value;
}

bool Evaluator::isFresh(const Memo& memo, const Position& position) const {
    return memo.isKnown && memo.position == position &&
           (memo.value.text.size() <= kShortText || memo.generation == arena_.generation());
}

// Evaluates the field once per position. Otherwise fields that use one another repeatedly would take
// exponential time, and a chain of fields that are all shown, quadratic time.
Value Evaluator::readCalculated(const BoundName& name, const Position& position) {
    Memo& memo = memos_[name.index];
    if (isFresh(memo, position)) {
        Value value = memo.value;
        if (value.text.size() <= kShortText)
            value.text = arena_.copy(value.text);  // others overwrite the memo
        return value;
    }
    const Binding::Calculated& field = binding_.calculated(name.index);
    const Value value = converted(name, run(field.expression, position), field.field->type, position);
    memo.isKnown = true;
    memo.generation = arena_.generation();
    memo.position = position;
    memo.value = value;
    if (value.text.size() <= kShortText) memo.value.text = memo.text.assign(value.text);
    return value;
}

Value Evaluator::readSystem(SystemValue system, const Position& position) const {
    switch (system) {
        case SystemValue::PageNumber:
            return makeNumber(position.pageNumber);
        case SystemValue::PageCount:
            return makeNumber(position.pageCount);
        case SystemValue::ReportTitle:
            return makeText(binding_.report().info.title);
    }
    return {};
}

Value Evaluator::aggregate(const Aggregate& aggregate, const Position& position) {
    const bool isOfRow =
        aggregate.table != nullptr && aggregate.scope.kind == ScopeKind::Default && position.ofRow;
    const RowRange range = isOfRow ? RowRange{position.row, std::min(position.row + 1, rows_.count())}
                                   : rows_.rangeOf(aggregate.scope, position);
    if (aggregate.kind == AggregateKind::RowNumber) {
        if (position.row < range.first || position.row >= range.end) return {};
        return makeNumber(position.row - range.first + (position.isBeforeRow ? 0 : 1));
    }
    if (!aggregate.argument && aggregate.table == nullptr && !aggregate.rows)
        return makeNumber(range.end - std::min(range.first, range.end));
    const auto takeMissing = [&](AggregateState& state) { extend(state, aggregate, position, range.end); };
    Value result = aggregates_.stateOf(aggregate.slot, range, takeMissing).result(aggregate.kind);
    if (!result.text.empty()) result.text = arena_.copy(result.text);  // the state may advance to other rows
    return result;
}

void Evaluator::add(AggregateState& state, const Aggregate& aggregate, const Position& position) {
    if (!aggregate.argument) return state.countRow();
    const Value value = run(*aggregate.argument, position);
    add(state, aggregate.kind, *aggregate.argument, value, position);
}

void Evaluator::add(AggregateState& state, AggregateKind kind, const Expression& argument, const Value& value,
                    const Position& position) {
    switch (state.add(kind, value, arena_)) {
        case AggregateState::Added::Yes:
            break;
        case AggregateState::Added::Unread:
            noteIfUnread(argument, value, DataType::Number, position);
            break;
        case AggregateState::Added::Mixed:
            logMixed(state, kind, argument, value, position);
            break;
    }
}

void Evaluator::logMixed(const AggregateState& state, AggregateKind kind, const Expression& argument,
                         const Value& value, const Position& position) {
    const std::string function = kind == AggregateKind::Minimum ? "Minimum" : "Maximum";
    const BoundName* const name = argument.loneName();
    std::string owner;
    if (value.text == state.firstText()) {
        const std::optional<std::size_t> row = textSourceOf(argument, value, position).row;
        if (row) owner = "row " + std::to_string(*row + 1);
    }
    logMixedTexts(argument, name == nullptr ? "a " + function : function + '(' + toUtf8(name->name) + ')',
                  owner, state.firstText(), state.areTexts());
}

void Evaluator::extend(AggregateState& state, const Aggregate& aggregate, const Position& position,
                       std::size_t end) {
    Position inside = position;
    inside.scope = rows_.rowScope();
    inside.ofRow = true;
    inside.ofOthers = false;
    const TextArena::Mark mark = arena_.mark();
    for (std::size_t row = state.range.end; row < end; ++row) {
        goOn();
        if (aggregate.rows && !aggregate.rows->hold(rows_.tableRow(row))) continue;
        if (aggregate.onceIn && !rows_.startsGroup(*aggregate.onceIn, row)) continue;
        inside.row = row;
        if (aggregate.table == nullptr) {
            add(state, aggregate, inside);
            arena_.release(mark);
            continue;
        }
        const std::size_t tableRow = rows_.tableRow(row);
        const RowRange inner =
            aggregate.table->rowsWithin(*binding_.sources().rows, {tableRow, tableRow + 1});
        if (inner.first == inner.end && !rows_.isListed()) {
            // Most rows may have none of a table that only some have.
            if (inner.first == aggregate.table->rowCount()) break;
            row += holderOf({aggregate.table, inner.first}).row - tableRow - 1;
            continue;
        }
        for (std::size_t innerRow = inner.first; innerRow < inner.end; ++innerRow) {
            goOn();
            const TableRow outer = std::exchange(inner_, TableRow{aggregate.table, innerRow});
            add(state, aggregate, inside);
            inner_ = outer;
            arena_.release(mark);
        }
    }
    state.range.end = end;
}

Value Evaluator::lookUp(const Lookup& lookup, const Position& position) {
    if (lookup.table == nullptr) return {};
    if (user_ == 0) user_ = binding_.lookupTables().newUser();
    const Value sought = run(*lookup.sought, position);
    return lookup.table->find(lookup, sought, *this, arena_);
}

std::vector<OwnedValue> Evaluator::passed() const {
    std::vector<OwnedValue> values;
    for (std::size_t i = 0; i < binding_.passedCount(); ++i) {
        values.push_back(parameter(binding_.passedParameter(i)));
    }
    return values;
}

}  // namespace qbsvrl6
