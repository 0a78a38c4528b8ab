// The rows of one report or sub-report as they are walked: filtered, grouped, and evaluated against.
#ifndef QBSVR_QBSVRL6_BIND_ROW_VIEW_H
#define QBSVR_QBSVRL6_BIND_ROW_VIEW_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/bind/aggregate_state.h"
#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/items/cell_value.h"
#include "qbsvrl6/items/page_field.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Where an expression stands when it is evaluated.
struct Position {
    std::size_t row = 0;                // a view without rows reads every column as null
    Scope scope{ScopeKind::Report, 0};  // of aggregates that name none; never Default
    RowRange pageRows;                  // rows on the page
    bool isBeforeRow = false;           // on a page before the row: running totals don't include it yet
    int pageNumber = 1;
    int pageCount = 1;
};

struct EvaluatedText {
    std::u16string text;
    std::optional<Color> color;  // of a number format's colour mark
    CellValue cell;
    std::vector<PageField> pageFields;
};

class RowView {
public:
    // `passed` holds a value for each parameter that the outer report hands in. `now` is the wall clock's
    // reading for the whole export. Applies the filter and finds the groups. The view knows the expressions
    // that `binding` has compiled by then.
    RowView(const Binding& binding, std::span<const OwnedValue> passed, std::int64_t now);

    std::size_t rowCount() const { return rowCount_; }
    int groupCount() const { return static_cast<int>(groupStarts_.size()); }
    // The rows of the group of this level that holds the row.
    RowRange group(int level, std::size_t row) const;
    // The outermost level whose group starts at the row; groupCount() where none does.
    int startingLevel(std::size_t row) const;
    // The scope of aggregates in a row's own texts: its innermost group, else the report.
    Scope rowScope() const;
    // The rows of a scope that is a group or the report.
    RowRange rowsOf(Scope scope, std::size_t row) const;
    // The values that the outer report has handed in.
    std::vector<OwnedValue> passed() const;

    // The value's text lives until the next evaluation.
    Value evaluate(const Expression& expression, const Position& position);
    bool isTrue(const Expression& expression, const Position& position);
    void evaluateText(TextTemplate& text, const Position& position, EvaluatedText& result);
    // For the log, where a value that the expression has just given is a text instead of what is needed.
    void noteIfUnread(const Expression& expression, const Value& value, DataType needed,
                      const Position& position);

private:
    struct Memo {
        std::uint64_t epoch = 0;
        std::size_t row = 0;
        Scope scope;
        Value value;
    };
    // The ranges that one aggregate was last asked for: sections of several levels may share it through a
    // calculated field.
    struct Slot {
        std::array<AggregateState, 4> states;
        std::size_t next = 0;
    };

    void begin();
    void applyFilter();
    void findGroups();
    Value run(const Expression& expression, const Position& position);
    Value readName(const BoundName& name, const Position& position);
    Value readSource(const BoundName& name, const Position& position) const;
    Value readColumn(std::uint32_t column, std::size_t row) const;
    bool isFresh(const Memo& memo, const Position& position) const;
    Value readCalculated(const BoundName& name, const Position& position);
    Value readSystem(SystemValue system, const Position& position) const;
    Value aggregate(const Aggregate& aggregate, const Position& position);
    void extend(AggregateState& state, const Aggregate& aggregate, const Position& position, std::size_t end);
    RowRange rangeOf(Scope scope, const Position& position) const;
    UnreadValues::Source sourceOf(const BoundName& name, const Position& position) const;
    Value converted(const BoundName& name, const Value& value, DataType type, const Position& position);
    void call(const Expression& expression, const Instruction& instruction, const Position& position);
    void binary(const Expression& expression, Operation operation, const Position& position);

    const Binding& binding_;
    std::int64_t now_;
    std::size_t rowCount_ = 0;
    std::vector<std::uint32_t> filtered_;  // table rows; empty where there is no filter
    bool hasFilter_ = false;
    std::vector<std::vector<std::uint32_t>> groupStarts_;  // a level each
    std::vector<std::uint8_t> startingLevels_;             // a row each; empty without groups
    std::vector<OwnedValue> parameters_;
    std::vector<Memo> memos_;
    std::vector<Slot> slots_;
    std::vector<Value> stack_;
    TextArena arena_;
    std::uint64_t epoch_ = 0;
};

}  // namespace qbsvrl6

#endif
