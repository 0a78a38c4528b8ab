// qbreport watch: the report in a browser, while its template is being written.
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "qbreport/commands.h"
#include "qbreport/console.h"
#include "qbreport/files.h"
#include "qbreport/formats.h"
#include "qbreport/http/access.h"
#include "qbreport/http/http_server.h"
#include "qbreport/http/query.h"
#include "qbreport/interrupt.h"
#include "qbreport/watch/page_files.h"
#include "qbreport/watch/preview.h"
#include "qbreport/watch/preview_maker.h"
#include "qbreport/workers/spawner.h"
#include "qbreport/workers/worker_pool.h"
#include "qbreport/workers/worker_setup.h"

namespace qbreport {

namespace {

using Response = httplib::Response;

constexpr std::uint64_t kMemory = std::uint64_t{4} << 30;
constexpr std::size_t kQueue = 256;  // images of pages that the browser asks for at the same time
constexpr std::chrono::milliseconds kBetweenSigns(10'000);
constexpr std::chrono::milliseconds kBetweenLooks(200);
constexpr std::string_view kPagePolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
    "frame-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

// 128 bits in hexadecimal digits. Raises Failure.
std::string randomKey() {
    std::array<unsigned char, 16> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw Failure("the system has no random numbers");
    }
    std::string key;
    for (const unsigned char byte : bytes) {
        key += "0123456789abcdef"[byte >> 4];
        key += "0123456789abcdef"[byte & 15];
    }
    return key;
}

// The page and what it asks for, below a folder that nobody can guess: every user of the machine reaches the port.
class Site {
public:
    Site(const WatchOptions& options, Preview& preview)
        : options_(options), preview_(preview), folder_("/" + randomKey()) {}

    const std::string& folder() const { return folder_; }

    std::optional<Rejection> check(const httplib::Request& request) const {
        const std::string_view path = request.path;
        if (isSameSecret(path.substr(0, folder_.size()), folder_) &&
            path.substr(folder_.size()).starts_with('/')) {
            return std::nullopt;
        }
        return Rejection{403, "open the address that watch has printed, with its key"};
    }

    void answer(const httplib::Request& request, Response& response, Connection& connection,
                const HttpServer& server) {
        const std::string_view path = std::string_view(request.path).substr(folder_.size());
        response.status = 200;
        if (request.method == "POST") return answerError(response, 405, "there is nothing to send");
        if (path == "/events") return sendEvents(response, server);
        if (path == "/items") return response.set_content(preview_.items(), "application/json");
        if (path == "/template") return sendTemplate(response);
        if (path == "/document") return render(request, response, connection);
        for (const PageFile& file : pageFiles()) {
            if (file.path != path && !(file.path == "/index.html" && path == "/")) continue;
            response.set_header("Content-Security-Policy", std::string(kPagePolicy));
            return response.set_content(file.content.data(), file.content.size(), file.type);
        }
        answerError(response, 404, "there is nothing at this address");
    }

private:
    // Each state, as soon as there is a new one.
    void sendEvents(Response& response, const HttpServer& server) {
        std::uint64_t version = 0;
        auto sent = std::chrono::steady_clock::now();
        response.set_chunked_content_provider(
            "text/event-stream",
            [this, &server, version, sent](std::size_t, httplib::DataSink& sink) mutable {
                const std::string state = preview_.state(version, kBetweenLooks, version);
                if (server.isStopping() || !sink.is_writable()) return false;
                const auto now = std::chrono::steady_clock::now();
                if (state.empty() && now - sent < kBetweenSigns) return true;
                sent = now;
                const std::string event = state.empty() ? ":\n\n" : "data: " + state + "\n\n";
                return sink.write(event.data(), event.size());
            });
    }

    void sendTemplate(Response& response) const {
        try {
            response.set_content(readBytes(options_.file), "text/plain; charset=utf-8");
        } catch (const Failure& failure) {
            answerError(response, 404, failure.what());
        }
    }

    void render(const httplib::Request& request, Response& response, Connection& connection) {
        PreviewRequest asked;
        for (const auto& [name, value] : queryOf(request.target)) {
            if (name == "format") asked.format = value;
            if (name == "pages" || name == "resolution" || name == "layout") {
                asked.options.emplace_back(name, value);
            }
        }
        if (mediaTypeOf(asked.format) == nullptr)
            return answerError(response, 400, "there is no such format");
        std::string packet;
        PreviewAnswer answer;
        if (!preview_.render(asked, connection.number(), packet, answer)) {
            return answerError(response, 422, "the document could not be made",
                               ", \"messages\": [" + answer.messages + "]");
        }
        if (asked.format == "html") {
            response.set_header("Content-Security-Policy",
                                "sandbox; default-src 'none'; img-src data:; style-src 'unsafe-inline'");
        }
        response.set_content(answer.document.data(), answer.document.size(),
                             mediaTypeOf(asked.format, answer.document));
    }

    const WatchOptions& options_;
    Preview& preview_;
    std::string folder_;
};

httplib::Headers securityHeaders() {
    return {{"X-Content-Type-Options", "nosniff"},
            {"Cache-Control", "no-store"},
            {"Cross-Origin-Resource-Policy", "same-origin"},
            {"Referrer-Policy", "no-referrer"}};
}

}  // namespace

ExitStatus watch(const WatchOptions& options, Messages&) {
    requireFile(options.file, ".qbf");
    if (options.file == kStandardStream || options.data.file == kStandardStream) {
        throw WrongUse("standard input does not change; name files for the template and the data");
    }
    Listener listener(options.address);
    if (!listener.isLoopback())
        throw WrongUse("watch is for this machine only; name a port, or 127.0.0.1:PORT");
    const Access access(listener, {}, "");
    const std::chrono::milliseconds limit = limitTime();
    const auto prepare = [&] {
        listener.close();
        warmUp();
    };
    Spawner spawner(prepare, [&](int socket) {
        limitProcess(kMemory);
        makePreviews(options, socket);
    });
    WorkerPool pool(spawner, 1, kQueue, kMemory);
    Preview preview(options, pool, limit);
    Site site(options, preview);
    HttpServer* running = nullptr;
    HttpServer server(
        listener, HttpLimits(), securityHeaders(),
        [&](const httplib::Request& request) {
            const std::optional<Rejection> rejection = access.check(request, false);
            return rejection ? rejection : site.check(request);
        },
        [&](const httplib::Request& request, Response& response, Connection& connection) {
            site.answer(request, response, connection, *running);
        });
    running = &server;
    writeResult("watching " + printable(options.file) + " at " + listener.url() + site.folder() + "/\n");
    server.run(isInterrupted, std::chrono::seconds(1));
    forgetInterrupt();
    return ExitStatus::Good;
}

}  // namespace qbreport
