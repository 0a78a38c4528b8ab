// What processes tell each other: numbers and texts in a fixed order, after the length of the whole.
#ifndef QBSVR_QBREPORT_WORKERS_PACKET_H
#define QBSVR_QBREPORT_WORKERS_PACKET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qbreport {

using NamedValues = std::vector<std::pair<std::string, std::string>>;

// Both sides pass the same fields in the same order.
class PacketWriter {
public:
    template <class... Fields>
    void pass(const Fields&... fields) {
        (add(fields), ...);
    }
    // The text that follows the fields is sent from where it is.
    void passRest(std::string_view) {}
    const std::string& bytes() const { return bytes_; }

private:
    void add(std::uint64_t number);
    void add(bool value) { add(std::uint64_t{value}); }
    void add(const std::string& text);
    void add(const NamedValues& values);
    void add(const std::vector<std::string>& texts);

    std::string bytes_;
};

// Reads what a PacketWriter has written. Raises Failure for bytes that are something else.
class PacketReader {
public:
    explicit PacketReader(std::string_view bytes) : rest_(bytes) {}
    template <class... Fields>
    void pass(Fields&... fields) {
        (read(fields), ...);
    }
    // A view into the packet.
    void passRest(std::string_view& rest) { rest = rest_; }

private:
    void read(std::uint64_t& number);
    void read(bool& value);
    void read(std::string& text);
    void read(NamedValues& values);
    void read(std::vector<std::string>& texts);
    std::uint64_t number();
    std::string_view take(std::uint64_t size);

    std::string_view rest_;
};

// The packet of a message, which passes its fields in `static void pass(Message&, Packet&)`, and the message of a
// packet, which it may refer to.
template <class Message>
std::string packed(const Message& message) {
    PacketWriter to;
    Message::pass(message, to);
    return to.bytes();
}
template <class Message>
Message unpacked(std::string_view packet) {
    PacketReader from(packet);
    Message message;
    Message::pass(message, from);
    return message;
}

inline constexpr std::size_t kPacketHead = sizeof(std::uint64_t);

// The head of a packet with a body of this size, and the size that a head announces.
std::string packetHead(std::uint64_t bodySize);
std::uint64_t bodySizeIn(std::string_view head);

// The body of the next packet of a socket, which is read to its end; false if the other side has closed it.
bool receivePacket(int socket, std::string& body);
// Returns whether the other side has taken both parts, as one packet.
bool sendPacket(int socket, std::string_view first, std::string_view second);

}  // namespace qbreport

#endif
