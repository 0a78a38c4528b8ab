#include "qbsvrl6/api/data_cache.h"

#include <sys/stat.h>

#include "qbsvrl6/data/csv_reader.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/reach.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

DataSet readSource(ByteSource& bytes, const ConnectionParts& source) {
    switch (source.kind) {
        case SourceKind::Csv:
            return readCsv(bytes, csvFormFrom(toUtf8(source.rest)));
        case SourceKind::JsonLines:
            return readJsonLines(bytes);
        default:
            return readData(bytes);
    }
}

namespace {

std::shared_ptr<const DataSet> fetchData(const Address& address, const ConnectionParts& source) {
    return std::make_shared<const DataSet>(readSource(*openBytes(address), source));
}

// A template can't name it: whoever renders one may have other uses for it.
bool isStandardInput(const Address& address, const ConnectionParts& source) {
    return source.kind == SourceKind::JsonLines && address.name == u"-" &&
           address.namedBy == NamedBy::Program;
}

}  // namespace

std::shared_ptr<const DataSet> DataCache::get(const Address& address, const ConnectionParts& source) {
    if (isStandardInput(address, source)) {
        return std::make_shared<const DataSet>(readSource(*standardInput(), source));
    }
    const std::string path = reachablePath(address).path;  // also for data in the cache
    Stamp stamp;
    if (!stampOf(path, stamp)) return fetchData(address, source);
    // The kind is in the key as well: a file can be read as JSON and as CSV.
    std::u16string options(1, static_cast<char16_t>(source.kind));
    Entry& entry = entries_[{path, options.append(source.rest)}];
    if (!entry.data || entry.stamp != stamp) entry = {stamp, fetchData(address, source)};
    return entry.data;
}

// False for anything but a regular file, addresses of the web included.
bool DataCache::stampOf(const std::string& path, Stamp& stamp) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    stamp = {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec,
             status.st_mtim.tv_nsec};
    return true;
}

}  // namespace qbsvrl6
