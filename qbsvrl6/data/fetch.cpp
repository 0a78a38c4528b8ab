#include <curl/curl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/lazy_library.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The user and password of an address are nobody's business in a log.
std::string withoutCredentials(const std::string& address) {
    const std::size_t host = address.find("://") + 3;
    const std::size_t path = std::min(address.find_first_of("/?#", host), address.size());
    const std::size_t at = address.rfind('@', path);
    if (at == std::string::npos || at < host) return address;
    return address.substr(0, host) + address.substr(at + 1);
}

bool hasScheme(const std::string& address, std::string_view scheme) {
    return address.size() >= scheme.size() &&
           std::equal(scheme.begin(), scheme.end(), address.begin(), [](char a, char b) {
               return a == b || (b >= 'A' && b <= 'Z' && a == b + ('a' - 'A'));
           });
}

[[noreturn]] void failTooLarge(std::size_t maxBytes, const std::string& name) {
    throw EngineError(ErrorCode::LimitExceeded, "larger than " + std::to_string(maxBytes) + " bytes", {name});
}

struct Download {
    std::string bytes;
    std::size_t maxBytes = 0;
    bool tooLarge = false;
};

// No exception may cross the C library.
std::size_t receive(char* data, std::size_t one, std::size_t count, void* target) noexcept try {
    auto& download = *static_cast<Download*>(target);
    if (one * count > download.maxBytes - download.bytes.size()) {
        download.tooLarge = true;
        return 0;
    }
    download.bytes.append(data, one * count);
    return one * count;
} catch (const std::bad_alloc&) {
    return 0;
}

// What is used of libcurl.
struct Curl {
    LazyLibrary library{"libcurl.so.4"};
    QBSVR_LAZY_FUNCTION(library, curl_easy_init);
    QBSVR_LAZY_FUNCTION(library, curl_easy_setopt);
    QBSVR_LAZY_FUNCTION(library, curl_easy_perform);
    QBSVR_LAZY_FUNCTION(library, curl_easy_cleanup);
    QBSVR_LAZY_FUNCTION(library, curl_easy_strerror);

    Curl() { library.function<decltype(curl_global_init)>("curl_global_init")(CURL_GLOBAL_DEFAULT); }
};

std::string downloadUrl(const std::string& url, std::size_t maxBytes) {
    static const Curl curl;
    const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl.curl_easy_init(), curl.curl_easy_cleanup);
    if (!handle) throw EngineError(ErrorCode::FetchFailed, "no connection handle", {withoutCredentials(url)});

    Download download;
    download.maxBytes = maxBytes;
    char cause[CURL_ERROR_SIZE] = "";
    const auto set = [&](CURLoption option, auto value) {
        curl.curl_easy_setopt(handle.get(), option, value);
    };
    set(CURLOPT_URL, url.c_str());
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_FAILONERROR, 1L);
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, static_cast<long>(limits::kFetchRedirects));
    set(CURLOPT_TIMEOUT, static_cast<long>(limits::kFetchSeconds));
    // A server can't send us on to a file of this machine or to another kind of server.
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    set(CURLOPT_ACCEPT_ENCODING, "");
    set(CURLOPT_ERRORBUFFER, &cause[0]);
    set(CURLOPT_WRITEFUNCTION, &receive);
    set(CURLOPT_WRITEDATA, static_cast<void*>(&download));
    const CURLcode result = curl.curl_easy_perform(handle.get());
    if (download.tooLarge) failTooLarge(maxBytes, withoutCredentials(url));
    if (result != CURLE_OK) {
        throw EngineError(ErrorCode::FetchFailed, cause[0] != '\0' ? cause : curl.curl_easy_strerror(result),
                          {withoutCredentials(url)});
    }
    return std::move(download.bytes);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Path of a file: address: "file:///a%20b", "file://localhost/a", "file:a".
std::string pathOfFileUrl(const std::string& address) {
    std::string_view rest = std::string_view(address).substr(5);
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        if (rest.starts_with("localhost/")) rest.remove_prefix(9);
    }
    std::string path;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        const int high = rest[i] == '%' && i + 2 < rest.size() ? hexDigit(rest[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(rest[i + 2]) : -1;
        if (low >= 0) {
            path += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            path += rest[i];
        }
    }
    return path;
}

bool isMissing(const std::string& path) {
    return ::access(path.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool isWebAddress(const std::string& address) {
    return hasScheme(address, "http://") || hasScheme(address, "https://");
}

}  // namespace

std::string localPath(std::u16string_view address, const std::string& baseDirectory) {
    const std::string name = toUtf8(address);
    if (isWebAddress(name)) return {};
    std::string path = hasScheme(name, "file:") ? pathOfFileUrl(name) : name;
    if (path.empty()) throw EngineError(ErrorCode::FileNotFound, "the address of the data is empty");
    // The C library would see the path up to the first null only.
    if (path.find('\0') != std::string::npos) {
        throw EngineError(ErrorCode::FileNotFound, "the path holds a null character",
                          {path.substr(0, path.find('\0'))});
    }
    if (path.front() == '/' || baseDirectory.empty()) return path;
    std::string based = baseDirectory + path;
    if (!isMissing(based)) return based;
    if (!isMissing(path)) return path;
    throw EngineError(ErrorCode::FileNotFound, "No such file or directory, nor in the working directory",
                      {based});
}

std::string fetch(std::u16string_view address, const std::string& baseDirectory, std::size_t maxBytes) {
    const std::string path = localPath(address, baseDirectory);
    return path.empty() ? downloadUrl(toUtf8(address), maxBytes) : readFile(path, maxBytes);
}

}  // namespace qbsvrl6
