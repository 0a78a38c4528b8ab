#include "qbreport/workers/packet.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::size_t kStep = std::size_t{1} << 20;

// Returns false at the end of the stream.
bool receiveAll(int socket, char* to, std::size_t size) {
    while (size > 0) {
        const ssize_t received = ::recv(socket, to, size, 0);
        if (received < 0 && errno == EINTR) continue;
        if (received <= 0) return false;
        to += received;
        size -= static_cast<std::size_t>(received);
    }
    return true;
}

bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

}  // namespace

void PacketWriter::add(std::uint64_t number) {
    char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    bytes_.append(bytes, sizeof bytes);
}

void PacketWriter::add(const std::string& text) {
    add(std::uint64_t{text.size()});
    bytes_ += text;
}

void PacketWriter::add(const NamedValues& values) {
    add(std::uint64_t{values.size()});
    for (const auto& [name, value] : values) pass(name, value);
}

void PacketWriter::add(const std::vector<std::string>& texts) {
    add(std::uint64_t{texts.size()});
    for (const std::string& text : texts) add(text);
}

std::string_view PacketReader::take(std::uint64_t size) {
    if (size > rest_.size()) throw Failure("a packet ends early");
    const std::string_view taken = rest_.substr(0, static_cast<std::size_t>(size));
    rest_.remove_prefix(taken.size());
    return taken;
}

std::uint64_t PacketReader::number() {
    std::uint64_t number = 0;
    std::memcpy(&number, take(sizeof number).data(), sizeof number);
    return number;
}

void PacketReader::read(std::uint64_t& value) { value = number(); }
void PacketReader::read(bool& value) { value = number() != 0; }
void PacketReader::read(std::string& text) { text = take(number()); }

void PacketReader::read(NamedValues& values) {
    values.clear();
    for (std::uint64_t count = number(); count > 0; --count) {
        auto& [name, value] = values.emplace_back();
        pass(name, value);
    }
}

void PacketReader::read(std::vector<std::string>& texts) {
    texts.clear();
    for (std::uint64_t count = number(); count > 0; --count) read(texts.emplace_back());
}

std::string packetHead(std::uint64_t bodySize) {
    PacketWriter writer;
    writer.pass(bodySize);
    return writer.bytes();
}

std::uint64_t bodySizeIn(std::string_view head) {
    std::uint64_t size = 0;
    PacketReader(head).pass(size);
    return size;
}

bool receivePacket(int socket, std::string& body) {
    std::string head(kPacketHead, '\0');
    if (!receiveAll(socket, head.data(), head.size())) return false;
    const std::uint64_t size = bodySizeIn(head);
    body.clear();
    while (body.size() < size) {
        const std::size_t known = body.size();
        body.resize(known + static_cast<std::size_t>(std::min<std::uint64_t>(kStep, size - known)));
        if (!receiveAll(socket, &body[known], body.size() - known)) return false;
    }
    return true;
}

bool sendPacket(int socket, std::string_view first, std::string_view second) {
    return sendAll(socket, packetHead(first.size() + second.size())) && sendAll(socket, first) &&
           sendAll(socket, second);
}

}  // namespace qbreport
