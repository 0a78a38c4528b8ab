#include "qbsvrl6/support/address.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

namespace fs = std::filesystem;

// Path of a file: address: "file:///a%20b", "file://localhost/a", "file:a".
std::string pathOfFileUrl(std::string_view address) {
    std::string_view rest = address.substr(5);
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        if (rest.starts_with("localhost/")) rest.remove_prefix(9);
    }
    std::string path;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        const int high = rest[i] == '%' && i + 2 < rest.size() ? hexValue(rest[i + 1]) : -1;
        const int low = high >= 0 ? hexValue(rest[i + 2]) : -1;
        if (low >= 0) {
            path += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            path += rest[i];
        }
    }
    return path;
}

// The path that a local name contains, relative or absolute.
std::string namedPath(std::u16string_view name) {
    std::string path = toUtf8(name);
    return startsIgnoringCase(name, u"file:") ? pathOfFileUrl(path) : path;
}

std::string startedAt(const std::string& folder, const std::string& path) {
    return path.starts_with('/') ? path : folder + path;
}

std::string withoutCredentials(const std::string& url) {
    const std::size_t host = url.find("://") + 3;
    const std::size_t path = std::min(url.find_first_of("/?#", host), url.size());
    const std::size_t at = url.rfind('@', path);
    if (at == std::string::npos || at < host) return url;
    return url.substr(0, host) + url.substr(at + 1);
}

}  // namespace

bool isWebAddress(std::u16string_view name) {
    return startsIgnoringCase(name, u"http://") || startsIgnoringCase(name, u"https://");
}

bool isRelative(std::u16string_view name) {
    return !name.empty() && !isWebAddress(name) && !startsIgnoringCase(name, u"data:") &&
           !namedPath(name).starts_with('/');
}

std::string localPath(const Address& address) {
    if (isWebAddress(address.name)) return {};
    std::string path = namedPath(address.name);
    if (path.empty()) throw EngineError(ErrorCode::FileNotFound, "the address of the data is empty");
    path = startedAt(address.folder, path);
    // The C library would read the path only up to the first null.
    if (const std::size_t null = path.find('\0'); null != std::string::npos) {
        throw EngineError(ErrorCode::FileNotFound, "the path contains a null character",
                          {path.substr(0, null)});
    }
    return path;
}

std::string shownAddress(const Address& address) {
    if (isWebAddress(address.name)) return withoutCredentials(toUtf8(address.name));
    return startedAt(address.folder, namedPath(address.name));
}

std::string folderAt(const Address& address) {
    std::string folder = address.empty() ? address.folder : shownAddress(address);
    if (!folder.empty() && folder.back() != '/') folder += '/';
    return folder;
}

Relocation::Relocation(std::string folder) : folder_(std::move(folder)) {}

// Absolute and without symbolic links, so that ".." can be resolved by name. Empty if the system cannot
// resolve the folder.
const std::string& Relocation::canonical(const std::string& folder) {
    const auto [known, isNew] = canonical_.try_emplace(folder);
    if (isNew) {
        std::error_code failed;
        fs::path path = fs::absolute(folder.empty() ? "." : folder, failed);
        if (!failed) path = fs::weakly_canonical(path, failed);
        if (!failed) known->second = path.filename().empty() ? path.parent_path() : path;
    }
    return known->second;
}

std::u16string Relocation::nameOf(const Address& address) {
    if (address.folder == folder_ || (!address.empty() && !isRelative(address.name))) return address.name;
    const fs::path target = canonical(folder_);
    fs::path start = canonical(address.folder);
    if (start.empty() || target.empty() || start == target) return address.name;
    std::string rest = namedPath(address.name);
    bool mayBeLink = false;
    for (std::size_t slash; (slash = rest.find('/')) != std::string::npos; rest.erase(0, slash + 1)) {
        const std::string component = rest.substr(0, slash);
        if (component.empty() || component == ".") continue;
        if (component == "..") {
            if (mayBeLink) break;
            start = start.parent_path();
        } else {
            start /= component;
            mayBeLink = true;
        }
    }
    const std::string lead = start.lexically_relative(target).string();
    return toUtf16(lead == "." ? rest : lead + "/" + rest);
}

}  // namespace qbsvrl6
