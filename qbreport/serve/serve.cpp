// qbreport serve: documents over HTTP.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>

#include "qbreport/commands.h"
#include "qbreport/console.h"
#include "qbreport/http/access.h"
#include "qbreport/http/http_server.h"
#include "qbreport/interrupt.h"
#include "qbreport/limits.h"
#include "qbreport/machine.h"
#include "qbreport/serve/document_maker.h"
#include "qbreport/serve/service.h"
#include "qbreport/workers/spawner.h"
#include "qbreport/workers/worker_pool.h"
#include "qbreport/workers/worker_setup.h"

namespace qbreport {

namespace {

void allowManyConnections() {
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0) return;
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
}

httplib::Headers securityHeaders() {
    return {{"X-Content-Type-Options", "nosniff"},
            {"Cache-Control", "no-store"},
            {"Referrer-Policy", "no-referrer"},
            {"Content-Security-Policy",
             "default-src 'none'; img-src data:; object-src 'self'; style-src 'unsafe-inline'"}};
}

}  // namespace

ExitStatus serve(const ServeOptions& options, Messages& messages) {
    const TemplateFolder folder(options.folder);
    Listener listener(options.address);
    const Access access(listener, options.serverNames, readToken(options.tokenFile));
    const std::chrono::milliseconds limit = limitTime();
    const std::uint64_t memory = bytesIn("--memory", options.memory);
    HttpLimits limits;
    limits.bodyBytes = static_cast<std::size_t>(bytesIn("--body-limit", options.bodyLimit));
    const auto prepare = [&] {
        listener.close();
        warmUp();
    };
    Spawner spawner(prepare, [&](int socket) {
        limitProcess(memory);
        if (::fchdir(folder.number()) == 0) makeDocuments(folder, socket);
    });
    allowManyConnections();
    const std::size_t workers = options.workers == 0 ? processors() : options.workers;
    WorkerPool pool(spawner, workers, options.queue, memory);
    Service service(folder, pool, limit, messages);
    HttpServer* running = nullptr;
    HttpServer server(
        listener, limits, securityHeaders(),
        [&](const httplib::Request& request) { return access.check(request, Service::isOpen(request)); },
        [&](const httplib::Request& request, httplib::Response& response, Connection& connection) {
            service.answer(request, response, connection, *running);
        });
    running = &server;
    writeResult("serving " + counted(folder.names().size(), "template") + " at " + listener.url() + "\n");
    server.run(isInterrupted, std::chrono::ceil<std::chrono::seconds>(limit));
    forgetInterrupt();
    return ExitStatus::Good;
}

}  // namespace qbreport
