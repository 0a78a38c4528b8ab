// The report that is watched, in a worker process.
#ifndef QBSVR_QBREPORT_WATCH_PREVIEW_MAKER_H
#define QBSVR_QBREPORT_WATCH_PREVIEW_MAKER_H

#include <memory>
#include <string>

#include "qbreport/commands.h"
#include "qbreport/kept_messages.h"
#include "qbreport/report.h"
#include "qbreport/watch/preview_request.h"

namespace qbreport {

class PreviewMaker {
public:
    explicit PreviewMaker(const WatchOptions& options) : options_(options) {}

    // The document is valid until the next call.
    PreviewAnswer make(const PreviewRequest& request);

private:
    struct Loaded {
        KeptMessages messages{""};
        Report report{messages};
    };

    PreviewAnswer load();
    PreviewAnswer render(const PreviewRequest& request);

    const WatchOptions& options_;
    std::unique_ptr<Loaded> good_;  // the last one without errors
};

// Answers the requests that arrive at a socket, until it is closed.
void makePreviews(const WatchOptions& options, int socket);

}  // namespace qbreport

#endif
