#include "qbsvrl6/bind/row_view.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qbsvrl6/bind/dates.h"
#include "qbsvrl6/bind/functions.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

constexpr double kLargestDays = 1e7;

// Dates take days: "Due + 14", "Due - Ordered". Everything else calculates with numbers; null, and a result
// that isn't finite, are null.
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

RowView::RowView(const Binding& binding, std::span<const OwnedValue> passed, std::int64_t now)
    : binding_(binding), now_(now) {
    for (const Binding::BoundParameter& parameter : binding.parameters()) {
        parameters_.push_back(parameter.value);
    }
    for (std::size_t i = 0; i < passed.size(); ++i) parameters_[binding.passedParameter(i)] = passed[i];
    for (std::size_t i = 0; i < parameters_.size(); ++i) {
        const std::optional<DataType>& type = binding.parameters()[i].type;
        if (type) parameters_[i] = OwnedValue(convertTo(parameters_[i].get(), *type, arena_));
    }
    memos_.resize(binding.calculatedCount());
    slots_.resize(binding.aggregateSlots());
    const Table* const rows = binding.sources().rows;
    rowCount_ = rows == nullptr ? 0 : rows->rowCount();
    if (rowCount_ > std::numeric_limits<std::uint32_t>::max()) {
        throw EngineError(ErrorCode::LimitExceeded, "the data has too many rows");
    }
    applyFilter();
    findGroups();
}

// The filter sees the rows one by one: its aggregates, if it has any, look at all of them.
void RowView::applyFilter() {
    if (!binding_.filter()) return;
    const FilterIndex* const index = binding_.filterIndex();
    const std::vector<std::uint32_t>* const candidates =
        index == nullptr ? nullptr : index->candidates(readName(index->parameter(), {}));
    std::vector<std::uint32_t> kept;
    const std::size_t count = candidates == nullptr ? rowCount_ : candidates->size();
    for (std::size_t i = 0; i < count; ++i) {
        Position position;
        position.row = candidates == nullptr ? i : (*candidates)[i];
        if (isTrue(*binding_.filter(), position)) kept.push_back(static_cast<std::uint32_t>(position.row));
    }
    filtered_ = std::move(kept);
    hasFilter_ = true;
    rowCount_ = filtered_.size();
    slots_.assign(slots_.size(), {});
}

void RowView::findGroups() {
    const std::vector<Expression>& keys = binding_.groupKeys();
    if (keys.empty()) return;
    std::vector<std::vector<std::uint32_t>> starts(keys.size());
    std::vector<std::uint8_t> levels(rowCount_);
    std::vector<OwnedValue> current(keys.size());
    for (std::size_t row = 0; row < rowCount_; ++row) {
        Position position;
        position.row = row;
        std::size_t starting = keys.size();
        for (std::size_t level = 0; level < keys.size(); ++level) {
            const Value key = evaluate(keys[level], position);
            // A change of an outer group starts a new inner one, whatever its key.
            if (row > 0 && starting > level && compareValues(key, current[level].get(), arena_) == 0)
                continue;
            starting = std::min(starting, level);
            current[level] = OwnedValue(key);
            starts[level].push_back(static_cast<std::uint32_t>(row));
        }
        levels[row] = static_cast<std::uint8_t>(starting);
    }
    groupStarts_ = std::move(starts);
    startingLevels_ = std::move(levels);
    slots_.assign(slots_.size(), {});
}

RowRange RowView::group(int level, std::size_t row) const {
    if (level < 0 || level >= groupCount()) return {0, rowCount_};
    const std::vector<std::uint32_t>& starts = groupStarts_[static_cast<std::size_t>(level)];
    const auto next = std::upper_bound(starts.begin(), starts.end(), row);
    if (next == starts.begin()) return {0, 0};
    return {*(next - 1), next == starts.end() ? rowCount_ : *next};
}

int RowView::startingLevel(std::size_t row) const {
    return row < startingLevels_.size() ? startingLevels_[row] : groupCount();
}

Scope RowView::rowScope() const {
    return groupCount() > 0 ? Scope{ScopeKind::Group, groupCount() - 1} : Scope{ScopeKind::Report, 0};
}

RowRange RowView::rowsOf(Scope scope, std::size_t row) const {
    return scope.kind == ScopeKind::Group ? group(scope.level, row) : RowRange{0, rowCount_};
}

std::vector<OwnedValue> RowView::passed() const {
    std::vector<OwnedValue> values;
    for (std::size_t i = 0; i < binding_.passedCount(); ++i) {
        values.push_back(parameters_[binding_.passedParameter(i)]);
    }
    return values;
}

// What earlier evaluations made is gone from here on.
void RowView::begin() {
    stack_.clear();
    arena_.reset();
    ++epoch_;
}

Value RowView::evaluate(const Expression& expression, const Position& position) {
    begin();
    return run(expression, position);
}

bool RowView::isTrue(const Expression& expression, const Position& position) {
    return toBoolean(evaluate(expression, position));
}

void RowView::evaluateText(TextTemplate& text, const Position& position, EvaluatedText& result) {
    result.text.clear();
    result.color.reset();
    result.cell = {};
    result.pageFields.clear();
    begin();
    for (TextPart& part : text.parts) {
        if (!part.expression) {
            result.text += part.literal;
            continue;
        }
        const Value value = run(*part.expression, position);
        const std::size_t start = result.text.size();
        part.format.append(value, arena_, result.text, result.color);
        if (part.pageField) {
            const bool isNumber = *part.pageField == PageField::Kind::Number;
            result.pageFields.push_back({*part.pageField, start, result.text.size() - start,
                                         isNumber ? position.pageNumber : position.pageCount});
        }
        if (text.parts.size() == 1) result.cell = part.format.cell(value);
    }
}

Value RowView::run(const Expression& expression, const Position& position) {
    if (const BoundName* const name = expression.loneName()) return readName(*name, position);
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
                stack_.push_back(aggregate(expression.aggregates[instruction.operand], position));
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

void RowView::binary(const Expression& expression, Operation operation, const Position& position) {
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
        default:
            left = makeBoolean(compares(operation, compareValues(left, right, arena_)));
            break;
    }
}

void RowView::call(const Expression& expression, const Instruction& instruction, const Position& position) {
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

Value RowView::readName(const BoundName& name, const Position& position) {
    if (name.kind == NameKind::Calculated) return readCalculated(name, position);
    const Value value = readSource(name, position);
    if (name.declaredType < 0) return value;
    return converted(name, value, static_cast<DataType>(name.declaredType), position);
}

Value RowView::converted(const BoundName& name, const Value& value, DataType type, const Position& position) {
    const Value converted = convertTo(value, type, arena_);
    if (converted.type == ValueType::Text && type != DataType::Text)
        binding_.unreadValues().add(sourceOf(name, position), converted.text, type);
    return converted;
}

UnreadValues::Source RowView::sourceOf(const BoundName& name, const Position& position) const {
    switch (name.kind) {
        case NameKind::Column:
            return {"the field", name.name, hasFilter_ ? filtered_[position.row] : position.row};
        case NameKind::HeadColumn:
            return {"the field", name.name, 0};
        case NameKind::Parameter:
            return {"the parameter", name.name};
        case NameKind::Calculated:
        case NameKind::Unknown:
            break;
    }
    return {"the field", name.name};
}

// The value's text is that of the column or parameter from which it is.
void RowView::noteIfUnread(const Expression& expression, const Value& value, DataType needed,
                           const Position& position) {
    if (value.type != ValueType::Text) return;
    Number number;
    std::int64_t date = 0;
    if (toNumber(value, number) || (needed == DataType::Date && toDate(value, date))) return;
    const auto isSource = [&](const BoundName& name) {
        const bool isCalculated = name.kind == NameKind::Calculated;
        if (isCalculated && !isFresh(memos_[name.index], position)) return false;
        const Value source = isCalculated ? memos_[name.index].value : readSource(name, position);
        return source.text.data() == value.text.data() && source.text.size() == value.text.size();
    };
    const auto source = std::find_if(expression.names.begin(), expression.names.end(), isSource);
    const bool isName = source != expression.names.end();
    binding_.unreadValues().add(
        isName ? sourceOf(*source, position) : UnreadValues::Source{"a calculated text", {}}, value.text,
        needed);
}

Value RowView::readSource(const BoundName& name, const Position& position) const {
    switch (name.kind) {
        case NameKind::Column:
            return readColumn(name.index, position.row);
        case NameKind::HeadColumn:
            return binding_.sources().head->value(0, name.index);
        case NameKind::Parameter:
            return parameters_[name.index].get();
        default:
            return {};
    }
}

Value RowView::readColumn(std::uint32_t column, std::size_t row) const {
    if (row >= rowCount_) return {};
    return binding_.sources().rows->value(hasFilter_ ? filtered_[row] : row, column);
}

bool RowView::isFresh(const Memo& memo, const Position& position) const {
    return memo.epoch == epoch_ && memo.row == position.row && memo.scope == position.scope;
}

// Once for a row and scope within one evaluation: fields that need one another many times over would take
// exponential time otherwise.
Value RowView::readCalculated(const BoundName& name, const Position& position) {
    if (isFresh(memos_[name.index], position)) return memos_[name.index].value;
    const Binding::Calculated& field = binding_.calculated(name.index);
    const Value value = converted(name, run(field.expression, position), field.field->type, position);
    memos_[name.index] = {epoch_, position.row, position.scope, value};
    return value;
}

Value RowView::readSystem(SystemValue system, const Position& position) const {
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

RowRange RowView::rangeOf(Scope scope, const Position& position) const {
    if (scope.kind == ScopeKind::Default) scope = position.scope;
    const auto innermost = [&] {
        const Scope& own = position.scope;
        return group(own.kind == ScopeKind::Group ? own.level : groupCount() - 1, position.row);
    };
    const std::size_t runningEnd = std::min(position.row + (position.isBeforeRow ? 0 : 1), rowCount_);
    switch (scope.kind) {
        case ScopeKind::Group:
            return group(scope.level, position.row);
        case ScopeKind::Innermost:
            return innermost();
        case ScopeKind::Page:
            return {position.pageRows.first, std::min(position.pageRows.end, rowCount_)};
        case ScopeKind::Running:
            return {0, runningEnd};
        case ScopeKind::GroupRunning:
            return {std::min(innermost().first, runningEnd), runningEnd};
        case ScopeKind::Default:
        case ScopeKind::Report:
            break;
    }
    return {0, rowCount_};
}

Value RowView::aggregate(const Aggregate& aggregate, const Position& position) {
    const RowRange range = rangeOf(aggregate.scope, position);
    if (aggregate.kind == AggregateKind::RowNumber) {
        if (position.row < range.first || position.row >= range.end) return {};
        return makeNumber(position.row - range.first + (position.isBeforeRow ? 0 : 1));
    }
    if (!aggregate.argument) return makeNumber(range.end - std::min(range.first, range.end));
    Slot& slot = slots_[aggregate.slot];
    // A range that starts where an earlier one did takes only the rows that are new, so that running totals
    // are linear.
    const auto known = std::find_if(slot.states.begin(), slot.states.end(), [&](const AggregateState& state) {
        return state.range.end > state.range.first && state.range.first == range.first &&
               state.range.end <= range.end;
    });
    std::size_t index = static_cast<std::size_t>(known - slot.states.begin());
    if (index == slot.states.size()) {
        index = slot.next++ % slot.states.size();
        slot.states[index].restart(range.first);
    }
    if (slot.states[index].range.end < range.end) {
        // Worked on outside the slot: the argument may come back here through a calculated field.
        AggregateState state = std::move(slot.states[index]);
        extend(state, aggregate, position, range.end);
        slots_[aggregate.slot].states[index] = std::move(state);
    }
    Value result = slots_[aggregate.slot].states[index].result(aggregate.kind);
    if (!result.text.empty()) result.text = arena_.copy(result.text);  // the state may go on to other rows
    return result;
}

void RowView::extend(AggregateState& state, const Aggregate& aggregate, const Position& position,
                     std::size_t end) {
    Position inside = position;
    inside.scope = rowScope();
    const TextArena::Mark mark = arena_.mark();
    for (std::size_t row = state.range.end; row < end; ++row) {
        inside.row = row;
        const Value value = run(*aggregate.argument, inside);
        if (!state.add(aggregate.kind, value, arena_))
            noteIfUnread(*aggregate.argument, value, DataType::Number, inside);
        arena_.release(mark);
    }
    state.range.end = end;
    ++epoch_;  // what calculated fields remember may lie in the texts that were given back
}

}  // namespace qbsvrl6
