// Who may ask: a token where one is set, and no page of another site in a browser.
#ifndef QBSVR_QBREPORT_HTTP_ACCESS_H
#define QBSVR_QBREPORT_HTTP_ACCESS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qbreport/http/http_server.h"
#include "qbreport/http/listener.h"

namespace qbreport {

class Access {
public:
    // `names`: of this service, besides those of the loop-back. Raises WrongUse for an address of the network
    // without a token.
    Access(const Listener& listener, std::vector<std::string> names, std::string token);

    // `isOpen`: no token is needed.
    std::optional<Rejection> check(const httplib::Request& request, bool isOpen) const;

private:
    bool isName(std::string_view authority) const;

    bool checksNames_;
    std::vector<std::string> names_;
    std::string token_;
};

// In a time that depends on the lengths only.
bool isSameSecret(std::string_view given, std::string_view secret);

// The first line of the file, or the variable QBREPORT_TOKEN of the environment; empty: neither. Raises Failure.
std::string readToken(const std::string& file);

}  // namespace qbreport

#endif
