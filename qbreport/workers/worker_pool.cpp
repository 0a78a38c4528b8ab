#include "qbreport/workers/worker_pool.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "qbreport/failure.h"
#include "qbreport/workers/packet.h"

namespace qbreport {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks(200);  // at the client of a request that waits
// For what nobody waits for any more: a short document costs less than a new process.
constexpr std::chrono::milliseconds kAbandoned(50);
constexpr std::size_t kMostJobs = 5'000;  // of one process: whatever it collects is gone with it
constexpr std::size_t kStep = std::size_t{1} << 18;

bool hasEnded(const WorkerProcess& worker) {
    pollfd process{worker.process.number(), POLLIN, 0};
    return ::poll(&process, 1, 0) == 1;
}

bool isGone(int client) {
    if (client < 0) return false;
    pollfd connection{client, POLLRDHUP, 0};
    return ::poll(&connection, 1, 0) == 1;
}

// Sends what the socket takes now. Returns false if the other side is gone.
bool sendSome(int socket, std::string_view& bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0) return errno == EAGAIN;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

// The answer, as it arrives.
class Incoming {
public:
    Incoming(std::string& body, std::uint64_t most) : body_(body), most_(most) { body_.clear(); }

    bool isComplete() const { return head_.size() == kPacketHead && body_.size() == size_; }

    // Receives what is there. Returns false at the end of the stream, and for an answer that is too long.
    bool receive(int socket) {
        for (;;) {
            const bool isHead = head_.size() < kPacketHead;
            std::string& to = isHead ? head_ : body_;
            const std::size_t known = to.size();
            const std::uint64_t missing = (isHead ? kPacketHead : size_) - known;
            if (missing == 0) return true;
            to.resize(known + static_cast<std::size_t>(std::min<std::uint64_t>(missing, kStep)));
            const ssize_t received = ::recv(socket, &to[known], to.size() - known, MSG_DONTWAIT);
            const int error = errno;
            to.resize(known + static_cast<std::size_t>(std::max<ssize_t>(received, 0)));
            if (received < 0 && error == EINTR) continue;
            if (received <= 0) return received < 0 && error == EAGAIN;
            if (isHead && head_.size() == kPacketHead) {
                size_ = bodySizeIn(head_);
                if (size_ > most_) return false;
            }
        }
    }

private:
    std::string head_;
    std::string& body_;
    std::uint64_t size_ = 0;
    std::uint64_t most_;
};

}  // namespace

WorkerPool::WorkerPool(Spawner& spawner, std::size_t workers, std::size_t queue, std::uint64_t most)
    : spawner_(spawner), workers_(workers), queue_(queue), most_(most) {
    for (std::size_t i = 0; i < workers; ++i) {
        free_.emplace_back();
        free_.back().process = spawner_.spawn();
    }
}

WorkerPool::Ending WorkerPool::run(std::string_view first, std::string_view second, const Client& client,
                                   std::string& answer) {
    Worker worker;
    Ending ending = take(client, worker);
    if (ending != Ending::Answered) return ending;
    ending = start(worker) ? exchange(worker, first, second, client, answer) : Ending::Unstarted;
    giveBack(std::move(worker));
    return ending;
}

WorkerPool::Ending WorkerPool::take(const Client& client, Worker& worker) {
    std::unique_lock lock(mutex_);
    if (free_.empty() || !waiting_.empty()) {
        if (waiting_.size() >= queue_) return Ending::QueueFull;
        const Ending ending = await(client, lock);
        if (ending != Ending::Answered) return ending;
    }
    worker = std::move(free_.back());
    free_.pop_back();
    ++busy_;
    if (!free_.empty() && !waiting_.empty()) waiting_.front()->isFirst.notify_one();
    return Ending::Answered;
}

WorkerPool::Ending WorkerPool::await(const Client& client, std::unique_lock<std::mutex>& lock) {
    Waiting self;
    waiting_.push_back(&self);
    Ending ending = Ending::Answered;
    while (free_.empty() || waiting_.front() != &self) {
        self.isFirst.wait_for(lock, kBetweenLooks);
        if (isGone(client.socket)) {
            ending = Ending::ClientGone;
            break;
        }
    }
    std::erase(waiting_, &self);
    if (ending != Ending::Answered && !free_.empty() && !waiting_.empty()) {
        waiting_.front()->isFirst.notify_one();
    }
    return ending;
}

bool WorkerPool::start(Worker& worker) {
    if (worker.process.isRunning() && !hasEnded(worker.process)) return true;
    const std::scoped_lock lock(spawning_);
    try {
        worker = {spawner_.spawn(), 0, true};
    } catch (const Failure&) {
        worker = Worker();
    }
    return worker.process.isRunning();
}

void WorkerPool::giveBack(Worker worker) {
    const bool isLost = !worker.isIdle;
    if (isLost) kill(worker.process);
    // The process of a socket that is closed ends by itself.
    if (isLost || ++worker.jobs >= kMostJobs) worker = Worker();
    const std::scoped_lock lock(mutex_);
    --busy_;
    if (isLost) ++killed_;
    free_.push_back(std::move(worker));
    if (!waiting_.empty()) waiting_.front()->isFirst.notify_one();
}

WorkerPool::Ending WorkerPool::exchange(Worker& worker, std::string_view first, std::string_view second,
                                        const Client& client, std::string& answer) const {
    Clock::time_point end = Clock::now() + client.limit;
    bool isGone = false;  // the client
    const std::string head = packetHead(first.size() + second.size());
    std::string_view unsent[] = {head, first, second};
    Incoming incoming(answer, most_);
    const int socket = worker.process.socket.number();
    worker.isIdle = false;
    for (;;) {
        for (std::string_view& part : unsent) {
            if (!sendSome(socket, part)) return Ending::Died;
            if (!part.empty()) break;
        }
        const bool isSending = std::any_of(std::begin(unsent), std::end(unsent),
                                           [](std::string_view part) { return !part.empty(); });
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return isGone ? Ending::ClientGone : Ending::TimedOut;
        pollfd watched[] = {{socket, static_cast<short>(POLLIN | (isSending ? POLLOUT : 0)), 0},
                            {isGone ? -1 : client.socket, POLLRDHUP, 0}};
        if (::poll(watched, 2, static_cast<int>(std::min<std::int64_t>(left, 1'000))) <= 0) continue;
        if (watched[1].revents != 0) {
            isGone = true;
            end = std::min(end, Clock::now() + kAbandoned);
        }
        if ((watched[0].revents & ~POLLOUT) == 0) continue;
        if (!incoming.receive(socket)) return Ending::Died;
        worker.isIdle = incoming.isComplete();
        if (worker.isIdle) return isGone ? Ending::ClientGone : Ending::Answered;
    }
}

WorkerPool::Figures WorkerPool::figures() const {
    const std::scoped_lock lock(mutex_);
    return {workers_, busy_, waiting_.size(), killed_};
}

}  // namespace qbreport
