// Names of files and URLs, and the one rule for relative names: a name in a template is relative to the
// template's folder, a path from a program to the working directory. No other folder is searched.
#ifndef QBSVR_QBSVRL6_SUPPORT_ADDRESS_H
#define QBSVR_QBSVRL6_SUPPORT_ADDRESS_H

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qbsvrl6 {

// reach.h decides which addresses are allowed.
enum class NamedBy { Program, Template, Data };

// What a web server is sent besides the address.
struct WebRequest {
    bool isPost = false;
    std::vector<std::pair<std::string, std::string>> headers;  // names and values
    std::string body;
};

struct Address {
    std::u16string name;  // as given: a path, or a file:, http: or https: URL; empty: none
    std::string folder;   // of a relative path (UTF-8, ending in "/"); empty: the working directory
    NamedBy namedBy = NamedBy::Program;
    std::string home = {};  // the folder of the template that contains the name; empty: none
    std::shared_ptr<const WebRequest> request = {};  // null: a plain one

    bool empty() const { return name.empty(); }
};

// The path (UTF-8) of a local address; empty for http: and https:. Raises EngineError for an empty address
// and for a path that no file can have.
std::string localPath(const Address& address);

// The folder (UTF-8, ending in "/") that a local address names; the address's folder if the name is empty.
std::string folderAt(const Address& address);

// For messages: the path, or the URL without its user and password.
std::string shownAddress(const Address& address);

bool isWebAddress(std::u16string_view name);

// Whether the name is a path relative to a folder.
bool isRelative(std::u16string_view name);

// Converts addresses to names that are relative to one folder. Web addresses and absolute paths are
// unchanged.
class Relocation {
public:
    // The folder as in Address.
    explicit Relocation(std::string folder);
    std::u16string nameOf(const Address& address);

private:
    const std::string& canonical(const std::string& folder);

    std::string folder_;
    std::map<std::string, std::string> canonical_;  // by folder
};

}  // namespace qbsvrl6

#endif
