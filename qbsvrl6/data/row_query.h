// Queries of sub-reports that run once per row of the outer report.
#ifndef QBSVR_QBSVRL6_DATA_ROW_QUERY_H
#define QBSVR_QBSVRL6_DATA_ROW_QUERY_H

#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

class RowQuery {
public:
    virtual ~RowQuery() = default;

    // The result's tables, with their columns and without rows. Always the same object.
    virtual const DataSet& shape() const = 0;
    // `passed` are the values that the outer report passes, in the order of the sub-report's parameters.
    virtual std::shared_ptr<const DataSet> run(std::span<const Value> passed) = 0;
};

// The results of queries in place of their shapes.
class RowTables {
public:
    void add(const DataSet& shape, std::shared_ptr<const DataSet> result) {
        results_.emplace_back(&shape, std::move(result));
    }
    // The table of a result, if the table is one of a shape; otherwise the table itself. Null remains null.
    const Table* tableFor(const Table* table) const {
        for (const auto& [shape, result] : results_) {
            for (std::size_t i = 0; i < shape->tables().size(); ++i) {
                if (&shape->tables()[i] == table) return &result->tables()[i];
            }
        }
        return table;
    }

private:
    std::vector<std::pair<const DataSet*, std::shared_ptr<const DataSet>>> results_;
};

}  // namespace qbsvrl6

#endif
