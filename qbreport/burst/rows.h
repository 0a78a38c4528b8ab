// The rows of a source, one after another, with the values of some columns.
#ifndef QBSVR_QBREPORT_BURST_ROWS_H
#define QBSVR_QBREPORT_BURST_ROWS_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbreport/burst/source.h"

namespace qbreport {

struct Row {
    std::uint64_t offset = 0;         // of its first byte in the source
    std::uint64_t line = 0;           // from 1; 0: unknown
    std::string_view bytes;           // until the next row is read
    std::vector<std::string> values;  // of the columns; empty if the row has none
};

class Rows {
public:
    virtual ~Rows() = default;

    // Returns false after the last row. Raises Failure for what is no row.
    virtual bool next(Row& row) = 0;
    // The columns that the last row has.
    virtual std::vector<std::string> columns() const = 0;
    // How the engine reads the rows of a document: `kind` of its load, the bytes before the rows, and one
    // after each.
    virtual std::string kind() const = 0;
    virtual std::string head() const = 0;
    // Continues at the last row that begins before the offset, or at any row before it.
    virtual void seekBefore(std::uint64_t offset) = 0;
};

// The kind of data, by the content.
std::string kindOf(const Source& source);

// `kind`: "jsonl", "json" or "csv:separator=;". `digest` gets the whole source if all rows are read; may be
// null. Raises Failure for another kind.
std::unique_ptr<Rows> openRows(const Source& source, const std::string& kind,
                               const std::vector<std::string>& columns, Digest* digest);

std::unique_ptr<Rows> openJsonLines(const Source& source, const std::vector<std::string>& columns,
                                    Digest* digest);
// The elements of an array of objects.
std::unique_ptr<Rows> openJsonArray(const Source& source, const std::vector<std::string>& columns,
                                    Digest* digest);
// `options`: "separator=;,header=no".
std::unique_ptr<Rows> openCsv(const Source& source, std::string_view options,
                              const std::vector<std::string>& columns, Digest* digest);

// "accounts.jsonl:17", for the beginning of a message.
std::string placeOf(const Source& source, std::uint64_t offset, std::uint64_t line);

}  // namespace qbreport

#endif
