// The documents that an earlier run has finished.
#ifndef QBSVR_QBREPORT_BURST_FINISHED_H
#define QBSVR_QBREPORT_BURST_FINISHED_H

#include <optional>
#include <string>

#include "qbreport/burst/archive.h"
#include "qbreport/burst/burst_plan.h"
#include "qbreport/burst/manifest.h"

namespace qbreport {

// While a run is going on, its files have names of their own: the manifest, in the order of the data, and
// that of the run before it, if there was one.
std::string partOf(const std::string& path);
std::string earlierOf(const std::string& path);

// Entries of an earlier run, in the order of the data.
class FinishedFiles {
public:
    // Nothing is finished.
    FinishedFiles() = default;
    // Takes over what a run has left. Raises Failure if its head is another one.
    FinishedFiles(const std::string& manifest, const std::string& head);
    // A manifest of the same documents; only for comparing.
    explicit FinishedFiles(const std::string& manifest);

    // The entry of the document, if there is one. To be called in the order of the data.
    std::optional<Entry> find(const Document& document);

private:
    MergedManifests entries_;
    Entry entry_;
    bool hasEntry_ = false;
};

// Whether the entry is of this document, of the same data.
bool isOf(const Entry& entry, const Document& document, const std::string& name);
// Whether the file is there as the entry says.
bool isFinished(const Entry& entry, const std::string& path);

// Raises Failure, with the members in which the manifest differs, if its head is another one. A manifest that
// does not exist, or is torn before its first line ends, has none.
void requireHead(const std::string& manifest, const std::string& head);

// Makes an archive that is complete one that can be continued.
void reopenArchive(const RunFiles& files);

}  // namespace qbreport

#endif
