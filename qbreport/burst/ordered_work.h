// Jobs that threads finish in any order, and that their owner gets back in the order in which it has added
// them.
#ifndef QBSVR_QBREPORT_BURST_ORDERED_WORK_H
#define QBSVR_QBREPORT_BURST_ORDERED_WORK_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace qbreport {

template <class Job>
class OrderedWork {
public:
    using Work = std::function<void(Job&)>;

    // `begin` is called once by each thread and returns what it does with a job. The exception of a job is
    // raised where its owner takes it; that of `begin` is that of every job.
    OrderedWork(std::size_t threads, const std::function<Work()>& begin) {
        for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back([this, begin] { run(begin); });
    }
    // Waits for the jobs that are being worked on; the others are dropped.
    ~OrderedWork() {
        {
            const std::lock_guard guard(mutex_);
            waiting_.clear();
            isEnded_ = true;
        }
        isAdded_.notify_all();
        for (std::thread& thread : threads_) thread.join();
    }
    OrderedWork(const OrderedWork&) = delete;
    OrderedWork& operator=(const OrderedWork&) = delete;

    // For the owner's thread. It is woken for several jobs at once: `batch` of them, or all if no other one
    // waits.
    void setBatch(std::size_t batch) {
        const std::lock_guard guard(mutex_);
        batch_ = batch;
    }
    std::size_t size() const { return jobs_.size(); }
    void add(std::unique_ptr<Job> job) {
        jobs_.push_back(std::make_unique<Slot>());
        Slot* const slot = jobs_.back().get();
        slot->job = std::move(job);
        {
            const std::lock_guard guard(mutex_);
            waiting_.push_back(slot);
        }
        isAdded_.notify_one();
    }
    // Waits for the first job, at most for the time. Returns null if it is not finished by then.
    template <class Time>
    std::unique_ptr<Job> take(Time most) {
        const std::unique_ptr<Slot>& first = jobs_.front();
        {
            std::unique_lock guard(mutex_);
            if (!isFinished_.wait_for(guard, most, [&] { return first->isFinished; })) return nullptr;
            --finished_;
        }
        const std::unique_ptr<Slot> slot = std::move(jobs_.front());
        jobs_.pop_front();
        if (slot->problem != nullptr) std::rethrow_exception(slot->problem);
        return std::move(slot->job);
    }

private:
    struct Slot {
        std::unique_ptr<Job> job;
        std::exception_ptr problem;
        bool isFinished = false;
    };

    void run(const std::function<Work()>& begin) {
        Work work;
        std::exception_ptr problem;
        try {
            work = begin();
        } catch (...) {
            problem = std::current_exception();
        }
        while (Slot* const slot = next()) {
            slot->problem = problem;
            try {
                if (problem == nullptr) work(*slot->job);
            } catch (...) {
                slot->problem = std::current_exception();
            }
            bool isBatch = false;
            {
                const std::lock_guard guard(mutex_);
                slot->isFinished = true;
                isBatch = ++finished_ >= batch_ || waiting_.empty();
            }
            if (isBatch) isFinished_.notify_one();
        }
    }

    Slot* next() {
        std::unique_lock guard(mutex_);
        isAdded_.wait(guard, [&] { return isEnded_ || !waiting_.empty(); });
        if (waiting_.empty()) return nullptr;
        Slot* const slot = waiting_.front();
        waiting_.pop_front();
        return slot;
    }

    std::deque<std::unique_ptr<Slot>> jobs_;  // in order
    std::mutex mutex_;
    std::condition_variable isAdded_;
    std::condition_variable isFinished_;
    std::deque<Slot*> waiting_;
    std::size_t batch_ = 1;
    std::size_t finished_ = 0;  // and not taken
    bool isEnded_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace qbreport

#endif
