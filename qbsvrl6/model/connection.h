// Connection strings: which source a query is for.
#ifndef QBSVR_QBSVRL6_MODEL_CONNECTION_H
#define QBSVR_QBSVRL6_MODEL_CONNECTION_H

#include <optional>
#include <string>
#include <string_view>

namespace qbsvrl6 {

enum class SourceKind { Document, Csv, JsonLines, Sqlite, Odbc };

// A connection string as its source and what follows the source's name.
struct ConnectionParts {
    SourceKind kind;
    std::u16string_view rest;  // "header=no" of "csv:header=no"

    // Whether the query is SQL; otherwise it is the address of a file.
    bool readsSql() const { return kind == SourceKind::Sqlite || kind == SourceKind::Odbc; }
};

// None for a string of no source that exists.
std::optional<ConnectionParts> connectionParts(std::u16string_view connection);

// "xml, csv, ...": the sources, for messages.
std::string knownConnections();

}  // namespace qbsvrl6

#endif
