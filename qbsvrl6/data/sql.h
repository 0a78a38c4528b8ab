// Rows from databases: connections, and queries that are prepared once and run with parameters.
#ifndef QBSVR_QBSVRL6_DATA_SQL_H
#define QBSVR_QBSVRL6_DATA_SQL_H

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/address.h"

namespace qbsvrl6 {

// A statement that only reads. Used on one thread.
class SqlQuery {
public:
    virtual ~SqlQuery() = default;

    // The names after ":" in the statement, in the order of their first use, without repeats.
    virtual const std::vector<std::u16string>& parameters() const = 0;
    // The result's one table, which has no name, with its columns and without rows.
    virtual DataSet shape() = 0;
    // The result for these values, in the order of parameters(). The values are bound, never part of the
    // statement's text. Raises EngineError with the database's message, for results of more than
    // limits::kQueryRows, and for what ends the whole export (budget.h).
    virtual DataSet run(std::span<const Value> values) = 0;
};

// A connection that only reads, in one transaction as far as the database has them: all queries see the same
// data. Used on one thread.
class SqlConnection {
public:
    virtual ~SqlConnection() = default;

    // Raises EngineError with the database's message. The query may outlive the caller's reference to the
    // connection.
    virtual std::unique_ptr<SqlQuery> prepare(std::u16string_view statement) = 0;
};

// Both raise EngineError: a missing library (MissingLibrary) or driver (NotSupported), with the package to
// install, a file that is not found, not reachable (reach.h) or no database, a refused connection.

std::shared_ptr<SqlConnection> openSqlite(const Address& file);
// "DSN=shop;UID=reader;PWD=..." or "Driver=...;Server=...".
std::shared_ptr<SqlConnection> openOdbc(std::u16string_view connection);

// The connection for messages: without the values of passwords.
std::string shownOdbc(std::u16string_view connection);

}  // namespace qbsvrl6

#endif
