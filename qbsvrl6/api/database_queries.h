// The queries of one report to databases: connections, the values of parameters, queries per row.
#ifndef QBSVR_QBSVRL6_API_DATABASE_QUERIES_H
#define QBSVR_QBSVRL6_API_DATABASE_QUERIES_H

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/data/row_query.h"
#include "qbsvrl6/data/sql.h"
#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Where the values of a report's parameters come from.
struct ParameterSources {
    const ReportDefinition& report;
    std::span<const SubReportParameter> passed;  // by an outer report, for each of its rows
    const DataSet* set = nullptr;                // by the program; may be null, like `data`
    const DataSet* data = nullptr;
};

// Raises EngineError for a text that does not read as the type that the report declares for the parameter.
void checkParameter(const ReportDefinition& report, std::u16string_view name, std::u16string_view value);

// Raises EngineError for a parameter that is required and has no value, and for a value of the program that
// is not of the declared type.
void checkParameters(const ParameterSources& sources);

// Either the rows of a query, or the query where its parameters change from row to row of an outer report.
struct QueriedData {
    std::shared_ptr<const DataSet> data;  // of a query per row: its shape
    std::shared_ptr<RowQuery> perRow;     // may be null
};

// The open databases of one export: all queries with one connection string share a connection, and therefore
// see the same data.
class Databases {
public:
    // Runs or prepares a query. Raises EngineError: what sql.h names, a parameter without a value, and
    // NotAllowed for an ODBC connection of a template, unless the settings allow it (reach.h).
    QueriedData query(const Address& connection, const ConnectionParts& parts,
                      const std::u16string& statement, const ParameterSources& sources);

private:
    SqlConnection& open(const Address& connection, const ConnectionParts& parts);

    std::map<std::pair<std::u16string, std::string>, std::shared_ptr<SqlConnection>>
        open_;  // by name and folder
};

// The query and its database for messages: `"SELECT ..." of shop.db`, without passwords.
std::string shownQuery(const Address& connection, const ConnectionParts& parts,
                       const std::u16string& statement);

}  // namespace qbsvrl6

#endif
