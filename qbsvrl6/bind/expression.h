// Compiles the text of an expression into a short program. docs/expressions.md describes the language.
#ifndef QBSVR_QBSVRL6_BIND_EXPRESSION_H
#define QBSVR_QBSVRL6_BIND_EXPRESSION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

enum class SystemValue : std::uint8_t { PageNumber, PageCount, ReportTitle };

enum class AggregateKind : std::uint8_t {
    Sum,
    Average,
    Count,
    Minimum,
    Maximum,
    CountDistinct,
    RowNumber,  // of the current row in the scope, from 1
};

// The rows of an aggregate.
enum class ScopeKind : std::uint8_t {
    Default,         // the scope of the section that holds the expression
    Innermost,       // the group that the section belongs to; for rows, the innermost group
    Group,           // the group of `level`
    Page,            // rows on the page
    BroughtForward,  // rows of the pages before
    CarriedForward,  // rows up to the end of the page
    Report,          // all rows
    Running,         // from the report's first row to the current one
    GroupRunning,    // from the first row of the innermost group to the current one
};

struct Scope {
    ScopeKind kind = ScopeKind::Report;
    int level = 0;  // of a group, from 0
    bool operator==(const Scope&) const = default;
};

// What a name refers to after binding.
enum class NameKind : std::uint8_t {
    Unknown,
    Calculated,  // index: of the calculated field
    Column,      // index: of the row table's column
    Related,     // index: of a column of `table`: around the row table, or that of the aggregate
    HeadColumn,  // index: of the head table's column; read from its first row
    Parameter,   // index: of the binding's parameter
    Returned,    // index: of the binding's returned value
};

struct BoundName {
    std::u16string name;
    NameKind kind = NameKind::Unknown;
    std::uint32_t index = 0;
    std::optional<DataType> declaredType;  // the value is converted to it
    const Table* table = nullptr;
};

struct Expression;

// The rows of one key: those of a column that repeats for each value of the data.
struct KeyedRows {
    const std::vector<std::uint32_t>* keys = nullptr;  // of each row of the table; outlives the object
    std::uint32_t key = 0;

    bool hold(std::size_t tableRow) const { return tableRow < keys->size() && (*keys)[tableRow] == key; }
};

struct Aggregate {
    AggregateKind kind = AggregateKind::Sum;
    std::unique_ptr<Expression> argument;  // null: the rows themselves
    std::u16string scopeName;              // a word of ScopeKind or the name of a group; empty: default
    std::size_t scopeColumn = 0;           // its column in the text, from 1
    Scope scope{ScopeKind::Default, 0};    // set by binding
    std::uint32_t slot = 0;                // of its state; set by binding
    // The table within the row table whose rows are aggregated; null: the row table. Set by binding.
    const Table* table = nullptr;
    std::optional<KeyedRows> rows = {};  // only these of the row table; none: all. Set by binding
    // If the argument has one value per group of this level, or per report (-1), the aggregate reads it once
    // for each. Set by binding.
    std::optional<int> onceIn = {};
};

class LookupTable;

// Reads rows of another table, whose key equals a value.
struct Lookup {
    std::optional<AggregateKind> kind;  // none: the first row
    std::u16string tableName;
    std::u16string keyText;
    std::unique_ptr<Expression> key;     // of the other table
    std::unique_ptr<Expression> sought;  // the value
    std::unique_ptr<Expression> result;  // of the other table; null: the rows themselves
    LookupTable* table = nullptr;        // null: the data has none; set by binding
    std::uint32_t slot = 0;              // in the table; set by binding
};

enum class Operation : std::uint8_t {
    Constant,   // operand: index of the constant
    Name,       // operand: index of the name
    System,     // operand: a SystemValue
    Aggregate,  // operand: index of the aggregate
    Lookup,     // operand: index of the lookup
    Call,       // operand: index of the function; takes `count` values
    Negate,
    Not,
    Add,
    Subtract,
    Multiply,
    Divide,
    Join,
    Equal,
    NotEqual,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    ToBoolean,
    Jump,         // operand: index of the next instruction
    JumpIfFalse,  // the same; takes the condition
    JumpIfTrue,
};

struct Instruction {
    Operation operation = Operation::Constant;
    std::uint8_t count = 0;
    std::uint32_t operand = 0;
};

// A program for a stack machine, which leaves exactly one value on the stack. Jumps lead forwards only, so
// that every program ends.
struct Expression {
    std::vector<Instruction> code;
    std::vector<Value> constants;
    std::vector<std::unique_ptr<const std::u16string>> constantTexts;  // owns the texts of the constants
    std::vector<BoundName> names;
    std::vector<Aggregate> aggregates;
    std::vector<Lookup> lookups;
    // What the value depends on besides the row. Binding adds what names and default scopes depend on.
    bool usesPage = false;            // page number, or rows of the page by an explicit scope
    bool usesPageRows = false;        // rows of the page; usesPage is set as well
    bool usesPageCount = false;       // page count
    bool usesDefaultScope = false;    // an aggregate without a scope
    bool dependsOnAggregate = false;  // any aggregate
    bool readsRow = false;            // columns, or values that sub-reports return for each row
    int groupLevel = -1;  // the innermost group whose totals or returned values it reads; -1: none
    // The innermost group for which sub-reports return values that it reads; -1: for the report.
    std::optional<int> returnedLevel;

    Expression() = default;
    Expression(Expression&&) = default;
    Expression& operator=(Expression&&) = default;

    // Raises EngineError(BadExpression) with the text; SourcePlace::column is the column in UTF-16 units,
    // from 1.
    static Expression parse(std::u16string_view text);

    // The name, if the expression consists only of a name; otherwise null.
    const BoundName* loneName() const {
        return code.size() == 1 && code[0].operation == Operation::Name ? &names[0] : nullptr;
    }
    // The system value, if the expression consists only of one.
    std::optional<SystemValue> loneSystemValue() const;
};

}  // namespace qbsvrl6

#endif
