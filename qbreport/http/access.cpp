#include "qbreport/http/access.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "qbreport/failure.h"
#include "qbreport/files.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

constexpr std::size_t kShortestToken = 16;

// "reports.example" of "reports.example:8080", "[::1]" of "[::1]:8080".
std::string_view hostIn(std::string_view authority) {
    const std::size_t bracket = authority.starts_with('[') ? authority.find(']') : 0;
    const std::size_t colon = bracket == std::string_view::npos ? bracket : authority.find(':', bracket);
    return authority.substr(0, colon);
}

}  // namespace

Access::Access(const Listener& listener, std::vector<std::string> names, std::string token)
    : checksNames_(listener.isLoopback() || !names.empty()),
      names_(std::move(names)),
      token_(std::move(token)) {
    if (!listener.isLoopback() && token_.empty()) {
        throw WrongUse(
            "an address that others reach needs a token; name its file with --token-file, or set "
            "QBREPORT_TOKEN");
    }
    if (!token_.empty() && token_.size() < kShortestToken) {
        throw WrongUse("the token is too short: it has at least " + std::to_string(kShortestToken) +
                       " characters");
    }
    for (const char* name : {"localhost", "127.0.0.1", "[::1]"}) names_.emplace_back(name);
}

bool Access::isName(std::string_view authority) const {
    return std::any_of(names_.begin(), names_.end(),
                       [&](const std::string& name) { return isSameName(hostIn(authority), name); });
}

std::optional<Rejection> Access::check(const httplib::Request& request, bool isOpen) const {
    // A foreign name that leads here is a trick: its pages would be of the same origin.
    const std::string host = request.get_header_value("Host");
    if (checksNames_ && !isName(host)) {
        return Rejection{421, "this service has another name; allow it with --server-name"};
    }
    if (request.has_header("Origin") && request.get_header_value("Origin") != "http://" + host &&
        request.get_header_value("Origin") != "https://" + host) {
        return Rejection{403, "a page of another site may not ask"};
    }
    const std::string site = request.get_header_value("Sec-Fetch-Site");
    if (!site.empty() && site != "same-origin" && site != "none") {
        return Rejection{403, "a page of another site may not ask"};
    }
    if (token_.empty() || isOpen) return std::nullopt;
    constexpr std::string_view kScheme = "Bearer ";
    const std::string given = request.get_header_value("Authorization");
    if (given.starts_with(kScheme) && isSameSecret(std::string_view(given).substr(kScheme.size()), token_)) {
        return std::nullopt;
    }
    return Rejection{401, "the token is missing or wrong", "Bearer"};
}

bool isSameSecret(std::string_view given, std::string_view secret) {
    bool isDifferent = given.size() != secret.size();
    for (std::size_t i = 0; i < given.size(); ++i) isDifferent |= given[i] != secret[i % secret.size()];
    return !isDifferent;
}

std::string readToken(const std::string& file) {
    std::string token;
    if (!file.empty()) {
        constexpr std::size_t kMostBytes = 4'096;
        token = readBytes(file, kMostBytes);
        token.resize(std::min(token.find_first_of("\r\n"), token.size()));
        if (token.empty()) throw Failure("\"" + file + "\" has no token in its first line");
    } else if (const char* const variable = std::getenv("QBREPORT_TOKEN")) {
        token = variable;
        ::unsetenv("QBREPORT_TOKEN");  // the environment of a process can be read
    }
    return token;
}

}  // namespace qbreport
