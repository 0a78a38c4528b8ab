#include <curl/curl.h>

#include <memory>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/lazy_library.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

[[noreturn]] void failTooLarge(std::size_t maxBytes, const std::string& name) {
    throw EngineError(ErrorCode::LimitExceeded, "larger than " + std::to_string(maxBytes) + " bytes", {name});
}

struct Download {
    std::string bytes;
    std::size_t maxBytes = 0;
    bool tooLarge = false;
    bool outOfMemory = false;
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
    static_cast<Download*>(target)->outOfMemory = true;
    return 0;
}

// The functions of libcurl that are used.
struct Curl {
    LazyLibrary library{"libcurl.so.4"};
    QBSVR_LAZY_FUNCTION(library, curl_easy_init);
    QBSVR_LAZY_FUNCTION(library, curl_easy_setopt);
    QBSVR_LAZY_FUNCTION(library, curl_easy_perform);
    QBSVR_LAZY_FUNCTION(library, curl_easy_cleanup);
    QBSVR_LAZY_FUNCTION(library, curl_easy_strerror);

    Curl() {
        const auto init = library.function<decltype(curl_global_init)>("curl_global_init");
        if (init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw MachineError("curl can't be initialised");
    }
};

std::string downloadUrl(const Address& address, std::size_t maxBytes) {
    const std::string url = toUtf8(address.name);
    const std::string shown = shownAddress(address);  // its user and password are no business of a log
    static const Curl curl;
    const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl.curl_easy_init(), curl.curl_easy_cleanup);
    if (!handle) throw std::bad_alloc();

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
    // A server cannot redirect to a file of this machine or to another protocol.
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    set(CURLOPT_ACCEPT_ENCODING, "");
    set(CURLOPT_ERRORBUFFER, &cause[0]);
    set(CURLOPT_WRITEFUNCTION, &receive);
    set(CURLOPT_WRITEDATA, static_cast<void*>(&download));
    const CURLcode result = curl.curl_easy_perform(handle.get());
    if (download.tooLarge) failTooLarge(maxBytes, shown);
    if (result == CURLE_OUT_OF_MEMORY || download.outOfMemory) throw std::bad_alloc();
    if (result != CURLE_OK) {
        throw EngineError(ErrorCode::FetchFailed, cause[0] != '\0' ? cause : curl.curl_easy_strerror(result),
                          {shown});
    }
    return std::move(download.bytes);
}

}  // namespace

std::string fetch(const Address& address, std::size_t maxBytes) {
    const std::string path = localPath(address);
    return path.empty() ? downloadUrl(address, maxBytes) : readFile(path, maxBytes);
}

}  // namespace qbsvrl6
