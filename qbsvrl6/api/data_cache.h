// Caches data sets of local files until the files change: a template is often exported many times with the
// same data.
#ifndef QBSVR_QBSVRL6_API_DATA_CACHE_H
#define QBSVR_QBSVRL6_API_DATA_CACHE_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/support/address.h"

namespace qbsvrl6 {

inline constexpr ConnectionParts kDocumentSource{SourceKind::Document, {}};

// The data of a file, as its source reads it: not of a database. Raises EngineError.
DataSet readSource(ByteSource& bytes, const ConnectionParts& source);

class DataCache {
public:
    // The data at an address, as a source of files reads it. Raises EngineError.
    std::shared_ptr<const DataSet> get(const Address& address, const ConnectionParts& source);
    void clear() { entries_.clear(); }

private:
    // Identifies a version of a file.
    struct Stamp {
        std::uint64_t device = 0, file = 0, size = 0;
        std::int64_t seconds = 0, nanoseconds = 0;
        bool operator==(const Stamp&) const = default;
    };
    struct Entry {
        Stamp stamp;
        std::shared_ptr<const DataSet> data;
    };
    static bool stampOf(const std::string& path, Stamp& stamp);

    std::map<std::pair<std::string, std::u16string>, Entry> entries_;  // by path and options of the source
};

}  // namespace qbsvrl6

#endif
