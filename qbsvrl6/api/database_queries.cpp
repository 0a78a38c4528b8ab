#include "qbsvrl6/api/database_queries.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/model/inheritance.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/reach.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

const Parameter* declaredParameter(const ReportDefinition& report, std::u16string_view name) {
    const auto found =
        std::find_if(report.parameters.begin(), report.parameters.end(),
                     [&](const Parameter& parameter) { return equalsIgnoringCase(parameter.name, name); });
    if (found != report.parameters.end()) return &*found;
    return report.inherited ? report.inherited->parameter(name) : nullptr;
}

const DataParameter* givenParameter(const ParameterSources& sources, std::u16string_view name) {
    const DataParameter* found = sources.set == nullptr ? nullptr : sources.set->parameter(name);
    if (found == nullptr && sources.data != nullptr) found = sources.data->parameter(name);
    return found;
}

std::optional<std::size_t> passedParameter(const ParameterSources& sources, std::u16string_view name) {
    const auto found = std::find_if(
        sources.passed.begin(), sources.passed.end(),
        [&](const SubReportParameter& parameter) { return equalsIgnoringCase(parameter.name, name); });
    if (found == sources.passed.end()) return std::nullopt;
    return static_cast<std::size_t>(found - sources.passed.begin());
}

const char* shownType(DataType type) {
    switch (type) {
        case DataType::Number:
            return "a number";
        case DataType::Date:
            return "a date, such as 2026-03-01";
        case DataType::Boolean:
            return "true or false";
        default:
            return "a text";
    }
}

// The value as the declared type. An empty text is no number, date or boolean: it is no value.
Value typedValue(std::u16string_view name, const Value& value, DataType type, TextArena& arena) {
    Value typed = convertTo(value, type, arena);
    if (typed.type != ValueType::Text || type == DataType::Text) return typed;
    if (trimmed(typed.text).empty()) return {};
    throw EngineError(ErrorCode::BadData, "the parameter \"" + toUtf8(name) + "\" is \"" +
                                              toUtf8(typed.text) + "\", which is not " + shownType(type));
}

// A parameter of a query: passed by the outer report, or known.
struct Argument {
    std::u16string name;
    std::optional<std::size_t> passed;
    std::optional<DataType> type;
    OwnedValue known;
};

Argument argumentFor(const std::u16string& name, const ParameterSources& sources) {
    Argument argument{name, passedParameter(sources, name), {}, {}};
    const Parameter* const declared = declaredParameter(sources.report, name);
    if (declared != nullptr) argument.type = declared->type;
    if (argument.passed) return argument;
    const DataParameter* const given = givenParameter(sources, name);
    if (given == nullptr && (declared == nullptr || declared->required)) {
        throw EngineError(ErrorCode::BadData,
                          "the query needs the parameter \"" + toUtf8(name) + "\", " +
                              (declared == nullptr ? "which is not declared, set or passed by an outer report"
                                                   : "which is required and not set"));
    }
    TextArena arena;
    const Value value = given != nullptr ? given->value() : makeText(declared->value);
    argument.known = OwnedValue(argument.type ? typedValue(name, value, *argument.type, arena) : value);
    return argument;
}

class SqlRowQuery : public RowQuery {
public:
    SqlRowQuery(std::unique_ptr<SqlQuery> query, std::vector<Argument> arguments, std::string shown)
        : query_(std::move(query)),
          arguments_(std::move(arguments)),
          shown_(std::move(shown)),
          shape_(query_->shape()) {}

    const DataSet& shape() const override { return shape_; }

    // Rows in sequence often pass the same values, and a report whose pages are counted is walked twice.
    std::shared_ptr<const DataSet> run(std::span<const Value> passed) override try {
        TextArena arena;
        std::vector<Value> values;
        std::u16string key;
        for (const Argument& argument : arguments_) {
            Value value = argument.passed ? passed[*argument.passed] : argument.known.get();
            if (argument.passed && argument.type)
                value = typedValue(argument.name, value, *argument.type, arena);
            values.push_back(value);
            const std::u16string_view text = toText(value, arena);
            key += static_cast<char16_t>(value.type);
            key += toUtf16(std::to_string(text.size()));
            key.append(u":").append(text);
        }
        if (last_ == nullptr || key != lastKey_) {
            last_ = std::make_shared<const DataSet>(query_->run(values));
            lastKey_ = std::move(key);
        }
        return last_;
    } catch (const EngineError& error) {
        if (error.endsExport()) throw;
        throw EngineError(error.code(), shown_ + ": " + error.what());
    }

private:
    std::unique_ptr<SqlQuery> query_;
    std::vector<Argument> arguments_;
    std::string shown_;
    DataSet shape_;
    std::shared_ptr<const DataSet> last_;
    std::u16string lastKey_;
};

}  // namespace

void checkParameter(const ReportDefinition& report, std::u16string_view name, std::u16string_view value) {
    const Parameter* const declared = declaredParameter(report, name);
    TextArena arena;
    if (declared != nullptr) typedValue(declared->name, makeText(value), declared->type, arena);
}

void checkParameters(const ParameterSources& sources) {
    for (const Parameter& declared : sources.report.parameters) {
        if (passedParameter(sources, declared.name)) continue;
        if (declared.required && givenParameter(sources, declared.name) == nullptr) {
            throw EngineError(ErrorCode::BadData, "the parameter \"" + toUtf8(declared.name) +
                                                      "\" is required, and neither the program nor the data "
                                                      "sets it");
        }
        const DataParameter* const set =
            sources.set == nullptr ? nullptr : sources.set->parameter(declared.name);
        if (set != nullptr) checkParameter(sources.report, declared.name, set->text);
    }
}

QueriedData Databases::query(const Address& connection, const ConnectionParts& parts,
                             const std::u16string& statement, const ParameterSources& sources) {
    std::unique_ptr<SqlQuery> query = open(connection, parts).prepare(statement);
    std::vector<Argument> arguments;
    for (const std::u16string& name : query->parameters()) arguments.push_back(argumentFor(name, sources));
    const bool isPerRow = std::any_of(arguments.begin(), arguments.end(),
                                      [](const Argument& argument) { return argument.passed.has_value(); });
    if (!isPerRow) {
        std::vector<Value> values;
        for (const Argument& argument : arguments) values.push_back(argument.known.get());
        return {std::make_shared<const DataSet>(query->run(values)), nullptr};
    }
    auto perRow = std::make_shared<SqlRowQuery>(std::move(query), std::move(arguments),
                                                shownQuery(connection, parts, statement));
    return {std::shared_ptr<const DataSet>(perRow, &perRow->shape()), perRow};
}

SqlConnection& Databases::open(const Address& connection, const ConnectionParts& parts) {
    std::shared_ptr<SqlConnection>& known = open_[{connection.name, connection.folder}];
    if (known != nullptr) return *known;
    if (parts.kind == SourceKind::Sqlite) {
        Address file = connection;
        file.name = parts.rest;
        known = openSqlite(file);
    } else {
        if (connection.namedBy != NamedBy::Program && !Reach::currentRules()->allowsOdbc()) {
            throw EngineError(ErrorCode::NotAllowed,
                              "a template may not name an ODBC connection; allow it with reach.odbc");
        }
        known = openOdbc(parts.rest);
    }
    return *known;
}

std::string shownQuery(const Address& connection, const ConnectionParts& parts,
                       const std::u16string& statement) {
    constexpr std::size_t kShown = 80;
    std::string shown = toUtf8(statement.substr(0, kShown)) + (statement.size() > kShown ? "..." : "");
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    Address file = connection;
    file.name = parts.rest;
    return "the query \"" + shown + "\" of " +
           (parts.kind == SourceKind::Sqlite ? shownAddress(file) : "odbc:" + shownOdbc(parts.rest));
}

}  // namespace qbsvrl6
