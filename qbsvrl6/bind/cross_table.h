// Computes a cross-table: its columns from the keys of the rows, and its rows as rows of a table.
//
// The table has a column per title, value and condition, named as in CrossColumns, so that the cross-table is
// laid out as a grid of that table.
#ifndef QBSVR_QBSVRL6_BIND_CROSS_TABLE_H
#define QBSVR_QBSVRL6_BIND_CROSS_TABLE_H

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/bind/cross_axis.h"
#include "qbsvrl6/bind/cross_expression.h"

namespace qbsvrl6 {

// The names of the columns of the table, as expressions read them.
struct CrossColumns {
    static std::u16string title(std::size_t level) { return name(u't', level); }  // of the key or total
    static std::u16string key(std::size_t level) { return name(u'k', level); }  // equal in all rows of a key
    static std::u16string totalOf() { return u"`~total`"; }  // the level of a total; empty: a key
    static std::u16string rowHolds(std::size_t level, std::size_t condition) {
        return name(u'r', level, condition);
    }
    // `value` counts the measures of all columns from the left.
    static std::u16string value(std::size_t value) { return name(u'v', value); }
    static std::u16string cellHolds(std::size_t value, std::size_t condition) {
        return name(u'c', value, condition);
    }

private:
    static std::u16string name(char16_t kind, std::size_t index, std::optional<std::size_t> second = {});
};

class CrossTableQuery {
public:
    // `report` has a cross-table and outlives the query. Raises EngineError(BadExpression).
    CrossTableQuery(const ReportDefinition& report, const DataSources& sources,
                    std::span<const SubReportParameter> passed);
    ~CrossTableQuery();

    // Finds the columns in these rows. Raises EngineError(LimitExceeded) for too many.
    void findColumns(std::span<const OwnedValue> passed, std::int64_t now, WalkedRows rows);
    const CrossAxis& columns() const { return columns_; }
    // Whether the condition of a column level is true for a column, after evaluate().
    bool columnHolds(std::size_t line, std::size_t level, std::size_t condition) const;

    // The table of these rows, with the columns that have been found.
    std::shared_ptr<const DataSet> evaluate(std::span<const OwnedValue> passed, std::int64_t now,
                                            WalkedRows rows);

private:
    // A total that expressions read: its value is known for each cell.
    struct Total {
        AggregateKind kind = AggregateKind::Sum;
        Expression* argument = nullptr;  // null: the rows themselves
    };
    struct ReadTotal {
        std::size_t total = 0;
        CrossScope scope;
    };
    // An expression over totals. The last of its totals are the value of the cell, and the lowest and highest
    // value of its measure.
    struct CellExpression {
        Expression expression;
        std::vector<ReadTotal> reads;
        bool readsValue = false;
        bool readsExtremes = false;
    };
    struct Measure {
        CellExpression value;
        std::vector<CellExpression> conditions;
    };
    class Evaluation;

    CellExpression compile(const std::u16string& text, bool isCondition);
    std::vector<std::vector<CellExpression>> compileConditions(const std::vector<CrossLevel>& levels);
    std::size_t totalOf(Aggregate& aggregate);
    WalkedRows rowsInColumns(WalkedRows rows) const;

    const CrossTable& cross_;
    CrossAxisQuery rowQuery_, columnQuery_;
    std::vector<Total> totals_;
    std::vector<Measure> measures_;
    std::vector<std::vector<CellExpression>> rowConditions_, columnConditions_;  // of each level
    CrossAxis columns_;
    std::vector<std::vector<std::vector<bool>>> columnHolds_;  // of each column line and level
};

}  // namespace qbsvrl6

#endif
