#include "qbsvrl6/data/byte_source.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/reach.h"

namespace qbsvrl6 {

namespace {

void countRead(std::size_t bytes, const std::string& origin) {
    spend(&Budget::fetchedBytes, bytes, origin);
    if (Spending* const spending = Spending::current()) spending->progress().bytes += bytes;
}

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
        countRead(count, origin());
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

class StandardInput final : public ByteSource {
public:
    StandardInput() : ByteSource("standard input") {}

    std::size_t read(char* to, std::size_t size) override {
        for (;;) {
            checkTime();
            pollfd waiting{STDIN_FILENO, POLLIN, 0};
            if (::poll(&waiting, 1, kMillisecondsBetweenChecks) == 0) continue;
            const ssize_t count = ::read(STDIN_FILENO, to, size);
            if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
            if (count < 0) {
                throw EngineError(ErrorCode::FileUnreadable, std::generic_category().message(errno),
                                  {origin()});
            }
            countRead(static_cast<std::size_t>(count), origin());
            return static_cast<std::size_t>(count);
        }
    }

private:
    static constexpr int kMillisecondsBetweenChecks = 50;  // while the other program is silent
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

std::unique_ptr<ByteSource> standardInput() {
    spend(&Budget::fetches, 1, "standard input");
    return std::make_unique<StandardInput>();
}

bool ByteBlocks::append(std::string& bytes) {
    const std::size_t known = bytes.size();
    bytes.resize(known + size_);
    const std::size_t count = source_.read(bytes.data() + known, size_);
    bytes.resize(known + count);
    size_ = std::min(2 * size_, kMost);
    return count > 0;
}

std::unique_ptr<ByteSource> bytesOf(std::string bytes, std::string origin) {
    return std::make_unique<MemoryBytes>(std::move(bytes), std::move(origin));
}

}  // namespace qbsvrl6
