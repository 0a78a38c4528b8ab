#include "qbsvrl6/bind/binding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_set>
#include <utility>

#include "qbsvrl6/bind/lookup_table.h"
#include "qbsvrl6/model/inheritance.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

bool isOfPage(ScopeKind kind) {
    return kind == ScopeKind::Page || kind == ScopeKind::BroughtForward || kind == ScopeKind::CarriedForward;
}

void addGroups(Expression& expression, const Expression& needed) {
    expression.groupLevel = std::max(expression.groupLevel, needed.groupLevel);
    expression.returnedLevel = std::max(expression.returnedLevel, needed.returnedLevel);
}

}  // namespace

Value convertTo(const Value& value, DataType type, TextArena& arena) {
    if (value.isNull()) return value;
    Value converted = value;
    switch (type) {
        case DataType::Text:
            return makeText(toText(value, arena));
        case DataType::Number:
            if (value.type != ValueType::Number && toNumber(value, converted.number)) {
                converted.type = ValueType::Number;
                converted.text = value.type == ValueType::Text ? trimmed(value.text) : std::u16string_view();
            }
            break;
        case DataType::Date:
            if (value.type != ValueType::Date && toDate(value, converted.date))
                converted.type = ValueType::Date;
            break;
        case DataType::Boolean: {
            Number number;
            if (value.type == ValueType::Text && parseBoolean(value.text, converted.boolean)) {
                converted.type = ValueType::Boolean;
            } else if (value.type != ValueType::Boolean && toNumber(value, number)) {
                converted.type = ValueType::Boolean;
                converted.boolean = !number.isZero();
            }
            break;
        }
    }
    return converted;
}

Binding::Binding(const ReportDefinition& report, const DataSources& sources,
                 std::span<const SubReportParameter> passed, const ReportDefinition* returning)
    : report_(report),
      grid_(report.grid.get()),
      sources_(sources),
      declared_(std::make_shared<Declared>(report, returning == nullptr ? report : *returning)),
      passedNames_(passed),
      readsReturned_(true),
      ownLookupTables_(std::make_unique<LookupTables>()),
      lookupTables_(ownLookupTables_.get()) {
    addPassed();
    if (returning == nullptr) logHiddenNames();
    if (grid_ == nullptr) return;
    if (grid_->groups.size() > limits::kGroups) {
        throw EngineError(ErrorCode::LimitExceeded, "the grid has " + std::to_string(grid_->groups.size()) +
                                                        " groups, more than " +
                                                        std::to_string(limits::kGroups));
    }
    if (!trimmed(grid_->filter).empty()) checkKnownGroups(filter_.emplace(compile(grid_->filter)), -1);
    sort_ = compileSort(grid_->sort);
    for (const SortTerm& term : sort_) checkKnownGroups(term.expression, -1);
    for (const auto& group : grid_->groups) addGroup(*group);
}

void Binding::addGroup(const Group& group) {
    const auto level = static_cast<int>(groups_.size());
    groups_.push_back({&group, compile(group.by), compileSort(group.sort)});
    checkKnownGroups(groups_.back().key, level - 1);
    for (const SortTerm& term : groups_.back().sort) checkKnownGroups(term.expression, level);
}

void Binding::checkKnownGroups(const Expression& expression, int innermost) const {
    if (expression.groupLevel <= innermost) return;
    const Group& group = *grid_->groups[static_cast<std::size_t>(expression.groupLevel)];
    const std::string name = group.name.empty() ? "level " + std::to_string(expression.groupLevel + 1)
                                                : '"' + toUtf8(group.name) + '"';
    throw EngineError(ErrorCode::BadExpression, "rows are chosen and sorted before the groups of " + name +
                                                    " are known: no total and no returned value of them");
}

Binding::Binding(const Binding& outer, const DataSources& sources, std::u16string_view filter)
    : report_(outer.report_),
      sources_(sources),
      use_(TextUse::ChartRows),
      declared_(outer.declared_),
      passedNames_(outer.passedNames_),
      lookupTables_(outer.lookupTables_) {
    addPassed();
    if (!trimmed(filter).empty()) filter_ = compile(filter);
}

Binding::Binding(const Binding& outer, const Table& rows)
    : report_(outer.report_),
      sources_(outer.sources_),
      use_(outer.use_),
      declared_(outer.declared_),
      passedNames_(outer.passedNames_),
      lookupTables_(outer.lookupTables_) {
    sources_.rows = &rows;
    sources_.head = nullptr;
    addPassed();
}

Binding::~Binding() = default;

Binding::Declared::Declared(const ReportDefinition& report, const ReportDefinition& returning) {
    for (const Field& field : report.fields) fields.emplace(lowerCase(field.name), &field);
    for (const Parameter& parameter : report.parameters) {
        parameters.emplace(lowerCase(parameter.name), &parameter);
    }
    for (const DeclaredReturn& declared : declaredReturns(returning)) {
        returns.emplace(lowerCase(declared.value().name), declared);
    }
}

void Binding::addPassed() {
    for (const SubReportParameter& parameter : passedNames_) {
        const std::optional<std::size_t> known = findParameter(parameter.name);
        passed_.push_back(known ? *known : addParameter({parameter.name, {}, {}}, lowerCase(parameter.name)));
    }
}

// A value of the program replaces that of the data, which replaces the default of a declared parameter.
std::optional<std::size_t> Binding::findParameter(std::u16string_view name) {
    std::u16string key = lowerCase(name);
    const auto known = parameterIndex_.find(key);
    if (known != parameterIndex_.end()) return known->second;
    const auto declared = declared_->parameters.find(key);
    const Parameter* own = declared == declared_->parameters.end() ? nullptr : declared->second;
    const DataParameter* read = sources_.set == nullptr ? nullptr : sources_.set->parameter(name);
    if (read == nullptr && sources_.data != nullptr) read = sources_.data->parameter(name);
    if (own == nullptr) {
        own = report_.inherited ? report_.inherited->parameter(key) : nullptr;
        if (read == nullptr && sources_.outer != nullptr) read = sources_.outer->parameter(name);
    }
    if (own == nullptr && read == nullptr) return std::nullopt;
    BoundParameter parameter;
    parameter.name = own != nullptr ? own->name : read->name;
    if (own != nullptr) parameter.type = own->type;
    parameter.value = OwnedValue(read != nullptr ? read->value() : makeText(own->value));
    return addParameter(std::move(parameter), std::move(key));
}

std::size_t Binding::addParameter(BoundParameter parameter, std::u16string lowerCaseName) {
    parameterIndex_.emplace(std::move(lowerCaseName), parameters_.size());
    parameters_.push_back(std::move(parameter));
    return parameters_.size() - 1;
}

Expression Binding::parameterExpression(const std::u16string& name) {
    Expression expression = Expression::parse(u"parameter");
    BoundName& read = expression.names.front();
    const std::optional<std::size_t> known = findParameter(name);
    read.kind = NameKind::Parameter;
    read.index = static_cast<std::uint32_t>(known ? *known : addParameter({name, {}, {}}, lowerCase(name)));
    return expression;
}

Expression Binding::compile(std::u16string_view text) {
    Expression expression = Expression::parse(text);
    bind(expression, {text, text});
    return expression;
}

TextTemplate Binding::compileText(std::u16string_view text) {
    TextTemplate compiled = TextTemplate::parse(text);
    for (TextPart& part : compiled.parts) {
        if (part.expression) {
            bind(*part.expression, {text, text.substr(part.start, part.end - part.start)});
        }
    }
    return compiled;
}

void Binding::bindParsed(Expression& expression, std::u16string_view text) { bind(expression, {text, text}); }

std::vector<SortTerm> Binding::compileSort(std::u16string_view text) {
    std::vector<SortTerm> terms = parseSortTerms(text);
    for (SortTerm& term : terms) bind(term.expression, {text, text});
    return terms;
}

void Binding::bind(Expression& expression, const Origin& origin) {
    for (BoundName& name : expression.names) bindName(name, expression, origin);
    for (Aggregate& aggregate : expression.aggregates) {
        bindScope(aggregate, origin.text);
        bindTable(aggregate);
        expression.usesPageRows |= isOfPage(aggregate.scope.kind);
        expression.usesDefaultScope |= aggregate.scope.kind == ScopeKind::Default;
        if (aggregate.scope.kind == ScopeKind::Group)
            expression.groupLevel = std::max(expression.groupLevel, aggregate.scope.level);
        aggregate.slot = slots_++;
        aggregate.rows = totaledRows_;
        if (!aggregate.argument) continue;
        const Table* const outer = std::exchange(inner_, aggregate.table);
        const std::optional<KeyedRows> rows = std::exchange(totaledRows_, std::nullopt);
        bind(*aggregate.argument, origin);
        totaledRows_ = rows;
        inner_ = outer;
        expression.usesPage |= aggregate.argument->usesPage;
        expression.usesPageRows |= aggregate.argument->usesPageRows;
        expression.usesPageCount |= aggregate.argument->usesPageCount;
        const Expression& argument = *aggregate.argument;
        addGroups(expression, argument);
        const bool readsRows = argument.readsRow || !argument.aggregates.empty() || !argument.lookups.empty();
        if (!readsRows) aggregate.onceIn = argument.returnedLevel;
    }
    for (Lookup& lookup : expression.lookups) bindLookup(lookup, expression, origin);
    expression.usesPage |= expression.usesPageRows;
}

void Binding::bindLookup(Lookup& lookup, Expression& expression, const Origin& origin) {
    bind(*lookup.sought, origin);
    expression.usesPage |= lookup.sought->usesPage;
    expression.usesPageRows |= lookup.sought->usesPageRows;
    expression.usesPageCount |= lookup.sought->usesPageCount;
    expression.usesDefaultScope |= lookup.sought->usesDefaultScope;
    expression.dependsOnAggregate |= lookup.sought->dependsOnAggregate;
    addGroups(expression, *lookup.sought);
    const Table* const rows = lookedUpTable(lookup.tableName, origin);
    LookupTable* const table = rows == nullptr ? nullptr : &lookupTables_->of(*this, *rows);
    const LookupTables::Level level(*lookupTables_);
    for (Expression* const ofTable : {lookup.key.get(), lookup.result.get()}) {
        if (ofTable == nullptr) continue;
        if (table != nullptr) table->binding().bind(*ofTable, origin);
        if (!ofTable->usesPage && !ofTable->usesPageCount) continue;
        throw EngineError(ErrorCode::BadExpression,
                          "rows of other tables are on no page: no page number, page count or page total");
    }
    if (table == nullptr) return;
    lookup.slot = table->addLookup();
    lookup.table = table;
}

const Table* Binding::lookedUpTable(const std::u16string& name, const Origin& origin) const {
    const DataSet* const data = sources_.data;
    const Table* table = data == nullptr ? nullptr : data->table(name);
    if (table == nullptr && sources_.gridData != nullptr) table = sources_.gridData->table(name);
    if (table != nullptr || data == nullptr) return table;
    const std::string key = std::to_string(TextPlaces::keyOf(origin.text, use_)) + " lookup " + toUtf8(name) +
                            ' ' + std::to_string(reinterpret_cast<std::uintptr_t>(&report_));
    if (!isNewWarning(key)) return table;
    for (const TextPosition& place : report_.placesOf(origin.text, use_)) {
        logMissingTable(*data, name, "a lookup", place);
    }
    return table;
}

void Binding::bindName(BoundName& name, Expression& expression, const Origin& origin) {
    const auto declared = declared_->fields.find(lowerCase(name.name));
    const Field* const field = declared == declared_->fields.end() ? nullptr : declared->second;
    const auto found = [&](NameKind kind, std::size_t index) {
        name.kind = kind;
        name.index = static_cast<std::uint32_t>(index);
        if (field != nullptr) name.declaredType = field->type;
        expression.readsRow |= kind == NameKind::Column || kind == NameKind::Related;
    };
    if (bindReturned(name, expression)) return;
    if (field != nullptr && !trimmed(field->expression).empty()) {
        found(NameKind::Calculated, calculatedField(*field));
        const Expression& needed = calculated_[name.index].expression;
        expression.usesPage |= needed.usesPage;
        expression.usesPageRows |= needed.usesPageRows;
        expression.usesPageCount |= needed.usesPageCount;
        expression.usesDefaultScope |= needed.usesDefaultScope;
        expression.dependsOnAggregate |= needed.dependsOnAggregate;
        expression.readsRow |= needed.readsRow || !needed.aggregates.empty() || !needed.lookups.empty();
        addGroups(expression, needed);
        return;
    }
    const auto inTable = [&](const Table* table, NameKind kind) {
        const std::size_t column = table == nullptr ? Table::npos : table->findColumn(name.name);
        if (column != Table::npos) found(kind, column);
        return column != Table::npos;
    };
    if (inTable(sources_.rows, NameKind::Column)) return;
    const RelatedColumn related = findAround(inner_ != nullptr ? inner_ : sources_.rows, name.name);
    if (related.table != nullptr) {
        found(related.table == sources_.rows ? NameKind::Column : NameKind::Related, related.column);
        name.table = related.table;
        return;
    }
    if (inTable(sources_.head, NameKind::HeadColumn)) return;
    if (const std::optional<std::size_t> parameter = findParameter(name.name)) {
        found(NameKind::Parameter, *parameter);
        return;
    }
    // A table without rows has no columns either, and a missing table is reported already.
    const bool mayBeKnown =
        sources_.rows != nullptr ? sources_.rows->columnCount() == 0 : report_.grid != nullptr;
    if (field == nullptr && !mayBeKnown) logUnknown(name.name, origin);
}

// Names of columns within the row table make the aggregate one over that table's rows, and so does its own
// name in Count.
void Binding::bindTable(Aggregate& aggregate) const {
    const Table* const rows = sources_.rows;
    if (rows == nullptr || rows->children().empty() || !aggregate.argument) return;
    const auto isOfReport = [&](const BoundName& name) {
        const auto declared = declared_->fields.find(lowerCase(name.name));
        const bool isReturned = readsReturned_ && declared_->returns.contains(lowerCase(name.name));
        return isReturned ||
               (declared != declared_->fields.end() && !trimmed(declared->second->expression).empty());
    };
    for (const BoundName& name : aggregate.argument->names) {
        if (isOfReport(name) || rows->findColumn(name.name) != Table::npos) continue;
        const Table* const table = tablesInside().withColumn(name.name);
        if (table == nullptr) continue;
        if (aggregate.table == nullptr || table->isWithin(*aggregate.table)) aggregate.table = table;
    }
    const BoundName* const lone = aggregate.argument->loneName();
    if (aggregate.kind != AggregateKind::Count || lone == nullptr || isOfReport(*lone)) return;
    if (const Table* const table = tablesInside().named(lone->name)) {
        aggregate.table = table;
        aggregate.argument.reset();
    }
}

void Binding::logUnknown(std::u16string_view name, const Origin& origin) const {
    constexpr std::size_t kShown = 80;
    const std::string key = std::to_string(TextPlaces::keyOf(origin.text, use_)) + ' ' +
                            std::to_string(reinterpret_cast<std::uintptr_t>(&report_)) + ' ' + toUtf8(name);
    if (!isNewWarning(key)) return;
    const bool isPlaceholder = origin.shown.starts_with(u'[');
    std::string where = toUtf8(origin.shown.substr(0, kShown)) + (origin.shown.size() > kShown ? "..." : "");
    if (!isPlaceholder) where = '"' + where + '"';
    const Table* const inside = sources_.rows == nullptr ? nullptr : tablesInside().withColumn(name);
    const std::string hint =
        inside != nullptr
            ? "it is a field of \"" + toUtf8(inside->name()) + "\": read it in an aggregate or a sub-report"
            : suggestion(name, std::vector<std::u16string_view>(knownNames().begin(), knownNames().end()));
    const std::string message =
        "unknown field \"" + toUtf8(name) + "\" in " + where + " is read as empty; " + hint;
    for (const TextPosition& place : report_.placesOf(origin.text, use_)) logWarning(message, place);
}

const TablesInside& Binding::tablesInside() const {
    if (!tablesInside_) tablesInside_.emplace(*sources_.rows);
    return *tablesInside_;
}

// In the order in which names are looked up, without repeats: as many as a suggestion reads, and one more.
const std::vector<std::u16string>& Binding::knownNames() const {
    if (knownNames_) return *knownNames_;
    std::vector<std::u16string>& names = knownNames_.emplace();
    std::unordered_set<std::u16string> known;
    const auto add = [&](std::size_t count, auto&& nameAt) {
        for (std::size_t i = 0; i < count && names.size() <= kMostSuggested; ++i) {
            const auto& name = nameAt(i);
            if (known.insert(lowerCase(name)).second) names.emplace_back(name);
        }
    };
    const auto addAll = [&](const auto& named) {
        add(named.size(), [&](std::size_t i) -> const std::u16string& { return named[i].name; });
    };
    const auto addColumns = [&](const Table& table, const std::u16string& prefix) {
        add(table.columnCount(), [&](std::size_t column) { return prefix + table.columnName(column); });
    };
    if (readsReturned_) {
        for (const auto& [key, declared] : declared_->returns) {
            if (known.insert(key).second) names.push_back(declared.value().name);
        }
    }
    for (const Table* table = sources_.rows; table != nullptr; table = table->parent())
        addColumns(*table, {});
    if (sources_.head != nullptr) addColumns(*sources_.head, {});
    addAll(report_.fields);
    addAll(report_.parameters);
    if (sources_.data != nullptr) addAll(sources_.data->parameters());
    addAll(passedNames_);
    const auto addInside = [&](const auto& self, const Table& table) -> void {
        for (const Table* const child : table.children()) {
            addColumns(*child, std::u16string(nameInside(*child, *sources_.rows)) + u'.');
            self(self, *child);
        }
    };
    if (sources_.rows != nullptr) addInside(addInside, *sources_.rows);
    return names;
}

void Binding::bindScope(Aggregate& aggregate, std::u16string_view text) const {
    struct Word {
        std::u16string_view word;
        ScopeKind kind;
    };
    constexpr std::array<Word, 7> kWords = {{
        {u"Group", ScopeKind::Innermost},
        {u"Page", ScopeKind::Page},
        {u"BroughtForward", ScopeKind::BroughtForward},
        {u"CarriedForward", ScopeKind::CarriedForward},
        {u"Report", ScopeKind::Report},
        {u"Running", ScopeKind::Running},
        {u"GroupRunning", ScopeKind::GroupRunning},
    }};
    if (aggregate.scopeName.empty()) return;
    std::vector<std::u16string_view> names;  // those that it could have
    for (std::size_t level = 0; grid_ != nullptr && level < grid_->groups.size(); ++level) {
        const std::u16string& name = grid_->groups[level]->name;
        if (name.empty()) continue;
        if (name == aggregate.scopeName) {
            aggregate.scope = {ScopeKind::Group, static_cast<int>(level)};
            return;
        }
        names.emplace_back(name);
    }
    for (const Word& word : kWords) {
        if (equalsIgnoringCase(aggregate.scopeName, word.word)) {
            aggregate.scope = {word.kind, 0};
            return;
        }
        names.emplace_back(word.word);
    }
    throw EngineError(ErrorCode::BadExpression,
                      "bad expression \"" + toUtf8(text.substr(0, 200)) + "\", column " +
                          std::to_string(aggregate.scopeColumn) + ": there is no group named \"" +
                          toUtf8(aggregate.scopeName) + "\"; " + suggestion(aggregate.scopeName, names),
                      {"", {0, static_cast<int>(aggregate.scopeColumn)}});
}

const FilterIndex* Binding::filterIndex() const {
    if (!filterIndex_) {
        const bool indexed = filter_ && sources_.rows != nullptr;
        filterIndex_ = indexed ? FilterIndex::make(*filter_, *sources_.rows) : nullptr;
    }
    return filterIndex_->get();
}

// Rows of other tables are not those that the sub-reports belong to.
bool Binding::bindReturned(BoundName& name, Expression& expression) {
    if (!readsReturned_ || declared_->returns.empty()) return false;
    const auto found = declared_->returns.find(lowerCase(name.name));
    if (found == declared_->returns.end()) return false;
    const DeclaredReturn& declared = found->second;
    const BoundReturn returned{boundSite(declared), declared.index};
    name.kind = NameKind::Returned;
    name.index = static_cast<std::uint32_t>(returned_.size());
    returned_.push_back(returned);
    const ReturnSite& site = declared.site;
    expression.readsRow |= site.isOfRow;
    int level = site.level;
    if (site.isOfRow && site.content().hasSectionRows && grid_ != nullptr)
        level = static_cast<int>(grid_->groups.size()) - 1;
    expression.groupLevel = std::max(expression.groupLevel, level);
    if (!site.isOfRow) expression.returnedLevel = std::max(expression.returnedLevel, std::optional(level));
    return true;
}

std::size_t Binding::boundSite(const DeclaredReturn& declared) {
    const SubReportContent& content = declared.site.content();
    const auto known = returnSiteIndex_.find(&content);
    if (known != returnSiteIndex_.end()) return known->second;
    const std::string name = toUtf8(declared.value().name);
    if (std::find(sitesUnderWay_.begin(), sitesUnderWay_.end(), &content) != sitesUnderWay_.end()) {
        throw EngineError(ErrorCode::BadExpression,
                          "the sub-report that returns \"" + name + "\" needs it itself");
    }
    if (sitesUnderWay_.size() >= static_cast<std::size_t>(limits::kExpressionDepth)) {
        throw EngineError(ErrorCode::LimitExceeded, "sub-reports need values that others return more than " +
                                                        std::to_string(limits::kExpressionDepth) +
                                                        " deep at \"" + name + '"');
    }
    struct UnderWay {
        Binding& binding;
        const Table* const inner;
        UnderWay(Binding& owner, const SubReportContent& content)
            : binding(owner), inner(std::exchange(owner.inner_, nullptr)) {
            binding.sitesUnderWay_.push_back(&content);
        }
        ~UnderWay() {
            binding.inner_ = inner;
            binding.sitesUnderWay_.pop_back();
        }
    };
    const UnderWay underWay(*this, content);
    const auto compiled = [&](const std::u16string& text) {
        Expression expression = compile(trimmed(text).empty() ? u"null" : text);
        if (!expression.usesPage && !expression.usesPageCount) return expression;
        throw EngineError(ErrorCode::BadExpression, "the sub-report that returns \"" + name +
                                                        "\" cannot depend on pages: no page number, page "
                                                        "count or page total");
    };
    BoundReturnSite bound{declared.site, {}, {}};
    for (const SubReportParameter& parameter : passedTo(content)) {
        bound.arguments.push_back(parameter.expression.empty() ? parameterExpression(parameter.name)
                                                               : compiled(parameter.expression));
    }
    const std::u16string& visibleWhen = declared.site.control->visibleWhen;
    if (!trimmed(visibleWhen).empty()) bound.visibleWhen = compiled(visibleWhen);
    returnSites_.push_back(std::move(bound));
    returnSiteIndex_.emplace(&content, returnSites_.size() - 1);
    return returnSites_.size() - 1;
}

void Binding::connect(const SubReportContent& content, SubReportRows rows, Binding& inner) {
    if (content.returns.empty()) return;
    ReturningReport report{std::move(rows), {}};
    for (const ReturnedValue& value : content.returns)
        report.values.push_back(inner.compile(value.expression));
    returning_.insert_or_assign(&content, std::move(report));
}

const ReturningReport* Binding::returningReport(const SubReportContent& content) const {
    const auto known = returning_.find(&content);
    return known == returning_.end() ? nullptr : &known->second;
}

std::vector<ReturnSite> Binding::unconnectedReturns() const {
    std::vector<ReturnSite> sites;
    std::unordered_set<const SubReportContent*> known;
    for (const auto& [name, declared] : declared_->returns) {
        const SubReportContent& content = declared.site.content();
        if (!returning_.contains(&content) && known.insert(&content).second) sites.push_back(declared.site);
    }
    return sites;
}

void Binding::logHiddenNames() const {
    const auto isIn = [](const Table* table, std::u16string_view name) {
        return table != nullptr &&
               (table->findColumn(name) != Table::npos || findAround(table, name).table != nullptr);
    };
    for (const auto& [key, declared] : declared_->returns) {
        const std::u16string& name = declared.value().name;
        const bool hidesField =
            declared_->fields.contains(key) || isIn(sources_.rows, name) || isIn(sources_.head, name);
        const bool hidesParameter = declared_->parameters.contains(key) || parameterIndex_.contains(key) ||
                                    (sources_.data != nullptr && sources_.data->parameter(name) != nullptr);
        if (!hidesField && !hidesParameter) continue;
        const std::string warningKey =
            "returned " + toUtf8(key) + ' ' + std::to_string(reinterpret_cast<std::uintptr_t>(&report_));
        if (!isNewWarning(warningKey)) continue;
        logWarning("the returned value \"" + toUtf8(name) + "\" hides the " +
                       (hidesField ? "field" : "parameter") + " of this name",
                   report_.placesOf(name, TextUse::Return).front());
    }
}

std::uint32_t Binding::calculatedField(const Field& field) {
    const auto known = calculatedIndex_.find(&field);
    if (known != calculatedIndex_.end()) return known->second;
    if (std::find(underWay_.begin(), underWay_.end(), &field) != underWay_.end()) {
        throw EngineError(ErrorCode::BadExpression,
                          "the calculated field \"" + toUtf8(field.name) + "\" needs itself");
    }
    if (underWay_.size() >= static_cast<std::size_t>(limits::kExpressionDepth)) {
        throw EngineError(ErrorCode::LimitExceeded, "calculated fields need one another more than " +
                                                        std::to_string(limits::kExpressionDepth) +
                                                        " deep at \"" + toUtf8(field.name) + "\"");
    }
    struct UnderWay {
        std::vector<const Field*>& fields;
        UnderWay(std::vector<const Field*>& all, const Field& field) : fields(all) { all.push_back(&field); }
        ~UnderWay() { fields.pop_back(); }
    };
    Expression expression;
    {
        const UnderWay underWay(underWay_, field);
        const Table* const inner = std::exchange(inner_, nullptr);
        const std::optional<KeyedRows> rows = std::exchange(totaledRows_, std::nullopt);
        expression = compile(field.expression);
        totaledRows_ = rows;
        inner_ = inner;
    }
    const auto index = static_cast<std::uint32_t>(calculated_.size());
    calculated_.push_back({&field, std::move(expression)});
    calculatedIndex_.emplace(&field, index);
    return index;
}

}  // namespace qbsvrl6
