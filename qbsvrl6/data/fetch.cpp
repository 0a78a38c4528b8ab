#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/lazy_library.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/reach.h"
#include "qbsvrl6/support/source_text.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kBetweenChecks{50};  // of the budget, while a server is silent

// The functions of libcurl that are used.
struct Curl {
    LazyLibrary library{"libcurl.so.4", "libcurl4"};
    QBSVR_LAZY_FUNCTION(library, curl_easy_init);
    QBSVR_LAZY_FUNCTION(library, curl_easy_setopt);
    QBSVR_LAZY_FUNCTION(library, curl_easy_getinfo);
    QBSVR_LAZY_FUNCTION(library, curl_easy_cleanup);
    QBSVR_LAZY_FUNCTION(library, curl_easy_strerror);
    QBSVR_LAZY_FUNCTION(library, curl_multi_init);
    QBSVR_LAZY_FUNCTION(library, curl_multi_add_handle);
    QBSVR_LAZY_FUNCTION(library, curl_multi_remove_handle);
    QBSVR_LAZY_FUNCTION(library, curl_multi_perform);
    QBSVR_LAZY_FUNCTION(library, curl_multi_poll);
    QBSVR_LAZY_FUNCTION(library, curl_multi_info_read);
    QBSVR_LAZY_FUNCTION(library, curl_multi_cleanup);
    QBSVR_LAZY_FUNCTION(library, curl_multi_strerror);
    QBSVR_LAZY_FUNCTION(library, curl_url);
    QBSVR_LAZY_FUNCTION(library, curl_url_set);
    QBSVR_LAZY_FUNCTION(library, curl_url_get);
    QBSVR_LAZY_FUNCTION(library, curl_url_cleanup);
    QBSVR_LAZY_FUNCTION(library, curl_free);
    QBSVR_LAZY_FUNCTION(library, curl_slist_append);
    QBSVR_LAZY_FUNCTION(library, curl_slist_free_all);

    Curl() {
        const auto init = library.function<decltype(curl_global_init)>("curl_global_init");
        if (init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw MachineError("curl can't be initialised");
    }

    static const Curl& functions() {
        static const Curl curl;
        return curl;
    }
};

// "https://host:port" of a URL.
std::string_view originOf(std::string_view url) {
    return url.substr(0, url.find_first_of("/?#", url.find("://") + 3));
}

// A header of one line; not one that the protocol itself needs to be right.
bool isHeader(std::string_view name, std::string_view value) {
    const auto isPartOfName = [](char c) { return isLatinLetter(c) || isDigit(c) || c == '-' || c == '_'; };
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; };
    for (const std::u16string_view own : {u"Host", u"Content-Length", u"Transfer-Encoding", u"Connection"}) {
        if (equalsIgnoringCase(toUtf16(name), own)) return false;
    }
    return std::all_of(name.begin(), name.end(), isPartOfName) &&
           std::none_of(value.begin(), value.end(), isControl);
}

[[noreturn]] void failTooLarge(std::uint64_t maxBytes, const std::string& name) {
    throw EngineError(ErrorCode::LimitExceeded, "larger than " + std::to_string(maxBytes) + " bytes", {name});
}

curl_off_t curlSize(std::uint64_t bytes) {
    constexpr std::uint64_t kMost = std::numeric_limits<curl_off_t>::max();
    return static_cast<curl_off_t>(std::min(bytes, kMost));
}

// One download, redirects included. Redirects are followed here: each host is checked before it is asked.
class Download {
public:
    Download(const Address& address, std::uint64_t maxBytes)
        : shown_(shownAddress(address)),  // its user and password are no business of a log
          rules_(address.namedBy == NamedBy::Program ? nullptr : Reach::currentRules()),
          maxBytes_(maxBytes),
          until_(Clock::now() + timeLimit()),
          url_(toUtf8(address.name)),
          easy_(curl_.curl_easy_init(), curl_.curl_easy_cleanup),
          multi_(curl_.curl_multi_init(), curl_.curl_multi_cleanup),
          parsedUrl_(curl_.curl_url(), curl_.curl_url_cleanup),
          request_(address.request),
          headers_(nullptr, curl_.curl_slist_free_all) {
        if (!easy_ || !multi_ || !parsedUrl_) throw std::bad_alloc();
        setOptions();
        if (request_) setRequest();
    }

    Spool run() {
        for (int redirects = 0;; ++redirects) {
            const std::string host = enterHost();
            body_ = Spool(shown_);
            check(perform(), host);
            const char* next = nullptr;
            curl_.curl_easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &next);
            if (next == nullptr) break;
            if (redirects == limits::kFetchRedirects) {
                fail("Maximum (" + std::to_string(limits::kFetchRedirects) + ") redirects followed");
            }
            // Headers may hold a secret that is only for the server that the template names.
            if (request_ && (request_->isPost || originOf(url_) != originOf(next))) {
                fail("the server redirects a request that is for it alone");
            }
            url_ = next;
            if (!isWebAddress(toUtf16(url_))) fail("the server redirects to neither http nor https");
        }
        if (isRedirect()) fail("the server redirects to nowhere");
        return std::move(body_);
    }

private:
    template <class Value>
    void set(CURLoption option, Value value) {
        curl_.curl_easy_setopt(easy_.get(), option, value);
    }

    [[noreturn]] void fail(const std::string& cause, ErrorCode code = ErrorCode::FetchFailed) const {
        throw EngineError(code, cause, {shown_});
    }

    static milliseconds timeLimit() {
        const milliseconds limit = std::chrono::seconds(limits::kFetchSeconds);
        const Spending* const spending = Spending::current();
        if (spending == nullptr) return limit;
        const std::uint64_t left = spending->left(&Budget::fetchMilliseconds);
        return std::min(limit, milliseconds(std::min<std::uint64_t>(left, limits::kFetchSeconds * 1'000)));
    }

    void setOptions() {
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_QUICK_EXIT, 1L);  // never waits for the name server
        set(CURLOPT_FAILONERROR, 1L);
        // A server cannot redirect to a file of this machine or to another protocol.
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_ACCEPT_ENCODING, "");
        set(CURLOPT_ERRORBUFFER, &cause_[0]);
        set(CURLOPT_CURLU, parsedUrl_.get());
        set(CURLOPT_WRITEFUNCTION, &Download::receive);
        set(CURLOPT_WRITEDATA, static_cast<void*>(this));
        set(CURLOPT_MAXFILESIZE_LARGE, curlSize(maxBytes_));
        if (rules_ == nullptr || rules_->allowsAnyHost()) return;
        // A proxy would connect on its own, to addresses that nobody has checked.
        set(CURLOPT_PROXY, "");
        set(CURLOPT_OPENSOCKETFUNCTION, &Download::openSocket);
        set(CURLOPT_OPENSOCKETDATA, static_cast<void*>(this));
    }

    void setRequest() {
        for (const auto& [name, value] : request_->headers) {
            if (!isHeader(name, value)) {
                fail("\"" + name + "\" is not a header that can be set", ErrorCode::NotSupported);
            }
            const std::string line = name + (value.empty() ? ";" : ": " + value);
            curl_slist* const longer = curl_.curl_slist_append(headers_.get(), line.c_str());
            if (longer == nullptr) throw std::bad_alloc();
            static_cast<void>(headers_.release());  // it is the start of the longer one
            headers_.reset(longer);
        }
        set(CURLOPT_HTTPHEADER, headers_.get());
        if (!request_->isPost) return;
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_->body.size()));
        set(CURLOPT_POSTFIELDS, request_->body.c_str());
    }

    // Makes the address the next one to ask; the result is its host.
    std::string enterHost() {
        const CURLUcode result =
            curl_.curl_url_set(parsedUrl_.get(), CURLUPART_URL, url_.c_str(), CURLU_NON_SUPPORT_SCHEME);
        char* found = nullptr;
        if (result == CURLUE_OK) curl_.curl_url_get(parsedUrl_.get(), CURLUPART_HOST, &found, 0);
        const std::unique_ptr<char, decltype(curl_.curl_free)> host(found, curl_.curl_free);
        if (!host) fail("not a URL");
        Reach* const reach = Reach::current();
        if (reach != nullptr && reach->silentHosts().contains(host.get())) {
            fail("the host " + std::string(host.get()) + " did not answer before and is not asked again");
        }
        isHostAllowed_ = rules_ == nullptr || rules_->allowsHost(host.get());
        return host.get();
    }

    CURLcode perform() {
        const auto left = std::chrono::duration_cast<milliseconds>(until_ - Clock::now());
        set(CURLOPT_TIMEOUT_MS, static_cast<long>(std::max<milliseconds::rep>(left.count(), 1)));
        if (curl_.curl_multi_add_handle(multi_.get(), easy_.get()) != CURLM_OK) fail("no connection handle");
        struct Removed {
            const Download& download;
            ~Removed() {
                download.curl_.curl_multi_remove_handle(download.multi_.get(), download.easy_.get());
            }
        } const removed{*this};
        for (int running = 1;;) {
            const CURLMcode result = curl_.curl_multi_perform(multi_.get(), &running);
            if (result != CURLM_OK) fail(curl_.curl_multi_strerror(result));
            checkTime();
            if (running == 0) break;
            curl_.curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(kBetweenChecks.count()),
                                  nullptr);
        }
        int further = 0;
        const CURLMsg* const message = curl_.curl_multi_info_read(multi_.get(), &further);
        return message == nullptr ? CURLE_FAILED_INIT : message->data.result;
    }

    void check(CURLcode result, const std::string& host) const {
        if (isTooLarge_ || result == CURLE_FILESIZE_EXCEEDED) failTooLarge(maxBytes_, shown_);
        if (result == CURLE_OK) return;
        if (failure_) std::rethrow_exception(failure_);
        if (result == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
        if (refusedAddress_[0] != '\0') {
            const std::string address(refusedAddress_);
            fail(rules_->hostRule() + ": " + (host == address ? host : host + " (" + address + ")") +
                     "; allow it with reach.hosts",
                 ErrorCode::NotAllowed);
        }
        Reach* const reach = Reach::current();
        if (result == CURLE_OPERATION_TIMEDOUT && reach != nullptr) reach->silentHosts().insert(host);
        fail(cause_[0] != '\0' ? cause_ : curl_.curl_easy_strerror(result));
    }

    bool isRedirect() const {
        long status = 0;
        curl_.curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
        return status >= 300 && status < 400;
    }

    // No exception may cross the C library.
    static std::size_t receive(char* data, std::size_t one, std::size_t count, void* self) noexcept try {
        auto& download = *static_cast<Download*>(self);
        if (download.isRedirect()) return one * count;  // for readers that are not redirected
        download.isTooLarge_ = one * count > download.maxBytes_ - download.body_.size();
        if (download.isTooLarge_) return 0;
        download.body_.append({data, one * count});
        return one * count;
    } catch (...) {
        static_cast<Download*>(self)->failure_ = std::current_exception();
        return 0;
    }

    static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address) noexcept {
        auto& download = *static_cast<Download*>(self);
        if (!download.isHostAllowed_ && !download.rules_->allowsAddress(address->addr)) {
            const void* const ip =
                address->family == AF_INET
                    ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in&>(address->addr).sin_addr)
                    : &reinterpret_cast<const sockaddr_in6&>(address->addr).sin6_addr;
            ::inet_ntop(address->family, ip, download.refusedAddress_, sizeof download.refusedAddress_);
            return CURL_SOCKET_BAD;
        }
        return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    }

    const Curl& curl_ = Curl::functions();
    std::string shown_;
    std::shared_ptr<const ReachRules> rules_;  // null: everything
    std::uint64_t maxBytes_;
    Clock::time_point until_;
    std::string url_;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy_;
    std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi_;
    std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsedUrl_;
    std::shared_ptr<const WebRequest> request_;  // null: a plain one
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_;
    Spool body_;
    char cause_[CURL_ERROR_SIZE] = "";
    bool isTooLarge_ = false;
    std::exception_ptr failure_;                  // while bytes were received
    bool isHostAllowed_ = true;                   // by its name
    char refusedAddress_[INET6_ADDRSTRLEN] = "";  // the last one
};

// Fetches with `receive(path, allowed)` and counts that in the budget. The path is empty for web addresses.
template <class Receive>
auto counted(const Address& address, std::uint64_t maxBytes, Receive receive) {
    const std::string shown = shownAddress(address);
    spend(&Budget::fetches, 1, shown);
    const FilePath path = reachablePath(address);
    const Spending* const spending = Spending::current();
    const std::uint64_t allowed = std::min(
        maxBytes, spending == nullptr ? Budget().fetchedBytes : spending->left(&Budget::fetchedBytes));
    const Clock::time_point started = Clock::now();
    const auto spendTime = [&] {
        const auto passed = std::chrono::duration_cast<milliseconds>(Clock::now() - started);
        spend(&Budget::fetchMilliseconds, static_cast<std::uint64_t>(passed.count()), shown);
    };
    const auto received = [&] {
        try {
            return receive(path, allowed);
        } catch (const EngineError& error) {
            if (error.endsExport()) throw;
            spendTime();
            if (error.code() == ErrorCode::LimitExceeded && allowed < maxBytes) {
                spend(&Budget::fetchedBytes, allowed + 1, shown);
            }
            throw;
        }
    };
    auto bytes = received();
    spendTime();
    spend(&Budget::fetchedBytes, bytes.size(), shown);
    return bytes;
}

}  // namespace

std::string fetch(const Address& address, std::size_t maxBytes) {
    return counted(address, maxBytes, [&](const FilePath& path, std::uint64_t allowed) {
        if (!path.path.empty()) return readFile(path, static_cast<std::size_t>(allowed));
        std::string bytes = Download(address, allowed).run().take();
        bytes.reserve(bytes.size() + SourceText::kReadAhead);
        return bytes;
    });
}

Spool download(const Address& address) {
    return counted(address, std::numeric_limits<std::uint64_t>::max(),
                   [&](const FilePath&, std::uint64_t allowed) { return Download(address, allowed).run(); });
}

}  // namespace qbsvrl6
