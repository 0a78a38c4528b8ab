// The rows of one report or sub-report as layout walks them: filtered, sorted and grouped, with expressions
// evaluated at them.
#ifndef QBSVR_QBSVRL6_BIND_ROW_VIEW_H
#define QBSVR_QBSVRL6_BIND_ROW_VIEW_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/evaluator.h"
#include "qbsvrl6/bind/position.h"
#include "qbsvrl6/bind/returned_values.h"
#include "qbsvrl6/bind/sort_keys.h"
#include "qbsvrl6/bind/walked_rows.h"
#include "qbsvrl6/data/row_query.h"

namespace qbsvrl6 {

// Row indices count only the rows that the filter accepts. An object belongs to one thread.
class RowView {
public:
    // Applies the filter and the sort, and finds the groups. `passed` holds a value for each parameter that
    // the outer report passes. `now` is the wall-clock time in seconds, constant within an export. `binding`
    // outlives the view, which accepts only expressions that the binding has already compiled. Raises
    // EngineError(LimitExceeded) for tables of more than 4 billion rows.
    RowView(const Binding& binding, std::span<const OwnedValue> passed, std::int64_t now);
    // Walks these rows of the binding's table only. If that table is one of `tables`, walks all rows of the
    // one that is in its place, unless `rows` are already of that one.
    RowView(const Binding& binding, std::span<const OwnedValue> passed, std::int64_t now, WalkedRows rows,
            RowTables tables = {}, bool areOfTables = false);
    RowView(const RowView&) = delete;
    RowView& operator=(const RowView&) = delete;

    std::size_t rowCount() const { return rows_.count(); }
    int groupCount() const { return rows_.groupCount(); }
    RowRange group(int level, std::size_t row) const { return rows_.group(level, row); }
    int startingLevel(std::size_t row) const { return rows_.startingLevel(row); }
    bool isOthers(int level, std::size_t row) const { return rows_.isOthers(level, row); }
    Scope rowScope() const { return rows_.rowScope(); }
    // The rows of a scope that is a group or the report.
    RowRange rowsOf(Scope scope, std::size_t row) const {
        return rows_.group(scope.kind == ScopeKind::Group ? scope.level : -1, row);
    }
    // The rows of any scope at the position.
    RowRange rangeOf(Scope scope, const Position& position) const { return rows_.rangeOf(scope, position); }
    // The rows of a table that a view inside this one walks: within the rows of the position if the table is
    // within the binding's, all of them otherwise.
    WalkedRows rowsInside(const Table* table, const Position& position) const;
    // The rows that this depends on; none if all rows are walked.
    RowRange holders(const Table* table, const Position& position) const;
    // The view of a sub-report at the position. `arguments` are the values of its parameters.
    std::unique_ptr<RowView> inside(const SubReportRows& inner, std::span<const OwnedValue> arguments,
                                    const Position& position) const;
    // All rows, without groups.
    WalkedRows walkedRows() const { return rows_.part({0, rows_.count()}); }
    // The row in the table, from 0; none without rows.
    std::optional<std::size_t> tableRow(const Position& position) const {
        if (position.row >= rows_.count()) return std::nullopt;
        return rows_.tableRow(position.row);
    }
    const RowTables& tables() const { return tables_; }
    std::int64_t now() const { return evaluator_.now(); }
    // The values that the outer report has passed.
    std::vector<OwnedValue> passed() const;

    // The value's text lives until the next evaluation.
    Value evaluate(const Expression& expression, const Position& position) {
        return evaluator_.evaluate(expression, position);
    }
    Value evaluateWith(const Expression& expression, const Position& position,
                       std::span<const Value> totals) {
        return evaluator_.evaluateWith(expression, position, totals);
    }
    bool isTrue(const Expression& expression, const Position& position) {
        return evaluator_.isTrue(expression, position);
    }
    void evaluateText(TextTemplate& text, const Position& position, EvaluatedText& result) {
        evaluator_.evaluateText(text, position, result);
    }
    void noteIfUnread(const Expression& expression, const Value& value, DataType needed,
                      const Position& position) {
        evaluator_.noteIfUnread(expression, value, needed, position);
    }
    void add(AggregateState& state, AggregateKind kind, const Expression& argument, const Value& value,
             const Position& position) {
        evaluator_.add(state, kind, argument, value, position);
    }

private:
    void applyFilter();
    void sort();

    const Binding& binding_;
    const RowTables tables_;
    const Table* const table_;  // of the rows; may be null
    WalkedRows rows_;
    Evaluator evaluator_;  // refers to rows_
    std::optional<ReturnedValues> returned_;
};

}  // namespace qbsvrl6

#endif
