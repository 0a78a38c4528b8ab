#include "qbsvrl6/api/data_cache.h"

#include <sys/stat.h>

#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/reach.h"

namespace qbsvrl6 {

std::shared_ptr<const DataSet> fetchData(const Address& address) {
    return std::make_shared<const DataSet>(readData(*openBytes(address)));
}

std::shared_ptr<const DataSet> DataCache::get(const Address& address) {
    const std::string path = reachablePath(address);  // also for data in the cache
    Stamp stamp;
    if (!stampOf(path, stamp)) return fetchData(address);
    Entry& entry = entries_[path];
    if (!entry.data || entry.stamp != stamp) entry = {stamp, fetchData(address)};
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
