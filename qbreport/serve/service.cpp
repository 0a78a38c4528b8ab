#include "qbreport/serve/service.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "qbreport/console.h"
#include "qbreport/failure.h"
#include "qbreport/formats.h"
#include "qbreport/http/query.h"

namespace qbreport {

namespace {

using Response = httplib::Response;

constexpr std::string_view kRender = "/render/";
constexpr std::string_view kParameter = "parameter.";

// Options that name files, keys and passwords are not for requests.
constexpr std::array<std::string_view, 16> kOptions{
    "pages",       "layout",         "page-breaks",   "page-headers", "resolution", "all-in-one",
    "whole-fonts", "standard",       "created",       "csv.defuse",   "csv.values", "csv.separator",
    "csv.quotes",  "text.line-ends", "text.encoding", "txt.widths"};

struct KindOfType {
    std::string_view type;
    const char* kind;
};
constexpr std::array kKinds{KindOfType{"application/json", "json"},
                            KindOfType{"application/jsonl", "jsonl"},
                            KindOfType{"application/x-ndjson", "jsonl"},
                            KindOfType{"application/xml", "xml"},
                            KindOfType{"text/xml", "xml"},
                            KindOfType{"text/csv", "csv"},
                            KindOfType{"text/tab-separated-values", "csv:separator=tab"}};

// The kind of data that a media type means; empty: the content decides.
std::string kindOfType(std::string_view type) {
    type = type.substr(0, type.find_first_of("; "));
    const auto* const known =
        std::find_if(kKinds.begin(), kKinds.end(), [&](const KindOfType& kind) { return kind.type == type; });
    return known == kKinds.end() ? "" : known->kind;
}

DocumentRequest requestFrom(const httplib::Request& request) {
    DocumentRequest asked;
    asked.name = request.path.substr(kRender.size());
    asked.format = "pdf";
    asked.dataKind = kindOfType(request.get_header_value("Data-Type"));
    asked.data = request.body;
    for (const auto& [name, value] : queryOf(request.target)) {
        if (name == "format") {
            asked.format = value;
        } else if (name == "data-kind") {
            asked.dataKind = value;
        } else if (std::find(kOptions.begin(), kOptions.end(), name) != kOptions.end()) {
            asked.options.emplace_back(name, value);
        } else {
            const bool isMarked = name.starts_with(kParameter);
            asked.parameters.emplace_back(isMarked ? name.substr(kParameter.size()) : name, value);
        }
    }
    return asked;
}

// The name for a browser that saves the document: the last part, in ASCII.
std::string fileName(const DocumentRequest& asked) {
    std::string name = asked.name.substr(asked.name.rfind('/') + 1);
    if (name.ends_with(".qbf")) name.resize(name.size() - 4);
    for (char& c : name) {
        const bool isPlain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!isPlain && c != '-' && c != '.') c = '_';
    }
    return name + "." + asked.format;
}

std::string reasonOf(std::uint64_t status) {
    return status == 404 ? "no_template" : status == 400 ? "bad_request" : "report";
}

void answerBusy(Response& response, std::string_view text) {
    response.set_header("Retry-After", "1");
    answerError(response, 503, text);
}

}  // namespace

Service::Service(const TemplateFolder& folder, WorkerPool& workers, std::chrono::milliseconds limit,
                 Messages& messages)
    : folder_(folder), workers_(workers), limit_(limit), messages_(messages) {}

void Service::answer(const httplib::Request& request, Response& response, Connection& connection,
                     const HttpServer& server) {
    const bool isGet = request.method != "POST";
    if (request.path.starts_with(kRender)) {
        if (!isGet) return render(request, response, connection);
        response.set_header("Allow", "POST");
        return answerError(response, 405, "send the data with POST");
    }
    if (!isGet) return answerError(response, 404, "documents are at /render/NAME");
    response.status = 200;
    if (request.path == "/health") {
        response.status = server.isStopping() ? 503 : 200;
        response.set_content(server.isStopping() ? "{\"status\": \"stopping\"}\n" : "{\"status\": \"ok\"}\n",
                             "application/json");
    } else if (request.path == "/templates") {
        listTemplates(response);
    } else if (request.path == "/metrics") {
        response.set_content(
            metrics_.text({workers_.figures(), server.connections(), server.bufferedBytes()}),
            "text/plain; version=0.0.4; charset=utf-8");
    } else {
        answerError(response, 404, "there is nothing at this address");
    }
}

void Service::listTemplates(Response& response) const {
    std::string list;
    for (const std::string& name : folder_.names()) list += (list.empty() ? "" : ", ") + inJson(name);
    response.set_content("{\"templates\": [" + list + "]}\n", "application/json");
}

void Service::render(const httplib::Request& request, Response& response, Connection& connection) {
    const WorkerPool::Clock::time_point began = WorkerPool::Clock::now();
    const DocumentRequest asked = requestFrom(request);
    if (mediaTypeOf(asked.format) == nullptr) {
        metrics_.addFailure("bad_request");
        return answerError(response, 400,
                           "there is no such format; format=pdf, xlsx, xls, ods, docx, rtf, html, txt, csv, "
                           "json, tiff or png");
    }
    std::string packet;
    const WorkerPool::Ending ending =
        workers_.run(packed(asked), asked.data, {connection.number(), limit_}, packet);
    if (ending != WorkerPool::Ending::Answered) return fail(response, ending, asked.name);
    try {
        finish(asked, packet, response, connection, began);
    } catch (const Failure&) {  // a worker that answers something else is as good as dead
        fail(response, WorkerPool::Ending::Died, asked.name);
    }
}

void Service::finish(const DocumentRequest& asked, std::string_view packet, Response& response,
                     Connection& connection, WorkerPool::Clock::time_point began) {
    const DocumentAnswer answer = unpacked<DocumentAnswer>(packet);
    if (answer.status != 200) {
        metrics_.addFailure(reasonOf(answer.status));
        return answerError(response, static_cast<int>(answer.status), answer.error,
                           ", \"messages\": [" + answer.messages + "]");
    }
    if (!connection.reserve(answer.document.size())) {
        metrics_.addFailure("memory");
        return answerBusy(response, "too many documents are being sent");
    }
    response.status = 200;
    response.set_content(answer.document.data(), answer.document.size(),
                         mediaTypeOf(asked.format, answer.document));
    // Besides the policy of all answers. In the others, it would keep browsers from showing a PDF.
    if (asked.format == "html") response.set_header("Content-Security-Policy", "sandbox");
    response.set_header("Content-Disposition", "inline; filename=\"" + fileName(asked) + "\"");
    response.set_header("Report-Pages", std::to_string(answer.pages));
    response.set_header("Report-Warnings", std::to_string(answer.warnings));
    metrics_.addDocument(asked.format, answer.pages, asked.data.size(), answer.document.size(),
                         WorkerPool::Clock::now() - began);
}

void Service::fail(Response& response, WorkerPool::Ending ending, const std::string& name) {
    using Ending = WorkerPool::Ending;
    const auto report = [&](const std::string& text) {
        const std::scoped_lock lock(writing_);
        messages_.write({Severity::Warning, text, name});
    };
    switch (ending) {
        case Ending::QueueFull:
            metrics_.addFailure("queue_full");
            return answerBusy(response, "too many documents are waiting");
        case Ending::Unstarted:
            metrics_.addFailure("unstarted");
            report("no worker process can be started");
            return answerBusy(response, "no worker process can be started");
        case Ending::ClientGone:
            metrics_.addFailure("client_gone");
            response.status = 499;  // nobody reads it
            return;
        case Ending::TimedOut:
            metrics_.addFailure("time");
            report("a worker process was killed: the document took too long");
            return answerError(response, 504, "the document takes too long");
        case Ending::Died:
        case Ending::Answered:
            break;
    }
    metrics_.addFailure("died");
    report("a worker process has died");
    answerError(response, 500, "the process that made the document has died");
}

}  // namespace qbreport
