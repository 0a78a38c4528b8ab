// The index of an archive: where the document of a key is. It is a file beside the archive,
// "statements.tar.index".
#ifndef QBSVR_QBREPORT_BURST_ARCHIVE_INDEX_H
#define QBSVR_QBREPORT_BURST_ARCHIVE_INDEX_H

#include <cstdint>
#include <optional>
#include <string>

namespace qbreport {

std::string indexOf(const std::string& archive);

// Writes the index of the documents in the manifest.
void writeIndex(const std::string& index, const std::string& manifest);

struct Range {
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
};

// Nothing if the archive has no such document. Raises Failure if there is no index.
std::optional<Range> findInIndex(const std::string& index, const std::string& key);

}  // namespace qbreport

#endif
