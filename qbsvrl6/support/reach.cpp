#include "qbsvrl6/support/reach.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

constexpr int kIpv4Bits = 32;
constexpr int kIpv4Start = 96;  // bits before the IPv4 address

// "10.0.0.0/8", "fc00::/7", "127.0.0.1".
std::optional<IpNetwork> networkOf(std::string_view text) {
    const std::size_t slash = text.find('/');
    const std::string address(text.substr(0, slash));
    IpNetwork network;
    const bool isIpv4 = ::inet_pton(AF_INET, address.c_str(), &network.first[12]) == 1;
    if (isIpv4) {
        network.first[10] = network.first[11] = 0xFF;
    } else if (::inet_pton(AF_INET6, address.c_str(), network.first.data()) != 1) {
        return std::nullopt;
    }
    if (slash == std::string_view::npos) return network;
    const std::string_view bits = text.substr(slash + 1);
    const auto [end, error] = std::from_chars(bits.data(), bits.data() + bits.size(), network.bits);
    const int most = isIpv4 ? kIpv4Bits : 128;
    if (error != std::errc() || end != bits.data() + bits.size() || network.bits < 0 || network.bits > most) {
        return std::nullopt;
    }
    if (isIpv4) network.bits += kIpv4Start;
    return network;
}

std::vector<IpNetwork> networksOf(std::initializer_list<const char*> texts) {
    std::vector<IpNetwork> networks;
    for (const char* const text : texts) networks.push_back(networkOf(text).value());
    return networks;
}

bool isIn(const std::vector<IpNetwork>& networks, const IpAddress& address) {
    return std::any_of(networks.begin(), networks.end(),
                       [&](const IpNetwork& network) { return network.contains(address); });
}

// The IPv4 address that begins at this byte of an IPv6 address.
IpAddress ipv4At(const IpAddress& address, std::size_t byte) {
    IpAddress inner{};
    inner[10] = inner[11] = 0xFF;
    std::copy_n(address.begin() + static_cast<std::ptrdiff_t>(byte), 4, inner.begin() + 12);
    return inner;
}

// The IPv4 address in an address of a translator (NAT64) or a tunnel (6to4); otherwise the address itself.
IpAddress unwrapped(const IpAddress& address) {
    static const IpNetwork kTranslated = networkOf("64:ff9b::/96").value();
    static const IpNetwork kTunnelled = networkOf("2002::/16").value();
    if (kTranslated.contains(address)) return ipv4At(address, 12);
    if (kTunnelled.contains(address)) return ipv4At(address, 2);
    return address;
}

// Whether the address is reachable from the whole internet: it is not private, loopback, link-local, shared,
// multicast or reserved, nor an IPv6 address that contains such an IPv4 address.
bool isPublicAddress(const IpAddress& address) {
    static const std::vector<IpNetwork> kIpv4 = networksOf({"0.0.0.0/0"});
    static const std::vector<IpNetwork> kIpv6 = networksOf({"2000::/3"});
    static const std::vector<IpNetwork> kSpecial = networksOf({
        "0.0.0.0/8", "10.0.0.0/8", "100.64.0.0/10", "127.0.0.0/8", "169.254.0.0/16", "172.16.0.0/12",
        "192.0.0.0/24", "192.0.2.0/24", "192.88.99.0/24", "192.168.0.0/16", "198.18.0.0/15",
        "198.51.100.0/24", "203.0.113.0/24", "224.0.0.0/4", "240.0.0.0/4",
        "2001::/23",      // protocols, among them tunnels (Teredo)
        "2001:db8::/32",  // documentation
        "3fff::/20",      // documentation
    });
    const IpAddress plain = unwrapped(address);
    return (isIn(kIpv4, plain) || isIn(kIpv6, plain)) && !isIn(kSpecial, plain);
}

std::string_view trimmed(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(" \t") - start + 1);
}

// Calls `take` for each entry that is not empty.
template <class Take>
void forEachEntry(std::string_view list, char separator, Take&& take) {
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(separator), list.size());
        if (const std::string_view entry = trimmed(list.substr(0, end)); !entry.empty()) take(entry);
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), lowered<char>);
    return lower;
}

bool isHostName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
    });
}

[[noreturn]] void failEntry(std::string_view entry, const char* expected) {
    throw EngineError(ErrorCode::NotSupported, '"' + std::string(entry) + "\" is not " + expected);
}

thread_local Reach* innermost = nullptr;

// Absolute and without symbolic links; empty, with errno, if there is no such file.
std::string canonicalPath(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(path.c_str(), nullptr), std::free);
    return resolved ? resolved.get() : std::string();
}

bool isBelow(const std::string& canonical, const std::string& folder) {
    std::string root = folder.empty() ? std::string() : canonicalPath(folder);
    if (root.empty()) return false;
    if (root.back() != '/') root += '/';
    return canonical.starts_with(root);
}

}  // namespace

bool IpNetwork::contains(const IpAddress& address) const {
    const auto whole = static_cast<std::size_t>(bits / 8);
    if (!std::equal(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(whole), address.begin())) {
        return false;
    }
    const int rest = bits % 8;
    return rest == 0 || (first[whole] >> (8 - rest)) == (address[whole] >> (8 - rest));
}

void ReachRules::setSetupFolder(const std::string& folder) {
    std::error_code failed;
    setupFolder_ = folder.empty() ? folder : std::filesystem::absolute(folder, failed).string();
}

void ReachRules::setFolders(std::string_view list) {
    anyFolder_ = false;
    ownFolders_ = true;
    folders_.clear();
    forEachEntry(list, ':', [&](std::string_view entry) {
        if (entry == "any") {
            anyFolder_ = true;
        } else if (entry == "none") {
            ownFolders_ = false;
        } else if (entry.front() == '/') {
            folders_.emplace_back(entry);
        } else {
            failEntry(entry, "an absolute path, none or any");
        }
    });
}

void ReachRules::setHosts(std::string_view list) {
    anyHost_ = false;
    publicHosts_ = true;
    hosts_.clear();
    networks_.clear();
    forEachEntry(list, ',', [&](std::string_view entry) {
        const std::string host = inLowerCase(entry);
        const std::string_view name = std::string_view(host).substr(host.starts_with("*.") ? 1 : 0);
        if (host == "any") {
            anyHost_ = true;
        } else if (host == "none") {
            publicHosts_ = false;
        } else if (const std::optional<IpNetwork> network = networkOf(host)) {
            networks_.push_back(*network);
        } else if (isHostName(name)) {
            hosts_.emplace_back(name);
        } else {
            failEntry(entry, "a host, an address, a network, none or any");
        }
    });
}

bool ReachRules::allowsHost(std::string_view host) const {
    std::string name = inLowerCase(host);
    if (name.ends_with('.')) name.pop_back();
    return anyHost_ || std::any_of(hosts_.begin(), hosts_.end(), [&](const std::string& allowed) {
               return allowed.front() == '.' ? name.ends_with(allowed) : name == allowed;
           });
}

bool ReachRules::allowsAddress(const sockaddr& address) const {
    if (anyHost_) return true;
    IpAddress ip{};
    if (address.sa_family == AF_INET) {
        ip[10] = ip[11] = 0xFF;
        std::memcpy(&ip[12], &reinterpret_cast<const sockaddr_in&>(address).sin_addr, 4);
    } else if (address.sa_family == AF_INET6) {
        std::memcpy(ip.data(), &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, ip.size());
    } else {
        return false;
    }
    return isIn(networks_, unwrapped(ip)) || (publicHosts_ && isPublicAddress(ip));
}

std::string ReachRules::hostRule() const {
    return publicHosts_ ? "not a public address" : "not among the hosts that are allowed";
}

Reach::Reach(std::shared_ptr<const ReachRules> rules) : rules_(std::move(rules)), outer_(innermost) {
    innermost = this;
}

Reach::~Reach() { innermost = outer_; }

Reach* Reach::current() noexcept { return innermost; }

std::shared_ptr<const ReachRules> Reach::currentRules() {
    static const auto defaults = std::make_shared<const ReachRules>();
    return innermost != nullptr ? innermost->rules_ : defaults;
}

FilePath reachablePath(const Address& address) {
    std::string path = localPath(address);
    if (path.empty() || address.namedBy == NamedBy::Program) return path;
    std::string canonical = canonicalPath(path);
    if (canonical.empty()) {
        const int cause = errno;
        if (isShortage(cause))
            throw MachineError(placedMessage(path, {}, std::generic_category().message(cause)));
        throw EngineError(
            cause == ENOENT || cause == ENOTDIR ? ErrorCode::FileNotFound : ErrorCode::FileUnreadable,
            std::generic_category().message(cause), {path});
    }
    const std::shared_ptr<const ReachRules> rules = Reach::currentRules();
    const auto isReached = [&](const std::string& folder) { return isBelow(canonical, folder); };
    if (rules->anyFolder_ ||
        (rules->ownFolders_ && (isReached(address.home) || isReached(rules->setupFolder_))) ||
        std::any_of(rules->folders_.begin(), rules->folders_.end(), isReached)) {
        return {canonical, true};
    }
    throw EngineError(ErrorCode::NotAllowed,
                      std::string(rules->ownFolders_ ? "outside the template's folder and the set-up folder"
                                                     : "outside the folders that are allowed") +
                          "; allow it with reach.folders",
                      {path});
}

}  // namespace qbsvrl6
