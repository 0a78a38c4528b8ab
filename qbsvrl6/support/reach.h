// Reach: which files and web addresses a name leads to. This is the one place where that is decided, for data,
// pictures and backgrounds alike.
//
// Names of the program go anywhere. Names of templates and data lead to files below the template's folder and
// the set-up folder, symbolic links resolved, and to web addresses whose host has a public address. Settings
// and programs allow more or less.
#ifndef QBSVR_QBSVRL6_SUPPORT_REACH_H
#define QBSVR_QBSVRL6_SUPPORT_REACH_H

#include <array>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/support/address.h"

struct sockaddr;

namespace qbsvrl6 {

// An address of IPv6, or one of IPv4 in its last 4 bytes after ten bytes 0 and two bytes 0xFF.
using IpAddress = std::array<std::uint8_t, 16>;

// The addresses that share their first `bits` bits.
struct IpNetwork {
    IpAddress first{};
    int bits = 128;

    bool contains(const IpAddress& address) const;
};

// What names of templates and data reach.
class ReachRules {
public:
    // Nothing is below a folder that does not exist. Empty: none.
    void setSetupFolder(const std::string& folder);

    // The folders (UTF-8) besides the template's and the set-up folder, separated by ":". "none" takes those
    // two away, "any" allows every file. Raises EngineError for a relative path.
    void setFolders(std::string_view list);

    // What is reached besides public addresses, separated by commas: names of hosts ("intranet.example",
    // "*.example"), addresses and networks ("10.1.0.0/16"). "none" takes the public addresses away, "any"
    // allows every address. Raises EngineError for anything else.
    void setHosts(std::string_view list);

    // Whether the name alone suffices, whatever its address is.
    bool allowsHost(std::string_view host) const;
    bool allowsAddress(const sockaddr& address) const;
    bool allowsAnyHost() const { return anyHost_; }
    // What a host that is not allowed breaks, for messages.
    std::string hostRule() const;

private:
    friend std::string reachablePath(const Address& address);

    std::string setupFolder_;  // absolute
    bool anyFolder_ = false;
    bool ownFolders_ = true;
    std::vector<std::string> folders_;
    bool anyHost_ = false;
    bool publicHosts_ = true;
    std::vector<std::string> hosts_;  // in lower case; ".example": every host of this domain
    std::vector<IpNetwork> networks_;
};

// What the work on a report reaches. It is found by its thread; the innermost one counts.
class Reach {
public:
    explicit Reach(std::shared_ptr<const ReachRules> rules);
    ~Reach();
    Reach(const Reach&) = delete;
    Reach& operator=(const Reach&) = delete;

    // Null where no work is done on the thread.
    static Reach* current() noexcept;
    // The default ones where no work is done on the thread.
    static std::shared_ptr<const ReachRules> currentRules();

    // Hosts that let a request wait in vain: the same work asks them nothing further.
    std::set<std::string>& silentHosts() { return silentHosts_; }

private:
    std::shared_ptr<const ReachRules> rules_;
    std::set<std::string> silentHosts_;
    Reach* outer_;
};

// The path to open for a local address; empty for http: and https:. For names of templates and data it has no
// symbolic links. Raises EngineError: NotAllowed out of reach, and as localPath.
std::string reachablePath(const Address& address);

}  // namespace qbsvrl6

#endif
