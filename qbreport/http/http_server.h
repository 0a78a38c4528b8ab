// Answers HTTP requests. Connections without a complete request cost no thread: an event loop reads their heads,
// and a thread answers each request. cpp-httplib reads and writes the messages themselves.
#ifndef QBSVR_QBREPORT_HTTP_HTTP_SERVER_H
#define QBSVR_QBREPORT_HTTP_HTTP_SERVER_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qbreport/http/buffer_account.h"
#include "qbreport/http/connection.h"
#include "qbreport/http/listener.h"
#include "qbreport/http/thread_pool.h"

namespace qbreport {

struct HttpLimits {
    std::size_t bodyBytes = std::size_t{16} << 20;
    std::size_t bufferedBytes = std::size_t{512} << 20;  // bodies and answers in memory together
    std::size_t connections = 4'096;
};

// Why a request is not answered. Its connection is closed: the body has not been read.
struct Rejection {
    int status = 0;
    std::string text;
    std::string challenge = {};  // of the header WWW-Authenticate
};

// A JSON object {"error": text, ...}. `more`: further members, each after a comma.
void answerError(httplib::Response& response, int status, std::string_view text, std::string_view more = "");

class HttpServer {
public:
    // Looks at a request before its body is read.
    using Gate = std::function<std::optional<Rejection>(const httplib::Request&)>;
    using Handler = std::function<void(const httplib::Request&, httplib::Response&, Connection&)>;

    // Headers of all answers are in `headers`.
    HttpServer(Listener& listener, const HttpLimits& limits, httplib::Headers headers, Gate gate,
               Handler handler);
    ~HttpServer();

    // Serves on this thread until `isStopped`. Then it takes no new requests, and returns when those under way
    // are answered, or after `grace`.
    void run(const std::function<bool()>& isStopped, std::chrono::seconds grace);

    bool isStopping() const { return isStopping_; }
    std::size_t connections() const { return openConnections_; }
    std::size_t bufferedBytes() const { return account_.used(); }

private:
    using Clock = Connection::Clock;
    class Protocol;
    enum class State { Waiting, Answering, Closing };
    struct Open {
        std::shared_ptr<Connection> connection;
        State state = State::Waiting;
        Clock::time_point end;
    };
    using Connections = std::unordered_map<int, Open>;

    void wait();
    void accept();
    bool makeRoom();
    void read(Connections::iterator at);
    void answer(Open& open);
    void takeBack();
    void continueWith(Connections::iterator at, bool isKept);
    void closeSlowly(Open& open);
    void watch(const Open& open, bool isNew = false);
    void close(Connections::iterator at);
    void closeExpired();
    void stop();

    Listener& listener_;
    HttpLimits limits_;
    BufferAccount account_;
    std::unique_ptr<Protocol> protocol_;
    Descriptor events_;
    Descriptor wake_;
    Connections connections_;
    std::mutex mutex_;
    std::vector<std::pair<int, bool>> answered_;  // connections, and whether they are kept
    std::size_t answering_ = 0;
    bool isAccepting_ = true;
    std::atomic<bool> isStopping_ = false;
    std::atomic<std::size_t> openConnections_ = 0;
    Clock::time_point lookedAt_ = Clock::now();
    std::unique_ptr<ThreadPool> threads_;
};

}  // namespace qbreport

#endif
