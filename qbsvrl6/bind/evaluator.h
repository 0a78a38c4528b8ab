// Evaluates compiled expressions at rows.
#ifndef QBSVR_QBSVRL6_BIND_EVALUATOR_H
#define QBSVR_QBSVRL6_BIND_EVALUATOR_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/bind/aggregate_cache.h"
#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/position.h"
#include "qbsvrl6/bind/returned_values.h"
#include "qbsvrl6/bind/walked_rows.h"
#include "qbsvrl6/data/row_query.h"
#include "qbsvrl6/items/evaluated_text.h"

namespace qbsvrl6 {

// A stack machine. The texts that an evaluation makes live in an arena until the next evaluation. The result
// of a calculated field is kept for the position until the rows change, a long text only while the arena has
// it.
class Evaluator {
public:
    // Reads the tables that are in place of those of the binding. `passed` holds a value for each parameter
    // that the outer report passes. `now` is the wall-clock time in seconds. `binding`, `tables` and `rows`
    // outlive the evaluator, which accepts only expressions that the binding has already compiled.
    Evaluator(const Binding& binding, const RowTables& tables, const WalkedRows& rows,
              std::span<const OwnedValue> passed, std::int64_t now);

    // The value's text lives until the next evaluation.
    Value evaluate(const Expression& expression, const Position& position);
    bool isTrue(const Expression& expression, const Position& position);
    // With these values in place of the aggregates of the expression itself, by their indices.
    Value evaluateWith(const Expression& expression, const Position& position, std::span<const Value> totals);
    void evaluateText(TextTemplate& text, const Position& position, EvaluatedText& result);
    // Notes for the log if `value`, the expression's latest result, is a text that does not read as the type
    // that is needed.
    void noteIfUnread(const Expression& expression, const Value& value, DataType needed,
                      const Position& position);

    // Adds the argument's latest result to the state, and notes for the log what cannot be added or compared.
    void add(AggregateState& state, AggregateKind kind, const Expression& argument, const Value& value,
             const Position& position);

    // Evaluates while another evaluation may be under way, and passes the value to `use`: its text does not
    // live longer.
    template <class Use>
    void evaluateInside(const Expression& expression, const Position& position, Use use) {
        const TextArena::Mark mark = arena_.mark();
        const TableRow inner = std::exchange(inner_, {});
        use(run(expression, position));
        inner_ = inner;
        arena_.release(mark);
    }

    // To be called when the rows have changed.
    void forgetAggregates() {
        aggregates_.clear();
        std::fill(memos_.begin(), memos_.end(), Memo());
        if (returned_ != nullptr) returned_->forget();
    }
    // Without them, returned values are empty.
    void setReturned(ReturnedValues* values) { returned_ = values; }
    Value read(const BoundName& name, const Position& position) { return readName(name, position); }
    const OwnedValue& parameter(std::size_t index) const { return parameters_[index]; }
    TextArena& arena() { return arena_; }
    // The values that the outer report has passed.
    std::vector<OwnedValue> passed() const;
    std::int64_t now() const { return now_; }
    const RowTables& tables() const { return tables_; }
    // Distinguishes evaluators that look up rows: their parameters may differ.
    std::uint64_t user() const { return user_; }
    void setUser(std::uint64_t user) { user_ = user; }

private:
    // The latest result of a calculated field.
    struct Memo {
        bool isKnown = false;
        std::uint64_t generation = 0;  // of the arena, which has the text if it is long
        Position position;
        Value value;
        std::u16string text;  // if it is short
    };

    void begin();
    Value run(const Expression& expression, const Position& position) {
        const BoundName* const name = expression.loneName();
        return name != nullptr ? readName(*name, position) : runCode(expression, position);
    }
    Value runCode(const Expression& expression, const Position& position);
    Value readName(const BoundName& name, const Position& position);
    std::optional<Value> readOfOthers(const BoundName& name, const Position& position) const;
    Value readSource(const BoundName& name, const Position& position);
    TableRow rowAround(const Table* table, const Position& position) const;
    TableRow holderOf(TableRow inner) const;
    Value readTable(const Table& table, std::size_t row, std::uint32_t column);
    Value readColumn(std::uint32_t column, const Position& position) {
        if (position.row >= rows_.count()) return {};
        return readTable(*rowTable_, rows_.tableRow(position.row), column);
    }
    bool isFresh(const Memo& memo, const Position& position) const;
    Value readCalculated(const BoundName& name, const Position& position);
    Value readSystem(SystemValue system, const Position& position) const;
    Value aggregate(const Aggregate& aggregate, const Position& position);
    Value lookUp(const Lookup& lookup, const Position& position);
    void add(AggregateState& state, const Aggregate& aggregate, const Position& position);
    void extend(AggregateState& state, const Aggregate& aggregate, const Position& position, std::size_t end);
    void noteMixed(const Expression& expression, const Value& value, const Value& other,
                   const Position& position);
    void logMixed(const AggregateState& state, AggregateKind kind, const Expression& argument,
                  const Value& value, const Position& position);
    UnreadValues::Source textSourceOf(const Expression& expression, const Value& value,
                                      const Position& position);
    UnreadValues::Source sourceOf(const BoundName& name, const Position& position) const;
    Value converted(const BoundName& name, const Value& value, DataType type, const Position& position);
    void call(const Expression& expression, const Instruction& instruction, const Position& position);
    void binary(const Expression& expression, Operation operation, const Position& position);

    const Binding& binding_;
    const RowTables& tables_;
    const Table* const rowTable_;   // in place of the binding's; may be null
    const Table* const headTable_;  // the same
    const WalkedRows& rows_;
    std::int64_t now_;
    std::vector<OwnedValue> parameters_;
    std::vector<Memo> memos_;  // per calculated field
    AggregateCache aggregates_;
    std::vector<Value> stack_;
    TextArena arena_;
    std::uint64_t user_ = 0;
    ReturnedValues* returned_ = nullptr;
    const Expression* totaled_ = nullptr;  // the expression whose aggregates are given
    std::span<const Value> totals_;
    TableRow inner_;  // in an aggregate over a table within the row table
};

}  // namespace qbsvrl6

#endif
