// The state of the report that is watched, and the thread that keeps it up to date.
#ifndef QBSVR_QBREPORT_WATCH_PREVIEW_H
#define QBSVR_QBREPORT_WATCH_PREVIEW_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "qbreport/commands.h"
#include "qbreport/descriptor.h"
#include "qbreport/watch/file_watch.h"
#include "qbreport/watch/preview_request.h"
#include "qbreport/workers/worker_pool.h"

namespace qbreport {

class Preview {
public:
    // `limit`: of one document.
    Preview(const WatchOptions& options, WorkerPool& workers, std::chrono::milliseconds limit);
    ~Preview();
    Preview(const Preview&) = delete;
    Preview& operator=(const Preview&) = delete;

    // One JSON object. Waits until there is one later than that version, at most for `time`; then it is empty.
    std::string state(std::uint64_t after, std::chrono::milliseconds time, std::uint64_t& version);
    // {"controls": ..., "items": ...} of the last good version.
    std::string items();

    // A document of the last good version; false, with messages, if it cannot be made. `packet` holds it.
    bool render(const PreviewRequest& request, int client, std::string& packet, PreviewAnswer& answer);

private:
    void follow();
    void update();
    std::vector<std::string> inputs() const;

    const WatchOptions& options_;
    WorkerPool& workers_;
    std::chrono::milliseconds limit_;
    FileWatch files_;
    // What waits for a worker on behalf of this object ends when the first one is closed.
    Descriptor alive_;
    Descriptor aliveSeen_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t version_ = 0;
    std::uint64_t goodVersion_ = 0;  // 0: there has been none
    bool isGood_ = false;
    std::string messages_;
    std::string pages_ = "[]";
    std::string items_ = "{\"controls\": [], \"items\": []}";
    bool isEnding_ = false;
    std::thread thread_;
};

}  // namespace qbreport

#endif
