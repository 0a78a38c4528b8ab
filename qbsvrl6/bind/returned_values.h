// The values that sub-reports return to the report around them: <Return name="Total"
// expression="Sum(Amount)"/>.
#ifndef QBSVR_QBSVRL6_BIND_RETURNED_VALUES_H
#define QBSVR_QBSVRL6_BIND_RETURNED_VALUES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/bind/position.h"
#include "qbsvrl6/data/row_query.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

class Binding;
class Evaluator;
class OwnedValue;
class RowView;

// A sub-report that returns values, and where it is in the report around it.
struct ReturnSite {
    const Control* control = nullptr;
    bool isOfRow = false;   // in a cell
    bool isHeader = false;  // of the report or a group
    int level = -1;         // of the group whose header or footer has it

    const SubReportContent& content() const { return std::get<SubReportContent>(control->content); }
};

struct DeclaredReturn {
    ReturnSite site;
    std::size_t index = 0;  // of the value among those of the sub-report

    const ReturnedValue& value() const { return site.content().returns[index]; }
};

// All but those of page headers and footers, which have no row.
std::vector<DeclaredReturn> declaredReturns(const ReportDefinition& report);

// What the values of a sub-report depend on in the report around it.
struct BoundReturnSite {
    ReturnSite site;
    std::vector<Expression> arguments;
    std::optional<Expression> visibleWhen;
};

// The rows that a sub-report walks.
struct SubReportRows {
    const Binding* binding = nullptr;  // of the sub-report
    bool areOfSection = false;
    std::vector<std::shared_ptr<RowQuery>> queries;  // run for each instance
};

// A sub-report whose values can be read.
struct ReturningReport {
    SubReportRows rows;
    std::vector<Expression> values;
};

// The returned values in one view of the report around the sub-reports. The value at a row, group or report
// is computed as the sub-report there would be, wherever it is read, and whether the sub-report is printed or
// not.
class ReturnedValues {
public:
    // All outlive the object.
    ReturnedValues(const Binding& binding, const RowView& view, Evaluator& evaluator);
    ~ReturnedValues();

    // The value's text lives until the next evaluation.
    Value read(std::uint32_t index, const Position& position);
    // To be called when the rows have changed.
    void forget();

private:
    // The values of a sub-report at a row.
    struct Known {
        std::size_t row = 0;
        std::vector<OwnedValue> values;  // empty: not known
    };

    std::optional<Position> positionOf(const ReturnSite& site, const Position& position) const;
    std::vector<OwnedValue> valuesAt(const BoundReturnSite& site, const Position& position);
    struct Site {
        std::vector<Known>
            rows;    // those that were read last: totals of groups and of the report read them again
        Known last;  // the last row with a long text
    };
    Site& siteAt(std::size_t site);

    const Binding& binding_;
    const RowView& view_;
    Evaluator& evaluator_;
    std::vector<Site> sites_;
};

}  // namespace qbsvrl6

#endif
