#include "qbsvrl6/bind/cross_table.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "qbsvrl6/bind/cross_arguments.h"
#include "qbsvrl6/bind/passed_values.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

enum GivenValue : std::size_t { kValue, kLowest, kHighest, kGivenValues };

// The names of the values that conditions of cells read besides totals.
std::optional<GivenValue> givenValue(std::u16string_view name) {
    if (equalsIgnoringCase(name, u"Value")) return kValue;
    if (equalsIgnoringCase(name, u"Lowest")) return kLowest;
    if (equalsIgnoringCase(name, u"Highest")) return kHighest;
    return std::nullopt;
}

// Values that are given take the place of names: they become aggregates after the last one.
void replaceGiven(Expression& expression, bool& readsValue, bool& readsExtremes) {
    std::vector<BoundName> kept;
    std::vector<std::size_t> indices;  // of each old name
    for (BoundName& name : expression.names) {
        const std::optional<GivenValue> given = givenValue(name.name);
        readsValue = readsValue || given == kValue;
        readsExtremes = readsExtremes || (given && given != kValue);
        indices.push_back(given ? expression.aggregates.size() + *given : kept.size());
        if (!given) kept.push_back(name);
    }
    for (Instruction& instruction : expression.code) {
        if (instruction.operation != Operation::Name) continue;
        if (givenValue(expression.names[instruction.operand].name))
            instruction.operation = Operation::Aggregate;
        instruction.operand = static_cast<std::uint32_t>(indices[instruction.operand]);
    }
    expression.names = std::move(kept);
}

[[noreturn]] void fail(std::u16string_view text, const std::string& problem) {
    constexpr std::size_t kShown = 200;
    throw EngineError(ErrorCode::BadExpression,
                      "bad expression \"" + toUtf8(text.substr(0, kShown)) + "\": " + problem);
}

Value sumOf(const Value& left, const Value& right) {
    Number leftRoom;
    Number rightRoom;
    const Number* const a = numberOf(left, leftRoom);
    const Number* const b = numberOf(right, rightRoom);
    if (a == nullptr || b == nullptr) return a == nullptr ? right : left;
    return makeNumber(*a + *b);
}

}  // namespace

std::u16string CrossColumns::name(char16_t kind, std::size_t index, std::optional<std::size_t> second) {
    std::u16string name = u"`~";
    name += kind;
    name += toUtf16(std::to_string(index));
    if (second) name += u'_' + toUtf16(std::to_string(*second));
    return name + u'`';
}

CrossTableQuery::CrossTableQuery(const ReportDefinition& report, const DataSources& sources,
                                 std::span<const SubReportParameter> passed)
    : cross_(*report.grid->cross),
      rowQuery_(report, sources, passed, cross_.rows),
      columnQuery_(report, sources, passed, cross_.columns) {
    for (const CrossCell& cell : cross_.cells) {
        Measure& measure = measures_.emplace_back();
        measure.value = compile(cell.value, false);
        for (const ConditionalStyle& condition : cell.conditions) {
            measure.conditions.push_back(compile(condition.when, true));
        }
    }
    rowConditions_ = compileConditions(cross_.rows);
    columnConditions_ = compileConditions(cross_.columns);
    columnQuery_.refusePassed();
    for (std::size_t level = 0; level < cross_.columns.size(); ++level) {
        const std::vector<ConditionalStyle>& conditions = cross_.columns[level].conditions;
        for (std::size_t i = 0; i < conditions.size(); ++i) {
            refusePassed(columnConditions_[level][i].expression, rowQuery_.binding(), conditions[i].when);
        }
    }
}

CrossTableQuery::~CrossTableQuery() = default;

std::vector<std::vector<CrossTableQuery::CellExpression>> CrossTableQuery::compileConditions(
    const std::vector<CrossLevel>& levels) {
    std::vector<std::vector<CellExpression>> compiled;
    for (const CrossLevel& level : levels) {
        std::vector<CellExpression>& conditions = compiled.emplace_back();
        for (const ConditionalStyle& condition : level.conditions) {
            conditions.push_back(compile(condition.when, false));
        }
    }
    return compiled;
}

CrossTableQuery::CellExpression CrossTableQuery::compile(const std::u16string& text, bool isCondition) {
    CellExpression made;
    Expression& expression = made.expression;
    expression = Expression::parse(text);
    checkCrossExpression(expression, cross_, text);
    if (isCondition) replaceGiven(expression, made.readsValue, made.readsExtremes);
    for (Aggregate& aggregate : expression.aggregates) {
        made.reads.push_back({0, crossScopeOf(aggregate, cross_, text)});
        aggregate.scopeName.clear();
    }
    rowQuery_.binding().bindParsed(expression, text);
    for (const BoundName& name : expression.names) {
        const bool isOfRows = name.kind == NameKind::Column || name.kind == NameKind::Related ||
                              name.kind == NameKind::Calculated || name.kind == NameKind::Returned;
        if (!isOfRows) continue;
        fail(text, "a cell has many rows: write a total of \"" + toUtf8(name.name) + "\", such as Sum(" +
                       toUtf8(name.name) + ')');
    }
    if (!expression.lookups.empty()) fail(text, "a cell has many rows: a lookup has no row to start from");
    for (std::size_t i = 0; i < made.reads.size(); ++i) {
        if (expression.aggregates[i].table != nullptr)
            fail(text, "a cross-table reads the rows of one table: set the table in its <Recordset>");
        made.reads[i].total = totalOf(expression.aggregates[i]);
    }
    return made;
}

// The index of a total with this argument. Equal ones are computed once if their argument is a name.
std::size_t CrossTableQuery::totalOf(Aggregate& aggregate) {
    const BoundName* const own = aggregate.argument ? aggregate.argument->loneName() : nullptr;
    for (std::size_t i = 0; i < totals_.size(); ++i) {
        const Total& total = totals_[i];
        if (total.kind != aggregate.kind) continue;
        if (total.argument == nullptr && !aggregate.argument) return i;
        const BoundName* const known = total.argument == nullptr ? nullptr : total.argument->loneName();
        if (own != nullptr && known != nullptr && own->name == known->name) return i;
    }
    totals_.push_back({aggregate.kind, aggregate.argument.get()});
    return totals_.size() - 1;
}

// The values of the totals at all cells, and the table that is made of them.
class CrossTableQuery::Evaluation {
public:
    Evaluation(CrossTableQuery& query, RowView& view)
        : query_(query),
          view_(view),
          rows_(query.rowQuery_.find(view)),
          columns_(query.columns_),
          width_(columns_.nodes.size()),
          arguments_(view, rows_, columns_, argumentsOf(query.totals_)) {
        const std::size_t cells = rows_.nodes.size() * width_;
        if (rows_.nodes.size() > limits::kCrossCells / width_) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "a cross-table has " + std::to_string(rows_.lines.size()) + " rows and " +
                                  std::to_string(columns_.lines.size()) + " columns, more than " +
                                  std::to_string(limits::kCrossCells) + " cells");
        }
        checkLeft(&Budget::dataBytes, cells * (query.totals_.size() * sizeof(Value) + sizeof(std::uint32_t)),
                  "the cells of a cross-table");
        counts_.resize(cells);
        values_.resize(cells * query.totals_.size());
        for (const Total& total : query.totals_) empty_.push_back(AggregateState().result(total.kind));
    }

    void total();
    void findExtremes();
    std::vector<std::vector<std::vector<bool>>> columnHolds();
    std::shared_ptr<const DataSet> table();

private:
    // The states of the totals in all columns, for one node of the rows.
    struct Block {
        std::uint32_t node = CrossAxis::kNowhere;
        std::vector<AggregateState> states;
        std::vector<std::uint32_t> counts;   // of rows, by column node
        std::vector<std::uint32_t> touched;  // column nodes with rows
    };
    // The position of a cell: a line of the rows and one of the columns.
    struct Site {
        CrossLine row, column;
    };
    // What running totals have reached: in the row, and in each column node.
    struct Running {
        Value across;
        std::vector<Value> down;
    };
    using RunningTotals = std::vector<Running>;  // of each total that an expression reads

    static std::vector<const Expression*> argumentsOf(const std::vector<Total>& totals) {
        std::vector<const Expression*> arguments;
        for (const Total& total : totals) arguments.push_back(total.argument);
        return arguments;
    }

    void startNode(std::uint32_t node);
    void addRow(Block& block, std::uint32_t column, std::size_t row);
    void close(std::size_t depth);
    void merge(Block& into, std::uint32_t to, const Block& from, std::uint32_t column);
    Value valueAt(std::uint32_t row, std::uint32_t column, std::size_t total) const;
    Value read(const ReadTotal& read, const Site& site, Running& running) const;
    Value evaluate(CellExpression& expression, const Site& site, RunningTotals& running,
                   std::span<const Value> given);
    template <class Visit>
    void forEachValue(Visit visit);
    void writeTitles(Table& table, const CrossLine& line);
    void writeConditions(Table& table, const CrossLine& line);
    void write(Table& table, std::size_t column, const Value& value);
    void nameColumns(Table& table);

    CrossTableQuery& query_;
    RowView& view_;
    const CrossAxis rows_;
    const CrossAxis& columns_;
    const std::size_t width_;  // column nodes
    CrossArguments arguments_;
    std::vector<Block> blocks_;                      // of each depth of row nodes, the one of all rows first
    std::vector<std::uint32_t> counts_;              // of rows, by row node and column node
    std::vector<Value> values_;                      // the same, by total
    std::vector<Value> empty_;                       // of a cell without rows
    std::vector<std::pair<Value, Value>> extremes_;  // of each measure
    std::vector<Value> given_;
    TextArena texts_;
    // The columns of the table: of titles and keys by level, of the first condition of each row level, and of
    // each value, which the columns of its conditions follow.
    std::size_t totalOfColumn_ = 0;
    std::vector<std::size_t> titleColumns_, keyColumns_, rowHoldColumns_, valueColumns_;
};

// A row is added to the block of its innermost node alone; a block that is complete is added to the one
// around it.
void CrossTableQuery::Evaluation::total() {
    blocks_.resize(query_.cross_.rows.size() + 1);
    checkLeft(&Budget::dataBytes, blocks_.size() * width_ * query_.totals_.size() * sizeof(AggregateState),
              "the totals of a cross-table");
    for (Block& block : blocks_) {
        block.states.resize(width_ * query_.totals_.size());
        block.counts.resize(width_);
    }
    blocks_[0].node = 0;
    Position position;
    for (std::size_t row = 0; row < view_.rowCount(); ++row) {
        goOn();
        position.row = row;
        const std::size_t tableRow = *view_.tableRow(position);
        const std::uint32_t node = rows_.leafOf[tableRow];
        const std::uint32_t column = columns_.leafOf[tableRow];
        if (node == CrossAxis::kNowhere || column == CrossAxis::kNowhere) continue;
        if (blocks_.back().node != node) startNode(node);
        addRow(blocks_.back(), column, row);
    }
    for (std::size_t depth = blocks_.size(); depth-- > 0;) close(depth);
}

void CrossTableQuery::Evaluation::startNode(std::uint32_t node) {
    std::vector<std::uint32_t> path(blocks_.size());
    for (std::size_t depth = blocks_.size(); depth-- > 0; node = rows_.nodes[node].parent) path[depth] = node;
    std::size_t same = 1;
    while (same < path.size() && blocks_[same].node == path[same]) ++same;
    for (std::size_t depth = blocks_.size(); depth-- > same;) close(depth);
    for (std::size_t depth = same; depth < path.size(); ++depth) blocks_[depth].node = path[depth];
}

void CrossTableQuery::Evaluation::addRow(Block& block, std::uint32_t column, std::size_t row) {
    Position position;
    position.row = row;
    position.scope = view_.rowScope();
    position.ofRow = true;
    const std::span<const Value> arguments = arguments_.of(row);
    if (block.counts[column]++ == 0) block.touched.push_back(column);
    for (std::size_t i = 0; i < query_.totals_.size(); ++i) {
        const Total& total = query_.totals_[i];
        AggregateState& state = block.states[column * query_.totals_.size() + i];
        if (total.argument == nullptr) {
            state.countRow();
            continue;
        }
        view_.add(state, total.kind, *total.argument, arguments[i], position);
    }
}

void CrossTableQuery::Evaluation::merge(Block& into, std::uint32_t to, const Block& from,
                                        std::uint32_t column) {
    const std::size_t totals = query_.totals_.size();
    if (into.counts[to] == 0) into.touched.push_back(to);
    into.counts[to] += from.counts[column];
    for (std::size_t i = 0; i < totals; ++i) {
        into.states[to * totals + i].merge(query_.totals_[i].kind, from.states[column * totals + i], texts_);
    }
}

void CrossTableQuery::Evaluation::close(std::size_t depth) {
    Block& block = blocks_[depth];
    const std::size_t totals = query_.totals_.size();
    if (depth + 1 == blocks_.size()) {
        const std::size_t leaves = block.touched.size();
        for (std::size_t i = 0; i < leaves; ++i) {
            const std::uint32_t leaf = block.touched[i];
            for (std::uint32_t node = leaf; node != 0;) {
                node = columns_.nodes[node].parent;
                merge(block, node, block, leaf);
            }
        }
    }
    for (const std::uint32_t column : block.touched) {
        const std::size_t cell = block.node * width_ + column;
        counts_[cell] = block.counts[column];
        for (std::size_t i = 0; i < totals; ++i) {
            Value& value = values_[cell * totals + i];
            value = block.states[column * totals + i].result(query_.totals_[i].kind);
            if (!value.text.empty()) value.text = texts_.copy(value.text);
        }
        if (depth > 0) merge(blocks_[depth - 1], column, block, column);
    }
    for (const std::uint32_t column : block.touched) {
        block.counts[column] = 0;
        for (std::size_t i = 0; i < totals; ++i) block.states[column * totals + i] = {};
    }
    block.touched.clear();
    block.node = CrossAxis::kNowhere;
}

Value CrossTableQuery::Evaluation::valueAt(std::uint32_t row, std::uint32_t column, std::size_t total) const {
    const std::size_t cell = row * width_ + column;
    return counts_[cell] == 0 ? empty_[total] : values_[cell * query_.totals_.size() + total];
}

// A running total of a total that comes before its keys includes all of them.
Value CrossTableQuery::Evaluation::read(const ReadTotal& read, const Site& site, Running& running) const {
    const std::uint32_t row = site.row.node;
    const std::uint32_t column = site.column.node;
    const auto run = [&](Value& reached, const CrossLine& line, const std::vector<CrossLevel>& levels) {
        const Value own = valueAt(row, column, read.total);
        if (line.totalOf < 0) return reached = sumOf(reached, own);
        const CrossLevel& level = levels[static_cast<std::size_t>(line.totalOf)];
        return level.totalPlace == TotalPlace::Before ? sumOf(reached, own) : reached;
    };
    switch (read.scope.kind) {
        case CrossScopeKind::Cell:
            break;
        case CrossScopeKind::Row:
            return valueAt(row, 0, read.total);
        case CrossScopeKind::Column:
            return valueAt(0, column, read.total);
        case CrossScopeKind::All:
            return valueAt(0, 0, read.total);
        case CrossScopeKind::RowLevel:
            return valueAt(rows_.around(row, read.scope.level), column, read.total);
        case CrossScopeKind::ColumnLevel:
            return valueAt(row, columns_.around(column, read.scope.level), read.total);
        case CrossScopeKind::RunningAcross:
            return run(running.across, site.column, query_.cross_.columns);
        case CrossScopeKind::RunningDown:
            return run(running.down[column], site.row, query_.cross_.rows);
    }
    return valueAt(row, column, read.total);
}

Value CrossTableQuery::Evaluation::evaluate(CellExpression& cell, const Site& site, RunningTotals& running,
                                            std::span<const Value> given) {
    given_.clear();
    if (running.empty()) running.resize(cell.reads.size());
    for (std::size_t i = 0; i < cell.reads.size(); ++i) {
        const ReadTotal& total = cell.reads[i];
        if (total.scope.kind == CrossScopeKind::RunningDown) running[i].down.resize(width_);
        given_.push_back(read(total, site, running[i]));
    }
    const std::vector<Instruction>& code = cell.expression.code;
    if (code.size() == 1 && code[0].operation == Operation::Aggregate && given.empty()) return given_[0];
    given_.insert(given_.end(), given.begin(), given.end());
    Value value = view_.evaluateWith(cell.expression, {}, given_);
    if (!value.text.empty()) value.text = texts_.copy(value.text);
    return value;
}

// Calls `visit` for the value of each measure in each cell, row by row.
template <class Visit>
void CrossTableQuery::Evaluation::forEachValue(Visit visit) {
    std::vector<RunningTotals> running(query_.measures_.size());
    for (std::size_t row = 0; row < rows_.lines.size(); ++row) {
        goOn();
        for (RunningTotals& totals : running) {
            for (Running& total : totals) total.across = {};
        }
        for (std::size_t column = 0; column < columns_.lines.size(); ++column) {
            const Site site{rows_.lines[row], columns_.lines[column]};
            const bool isEmpty = counts_[site.row.node * width_ + site.column.node] == 0;
            for (std::size_t i = 0; i < query_.measures_.size(); ++i) {
                const Value value = evaluate(query_.measures_[i].value, site, running[i], {});
                visit(row, column, i, isEmpty ? Value() : value);
            }
        }
    }
}

// The lowest and highest value of each measure, totals left out.
void CrossTableQuery::Evaluation::findExtremes() {
    extremes_.resize(query_.measures_.size());
    const auto readsExtremes = [](const CellExpression& condition) { return condition.readsExtremes; };
    const bool any =
        std::any_of(query_.measures_.begin(), query_.measures_.end(), [&](const Measure& measure) {
            return std::any_of(measure.conditions.begin(), measure.conditions.end(), readsExtremes);
        });
    if (!any) return;
    forEachValue([&](std::size_t row, std::size_t column, std::size_t measure, const Value& value) {
        if (value.isNull() || rows_.lines[row].totalOf >= 0 || columns_.lines[column].totalOf >= 0) return;
        auto& [lowest, highest] = extremes_[measure];
        if (lowest.isNull() || compareValues(value, lowest, texts_) < 0) lowest = value;
        if (highest.isNull() || compareValues(value, highest, texts_) > 0) highest = value;
    });
}

// The conditions of a level are about the whole of each key: its total over the other levels.
std::vector<std::vector<std::vector<bool>>> CrossTableQuery::Evaluation::columnHolds() {
    std::vector<std::vector<std::vector<bool>>> holds(columns_.lines.size());
    for (std::size_t column = 0; column < columns_.lines.size(); ++column) {
        const CrossLine& line = columns_.lines[column];
        for (std::size_t level = 0; level < query_.columnConditions_.size(); ++level) {
            std::vector<bool>& own = holds[column].emplace_back();
            const std::uint32_t node = columns_.around(line.node, level);
            const bool isOfLevel = columns_.nodes[node].level == static_cast<int>(level);
            for (CellExpression& condition : query_.columnConditions_[level]) {
                RunningTotals running;
                own.push_back(isOfLevel &&
                              toBoolean(evaluate(condition, {{0, -1}, {node, -1}}, running, {})));
            }
        }
    }
    return holds;
}

void CrossTableQuery::Evaluation::write(Table& table, std::size_t column, const Value& value) {
    const TextArena::Mark mark = texts_.mark();
    switch (value.type) {
        case ValueType::Null:
            break;
        case ValueType::Boolean:
            table.setBoolean(column, value.boolean);
            break;
        case ValueType::Number:
            table.setNumber(column, value.number, toText(value, texts_));
            break;
        case ValueType::Date:
            table.setDate(column, value.date, toText(value, texts_));
            break;
        case ValueType::Text:
            table.setText(column, value.text);
            break;
    }
    texts_.release(mark);
}

// The rows of a key have its key in common. A total has the keys around it, and none of its own.
void CrossTableQuery::Evaluation::writeTitles(Table& table, const CrossLine& line) {
    const std::vector<CrossLevel>& levels = query_.cross_.rows;
    for (std::uint32_t node = line.node; rows_.nodes[node].level >= 0; node = rows_.nodes[node].parent) {
        const CrossNode& own = rows_.nodes[node];
        const auto level = static_cast<std::size_t>(own.level);
        write(table, keyColumns_[level], makeNumber(node));
        const bool isPlain = levels[level].title.empty();
        write(table, titleColumns_[level], isPlain ? own.key.get() : makeText(own.title));
    }
    if (line.totalOf < 0) return;
    const auto level = static_cast<std::size_t>(line.totalOf);
    write(table, totalOfColumn_, makeNumber(line.totalOf));
    // No key equals those of other rows.
    write(table, keyColumns_[level], makeNumber(-1 - static_cast<int>(line.node)));
    write(table, titleColumns_[level], makeText(rows_.nodes[line.node].totalTitle));
}

void CrossTableQuery::Evaluation::writeConditions(Table& table, const CrossLine& line) {
    for (std::size_t level = 0; level < query_.rowConditions_.size(); ++level) {
        const std::uint32_t node = rows_.around(line.node, level);
        if (rows_.nodes[node].level != static_cast<int>(level)) continue;
        for (std::size_t i = 0; i < query_.rowConditions_[level].size(); ++i) {
            RunningTotals running;
            CellExpression& condition = query_.rowConditions_[level][i];
            if (!toBoolean(evaluate(condition, {{node, -1}, {0, -1}}, running, {}))) continue;
            write(table, rowHoldColumns_[level] + i, makeBoolean(true));
        }
    }
}

// Tables without rows have all columns, too.
void CrossTableQuery::Evaluation::nameColumns(Table& table) {
    const auto add = [&](const std::u16string& column) {
        const std::u16string_view bare = std::u16string_view(column).substr(1, column.size() - 2);
        const std::size_t at = table.columnOf(table.names().nameOf(ColumnNames::kRow, toUtf8(bare)));
        if (at == Table::npos) {
            throw EngineError(ErrorCode::LimitExceeded, "a cross-table has too many columns");
        }
        return at;
    };
    totalOfColumn_ = add(CrossColumns::totalOf());
    for (std::size_t level = 0; level < query_.cross_.rows.size(); ++level) {
        titleColumns_.push_back(add(CrossColumns::title(level)));
        keyColumns_.push_back(add(CrossColumns::key(level)));
        rowHoldColumns_.push_back(keyColumns_.back() + 1);
        for (std::size_t i = 0; i < query_.rowConditions_[level].size(); ++i) {
            add(CrossColumns::rowHolds(level, i));
        }
    }
    const std::size_t measures = query_.measures_.size();
    for (std::size_t value = 0; value < columns_.lines.size() * measures; ++value) {
        valueColumns_.push_back(add(CrossColumns::value(value)));
        for (std::size_t i = 0; i < query_.measures_[value % measures].conditions.size(); ++i) {
            add(CrossColumns::cellHolds(value, i));
        }
    }
}

std::shared_ptr<const DataSet> CrossTableQuery::Evaluation::table() {
    const auto set = std::make_shared<DataSet>();
    Table& table = set->open(u"");
    nameColumns(table);
    const std::size_t measures = query_.measures_.size();
    std::vector<std::vector<RunningTotals>> running(measures);  // of the conditions of each measure
    for (std::size_t i = 0; i < measures; ++i) running[i].resize(query_.measures_[i].conditions.size());
    std::size_t written = 0;  // rows
    forEachValue([&](std::size_t row, std::size_t column, std::size_t measure, const Value& value) {
        if (row == written) {
            table.beginRow();
            ++written;
            writeTitles(table, rows_.lines[row]);
            writeConditions(table, rows_.lines[row]);
            for (auto& ofMeasure : running) {
                for (RunningTotals& totals : ofMeasure) {
                    for (Running& total : totals) total.across = {};
                }
            }
        }
        const std::size_t at = column * measures + measure;
        const bool isEmpty = value.isNull();
        const std::u16string& empty = query_.cross_.cells[measure].empty;
        write(table, valueColumns_[at], isEmpty && !empty.empty() ? makeText(empty) : value);
        const std::array<Value, kGivenValues> given = {value, extremes_[measure].first,
                                                       extremes_[measure].second};
        for (std::size_t i = 0; i < running[measure].size(); ++i) {
            CellExpression& condition = query_.measures_[measure].conditions[i];
            const Value holds =
                evaluate(condition, {rows_.lines[row], columns_.lines[column]}, running[measure][i], given);
            const bool isOfNothing = isEmpty && condition.readsValue;
            if (!isOfNothing && toBoolean(holds)) {
                write(table, valueColumns_[at] + 1 + i, makeBoolean(true));
            }
        }
    });
    table.endRows();
    return set;
}

void CrossTableQuery::findColumns(std::span<const OwnedValue> passed, std::int64_t now, WalkedRows rows) {
    RowView view(columnQuery_.binding(), passed, now, std::move(rows));
    columns_ = columnQuery_.find(view);
    std::size_t ofLine = 0;  // columns of the table
    for (const Measure& measure : measures_) ofLine += 1 + measure.conditions.size();
    if (columns_.lines.size() <= limits::kDataColumns / std::max<std::size_t>(ofLine, 1)) return;
    throw EngineError(ErrorCode::LimitExceeded,
                      "a cross-table has too many columns: " + std::to_string(columns_.lines.size()));
}

bool CrossTableQuery::columnHolds(std::size_t line, std::size_t level, std::size_t condition) const {
    return columnHolds_[line][level][condition];
}

// The keys of the rows, their order and their number are about what the columns show.
WalkedRows CrossTableQuery::rowsInColumns(WalkedRows rows) const {
    const bool leaveNoneOut =
        std::none_of(cross_.columns.begin(), cross_.columns.end(),
                     [](const CrossLevel& level) { return level.top > 0 && level.others.empty(); });
    if (leaveNoneOut) return rows;
    std::vector<std::uint32_t> shown;
    for (std::size_t row = 0; row < rows.count(); ++row) {
        const std::size_t tableRow = rows.tableRow(row);
        if (columns_.leafOf[tableRow] != CrossAxis::kNowhere)
            shown.push_back(static_cast<std::uint32_t>(tableRow));
    }
    rows.list(std::move(shown));
    return rows;
}

std::shared_ptr<const DataSet> CrossTableQuery::evaluate(std::span<const OwnedValue> passed, std::int64_t now,
                                                         WalkedRows rows) {
    RowView view(rowQuery_.binding(), passed, now, rowsInColumns(std::move(rows)));
    Evaluation evaluation(*this, view);
    evaluation.total();
    evaluation.findExtremes();
    if (columnHolds_.empty()) columnHolds_ = evaluation.columnHolds();
    return evaluation.table();
}

}  // namespace qbsvrl6
