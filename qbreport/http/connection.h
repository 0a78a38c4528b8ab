// A client's connection: the bytes of its requests, and the time that it may take for them.
#ifndef QBSVR_QBREPORT_HTTP_CONNECTION_H
#define QBSVR_QBREPORT_HTTP_CONNECTION_H

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

#include "qbreport/descriptor.h"
#include "qbreport/http/buffer_account.h"

namespace qbreport {

// One thread uses it at a time: that of the event loop until the head of a request is complete, and then the
// one that answers the request.
class Connection final : public httplib::Stream {
public:
    using Clock = std::chrono::steady_clock;

    Connection(Descriptor socket, std::size_t mostBody, BufferAccount& account);
    ~Connection() override;

    int number() const { return socket_.number(); }

    // ---- Heads, without waiting

    // Reads what has arrived, up to the end of a head. Returns false if nothing more will.
    bool receive();
    bool hasHead() const { return headSize_ > 0; }
    bool isHeadTooLong() const;
    bool isIdle() const { return buffer_.empty(); }
    // Sends a short answer as far as the socket takes it, and reads and forgets what arrives.
    void sendNow(std::string_view bytes) const;
    bool discard();

    // ---- A request, whose body and answer may take their time

    enum class Trouble { None, BodyTooLong, NoMemory, TooSlow };
    void beginRequest();
    void endRequest();
    Trouble trouble() const { return trouble_; }
    // Counts an answer among the bytes in memory until the end of the request; false if there is no room.
    bool reserve(std::size_t bytes);
    // From any thread: a request whose body is still arriving is not worth waiting for.
    void cancelBody();
    // Whether the client has closed its side.
    bool isGone() const;

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* bytes, std::size_t size) override;
    ssize_t write(const char* bytes, std::size_t size) override;
    void get_remote_ip_and_port(std::string& address, int& port) const override;
    void get_local_ip_and_port(std::string& address, int& port) const override;
    // Zero: the protocol does not use the socket itself.
    socket_t socket() const override { return 0; }

private:
    void findHead();
    bool refill();
    bool await(short events, Clock::time_point began, std::size_t done) const;

    Descriptor socket_;
    std::size_t mostBody_;
    BufferAccount& account_;
    std::string buffer_;
    std::size_t taken_ = 0;     // of the buffer
    std::size_t headSize_ = 0;  // 0: the head is not complete
    std::size_t searched_ = 0;
    std::size_t discarded_ = 0;
    std::size_t body_ = 0;  // bytes of the request after its head
    std::size_t reserved_ = 0;
    Clock::time_point began_;
    Trouble trouble_ = Trouble::None;
    std::atomic<bool> isReceiving_ = false;
    std::atomic<bool> isCancelled_ = false;
};

}  // namespace qbreport

#endif
