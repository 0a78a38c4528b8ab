// Compiles by recursive descent straight into the program:
//
// clang-format off
//     expression  = conjunction { "or" conjunction }
//     conjunction = negation { "and" negation }
//     negation    = { "not" } comparison
//     comparison  = join [ ( "=" | "<>" | "<" | "<=" | ">" | ">=" ) join ]
//     join        = sum { "&" sum }
//     sum         = product { ( "+" | "-" ) product }
//     product     = factor { ( "*" | "/" ) factor }
//     factor      = { "+" | "-" } primary
//     primary     = number | text | "true" | "false" | "null"
//                 | name | `name` | "[" name "]"
//                 | "(" expression ")"
//                 | "If" "(" expression "," expression "," expression ")"
//                 | aggregate "(" [ "*" | expression ] [ "," scope ] ")"
//                 | lookup "(" table "," join "=" join [ "," expression ] ")"
//                 | function "(" [ expression { "," expression } ] ")"
// clang-format on
#include "qbsvrl6/bind/expression.h"

#include <array>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>

#include "qbsvrl6/bind/functions.h"
#include "qbsvrl6/bind/lexer.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr int kMostArguments = std::numeric_limits<std::uint8_t>::max();

struct AggregateName {
    std::u16string_view name;
    AggregateKind kind;
};

constexpr std::array<AggregateName, 7> kAggregates = {{
    {u"Sum", AggregateKind::Sum},
    {u"Average", AggregateKind::Average},
    {u"Count", AggregateKind::Count},
    {u"Minimum", AggregateKind::Minimum},
    {u"Maximum", AggregateKind::Maximum},
    {u"CountDistinct", AggregateKind::CountDistinct},
    {u"RowNumber", AggregateKind::RowNumber},
}};

struct LookupName {
    std::u16string_view name;
    std::optional<AggregateKind> kind;
};

constexpr std::array<LookupName, 6> kLookups = {{
    {u"Lookup", std::nullopt},
    {u"LookupSum", AggregateKind::Sum},
    {u"LookupCount", AggregateKind::Count},
    {u"LookupAvg", AggregateKind::Average},
    {u"LookupMin", AggregateKind::Minimum},
    {u"LookupMax", AggregateKind::Maximum},
}};

std::optional<AggregateKind> aggregateKind(const Token& token) {
    for (const AggregateName& candidate : kAggregates) {
        if (token.isWord(candidate.name)) return candidate.kind;
    }
    return std::nullopt;
}

class Parser {
public:
    explicit Parser(Lexer& lexer) : lexer_(lexer) { advance(); }

    void whole(Expression& into) {
        expression_ = &into;
        if (token_.kind == TokenKind::End) fail("an expression is expected");
        expression();
        if (token_.kind != TokenKind::End) fail("an operator is expected");
    }

private:
    // Limits the nesting of rules, so that hostile text can't exhaust the stack.
    class Level {
    public:
        explicit Level(Parser& parser) : parser_(parser) {
            if (++parser_.depth_ > limits::kExpressionDepth)
                parser_.fail("the expression is nested too deep");
        }
        ~Level() { --parser_.depth_; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        Parser& parser_;
    };

    [[noreturn]] void fail(const char* message) const { lexer_.fail(message, token_.column); }
    void advance() { token_ = lexer_.next(); }

    bool take(std::u16string_view symbol) {
        if (!token_.isSymbol(symbol)) return false;
        advance();
        return true;
    }

    void expect(std::u16string_view symbol, const char* message) {
        if (!take(symbol)) fail(message);
    }

    void emit(Operation operation, std::size_t operand = 0, std::size_t count = 0) {
        expression_->code.push_back(
            {operation, static_cast<std::uint8_t>(count), static_cast<std::uint32_t>(operand)});
    }

    // Emits a jump whose target `land` sets later.
    std::size_t emitJump(Operation operation) {
        emit(operation);
        return expression_->code.size() - 1;
    }

    void land(std::size_t jump) {
        expression_->code[jump].operand = static_cast<std::uint32_t>(expression_->code.size());
    }

    void emitConstant(Value value) {
        expression_->constants.push_back(value);
        emit(Operation::Constant, expression_->constants.size() - 1);
    }

    void emitText(std::u16string text) {
        expression_->constantTexts.push_back(std::make_unique<const std::u16string>(std::move(text)));
        emitConstant(makeText(*expression_->constantTexts.back()));
    }

    // "a or b": if a is true, b is not evaluated.
    void expression() {
        const Level level(*this);
        conjunction();
        while (token_.isWord(u"or")) {
            advance();
            const std::size_t whenTrue = emitJump(Operation::JumpIfTrue);
            conjunction();
            shortCut(whenTrue, true);
        }
    }

    void conjunction() {
        negation();
        while (token_.isWord(u"and")) {
            advance();
            const std::size_t whenFalse = emitJump(Operation::JumpIfFalse);
            negation();
            shortCut(whenFalse, false);
        }
    }

    void shortCut(std::size_t jump, bool result) {
        emit(Operation::ToBoolean);
        const std::size_t toEnd = emitJump(Operation::Jump);
        land(jump);
        emitConstant(makeBoolean(result));
        land(toEnd);
    }

    void negation() {
        std::size_t count = 0;
        for (; token_.isWord(u"not"); advance()) ++count;
        comparison();
        for (; count > 0; --count) emit(Operation::Not);
    }

    void comparison() {
        join();
        constexpr std::array<std::pair<std::u16string_view, Operation>, 6> kComparisons = {{
            {u"=", Operation::Equal},
            {u"<>", Operation::NotEqual},
            {u"<", Operation::Less},
            {u"<=", Operation::LessOrEqual},
            {u">", Operation::Greater},
            {u">=", Operation::GreaterOrEqual},
        }};
        for (const auto& [symbol, operation] : kComparisons) {
            if (!take(symbol)) continue;
            join();
            emit(operation);
            return;
        }
    }

    void join() {
        sum();
        while (take(u"&")) {
            sum();
            emit(Operation::Join);
        }
    }

    void sum() {
        Operand last = operand();
        while (token_.isSymbol(u"+") || token_.isSymbol(u"-")) {
            const Operation operation = token_.isSymbol(u"+") ? Operation::Add : Operation::Subtract;
            if (operation == Operation::Add) refuseText(last);
            advance();
            last = operand();
            if (operation == Operation::Add) refuseText(last);
            emit(operation);
        }
    }

    struct Operand {
        std::size_t start;   // in the code
        std::size_t column;  // in the text
    };

    Operand operand() {
        const Operand operand{expression_->code.size(), token_.column};
        product();
        return operand;
    }

    // The latest operand. A quoted text that is not a number is meant to be joined.
    void refuseText(const Operand& operand) const {
        const std::vector<Instruction>& code = expression_->code;
        if (code.size() != operand.start + 1 || code.back().operation != Operation::Constant) return;
        const Value& constant = expression_->constants[code.back().operand];
        Number number;
        if (constant.type == ValueType::Text && !toNumber(constant, number)) {
            lexer_.fail("a text cannot be added to; \"&\" joins texts", operand.column);
        }
    }

    void product() {
        factor();
        while (token_.isSymbol(u"*") || token_.isSymbol(u"/")) {
            const Operation operation = token_.isSymbol(u"*") ? Operation::Multiply : Operation::Divide;
            advance();
            factor();
            emit(operation);
        }
    }

    void factor() {
        std::size_t negations = 0;
        while (token_.isSymbol(u"+") || token_.isSymbol(u"-")) {
            if (token_.isSymbol(u"-")) ++negations;
            advance();
        }
        primary();
        for (; negations > 0; --negations) emit(Operation::Negate);
    }

    void primary() {
        switch (token_.kind) {
            case TokenKind::Number:
                emitConstant(makeNumber(token_.number));
                advance();
                return;
            case TokenKind::Text:
                emitText(std::move(token_.text));
                advance();
                return;
            case TokenKind::QuotedName:
                emitName(std::move(token_.text));
                advance();
                return;
            case TokenKind::Name:
                named();
                return;
            case TokenKind::Symbol:
                if (take(u"(")) {
                    expression();
                    expect(u")", "\")\" is expected");
                    return;
                }
                break;
            case TokenKind::End:
                break;
        }
        fail("a value is expected");
    }

    void named() {
        Token name = std::move(token_);
        advance();
        if (token_.isSymbol(u"(")) {
            advance();
            call(name);
        } else if (name.isWord(u"true") || name.isWord(u"false")) {
            emitConstant(makeBoolean(name.isWord(u"true")));
        } else if (name.isWord(u"null")) {
            emitConstant({});
        } else if (name.isWord(u"PageNumber")) {
            expression_->usesPage = true;
            emit(Operation::System, static_cast<std::size_t>(SystemValue::PageNumber));
        } else if (name.isWord(u"PageCount")) {
            expression_->usesPageCount = true;
            emit(Operation::System, static_cast<std::size_t>(SystemValue::PageCount));
        } else if (name.isWord(u"ReportTitle")) {
            emit(Operation::System, static_cast<std::size_t>(SystemValue::ReportTitle));
        } else if (name.isWord(u"RowNumber")) {
            emitAggregate({AggregateKind::RowNumber,
                           nullptr,
                           u"Report",
                           name.column,
                           {ScopeKind::Default, 0},
                           0,
                           nullptr,
                           {}});
        } else if (name.isWord(u"and") || name.isWord(u"or") || name.isWord(u"not")) {
            lexer_.fail("a value is expected", name.column);
        } else {
            emitName(std::move(name.text));
        }
    }

    void emitName(std::u16string name) {
        auto& names = expression_->names;
        const auto [known, isNew] = nameIndex_.try_emplace(name, names.size());
        if (isNew) names.emplace_back().name = std::move(name);
        emit(Operation::Name, known->second);
    }

    [[noreturn]] void failForFunction(const Token& name) {
        std::vector<std::u16string_view> names{u"If"};
        for (const Function& function : functions()) names.push_back(function.name);
        for (const AggregateName& aggregate : kAggregates) names.push_back(aggregate.name);
        for (const LookupName& lookup : kLookups) names.push_back(lookup.name);
        const std::u16string_view near = nearestName(name.text, names);
        lexer_.fail("there is no function of this name" +
                        (near.empty() ? std::string() : "; did you mean \"" + toUtf8(near) + "\"?"),
                    name.column);
    }

    [[noreturn]] void failForCount(const Function& called, int count, std::size_t column) {
        const int least = called.minimumArguments;
        const int most = called.maximumArguments;
        std::string expected = std::to_string(least);
        if (most < 0) {
            expected = "at least " + expected;
        } else if (most > least) {
            expected += (most == least + 1 ? " or " : " to ") + std::to_string(most);
        }
        const bool isOne = (most < 0 ? least : most) == 1;
        lexer_.fail(toUtf8(called.name) + " takes " + expected +
                        (isOne ? " argument, not " : " arguments, not ") + std::to_string(count),
                    column);
    }

    // Parses from the token after the opening parenthesis.
    void call(const Token& name) {
        const Level level(*this);
        if (name.isWord(u"If")) return choice();
        if (const auto kind = aggregateKind(name)) return aggregate(*kind, name.column);
        for (const LookupName& candidate : kLookups) {
            if (name.isWord(candidate.name)) return lookup(candidate.kind);
        }
        const std::size_t function = findFunction(name.text);
        if (function == std::u16string_view::npos) failForFunction(name);
        int count = 0;
        if (!token_.isSymbol(u")")) {
            do {
                expression();
                if (++count > kMostArguments) fail("there are too many arguments");
            } while (take(u","));
        }
        expect(u")", "\",\" or \")\" is expected");
        const Function& called = functions()[function];
        if (count < called.minimumArguments ||
            (called.maximumArguments >= 0 && count > called.maximumArguments)) {
            failForCount(called, count, name.column);
        }
        emit(Operation::Call, function, static_cast<std::size_t>(count));
    }

    // "If(c, a, b)": only the selected branch is evaluated.
    void choice() {
        expression();
        expect(u",", "If takes three arguments");
        const std::size_t whenFalse = emitJump(Operation::JumpIfFalse);
        expression();
        expect(u",", "If takes three arguments");
        const std::size_t toEnd = emitJump(Operation::Jump);
        land(whenFalse);
        expression();
        expect(u")", "If takes three arguments");
        land(toEnd);
    }

    void aggregate(AggregateKind kind, std::size_t column) {
        if (insideAggregate_) lexer_.fail("an aggregate cannot contain another", column);
        Aggregate made{kind, nullptr, {}, column, {ScopeKind::Default, 0}, 0, nullptr, {}};
        if (kind == AggregateKind::RowNumber) {
            made.scopeName = u"Report";
            if (!token_.isSymbol(u")")) scope(made);
        } else {
            const bool rows =
                kind == AggregateKind::Count && (token_.isSymbol(u"*") || token_.isSymbol(u")"));
            if (!rows) {
                made.argument = separate(true, [this] { expression(); });
            } else if (token_.isSymbol(u"*")) {
                advance();
            }
            if (take(u",")) scope(made);
        }
        expect(u")", "\")\" is expected");
        emitAggregate(std::move(made));
    }

    // Parses an expression that is evaluated at other rows than the one around it.
    template <class Parse>
    std::unique_ptr<Expression> separate(bool insideAggregate, Parse parse) {
        auto made = std::make_unique<Expression>();
        Expression* const outer = std::exchange(expression_, made.get());
        auto outerNames = std::exchange(nameIndex_, {});
        const bool wasInside = std::exchange(insideAggregate_, insideAggregate);
        parse();
        insideAggregate_ = wasInside;
        nameIndex_ = std::move(outerNames);
        expression_ = outer;
        return made;
    }

    // "Lookup(table, key = value, result)": key and result belong to the rows of the table.
    void lookup(std::optional<AggregateKind> kind) {
        Lookup made;
        made.kind = kind;
        const bool isName = token_.kind == TokenKind::Name || token_.kind == TokenKind::QuotedName ||
                            token_.kind == TokenKind::Text;
        if (!isName) fail("the name of a table is expected");
        made.tableName = token_.text;
        advance();
        expect(u",", "\",\" is expected after the table");
        const std::size_t start = token_.column;
        made.key = separate(false, [this] { join(); });
        made.keyText = lexer_.textBetween(start, token_.column);
        expect(u"=", "\"=\" is expected: a column of the table = a value");
        made.sought = separate(insideAggregate_, [this] { join(); });
        const bool countsRows = kind == AggregateKind::Count && token_.isSymbol(u")");
        if (!countsRows) {
            expect(u",", "\",\" and an expression for the rows of the table are expected");
            made.result = separate(false, [this] { expression(); });
        }
        expect(u")", "\")\" is expected");
        expression_->lookups.push_back(std::move(made));
        emit(Operation::Lookup, expression_->lookups.size() - 1);
    }

    void scope(Aggregate& made) {
        const bool isName = token_.kind == TokenKind::Name || token_.kind == TokenKind::QuotedName ||
                            token_.kind == TokenKind::Text;
        if (!isName || token_.text.empty())
            fail("a scope is expected: Page, Report, Group, Running or a group");
        made.scopeName = token_.text;
        made.scopeColumn = token_.column;
        advance();
    }

    void emitAggregate(Aggregate made) {
        expression_->dependsOnAggregate = true;
        expression_->aggregates.push_back(std::move(made));
        emit(Operation::Aggregate, expression_->aggregates.size() - 1);
    }

    Lexer& lexer_;
    Token token_;
    Expression* expression_ = nullptr;
    std::unordered_map<std::u16string, std::size_t> nameIndex_;  // in the names of `expression_`
    int depth_ = 0;
    bool insideAggregate_ = false;
};

}  // namespace

Expression Expression::parse(std::u16string_view text) {
    Lexer lexer(text);
    if (text.size() > limits::kExpressionUnits) lexer.fail("the expression is too long", 1);
    Expression expression;
    Parser(lexer).whole(expression);
    return expression;
}

std::optional<SystemValue> Expression::loneSystemValue() const {
    if (code.size() != 1 || code[0].operation != Operation::System) return std::nullopt;
    return static_cast<SystemValue>(code[0].operand);
}

}  // namespace qbsvrl6
