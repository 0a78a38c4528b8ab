#include "qbreport/watch/preview_request.h"

namespace qbreport {

namespace {

template <class Packet, class Message>
void passRequest(Packet& packet, Message& request) {
    packet.pass(request.format, request.options);
}

template <class Packet, class Message>
void passAnswer(Packet& packet, Message& answer) {
    packet.pass(answer.isGood, answer.messages, answer.pages, answer.controls, answer.items, answer.files);
}

}  // namespace

std::string PreviewRequest::packed() const {
    PacketWriter to;
    passRequest(to, *this);
    return to.bytes();
}

PreviewRequest PreviewRequest::unpack(std::string_view packet) {
    PacketReader from(packet);
    PreviewRequest request;
    passRequest(from, request);
    return request;
}

std::string PreviewAnswer::packed() const {
    PacketWriter to;
    passAnswer(to, *this);
    return to.bytes();
}

PreviewAnswer PreviewAnswer::unpack(std::string_view packet) {
    PacketReader from(packet);
    PreviewAnswer answer;
    passAnswer(from, answer);
    answer.document = from.rest();
    return answer;
}

}  // namespace qbreport
