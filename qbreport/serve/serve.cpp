// qbreport serve: documents over HTTP.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>

#include "engine/qbsvr_more.h"
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

namespace qbreport {

namespace {

// A process that has not noticed the end of its time itself is killed after this time more.
constexpr std::chrono::seconds kGrace(2);

// The fonts are known, and the libraries loaded, before the first request.
void warmUp() {
    constexpr std::string_view kPage =
        "<Report version='1'><ReportHeader height='9mm'><Text width='90mm' height='9mm' text='0'/>"
        "</ReportHeader></Report>";
    tagQBReport* const report = QBReportCreate();
    const void* bytes = nullptr;
    std::uint64_t size = 0;
    // Whatever is wrong here, the first request reports.
    if (QBXReportLoadTemplate(report, kPage.data(), kPage.size(), "") != 0 &&
        QBXReportPrepareExport(report, "pdf") != 0) {
        QBXReportExportToMemory(report, &bytes, &size);
    }
    QBReportRelease(report);
    keepMemory();
}

void limitProcess(std::uint64_t memory) {
    const rlimit noCore{0, 0};  // a core would hold data of a request
    ::setrlimit(RLIMIT_CORE, &noCore);
#ifndef QBREPORT_SANITIZED
    const rlimit data{memory, memory};
    ::setrlimit(RLIMIT_DATA, &data);
#else
    static_cast<void>(memory);
#endif
}

void allowManyConnections() {
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0) return;
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
}

// The time of one document, of the settings or of the flag.
std::chrono::milliseconds limitTime() {
    QBXBudget budget{};
    budget.size = sizeof budget;
    if (QBXGetBudget(&budget) == 0) {
        throw Failure("the settings file has an error; see docs/settings.md");
    }
    constexpr std::uint64_t kDefault = 3'600'000;  // of the engine: made for whole batches
    constexpr std::uint64_t kUsual = 30'000;
    constexpr std::uint64_t kDay = 86'400'000;
    if (budget.wallMilliseconds == kDefault) {
        budget.wallMilliseconds = kUsual;
        QBXSetBudget(&budget);
    }
    return std::chrono::milliseconds(std::min(budget.wallMilliseconds, kDay));
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
    const std::chrono::milliseconds limit = limitTime() + kGrace;
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
