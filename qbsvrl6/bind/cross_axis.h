// The keys of the rows or of the columns of a cross-table.
#ifndef QBSVR_QBSVRL6_BIND_CROSS_AXIS_H
#define QBSVR_QBSVRL6_BIND_CROSS_AXIS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// A key of one level within one of the level above it. The first node has all rows.
struct CrossNode {
    std::uint32_t parent = 0;
    int level = -1;  // -1: all rows
    OwnedValue key;
    std::u16string title;       // of the key
    std::u16string totalTitle;  // of the total over the keys within it
};

// A row or column that is shown.
struct CrossLine {
    std::uint32_t node = 0;
    int totalOf = -1;  // the level over whose keys it is a total; -1: a key of the innermost level
};

struct CrossAxis {
    static constexpr std::uint32_t kNowhere = 0xFFFF'FFFF;

    std::vector<CrossNode> nodes;       // each after the one around it
    std::vector<CrossLine> lines;       // from the left or the top
    std::vector<std::uint32_t> leafOf;  // the innermost node of each row of the table; kNowhere: left out

    // The node of this level that holds the node; itself if it is not within the level.
    std::uint32_t around(std::uint32_t node, std::size_t level) const {
        while (nodes[node].level > static_cast<int>(level)) node = nodes[node].parent;
        return node;
    }
};

// Finds the keys of rows: the levels are groups with all rows of their key.
class CrossAxisQuery {
public:
    // `report` and `levels` outlive the query. Raises EngineError(BadExpression).
    CrossAxisQuery(const ReportDefinition& report, const DataSources& sources,
                   std::span<const SubReportParameter> passed, const std::vector<CrossLevel>& levels);

    Binding& binding() { return *binding_; }
    // Raises the same error if keys, their order or titles depend on what an outer report passes.
    void refusePassed() const;
    // `view` is a view of the binding, made after everything has been compiled.
    CrossAxis find(RowView& view);

private:
    struct Titles {
        TextTemplate key, total;
    };
    struct Finding;

    void addKeys(Finding& finding, RowRange rows, std::size_t level, std::uint32_t parent);

    const std::vector<CrossLevel>& levels_;
    ReportDefinition names_;  // of the report, with the levels as groups
    std::unique_ptr<Binding> binding_;
    std::vector<Titles> titles_;  // of each level
};

}  // namespace qbsvrl6

#endif
