// Makes the documents of a plan, and the manifest of them.
#ifndef QBSVR_QBREPORT_BURST_RUN_H
#define QBSVR_QBREPORT_BURST_RUN_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qbreport/burst/digest.h"
#include "qbreport/burst/finished.h"
#include "qbreport/burst/ordered_work.h"
#include "qbreport/burst/run_status.h"

namespace qbreport {

struct RunOptions {
    std::size_t workers = 1;
    bool resumes = false;
    bool stopsAtError = false;
};

class Run {
public:
    Run(const BurstPlan& plan, const RunOptions& options, const Survey& survey, RunStatus& status,
        Messages& messages);

    // Returns whether all documents were tried. Raises Failure if the run cannot go on; what was finished by
    // then is in the manifest.
    bool execute();
    const RunFigures& figures() const { return figures_; }

private:
    struct Job {
        Document document;
        std::string name;
        std::optional<Entry> known;  // of an earlier run
        Entry entry;
        std::string bytes;  // for an archive
        std::vector<std::string> errors;
    };
    using Work = OrderedWork<Job>;

    void begin();
    void beginArchive();
    void keepArchived();
    void make(Job& job, Renderer& renderer) const;
    bool keeps(const Job& job) const;
    bool nextDocument(Document& document);
    void requireSameData();
    std::unique_ptr<Job> nextJob();
    std::size_t mostJobs() const;
    bool runAll(Work& work);
    void commit(Job& job);
    void fail(const Job& job);
    void synchronizeNowAndThen();
    void finish();

    const BurstPlan& plan_;
    RunOptions options_;
    RunStatus& status_;
    Messages& messages_;
    const Survey& survey_;
    std::string head_;
    std::string folder_;  // of the documents
    bool comparesOnly_ = false;
    Descriptor lock_;
    Digest digest_;  // of the data; of a shard: of none
    Survey read_;    // what the second pass has read
    Documents documents_;
    FinishedFiles finished_;
    std::unique_ptr<ArchiveWriter> archive_;
    std::optional<ManifestWriter> manifest_;
    Descriptor failed_;
    std::optional<Document> pending_;  // read, but not in the archive yet
    RunFigures figures_;
    std::chrono::steady_clock::time_point synchronized_ = std::chrono::steady_clock::now();
};

}  // namespace qbreport

#endif
