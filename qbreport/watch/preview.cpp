#include "qbreport/watch/preview.h"

#include <sys/socket.h>

#include <csignal>
#include <utility>

#include "qbreport/console.h"
#include "qbreport/failure.h"
#include "qbreport/messages.h"

namespace qbreport {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks(200);

// Why there is no answer.
std::string messageOf(WorkerPool::Ending ending) {
    const char* const text =
        ending == WorkerPool::Ending::TimedOut    ? "the report takes too long; allow more with --time-limit"
        : ending == WorkerPool::Ending::Unstarted ? "no worker process can be started"
                                                  : "the process that laid it out has died";
    return asJson({Severity::Error, text});
}

}  // namespace

Preview::Preview(const WatchOptions& options, WorkerPool& workers, std::chrono::milliseconds limit)
    : options_(options), workers_(workers), limit_(limit) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw Failure("no sockets are left");
    alive_ = Descriptor(ends[0]);
    aliveSeen_ = Descriptor(ends[1]);
    files_.setFiles(inputs());
    // Signals are for the thread of the event loop.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    thread_ = std::thread([this] { follow(); });
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Preview::~Preview() {
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
    }
    changed_.notify_all();
    alive_.close();
    thread_.join();
}

std::vector<std::string> Preview::inputs() const {
    std::vector<std::string> files{options_.file};
    const bool isFile = options_.data.file.find("://") == std::string::npos;
    if (!options_.data.file.empty() && isFile) files.push_back(options_.data.file);
    return files;
}

void Preview::follow() {
    update();
    for (;;) {
        bool every = false;
        {
            const std::scoped_lock lock(mutex_);
            if (isEnding_) return;
            every = !messages_.empty();  // a file that is missing may have come
        }
        if (files_.wait(kBetweenLooks, every)) update();
    }
}

void Preview::update() {
    std::string packet;
    PreviewAnswer answer;
    const WorkerPool::Ending ending =
        workers_.run(packed(PreviewRequest()), "", {aliveSeen_.number(), limit_}, packet);
    try {
        if (ending == WorkerPool::Ending::Answered) answer = unpacked<PreviewAnswer>(packet);
    } catch (const Failure& failure) {
        answer.messages = asJson({Severity::Error, failure.what()});
    }
    if (ending != WorkerPool::Ending::Answered) answer.messages = messageOf(ending);
    // What a template with errors would read is unknown: the files of the last good one are watched further.
    if (answer.isGood || version_ == 0) {
        std::vector<std::string> files = inputs();
        files.insert(files.end(), answer.files.begin(), answer.files.end());
        files_.setFiles(files);
    }
    {
        const std::scoped_lock lock(mutex_);
        ++version_;
        isGood_ = answer.isGood;
        messages_ = std::move(answer.messages);
        if (isGood_) {
            goodVersion_ = version_;
            pages_ = std::move(answer.pages);
            items_ = "{\"controls\": " + answer.controls + ", \"items\": " + answer.items + "}";
        }
    }
    changed_.notify_all();
}

std::string Preview::state(std::uint64_t after, std::chrono::milliseconds time, std::uint64_t& version) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, time, [&] { return isEnding_ || version_ > after; });
    version = version_;
    if (version_ <= after) return "";
    return "{\"version\": " + std::to_string(version_) + ", \"good\": " + std::to_string(goodVersion_) +
           ", \"isGood\": " + (isGood_ ? "true" : "false") + ", \"template\": " + inJson(options_.file) +
           ", \"pages\": " + pages_ + ", \"messages\": [" + messages_ + "]}";
}

std::string Preview::items() {
    const std::scoped_lock lock(mutex_);
    return items_;
}

bool Preview::render(const PreviewRequest& request, int client, std::string& packet, PreviewAnswer& answer) {
    const WorkerPool::Ending ending = workers_.run(packed(request), "", {client, limit_}, packet);
    if (ending != WorkerPool::Ending::Answered) {
        answer.messages = messageOf(ending);
        return false;
    }
    answer = unpacked<PreviewAnswer>(packet);
    return answer.isGood;
}

}  // namespace qbreport
