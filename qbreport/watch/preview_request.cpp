#include "qbreport/watch/preview_request.h"

namespace qbreport {

std::string PreviewRequest::packed() const {
    PacketWriter to;
    to.add(format);
    to.add(options);
    return to.bytes();
}

PreviewRequest PreviewRequest::unpack(std::string_view packet) {
    PacketReader from(packet);
    PreviewRequest request;
    request.format = from.text();
    request.options = from.values();
    return request;
}

std::string PreviewAnswer::packed() const {
    PacketWriter to;
    to.add(std::uint64_t{isGood});
    to.add(messages);
    to.add(pages);
    to.add(controls);
    to.add(items);
    to.add(std::uint64_t{files.size()});
    for (const std::string& file : files) to.add(file);
    return to.bytes();
}

PreviewAnswer PreviewAnswer::unpack(std::string_view packet) {
    PacketReader from(packet);
    PreviewAnswer answer;
    answer.isGood = from.number() != 0;
    answer.messages = from.text();
    answer.pages = from.text();
    answer.controls = from.text();
    answer.items = from.text();
    for (std::uint64_t count = from.number(); count > 0; --count) answer.files.emplace_back(from.text());
    answer.document = from.rest();
    return answer;
}

}  // namespace qbreport
