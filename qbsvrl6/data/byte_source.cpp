#include "qbsvrl6/data/byte_source.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/reach.h"

namespace qbsvrl6 {

namespace {

class MemoryBytes final : public ByteSource {
public:
    MemoryBytes(std::string bytes, std::string origin)
        : ByteSource(std::move(origin)), bytes_(std::move(bytes)) {}

    std::size_t read(char* to, std::size_t size) override {
        const std::size_t count = std::min(size, bytes_.size() - at_);
        std::memcpy(to, bytes_.data() + at_, count);
        at_ += count;
        return count;
    }

private:
    std::string bytes_;
    std::size_t at_ = 0;
};

class FileBytes final : public ByteSource {
public:
    FileBytes(FilePath path, std::string origin) : ByteSource(std::move(origin)), file_(std::move(path)) {}

    std::size_t read(char* to, std::size_t size) override {
        checkTime();
        const Clock::time_point started = Clock::now();
        const std::size_t count = file_.read(to, size);
        spendTime(Clock::now() - started);
        spend(&Budget::fetchedBytes, count, origin());
        if (Spending* const spending = Spending::current()) spending->progress().bytes += count;
        return count;
    }

private:
    using Clock = std::chrono::steady_clock;

    // A window takes less than the millisecond that the budget counts in.
    void spendTime(Clock::duration time) {
        time_ += time;
        const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(time_);
        if (whole.count() == 0) return;
        time_ -= whole;
        spend(&Budget::fetchMilliseconds, static_cast<std::uint64_t>(whole.count()), origin());
    }

    InputFile file_;
    Clock::duration time_{};  // not yet counted in the budget
};

class SpooledBytes final : public ByteSource {
public:
    SpooledBytes(Spool bytes, std::string origin) : ByteSource(std::move(origin)), bytes_(std::move(bytes)) {}

    std::size_t read(char* to, std::size_t size) override {
        const std::size_t count = bytes_.read(at_, to, size);
        at_ += count;
        return count;
    }

private:
    Spool bytes_;
    std::uint64_t at_ = 0;
};

}  // namespace

std::unique_ptr<ByteSource> openBytes(const Address& address) {
    FilePath path = reachablePath(address);
    std::string origin = shownAddress(address);
    if (path.path.empty()) return std::make_unique<SpooledBytes>(download(address), std::move(origin));
    spend(&Budget::fetches, 1, origin);
    return std::make_unique<FileBytes>(std::move(path), std::move(origin));
}

std::unique_ptr<ByteSource> bytesOf(std::string bytes, std::string origin) {
    return std::make_unique<MemoryBytes>(std::move(bytes), std::move(origin));
}

}  // namespace qbsvrl6
