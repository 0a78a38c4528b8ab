#include "qbreport/serve/document_request.h"

namespace qbreport {

namespace {

template <class Packet, class Message>
void passRequest(Packet& packet, Message& request) {
    packet.pass(request.name, request.format, request.options, request.parameters, request.dataKind);
}

template <class Packet, class Message>
void passAnswer(Packet& packet, Message& answer) {
    packet.pass(answer.status, answer.error, answer.messages, answer.warnings, answer.pages);
}

}  // namespace

std::string DocumentRequest::packed() const {
    PacketWriter to;
    passRequest(to, *this);
    return to.bytes();
}

DocumentRequest DocumentRequest::unpack(std::string_view packet) {
    PacketReader from(packet);
    DocumentRequest request;
    passRequest(from, request);
    request.data = from.rest();
    return request;
}

std::string DocumentAnswer::packed() const {
    PacketWriter to;
    passAnswer(to, *this);
    return to.bytes();
}

DocumentAnswer DocumentAnswer::unpack(std::string_view packet) {
    PacketReader from(packet);
    DocumentAnswer answer;
    passAnswer(from, answer);
    answer.document = from.rest();
    return answer;
}

}  // namespace qbreport
