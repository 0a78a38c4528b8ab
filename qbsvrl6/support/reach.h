// Decides which files and web addresses a name may refer to, for data, pictures and backgrounds alike.
//
// Names from the program may refer to anything. Names from templates and data may refer to files below the
// template's folder and the set-up folder, with symbolic links resolved, and to web addresses whose host has
// a public IP address. Settings and programs can allow more or less.
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
#include "qbsvrl6/support/files.h"

struct sockaddr;

namespace qbsvrl6 {

// An IPv6 address, or an IPv4 address in its mapped form: ten bytes 0, two bytes 0xFF, then its four bytes.
using IpAddress = std::array<std::uint8_t, 16>;

// The addresses that share their first `bits` bits.
struct IpNetwork {
    IpAddress first{};
    int bits = 128;

    bool contains(const IpAddress& address) const;
};

// What names from templates and data may refer to.
class ReachRules {
public:
    // No file is below a folder that does not exist. Empty: none.
    void setSetupFolder(const std::string& folder);

    // Folders (UTF-8) in addition to the template's and the set-up folder, separated by ":". "none" excludes
    // these two, "any" allows every file. Raises EngineError for a relative path.
    void setFolders(std::string_view list);

    // Hosts in addition to public addresses, separated by commas: host names ("intranet.example",
    // "*.example"), addresses and networks ("10.1.0.0/16"). "none" excludes public addresses, "any" allows
    // every address. Raises EngineError for anything else.
    void setHosts(std::string_view list);

    // Whether the host is allowed by its name, whatever its address is.
    bool allowsHost(std::string_view host) const;
    bool allowsAddress(const sockaddr& address) const;
    bool allowsAnyHost() const { return anyHost_; }

    // Whether templates may name ODBC connections. By default, they may not: what a driver reaches is beyond
    // these rules.
    void setOdbc(bool allowed) { odbc_ = allowed; }
    bool allowsOdbc() const { return odbc_; }
    // The rule that a rejected host violates, for messages.
    std::string hostRule() const;

private:
    friend FilePath reachablePath(const Address& address);

    std::string setupFolder_;  // absolute
    bool anyFolder_ = false;
    bool ownFolders_ = true;
    std::vector<std::string> folders_;
    bool anyHost_ = false;
    bool publicHosts_ = true;
    std::vector<std::string> hosts_;  // in lower case; ".example": every host of this domain
    std::vector<IpNetwork> networks_;
    bool odbc_ = false;
};

// The rules for the current work on a report. They are stored per thread; the innermost object applies.
class Reach {
public:
    explicit Reach(std::shared_ptr<const ReachRules> rules);
    ~Reach();
    Reach(const Reach&) = delete;
    Reach& operator=(const Reach&) = delete;

    // Null if there is no work on the thread.
    static Reach* current() noexcept;
    // The default rules if there is no work on the thread.
    static std::shared_ptr<const ReachRules> currentRules();

    // Hosts that did not answer a request. The same work does not ask them again.
    std::set<std::string>& silentHosts() { return silentHosts_; }

private:
    std::shared_ptr<const ReachRules> rules_;
    std::set<std::string> silentHosts_;
    Reach* outer_;
};

// The path to open for a local address; empty for http: and https:. For names from templates and data, it has
// no symbolic links. Raises EngineError: NotAllowed if the file is out of reach, otherwise as localPath does.
FilePath reachablePath(const Address& address);

}  // namespace qbsvrl6

#endif
