#include "qbreport/http/connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace qbreport {

namespace {

constexpr std::size_t kMostHead = std::size_t{16} << 10;
constexpr std::size_t kStep = std::size_t{16} << 10;
constexpr std::size_t kMostDiscarded = std::size_t{1} << 20;
// A body and an answer take at most this time, and a second more per so many bytes that have passed.
constexpr std::chrono::seconds kPatience(15);
constexpr std::size_t kSlowestPerSecond = std::size_t{16} << 10;

}  // namespace

Connection::Connection(Descriptor socket, std::size_t mostBody, BufferAccount& account)
    : socket_(std::move(socket)), mostBody_(mostBody), account_(account) {}

Connection::~Connection() { endRequest(); }

void Connection::findHead() {
    constexpr std::string_view kEnd = "\r\n\r\n";
    // Empty lines before a request are no head.
    const std::size_t begin = std::min(buffer_.find_first_not_of("\r\n"), buffer_.size());
    buffer_.erase(0, begin);
    const std::size_t from = searched_ < kEnd.size() ? 0 : searched_ - kEnd.size();
    const std::size_t end = buffer_.find(kEnd, from);
    searched_ = buffer_.size();
    if (end != std::string::npos) headSize_ = end + kEnd.size();
}

bool Connection::isHeadTooLong() const {
    return headSize_ > kMostHead || (headSize_ == 0 && buffer_.size() > kMostHead);
}

bool Connection::receive() {
    while (!hasHead() && !isHeadTooLong()) {
        const std::size_t known = buffer_.size();
        buffer_.resize(known + kStep);
        const ssize_t received = ::recv(number(), &buffer_[known], kStep, MSG_DONTWAIT);
        const int error = errno;
        buffer_.resize(known + static_cast<std::size_t>(std::max<ssize_t>(received, 0)));
        if (received < 0 && error == EINTR) continue;
        if (received <= 0) return received < 0 && error == EAGAIN;
        findHead();
    }
    return true;
}

void Connection::sendNow(std::string_view bytes) const {
    // Whoever does not read it has other worries.
    static_cast<void>(::send(number(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
}

bool Connection::discard() {
    char bytes[kStep];
    for (;;) {
        const ssize_t received = ::recv(number(), bytes, sizeof bytes, MSG_DONTWAIT);
        if (received < 0 && errno == EINTR) continue;
        if (received <= 0) return received < 0 && errno == EAGAIN;
        discarded_ += static_cast<std::size_t>(received);
        if (discarded_ > kMostDiscarded) return false;
    }
}

void Connection::beginRequest() {
    began_ = Clock::now();
    trouble_ = Trouble::None;
    body_ = 0;
}

void Connection::endRequest() {
    account_.remove(reserved_);
    reserved_ = 0;
    buffer_.erase(0, taken_);
    if (buffer_.empty()) buffer_.shrink_to_fit();
    taken_ = headSize_ = searched_ = 0;
    findHead();
}

bool Connection::reserve(std::size_t bytes) {
    if (!account_.add(bytes)) return false;
    reserved_ += bytes;
    return true;
}

void Connection::cancelBody() {
    isCancelled_ = true;
    if (isReceiving_) ::shutdown(number(), SHUT_RD);
}

bool Connection::isGone() const {
    pollfd connection{number(), POLLRDHUP, 0};
    return ::poll(&connection, 1, 0) == 1;
}

bool Connection::await(short events, Clock::time_point began, std::size_t done) const {
    const auto end = began + kPatience + std::chrono::milliseconds(done * 1'000 / kSlowestPerSecond);
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return false;
        pollfd connection{number(), events, 0};
        const int found = ::poll(&connection, 1, static_cast<int>(std::min<std::int64_t>(left, 60'000)));
        if (found > 0) return true;
        if (found < 0 && errno != EINTR) return false;
    }
}

// Reads more of the body.
bool Connection::refill() {
    buffer_.clear();
    taken_ = 0;
    for (;;) {
        buffer_.resize(kStep);
        const ssize_t received = ::recv(number(), buffer_.data(), kStep, MSG_DONTWAIT);
        const int error = errno;
        buffer_.resize(static_cast<std::size_t>(std::max<ssize_t>(received, 0)));
        if (received > 0) return true;
        if (received == 0 || (error != EAGAIN && error != EINTR)) return false;
        isReceiving_ = true;
        const bool isInTime = !isCancelled_ && await(POLLIN, began_, body_);
        isReceiving_ = false;
        if (!isInTime) {
            trouble_ = Trouble::TooSlow;
            return false;
        }
    }
}

ssize_t Connection::read(char* bytes, std::size_t size) {
    if (trouble_ != Trouble::None) return -1;
    if (taken_ == buffer_.size() && !refill()) return -1;
    const bool isHead = headSize_ > taken_;
    const std::size_t end = isHead ? headSize_ : buffer_.size();
    const std::size_t count = std::min(size, end - taken_);
    if (!isHead) {
        body_ += count;
        if (body_ > mostBody_) trouble_ = Trouble::BodyTooLong;
        if (!reserve(count)) trouble_ = Trouble::NoMemory;
        if (trouble_ != Trouble::None) return -1;
    }
    std::memcpy(bytes, &buffer_[taken_], count);
    taken_ += count;
    if (taken_ == headSize_) headSize_ = 0;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* bytes, std::size_t size) {
    const Clock::time_point began = Clock::now();
    std::size_t done = 0;
    while (done < size) {
        const ssize_t sent = ::send(number(), bytes + done, size - done, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
        } else if (sent < 0 && errno != EINTR && (errno != EAGAIN || !await(POLLOUT, began, done))) {
            return -1;
        }
    }
    return static_cast<ssize_t>(size);
}

bool Connection::is_readable() const { return true; }

bool Connection::is_writable() const {
    pollfd connection{number(), POLLOUT | POLLRDHUP, 0};
    return ::poll(&connection, 1, 0) == 1 && connection.revents == POLLOUT;
}

void Connection::get_remote_ip_and_port(std::string&, int&) const {}

void Connection::get_local_ip_and_port(std::string&, int&) const {}

}  // namespace qbreport
