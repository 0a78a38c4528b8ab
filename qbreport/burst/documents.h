// The documents of a burst: their keys, names and rows, in the order of the data.
#ifndef QBSVR_QBREPORT_BURST_DOCUMENTS_H
#define QBSVR_QBREPORT_BURST_DOCUMENTS_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qbreport/burst/decimal.h"
#include "qbreport/burst/rows.h"

namespace qbreport {

// One part of a run that is divided: the second of four is {2, 4}.
struct Shard {
    std::uint64_t number = 1;
    std::uint64_t count = 1;
    bool isWhole() const { return count == 1; }
    // "", or ".2-of-4" for names of files
    std::string suffix() const;
};

// The columns that a burst itself reads. The values of rows and documents are in this order.
struct Columns {
    std::vector<std::string> names;
    std::size_t key = 0;  // indexes
    std::size_t total = 0;
    bool hasTotal = false;
};

struct Document {
    std::string key;
    std::uint64_t at = 0;    // the offset of its first row in the data; of a list of keys, its number from 0
    std::uint64_t line = 0;  // of its first row; 0: unknown
    std::uint64_t rows = 0;
    Decimal total;
    std::vector<std::string> values;  // of the first row
    std::string data;                 // its rows, each with a line end
};

// Where documents come from.
struct DocumentSource {
    std::shared_ptr<const Source> source;
    std::string kind;
    bool isKeyList = false;  // each row is a document, whose data a query of the template reads
    Columns columns;
    // Of XML, whose rows have become JSON Lines; otherwise empty.
    struct Origin {
        std::uint64_t bytes = 0;
        std::string digest;
        std::string head;  // as XmlRows
        std::string tail;
    };
    std::optional<Origin> origin = std::nullopt;
};

class Documents {
public:
    // `digest`: of the whole source; may be null.
    Documents(const DocumentSource& from, const Shard& shard, Digest* digest);

    // Returns false after the last document. Raises Failure for data that cannot be divided.
    bool next(Document& document);

    // How the engine reads `data`.
    const Rows& rows() const { return *rows_; }
    // The share of the source that has been read, from 0 to 1.
    double share() const;
    // "accounts.jsonl:17"
    std::string placeOf(const Document& document) const;

private:
    bool readDocument(Document& document);
    void begin(Document& document);
    void add(Document& document);
    bool isOfShard(const Document& document) const;

    DocumentSource from_;
    Shard shard_;
    std::uint64_t begin_ = 0;  // of the shard
    std::uint64_t end_ = 0;
    std::unique_ptr<Rows> rows_;
    Row row_;  // the first one of the next document
    bool hasRow_ = false;
    std::uint64_t count_ = 0;
};

}  // namespace qbreport

#endif
