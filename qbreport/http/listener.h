// The address at which a service listens.
#ifndef QBSVR_QBREPORT_HTTP_LISTENER_H
#define QBSVR_QBREPORT_HTTP_LISTENER_H

#include <cstdint>
#include <string>

#include "qbreport/descriptor.h"

namespace qbreport {

class Listener {
public:
    // "8080" and ":8080" are of the loop-back; "127.0.0.1:0" has a port that the system chooses; "[::]:8080".
    // Raises Failure.
    explicit Listener(const std::string& address);

    int number() const { return socket_.number(); }
    void close() { socket_.close(); }
    std::uint16_t port() const { return port_; }
    // Whether only this machine reaches it.
    bool isLoopback() const { return isLoopback_; }
    // "http://127.0.0.1:8080"
    std::string url() const;

private:
    Descriptor socket_;
    std::string host_;
    std::uint16_t port_ = 0;
    bool isLoopback_ = false;
};

}  // namespace qbreport

#endif
