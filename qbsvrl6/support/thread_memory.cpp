#include "qbsvrl6/support/thread_memory.h"

#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>

namespace qbsvrl6 {

namespace {

constexpr std::size_t kWorthReturning = 32u << 20;
constexpr std::time_t kSecondsBetween = 1;  // while other threads are running

std::atomic<int> threads{0};
std::atomic<std::size_t> residentBusy{0};  // after the last return while other threads were running
std::atomic<std::size_t> residentIdle{0};  // after the last return without other threads
std::atomic<std::time_t> lastReturn{0};
std::mutex returning;

std::size_t residentBytes() {
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen("/proc/self/statm", "re"));
    unsigned long all = 0, resident = 0;
    if (!file || std::fscanf(file.get(), "%lu %lu", &all, &resident) != 2) return 0;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

struct ThreadEnd {
    ThreadEnd() { ++threads; }
    ~ThreadEnd() {
        const bool isLast = --threads == 0;
        const std::time_t now = std::time(nullptr);
        if (!isLast && now < lastReturn + kSecondsBetween) return;
        std::atomic<std::size_t>& before = isLast ? residentIdle : residentBusy;
        if (residentBytes() < before + kWorthReturning) return;
        // Of threads that end at once, one is enough, but only the last one knows that all have freed their
        // memory. Where another allocator has replaced glibc's, its first call of glibc's is this one, which
        // must not meet a second.
        std::unique_lock<std::mutex> lock(returning, std::defer_lock);
        if (isLast) lock.lock();
        if (!isLast && !lock.try_lock()) return;
        lastReturn = now;
        ::malloc_trim(0);
        before = residentBytes();
    }
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;
};

}  // namespace

void returnMemoryAtThreadEnd() {
    if (::gettid() == ::getpid()) return;
    thread_local const ThreadEnd end;
    static_cast<void>(&end);
}

}  // namespace qbsvrl6
