// The names of one report bound to its data: what each name of an expression refers to, and which rows each
// aggregate reads.
#ifndef QBSVR_QBSVRL6_BIND_BINDING_H
#define QBSVR_QBSVRL6_BIND_BINDING_H

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/bind/filter_index.h"
#include "qbsvrl6/bind/related_names.h"
#include "qbsvrl6/bind/returned_values.h"
#include "qbsvrl6/bind/sort_terms.h"
#include "qbsvrl6/bind/text_template.h"
#include "qbsvrl6/bind/unread_values.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Where a report's values come from; any may be null. All outlive the binding.
struct DataSources {
    const DataSet* data = nullptr;      // its parameters
    const Table* rows = nullptr;        // the rows that are walked
    const Table* head = nullptr;        // a table whose first row can be read in all sections
    const DataSet* set = nullptr;       // parameters that the program has set
    const DataSet* gridData = nullptr;  // of the grid, if it has its own: expressions look up its tables too
    const DataSet* outer = nullptr;     // of the report around: parameters that `data` does not have
};

class LookupTables;

// A value that owns its text.
class OwnedValue {
public:
    OwnedValue() = default;
    explicit OwnedValue(const Value& value) : value_(value), text_(value.text) {}
    Value get() const {
        Value value = value_;
        value.text = text_;
        return value;
    }

private:
    Value value_;
    std::u16string text_;
};

// The value as the declared type; unchanged if it does not read as one.
Value convertTo(const Value& value, DataType type, TextArena& arena);

class Binding {
public:
    struct Calculated {
        const Field* field = nullptr;
        Expression expression;
    };
    struct BoundGroup {
        const Group* group = nullptr;
        Expression key;
        std::vector<SortTerm> sort;
    };
    // A name that refers to a value of a sub-report.
    struct BoundReturn {
        std::size_t site = 0;
        std::size_t value = 0;
    };
    struct BoundParameter {
        std::u16string name;
        std::optional<DataType> type;
        OwnedValue value;  // from the data, or else the default
    };

    // `report` outlives the binding. `passed` are the parameters that an outer report passes. Compiles the
    // grid's filter, sort and groups. `returning` has the sub-reports whose values names refer to; null:
    // `report` has. Raises EngineError(BadExpression) if an expression is invalid.
    Binding(const ReportDefinition& report, const DataSources& sources,
            std::span<const SubReportParameter> passed, const ReportDefinition* returning = nullptr);

    // The names of `outer` for rows that are not the grid's: with another filter (empty: none) and without
    // groups.
    Binding(const Binding& outer, const DataSources& sources, std::u16string_view filter);

    // The names of `outer` for the rows of a table that it looks up.
    Binding(const Binding& outer, const Table& rows);
    ~Binding();

    // Parses and binds. An unknown name reads as null; each occurrence is logged once per export. Raises
    // EngineError(BadExpression), also for calculated fields that depend on themselves.
    Expression compile(std::u16string_view text);
    TextTemplate compileText(std::u16string_view text);
    // The totals of all texts that are compiled from now on have only these rows; none: all rows. Totals of
    // calculated fields always have all rows.
    void setTotaledRows(const std::optional<KeyedRows>& rows) { totaledRows_ = rows; }
    // Binds an expression that has been parsed from this text.
    void bindParsed(Expression& expression, std::u16string_view text);
    std::vector<SortTerm> compileSort(std::u16string_view text);
    // Raises the same error for an expression that needs groups inside those of this level, which are not
    // known when it chooses or sorts rows. -1: no groups are known.
    void checkKnownGroups(const Expression& expression, int innermost) const;

    const ReportDefinition& report() const { return report_; }
    // The first place of a text of the template, for messages.
    TextPosition placeOf(std::u16string_view text) const { return report_.placesOf(text, use_).front(); }
    const DataSources& sources() const { return sources_; }
    const Calculated& calculated(std::uint32_t index) const { return calculated_[index]; }
    std::size_t calculatedCount() const { return calculated_.size(); }
    // Those that expressions read or the outer report passes.
    const std::vector<BoundParameter>& parameters() const { return parameters_; }
    // Reads a parameter whatever columns have its name.
    Expression parameterExpression(const std::u16string& name);
    // Index in parameters() of a parameter that the outer report passes.
    std::size_t passedParameter(std::size_t index) const { return passed_[index]; }
    std::size_t passedCount() const { return passed_.size(); }
    std::uint32_t aggregateSlots() const { return slots_; }
    const std::optional<Expression>& filter() const { return filter_; }
    // Made at the first call; null if FilterIndex does not support the filter.
    const FilterIndex* filterIndex() const;
    const std::vector<SortTerm>& sort() const { return sort_; }
    const std::vector<BoundGroup>& groups() const { return groups_; }  // outermost first
    // Shared by all views of the binding.
    UnreadValues& unreadValues() const { return unread_; }
    // The same, for texts that numbers and dates are compared with.
    UnreadValues& mixedValues() const { return mixed_; }
    LookupTables& lookupTables() const { return *lookupTables_; }
    const BoundReturn& returned(std::uint32_t index) const { return returned_[index]; }
    std::size_t returnedCount() const { return returned_.size(); }
    const BoundReturnSite& returnSite(std::size_t index) const { return returnSites_[index]; }
    std::size_t returnSiteCount() const { return returnSites_.size(); }
    // Compiles the values that the sub-report returns. `inner` is the binding of its rows, which outlives the
    // use of this one. Raises EngineError(BadExpression).
    void connect(const SubReportContent& content, SubReportRows rows, Binding& inner);
    // Null if it is not connected: its values are empty.
    const ReturningReport* returningReport(const SubReportContent& content) const;
    // The sub-reports that return values and are not connected.
    std::vector<ReturnSite> unconnectedReturns() const;

private:
    // What the report declares, by names in lower case. All bindings of a report share it.
    struct Declared {
        Declared(const ReportDefinition& report, const ReportDefinition& returning);
        std::unordered_map<std::u16string, const Field*> fields;
        std::unordered_map<std::u16string, const Parameter*> parameters;
        std::map<std::u16string, DeclaredReturn> returns;  // the first of each name
    };

    void addPassed();
    std::optional<std::size_t> findParameter(std::u16string_view name);
    std::size_t addParameter(BoundParameter parameter, std::u16string lowerCaseName);
    // The origin of an expression: a text of the template, and the part of it that messages show.
    struct Origin {
        std::u16string_view text;
        std::u16string_view shown;
    };

    void bind(Expression& expression, const Origin& origin);
    void bindName(BoundName& name, Expression& expression, const Origin& origin);
    void logUnknown(std::u16string_view name, const Origin& origin) const;
    const std::vector<std::u16string>& knownNames() const;
    const TablesInside& tablesInside() const;
    void bindTable(Aggregate& aggregate) const;
    void bindLookup(Lookup& lookup, Expression& expression, const Origin& origin);
    const Table* lookedUpTable(const std::u16string& name, const Origin& origin) const;
    void bindScope(Aggregate& aggregate, std::u16string_view text) const;
    void addGroup(const Group& group);
    std::uint32_t calculatedField(const Field& field);
    bool bindReturned(BoundName& name, Expression& expression);
    std::size_t boundSite(const DeclaredReturn& declared);
    void logHiddenNames() const;

    const ReportDefinition& report_;
    const DetailGrid* grid_ = nullptr;  // scopes may name its groups
    DataSources sources_;
    TextUse use_ = TextUse::Report;
    std::shared_ptr<const Declared> declared_;
    std::span<const SubReportParameter> passedNames_;
    std::unordered_map<std::u16string, std::size_t> parameterIndex_;  // by name in lower case
    std::unordered_map<const Field*, std::uint32_t> calculatedIndex_;
    std::deque<Calculated> calculated_;
    std::vector<const Field*> underWay_;  // calculated fields being compiled
    const Table* inner_ = nullptr;        // of the aggregate being bound; null: the row table
    std::optional<KeyedRows> totaledRows_;
    std::vector<BoundParameter> parameters_;
    std::vector<std::size_t> passed_;
    std::optional<Expression> filter_;
    mutable std::optional<std::unique_ptr<FilterIndex>> filterIndex_;
    std::vector<SortTerm> sort_;
    std::vector<BoundGroup> groups_;
    mutable std::optional<std::vector<std::u16string>> knownNames_;
    mutable std::optional<TablesInside> tablesInside_;  // the row table
    bool readsReturned_ = false;                        // its rows are those around the sub-reports
    std::deque<BoundReturn> returned_;
    std::deque<BoundReturnSite> returnSites_;
    std::unordered_map<const SubReportContent*, std::size_t> returnSiteIndex_;
    std::vector<const SubReportContent*> sitesUnderWay_;  // being compiled
    std::unordered_map<const SubReportContent*, ReturningReport> returning_;
    // Shared by all bindings of the report; the one that is made first owns it.
    std::unique_ptr<LookupTables> ownLookupTables_;
    LookupTables* lookupTables_ = nullptr;
    mutable UnreadValues unread_{"calculations treat it as empty"};
    mutable UnreadValues mixed_{"it is compared as a text"};
    std::uint32_t slots_ = 0;
};

}  // namespace qbsvrl6

#endif
