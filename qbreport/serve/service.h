// The addresses of the service.
#ifndef QBSVR_QBREPORT_SERVE_SERVICE_H
#define QBSVR_QBREPORT_SERVE_SERVICE_H

#include <chrono>
#include <functional>
#include <string>

#include "qbreport/http/http_server.h"
#include "qbreport/messages.h"
#include "qbreport/serve/document_request.h"
#include "qbreport/serve/service_metrics.h"
#include "qbreport/serve/template_folder.h"
#include "qbreport/workers/worker_pool.h"

namespace qbreport {

class Service {
public:
    // `limit`: after this time, the process of a document is killed. Messages name no data.
    Service(const TemplateFolder& folder, WorkerPool& workers, std::chrono::milliseconds limit,
            Messages& messages);

    void answer(const httplib::Request& request, httplib::Response& response, Connection& connection,
                const HttpServer& server);
    // Whether an address needs no token.
    static bool isOpen(const httplib::Request& request) { return request.path == "/health"; }

private:
    void render(const httplib::Request& request, httplib::Response& response, Connection& connection);
    void finish(const DocumentRequest& asked, std::string_view packet, httplib::Response& response,
                Connection& connection, WorkerPool::Clock::time_point began);
    void fail(httplib::Response& response, WorkerPool::Ending ending, const std::string& name);
    void listTemplates(httplib::Response& response) const;

    const TemplateFolder& folder_;
    WorkerPool& workers_;
    std::chrono::milliseconds limit_;
    Messages& messages_;
    std::mutex writing_;
    ServiceMetrics metrics_;
};

}  // namespace qbreport

#endif
