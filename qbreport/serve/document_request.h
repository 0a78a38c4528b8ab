// What the service asks a worker for, and what it gets.
#ifndef QBSVR_QBREPORT_SERVE_DOCUMENT_REQUEST_H
#define QBSVR_QBREPORT_SERVE_DOCUMENT_REQUEST_H

#include <cstdint>
#include <string>
#include <string_view>

#include "qbreport/workers/packet.h"

namespace qbreport {

struct DocumentRequest {
    std::string name;  // of the template
    std::string format;
    NamedValues options;
    NamedValues parameters;
    std::string dataKind;   // empty: the content decides
    std::string_view data;  // empty: what the template itself names

    template <class Request, class Packet>
    static void pass(Request& request, Packet& packet) {
        packet.pass(request.name, request.format, request.options, request.parameters, request.dataKind);
        packet.passRest(request.data);
    }
};

struct DocumentAnswer {
    std::uint64_t status = 500;  // of HTTP
    std::string error;           // a sentence
    std::string messages;        // of the engine, as elements of a JSON array
    std::uint64_t warnings = 0;
    std::uint64_t pages = 0;
    std::string_view document;

    template <class Answer, class Packet>
    static void pass(Answer& answer, Packet& packet) {
        packet.pass(answer.status, answer.error, answer.messages, answer.warnings, answer.pages);
        packet.passRest(answer.document);
    }
};

}  // namespace qbreport

#endif
