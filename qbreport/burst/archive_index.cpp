#include "qbreport/burst/archive_index.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "qbreport/burst/descriptor.h"
#include "qbreport/burst/digest.h"
#include "qbreport/burst/manifest.h"
#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::string_view kMark = "qbreport index 1";  // as long as a hash
constexpr std::size_t kMostWaiting = 1 << 16;

// The records are sorted by the hash of their keys. Numbers have the byte order of the machine.
struct IndexRecord {
    std::array<char, 16> hash;
    std::uint64_t offset;
    std::uint64_t bytes;
};
static_assert(sizeof(IndexRecord) == 32);

std::array<char, 16> hashOf(const std::string& key) {
    const std::string digits = digestOf(key);
    std::array<char, 16> hash{};
    for (std::size_t i = 0; i < hash.size(); ++i) {
        hash.at(i) = static_cast<char>(std::stoi(digits.substr(2 * i, 2), nullptr, 16));
    }
    return hash;
}

bool isBefore(const IndexRecord& a, const IndexRecord& b) {
    return std::memcmp(a.hash.data(), b.hash.data(), a.hash.size()) < 0;
}

// The records of a file in memory.
class Mapping {
public:
    Mapping(const Descriptor& file, std::uint64_t size, int protection, const std::string& path)
        : size_(static_cast<std::size_t>(size)),
          bytes_(::mmap(nullptr, size_, protection, MAP_SHARED, file.number(), 0)) {
        if (bytes_ == MAP_FAILED) failFile(path, errno);
    }
    ~Mapping() { ::munmap(bytes_, size_); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    // The first one is the mark.
    IndexRecord* begin() const { return static_cast<IndexRecord*>(bytes_) + 1; }
    IndexRecord* end() const { return static_cast<IndexRecord*>(bytes_) + size_ / sizeof(IndexRecord); }

private:
    std::size_t size_;
    void* bytes_;
};

std::string_view bytesOf(const IndexRecord& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

}  // namespace

std::string indexOf(const std::string& archive) { return archive + ".index"; }

void writeIndex(const std::string& index, const std::string& manifest) {
    const std::string draft = index + ".part";
    const Descriptor file = openToWrite(draft, true);
    IndexRecord record{};
    kMark.copy(record.hash.data(), record.hash.size());
    std::string waiting(bytesOf(record));
    ManifestReader reader(manifest);
    for (Entry entry; reader.next(entry);) {
        record = {hashOf(entry.key), entry.offset, entry.bytes};
        waiting += bytesOf(record);
        if (waiting.size() < kMostWaiting) continue;
        write(file, waiting, draft);
        waiting.clear();
    }
    write(file, waiting, draft);
    {
        const Mapping records(file, sizeOf(file, draft), PROT_READ | PROT_WRITE, draft);
        std::sort(records.begin(), records.end(), isBefore);
    }
    synchronize(file, draft);
    rename(draft, index);
}

std::optional<Range> findInIndex(const std::string& index, const std::string& key) {
    const Descriptor file = openToRead(index);
    const std::uint64_t size = sizeOf(file, index);
    std::array<char, kMark.size()> mark{};
    readAt(file, 0, mark.data(), mark.size(), index);
    if (std::string_view(mark.data(), mark.size()) != kMark || size % sizeof(IndexRecord) != 0) {
        throw Failure("\"" + index + "\" is no index of an archive");
    }
    const Mapping records(file, size, PROT_READ, index);
    const IndexRecord wanted{hashOf(key), 0, 0};
    const IndexRecord* const found = std::lower_bound(records.begin(), records.end(), wanted, isBefore);
    if (found == records.end() || found->hash != wanted.hash) return std::nullopt;
    return Range{found->offset, found->bytes};
}

}  // namespace qbreport
