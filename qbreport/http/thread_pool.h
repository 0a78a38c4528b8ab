// Threads that are started when they are needed, and end when nothing has needed them for a while.
#ifndef QBSVR_QBREPORT_HTTP_THREAD_POOL_H
#define QBSVR_QBREPORT_HTTP_THREAD_POOL_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

namespace qbreport {

class ThreadPool {
public:
    // Waits for the work that is under way.
    ~ThreadPool();

    // The work does not raise anything. It begins at once, unless the system has no thread left.
    void run(std::function<void()> work);

private:
    void workUntilIdle();

    std::mutex mutex_;
    std::condition_variable hasWork_;
    std::condition_variable isEmpty_;
    std::deque<std::function<void()>> works_;
    std::size_t threads_ = 0;
    std::size_t idle_ = 0;
    bool isEnding_ = false;
};

}  // namespace qbreport

#endif
