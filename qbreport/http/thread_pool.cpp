#include "qbreport/http/thread_pool.h"

#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

namespace qbreport {

namespace {

constexpr std::chrono::seconds kIdle(10);

}  // namespace

ThreadPool::~ThreadPool() {
    std::unique_lock lock(mutex_);
    isEnding_ = true;
    hasWork_.notify_all();
    isEmpty_.wait(lock, [&] { return threads_ == 0; });
}

void ThreadPool::run(std::function<void()> work) {
    const std::scoped_lock lock(mutex_);
    works_.push_back(std::move(work));
    if (idle_ >= works_.size()) return hasWork_.notify_one();
    // Signals are for the thread of the event loop.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread([this] { workUntilIdle(); }).detach();
        ++threads_;
    } catch (const std::system_error&) {
        // A thread that is busy now takes the work later.
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void ThreadPool::workUntilIdle() {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (works_.empty()) {
            ++idle_;
            hasWork_.wait_for(lock, kIdle, [&] { return !works_.empty() || isEnding_; });
            --idle_;
            if (works_.empty()) break;
        }
        const std::function<void()> work = std::move(works_.front());
        works_.pop_front();
        lock.unlock();
        work();
        lock.lock();
    }
    --threads_;
    if (threads_ == 0) isEmpty_.notify_all();
}

}  // namespace qbreport
