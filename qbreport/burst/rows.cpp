#include "qbreport/burst/rows.h"

#include "qbreport/data_kind.h"
#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::size_t kGuessedBytes = 1 << 16;

}  // namespace

std::string kindOf(const Source& source) {
    std::string bytes(kGuessedBytes, '\0');
    bytes.resize(readAt(source.file(), 0, bytes.data(), bytes.size(), source.name()));
    return kindOfText(bytes);
}

std::string placeOf(const Source& source, std::uint64_t offset, std::uint64_t line) {
    return source.name() +
           (line > 0 ? source.beforeLine() + std::to_string(line) : ", byte " + std::to_string(offset));
}

std::unique_ptr<Rows> openRows(const Source& source, const std::string& kind,
                               const std::vector<std::string>& columns, Digest* digest) {
    if (kind == "jsonl") return openJsonLines(source, columns, digest);
    if (kind == "json") return openJsonArray(source, columns, digest);
    if (kind == "csv" || kind.starts_with("csv:")) {
        return openCsv(source, std::string_view(kind).substr(kind == "csv" ? 3 : 4), columns, digest);
    }
    throw Failure("\"" + source.name() + "\" cannot be divided: data of the kind \"" + kind +
                  "\" has no rows in order; use JSON Lines, an array of JSON, CSV, XML or a database");
}

}  // namespace qbreport
