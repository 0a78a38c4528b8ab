#include "qbreport/http/http_server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "qbreport/console.h"
#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr int kBetweenLooks = 250;  // milliseconds, at signals and at connections whose time is over
constexpr std::chrono::seconds kHeadTime(10);
constexpr std::chrono::seconds kIdleTime(75);  // more than a proxy keeps a connection that it does not use
constexpr std::chrono::seconds kClosingTime(2);
constexpr std::size_t kMostTarget = 4'096;
constexpr std::size_t kMostRequests = 1'000'000;  // of a connection, as its answers say

constexpr std::string_view kTooLong =
    "HTTP/1.1 431 Request Header Fields Too Large\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
constexpr std::string_view kTooSlow =
    "HTTP/1.1 408 Request Timeout\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

bool isNumber(std::string_view text) {
    constexpr std::size_t kMostDigits = 18;
    return !text.empty() && text.size() <= kMostDigits &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Of a request whose length is clear; 0 if it has none.
std::uint64_t bodyLength(const httplib::Request& request) {
    return request.get_header_value<std::uint64_t>("Content-Length");
}

// Requests that a proxy could understand in another way.
std::optional<Rejection> ambiguity(const httplib::Request& request) {
    const std::size_t lengths = request.get_header_value_count("Content-Length");
    const std::size_t codings = request.get_header_value_count("Transfer-Encoding");
    if (request.target.size() > kMostTarget) return Rejection{414, "the address is too long"};
    if (request.version == "HTTP/1.1" && request.get_header_value_count("Host") != 1) {
        return Rejection{400, "the request needs one Host"};
    }
    if (lengths + codings > 1 ||
        (codings == 1 && request.get_header_value("Transfer-Encoding") != "chunked") ||
        (lengths == 1 && !isNumber(request.get_header_value("Content-Length")))) {
        return Rejection{400, "the length of the body is unclear"};
    }
    // cpp-httplib would read the body of another method as the next request.
    if (request.method != "POST" && (codings > 0 || (lengths > 0 && bodyLength(request) > 0))) {
        return Rejection{400, "a body belongs to POST"};
    }
    if (request.has_header("Content-Encoding")) return Rejection{415, "a body is not compressed here"};
    return std::nullopt;
}

// The request that a thread answers.
struct Exchange {
    Connection& connection;
    std::optional<Rejection> rejection = std::nullopt;
    bool isUnderstood = true;
};

thread_local Exchange* current = nullptr;

}  // namespace

void answerError(httplib::Response& response, int status, std::string_view text, std::string_view more) {
    response.status = status;
    response.set_content("{\"error\": " + inJson(text) + std::string(more) + "}\n", "application/json");
}

class HttpServer::Protocol : public httplib::Server {
public:
    Protocol(const HttpLimits& limits, httplib::Headers headers, Gate gate, HttpServer::Handler handler)
        : gate_(std::move(gate)), limits_(limits) {
        const auto respond = [handler = std::move(handler)](const httplib::Request& request,
                                                            httplib::Response& response) {
            handler(request, response, current->connection);
        };
        // Any number but that of no socket: the library ends answers of unknown length when it has stopped to
        // listen. It does not use the socket.
        svr_sock_ = 0;
        Get(".*", respond);
        Post(".*", respond);
        set_default_headers(std::move(headers));
        set_payload_max_length(limits.bodyBytes);
        set_keep_alive_timeout(kIdleTime.count());
        set_keep_alive_max_count(kMostRequests);
        set_pre_routing_handler([](const httplib::Request&, httplib::Response& response) {
            if (!current->rejection) return HandlerResponse::Unhandled;
            reject(response, *current->rejection);
            return HandlerResponse::Handled;
        });
        set_expect_100_continue_handler([](const httplib::Request&, httplib::Response& response) {
            if (!current->rejection) return 100;
            reject(response, *current->rejection);
            return response.status;
        });
        set_exception_handler(
            [](const httplib::Request&, httplib::Response& response, const std::exception_ptr&) {
                answerError(response, 500, "the request could not be answered");
            });
        set_error_handler(Server::Handler(
            [this](const httplib::Request&, httplib::Response& response) { explain(response); }));
    }

    // Answers the next request of the connection. Returns whether the connection can have another one.
    bool answer(Connection& connection, bool isLast) {
        Exchange exchange{connection};
        current = &exchange;
        connection.beginRequest();
        bool isClosed = false;
        bool isAnswered = false;
        try {
            isAnswered = process_request(connection, isLast, isClosed,
                                         [this](httplib::Request& request) { admit(request); });
        } catch (const std::exception&) {
            // Out of memory: the connection ends without an answer.
        }
        const bool isKept = isAnswered && !isClosed && !isLast && !exchange.rejection &&
                            exchange.isUnderstood && connection.trouble() == Connection::Trouble::None;
        connection.endRequest();
        current = nullptr;
        return isKept;
    }

private:
    static void reject(httplib::Response& response, const Rejection& rejection) {
        answerError(response, rejection.status, rejection.text);
        if (!rejection.challenge.empty()) response.set_header("WWW-Authenticate", rejection.challenge);
        if (rejection.status == 405) response.set_header("Allow", "GET, HEAD, POST");
    }

    void admit(httplib::Request& request) const {
        std::optional<Rejection>& rejection = current->rejection;
        rejection = ambiguity(request);
        if (!rejection && request.method != "GET" && request.method != "HEAD" && request.method != "POST") {
            rejection = {405, "there is no method " + request.method};
        }
        if (!rejection) rejection = gate_(request);
        if (!rejection && bodyLength(request) > limits_.bodyBytes) rejection = {413, bodyTooLong()};
        if (rejection) request.set_header("Connection", "close");
        // A request without a length has no body: cpp-httplib would wait for one until the connection ends.
        if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
            request.set_header("Content-Length", "0");
        }
        // Neither forms nor parts, neither ranges nor compression: an answer is what the handler says.
        const std::string type = request.get_header_value("Content-Type");
        request.headers.erase("Content-Type");
        request.set_header("Data-Type", type);
        request.headers.erase("Accept-Encoding");
        request.ranges.clear();
    }

    std::string bodyTooLong() const { return "a body has at most " + shownSize(limits_.bodyBytes); }

    // The answer to a request that the library rejects.
    void explain(httplib::Response& response) const {
        if (!response.body.empty()) return;
        switch (current->connection.trouble()) {
            case Connection::Trouble::BodyTooLong:
                return answerError(response, 413, bodyTooLong());
            case Connection::Trouble::NoMemory:
                response.set_header("Retry-After", "1");
                return answerError(response, 503, "too many bodies arrive at the same time");
            case Connection::Trouble::TooSlow:
                return answerError(response, 408, "the body arrives too slowly");
            case Connection::Trouble::None:
                break;
        }
        if (response.status == 404) return answerError(response, 404, "there is nothing at this address");
        current->isUnderstood = false;  // nor is it known where it ends
        answerError(response, response.status, "the request cannot be understood");
    }

    Gate gate_;
    HttpLimits limits_;
};

HttpServer::HttpServer(Listener& listener, const HttpLimits& limits, httplib::Headers headers, Gate gate,
                       Handler handler)
    : listener_(listener),
      limits_(limits),
      account_(limits.bufferedBytes),
      protocol_(std::make_unique<Protocol>(limits, std::move(headers), std::move(gate), std::move(handler))),
      events_(::epoll_create1(EPOLL_CLOEXEC)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      threads_(std::make_unique<ThreadPool>()) {
    epoll_event arrival{};
    epoll_event answer{};
    arrival.events = answer.events = EPOLLIN;
    arrival.data.fd = listener_.number();
    answer.data.fd = wake_.number();
    if (::epoll_ctl(events_.number(), EPOLL_CTL_ADD, listener_.number(), &arrival) != 0 ||
        ::epoll_ctl(events_.number(), EPOLL_CTL_ADD, wake_.number(), &answer) != 0) {
        throw Failure(std::string("connections cannot be watched: ") + std::strerror(errno));
    }
}

HttpServer::~HttpServer() { threads_.reset(); }

void HttpServer::run(const std::function<bool()>& isStopped, std::chrono::seconds grace) {
    while (!isStopped()) wait();
    stop();
    const Clock::time_point end = Clock::now() + grace;
    while ((answering_ > 0 || !connections_.empty()) && Clock::now() < end) wait();
}

void HttpServer::stop() {
    isStopping_ = true;
    listener_.close();
    for (auto at = connections_.begin(); at != connections_.end();) {
        const auto next = std::next(at);
        at->second.connection->cancelBody();
        if (at->second.state == State::Waiting) close(at);
        at = next;
    }
}

void HttpServer::wait() {
    std::array<epoll_event, 256> events{};
    const int count =
        ::epoll_wait(events_.number(), events.data(), static_cast<int>(events.size()), kBetweenLooks);
    for (int i = 0; i < count; ++i) {
        const int number = events.at(static_cast<std::size_t>(i)).data.fd;
        if (number == wake_.number()) {
            takeBack();
        } else if (number == listener_.number()) {
            accept();
        } else if (const auto at = connections_.find(number); at != connections_.end()) {
            read(at);
        }
    }
    if (Clock::now() - lookedAt_ >= std::chrono::milliseconds(kBetweenLooks)) closeExpired();
}

// Closes the connection that has been idle for the longest time, if there is one.
bool HttpServer::makeRoom() {
    auto oldest = connections_.end();
    for (auto at = connections_.begin(); at != connections_.end(); ++at) {
        const Open& open = at->second;
        const bool isIdle = open.state == State::Waiting && open.connection->isIdle();
        if (isIdle && (oldest == connections_.end() || open.end < oldest->second.end)) oldest = at;
    }
    if (oldest == connections_.end()) return false;
    close(oldest);
    return true;
}

void HttpServer::accept() {
    for (;;) {
        if (connections_.size() >= limits_.connections && !makeRoom()) break;
        Descriptor socket(::accept4(listener_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!socket.isOpen() && (errno == EINTR || errno == ECONNABORTED)) continue;
        if (!socket.isOpen() && errno == EAGAIN) return;
        if (!socket.isOpen() && makeRoom()) continue;
        if (!socket.isOpen()) break;
        const int on = 1;
        ::setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const int number = socket.number();
        Open& open = connections_[number];
        open.connection = std::make_shared<Connection>(std::move(socket), limits_.bodyBytes, account_);
        open.end = Clock::now() + kHeadTime;
        openConnections_ = connections_.size();
        watch(open, true);
    }
    // Too many: those that wait are accepted when others have ended.
    isAccepting_ = false;
    ::epoll_ctl(events_.number(), EPOLL_CTL_DEL, listener_.number(), nullptr);
}

// One event, then nothing until the next call.
void HttpServer::watch(const Open& open, bool isNew) {
    epoll_event event{};
    event.events = EPOLLIN | EPOLLONESHOT;
    event.data.fd = open.connection->number();
    ::epoll_ctl(events_.number(), isNew ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, open.connection->number(), &event);
}

void HttpServer::read(Connections::iterator at) {
    Open& open = at->second;
    if (open.state == State::Answering) return;
    if (open.state == State::Closing) return open.connection->discard() ? watch(open) : close(at);
    const bool wasIdle = open.connection->isIdle();
    const bool isOpen = open.connection->receive();
    if (open.connection->isHeadTooLong()) {
        open.connection->sendNow(kTooLong);
        return closeSlowly(open);
    }
    if (open.connection->hasHead()) return answer(open);
    if (!isOpen) return close(at);
    if (wasIdle && !open.connection->isIdle()) open.end = Clock::now() + kHeadTime;
    watch(open);
}

void HttpServer::answer(Open& open) {
    open.state = State::Answering;
    ++answering_;
    threads_->run([this, connection = open.connection] {
        const bool isKept = protocol_->answer(*connection, isStopping_);
        const std::scoped_lock lock(mutex_);
        answered_.emplace_back(connection->number(), isKept);
        const std::uint64_t one = 1;
        // It is full only if the loop has been woken already.
        static_cast<void>(::write(wake_.number(), &one, sizeof one));
    });
}

void HttpServer::takeBack() {
    std::uint64_t count = 0;
    static_cast<void>(::read(wake_.number(), &count, sizeof count));
    std::vector<std::pair<int, bool>> answered;
    {
        const std::scoped_lock lock(mutex_);
        answered.swap(answered_);
    }
    for (const auto& [number, isKept] : answered) {
        --answering_;
        continueWith(connections_.find(number), isKept && !isStopping_);
    }
}

void HttpServer::continueWith(Connections::iterator at, bool isKept) {
    Open& open = at->second;
    if (!isKept) return closeSlowly(open);
    open.state = State::Waiting;
    open.end = Clock::now() + (open.connection->isIdle() ? kIdleTime : kHeadTime);
    if (open.connection->hasHead()) return answer(open);
    watch(open);
}

// The client still reads the answer while the rest of its request arrives: to close at once would cut it off.
void HttpServer::closeSlowly(Open& open) {
    ::shutdown(open.connection->number(), SHUT_WR);
    open.state = State::Closing;
    open.end = Clock::now() + kClosingTime;
    watch(open);
}

void HttpServer::close(Connections::iterator at) {
    connections_.erase(at);
    openConnections_ = connections_.size();
}

void HttpServer::closeExpired() {
    const Clock::time_point now = lookedAt_ = Clock::now();
    for (auto at = connections_.begin(); at != connections_.end();) {
        const auto next = std::next(at);
        Open& open = at->second;
        if (open.state != State::Answering && open.end <= now) {
            if (open.state == State::Waiting && !open.connection->isIdle())
                open.connection->sendNow(kTooSlow);
            close(at);
        }
        at = next;
    }
    if (isAccepting_ || isStopping_) return;
    epoll_event arrival{};
    arrival.events = EPOLLIN;
    arrival.data.fd = listener_.number();
    isAccepting_ = ::epoll_ctl(events_.number(), EPOLL_CTL_ADD, listener_.number(), &arrival) == 0;
}

}  // namespace qbreport
