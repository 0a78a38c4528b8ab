#include "qbreport/serve/document_request.h"

namespace qbreport {

std::string DocumentRequest::packed() const {
    PacketWriter to;
    to.add(name);
    to.add(format);
    to.add(options);
    to.add(parameters);
    to.add(dataKind);
    return to.bytes();
}

DocumentRequest DocumentRequest::unpack(std::string_view packet) {
    PacketReader from(packet);
    DocumentRequest request;
    request.name = from.text();
    request.format = from.text();
    request.options = from.values();
    request.parameters = from.values();
    request.dataKind = from.text();
    request.data = from.rest();
    return request;
}

std::string DocumentAnswer::packed() const {
    PacketWriter to;
    to.add(status);
    to.add(error);
    to.add(messages);
    to.add(warnings);
    to.add(pages);
    return to.bytes();
}

DocumentAnswer DocumentAnswer::unpack(std::string_view packet) {
    PacketReader from(packet);
    DocumentAnswer answer;
    answer.status = from.number();
    answer.error = from.text();
    answer.messages = from.text();
    answer.warnings = from.number();
    answer.pages = from.number();
    answer.document = from.rest();
    return answer;
}

}  // namespace qbreport
