// What watch asks its worker for, and what it gets.
#ifndef QBSVR_QBREPORT_WATCH_PREVIEW_REQUEST_H
#define QBSVR_QBREPORT_WATCH_PREVIEW_REQUEST_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qbreport/workers/packet.h"

namespace qbreport {

struct PreviewRequest {
    std::string format;   // empty: load everything again, and report what there is
    NamedValues options;  // of the export

    template <class Request, class Packet>
    static void pass(Request& request, Packet& packet) {
        packet.pass(request.format, request.options);
    }
};

struct PreviewAnswer {
    bool isGood = false;
    std::string messages;            // of a report that was loaded: elements of a JSON array
    std::string pages;               // "[[width, height], ...]", in micrometres
    std::string controls;            // "[[line, column, kind, content], ...]"
    std::string items;               // "[[page, x, y, width, height, control], ...]"
    std::vector<std::string> files;  // that the report reads
    std::string_view document;

    template <class Answer, class Packet>
    static void pass(Answer& answer, Packet& packet) {
        packet.pass(answer.isGood, answer.messages, answer.pages, answer.controls, answer.items,
                    answer.files);
        packet.passRest(answer.document);
    }
};

}  // namespace qbreport

#endif
