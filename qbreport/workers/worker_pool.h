// Worker processes, and the queue before them.
#ifndef QBSVR_QBREPORT_WORKERS_WORKER_POOL_H
#define QBSVR_QBREPORT_WORKERS_WORKER_POOL_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "qbreport/workers/spawner.h"

namespace qbreport {

class WorkerPool {
public:
    using Clock = std::chrono::steady_clock;

    // Starts the workers. `most`: answers are not longer. Raises Failure.
    WorkerPool(Spawner& spawner, std::size_t workers, std::size_t queue, std::uint64_t most);

    enum class Ending {
        Answered,
        QueueFull,   // as many wait as may
        Unstarted,   // no process can be started
        ClientGone,  // the client has closed its connection
        TimedOut,
        Died,  // the process ended before its answer
    };
    struct Client {
        int socket = -1;                  // of a connection that is watched; -1: none
        std::chrono::milliseconds limit;  // for the work, once a worker has it
    };

    // Waits for a worker, passes both parts of a packet to it, and waits for its answer. A process that does
    // not answer is killed and replaced. Many threads may call this.
    Ending run(std::string_view first, std::string_view second, const Client& client, std::string& answer);

    struct Figures {
        std::size_t workers = 0;
        std::size_t busy = 0;
        std::size_t waiting = 0;
        std::uint64_t killed = 0;  // or dead
    };
    Figures figures() const;

private:
    struct Worker {
        WorkerProcess process;
        std::size_t jobs = 0;
        bool isIdle = true;  // it has answered everything
    };

    struct Waiting {
        std::condition_variable isFirst;
    };

    Ending take(const Client& client, Worker& worker);
    Ending await(const Client& client, std::unique_lock<std::mutex>& lock);
    bool start(Worker& worker);
    void giveBack(Worker worker);
    Ending exchange(Worker& worker, std::string_view first, std::string_view second, const Client& client,
                    std::string& answer) const;

    Spawner& spawner_;
    std::size_t workers_;
    std::size_t queue_;
    std::uint64_t most_;
    mutable std::mutex mutex_;
    std::mutex spawning_;
    std::vector<Worker> free_;      // a worker without a process is started when it is taken
    std::deque<Waiting*> waiting_;  // in the order of their arrival
    std::size_t busy_ = 0;
    std::uint64_t killed_ = 0;
};

}  // namespace qbreport

#endif
