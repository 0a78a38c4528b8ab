#include "qbreport/http/listener.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>

#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr int kWaiting = 1'024;  // connections that nobody has accepted yet

struct Parts {
    std::string host;
    std::string port;
};

Parts partsOf(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    Parts parts{colon == std::string::npos ? "" : address.substr(0, colon), address.substr(colon + 1)};
    if (parts.host.starts_with('[') && parts.host.ends_with(']')) {
        parts.host = parts.host.substr(1, parts.host.size() - 2);
    }
    if (parts.host.empty() || parts.host == "localhost") parts.host = "127.0.0.1";
    std::uint16_t port = 0;
    const char* const end = parts.port.data() + parts.port.size();
    const auto [after, failed] = std::from_chars(parts.port.data(), end, port);
    if (failed != std::errc() || after != end) {
        throw WrongUse("\"" + address +
                       "\" is no address; write it as 127.0.0.1:8080, [::1]:8080, or the port alone");
    }
    return parts;
}

bool isLoopback(const sockaddr* address) {
    if (address->sa_family == AF_INET) {
        const auto* const four = reinterpret_cast<const sockaddr_in*>(address);
        return (ntohl(four->sin_addr.s_addr) >> 24) == 127;
    }
    const auto* const six = reinterpret_cast<const sockaddr_in6*>(address);
    return address->sa_family == AF_INET6 && IN6_IS_ADDR_LOOPBACK(&six->sin6_addr);
}

std::uint16_t portOf(int socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
    return ntohs(address.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                                               : reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

}  // namespace

Listener::Listener(const std::string& address) {
    const Parts parts = partsOf(address);
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(parts.host.c_str(), parts.port.c_str(), &hints, &found) != 0) {
        throw WrongUse("\"" + parts.host + "\" is no IP address; 0.0.0.0 and [::] are all of this machine");
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(found, ::freeaddrinfo);
    const int on = 1;
    socket_ = Descriptor(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket_.isOpen() || ::setsockopt(socket_.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(socket_.number(), found->ai_addr, found->ai_addrlen) != 0 ||
        ::listen(socket_.number(), kWaiting) != 0) {
        const int error = errno;
        throw Failure("the service cannot listen at " + address + ": " + std::strerror(error) +
                      (error == EADDRINUSE ? "; name another port, or 0 for any that is free" : ""));
    }
    host_ = parts.host;
    port_ = portOf(socket_.number());
    isLoopback_ = qbreport::isLoopback(found->ai_addr);
}

std::string Listener::url() const {
    const bool isSix = host_.find(':') != std::string::npos;
    return "http://" + (isSix ? "[" + host_ + "]" : host_) + ":" + std::to_string(port_);
}

}  // namespace qbreport
