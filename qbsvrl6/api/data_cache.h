// Data sets of local files, kept while their files stay as they are: one template is often exported many
// times over the same data.
#ifndef QBSVR_QBSVRL6_API_DATA_CACHE_H
#define QBSVR_QBSVRL6_API_DATA_CACHE_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/address.h"

namespace qbsvrl6 {

// The data behind an address, as fetch() and readData() give it. Raises EngineError.
std::shared_ptr<const DataSet> fetchData(const Address& address);

class DataCache {
public:
    // As fetchData. Of what isn't a local file nothing is kept.
    std::shared_ptr<const DataSet> get(const Address& address);
    void clear() { entries_.clear(); }

private:
    // What tells one state of a file from another.
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

    std::map<std::string, Entry> entries_;  // by path
};

}  // namespace qbsvrl6

#endif
