#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/reach.h"
#include "qbsvrl6/support/utf.h"
#include "tests/scratch_directory.h"

namespace {
std::function<void()> afterRealpath;  // between the check of a file and its opening
}  // namespace

// The engine calls this one instead of the C library's.
extern "C" char* realpath(const char* path, char*) noexcept {
    char* const resolved = ::canonicalize_file_name(path);
    if (afterRealpath) afterRealpath();
    return resolved;
}

namespace qbsvrl6 {
namespace {

class FetchFile : public testing::Test {
protected:
    void SetUp() override {
        std::ofstream(directory_ + "数 据.txt") << "hello";
        std::ofstream(directory_ + "empty.txt") << "";
        ::mkfifo((directory_ + "pipe").c_str(), 0600);
    }

    std::string get(const std::string& address, std::size_t maxBytes = 5) {
        try {
            return fetch({toUtf16(address), directory_}, maxBytes);
        } catch (const EngineError& error) {
            std::string what = error.what();
            const std::size_t at = what.find(directory_);
            return "! " + (at == std::string::npos ? what : what.erase(at, directory_.size()));
        }
    }

    ScratchDirectory scratch_;
    std::string directory_ = scratch_.path.string() + "/";
};

TEST_F(FetchFile, ReadsRegularFilesUpToTheLimit) {
    EXPECT_EQ(get("数 据.txt"), "hello");
    EXPECT_EQ(get(directory_ + "数 据.txt"), "hello");
    EXPECT_EQ(get("FILE://" + directory_ + "%E6%95%B0%20据.txt"), "hello");
    EXPECT_EQ(get("file://localhost" + directory_ + "empty.txt"), "");
    EXPECT_EQ(get("file:empty.txt"), "");
    EXPECT_EQ(get("数 据.txt", 4), "! 数 据.txt: larger than 4 bytes");
    EXPECT_EQ(get("absent.txt"), "! absent.txt: No such file or directory");
    EXPECT_EQ(get("empty.txt/x"), "! empty.txt/x: Not a directory");
    EXPECT_EQ(get("."), "! .: not a regular file");
    EXPECT_EQ(get("pipe"), "! pipe: not a regular file");
    EXPECT_EQ(get("/dev/zero"), "! /dev/zero: not a regular file");
    EXPECT_EQ(get(""), "! the address of the data is empty");
    EXPECT_EQ(get("file:a%00b"), "! a: the path contains a null character");
    EXPECT_EQ(get("ftp://h/x").substr(0, 13), "! ftp://h/x: ");
}

TEST_F(FetchFile, IsTheOneThatWasChecked) {
    namespace fs = std::filesystem;
    using Read = void (*)(const Address&);
    constexpr Read kReads[] = {[](const Address& file) { fetch(file, 99); },
                               [](const Address& file) { openBytes(file); }};
    const std::string home = directory_ + "home/";
    const std::string secret = directory_ + "secret/";
    for (const Read read : kReads) {
        for (const std::string replaced : {"in/x", "in"}) {
            fs::remove_all(home);
            for (const std::string& folder : {home, secret}) {
                fs::create_directories(folder + "in");
                std::ofstream(folder + "in/x") << folder;
            }
            const Address file{u"in/x", home, NamedBy::Template, home};
            EXPECT_NO_THROW(read(file));
            afterRealpath = [&] {
                fs::remove_all(home + replaced);
                fs::create_symlink(secret + replaced, home + replaced);
            };
            try {
                read(file);
                ADD_FAILURE() << replaced;
            } catch (const EngineError& error) {
                EXPECT_EQ(error.code(), ErrorCode::NotAllowed) << replaced << ": " << error.what();
            }
            afterRealpath = nullptr;
        }
    }
}

// Answers each connection with the text for its path.
class Server {
public:
    Server() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr*>(&address), size), 0);
        ::listen(socket_, 8);
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
        host_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
        thread_ = std::thread([this] { serve(); });
    }
    ~Server() {
        ::shutdown(socket_, SHUT_RDWR);
        thread_.join();
        ::close(socket_);
    }
    const std::string& host() const { return host_; }
    bool wasAsked() const { return asked_; }

private:
    void serve() {
        for (int client = 0; (client = ::accept(socket_, nullptr, nullptr)) >= 0; ::close(client)) {
            std::string request(4096, '\0');
            const ssize_t length = ::recv(client, request.data(), request.size(), 0);
            request.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
            const std::size_t start = request.find('/');
            const std::string path = request.substr(start, request.find(' ', start) - start);
            std::string answer = answerTo(path);
            if (path == "/echo") answer += request;
            if (path == "/silent") {
                asked_ = true;
                ::recv(client, request.data(), request.size(), 0);  // until the client gives up
            }
            while (::send(client, answer.data(), answer.size(), MSG_NOSIGNAL) > 0 && path == "/flood") {
            }
        }
    }
    static std::string answerTo(const std::string& path) {
        const std::string end = "Connection: close\r\n\r\n";
        if (path == "/echo") return "HTTP/1.1 200 OK\r\n" + end;
        if (path == "/data") return "HTTP/1.1 200 OK\r\n" + end + "hello";
        if (path == "/moved") return "HTTP/1.1 302 Found\r\nLocation: /data\r\n" + end;
        if (path == "/loop") return "HTTP/1.1 302 Found\r\nLocation: /loop\r\n" + end;
        if (path == "/leak") return "HTTP/1.1 302 Found\r\nLocation: file:///etc/hostname\r\n" + end;
        if (path == "/flood") return "HTTP/1.1 200 OK\r\n" + end + std::string(100'000, 'x');
        if (path == "/away") return "HTTP/1.1 302 Found\r\nLocation: http://[::1]/\r\n" + end;
        if (path == "/short") return "HTTP/1.1 200 OK\r\nContent-Length: 99\r\n" + end + "hello";
        return "HTTP/1.1 404 Not Found\r\n" + end;
    }

    int socket_;
    std::atomic<bool> asked_ = false;
    std::string host_;
    std::thread thread_;
};

TEST(FetchUrl, FollowsOnlyTheWeb) {
    ::unsetenv("http_proxy");
    Server server;
    const struct {
        const char* path;
        std::size_t maxBytes;
        const char* expected;
    } cases[] = {
        {"/data", 5, "hello"},
        {"/moved", 5, "hello"},
        {"/data", 4, "larger than 4 bytes"},
        {"/absent", 5, "404"},
        {"/loop", 5, "Maximum (5) redirects followed"},
        {"/leak", 5000, "redirects to neither http nor https"},
        {"/short", 500, "transfer closed"},
        {"/flood", 3'000'000, "larger than 3000000 bytes"},
    };
    for (const auto& one : cases) {
        std::string result;
        try {
            result = fetch({toUtf16("http://user:secret@" + server.host() + one.path), ""}, one.maxBytes);
        } catch (const EngineError& error) {
            result = error.what();
            EXPECT_EQ(result.find("secret"), std::string::npos) << result;
        }
        EXPECT_NE(result.find(one.expected), std::string::npos) << one.path << ": " << result;
    }
    EXPECT_THROW(fetch({u"http://127.0.0.1:1/", ""}, 5), EngineError);
}

TEST(FetchUrl, SendsHeadersAndABody) {
    Server server;
    const struct {
        const char* path;
        WebRequest request;
        std::vector<const char*> expected;
    } cases[] = {
        {"/echo", {false, {{"X-Key", "a b"}, {"Empty", ""}}, ""}, {"GET /echo", "X-Key: a b\r\n", "Empty:"}},
        {"/echo",
         {true, {{"Content-Type", "text/x"}}, "{\"年\":1}"},
         {"POST /echo", "text/x", "\r\n\r\n{\"年\":1}"}},
        {"/echo", {true, {}, ""}, {"POST /echo", "Content-Length: 0"}},
        {"/moved", {false, {{"X-Key", "1"}}, ""}, {"hello"}},
        {"/moved", {true, {}, "x"}, {"redirects a request that is for it alone"}},
        {"/away", {false, {{"X-Key", "1"}}, ""}, {"redirects a request that is for it alone"}},
        {"/echo", {false, {{"A", "b\r\nC: d"}}, ""}, {"\"A\" is not a header that can be set"}},
        {"/echo", {false, {{"A: b\r\nC", "d"}}, ""}, {"is not a header that can be set"}},
        {"/echo", {false, {{"hOST", "d"}}, ""}, {"\"hOST\" is not a header that can be set"}},
    };
    for (const auto& one : cases) {
        Address address{toUtf16("http://" + server.host() + one.path), ""};
        address.request = std::make_shared<const WebRequest>(one.request);
        std::string result;
        try {
            result = fetch(address, 5000);
        } catch (const EngineError& error) {
            result = error.what();
        }
        for (const char* const part : one.expected) {
            EXPECT_NE(result.find(part), std::string::npos) << part << " in " << result;
        }
    }
}

// A name in data, and a part of the resulting message or content.
TEST(FetchUrl, NamesOfDataReachWhatTheRulesAllow) {
    Server server;
    const std::string port = server.host().substr(server.host().find(':'));
    const struct {
        const char* hosts;
        std::string url;
        const char* expected;
    } cases[] = {
        {"", "http://" + server.host() + "/data", "not a public address: 127.0.0.1; allow"},
        {"", "http://user@0x7f.1" + port + "/data", "not a public address: 127.0.0.1; allow"},
        {"", "http://localhost" + port + "/data", "not a public address: localhost ("},
        {"", "http://[::ffff:127.0.0.1]" + port + "/data", "(::ffff:127.0.0.1); allow"},
        {"", "http://169.254.169.254/latest", "not a public address: 169.254.169.254"},
        {"127.0.0.0/8", "http://" + server.host() + "/data", "hello"},
        {"127.0.0.1", "http://" + server.host() + "/moved", "hello"},
        {"127.0.0.1", "http://" + server.host() + "/away", "not a public address: [::1] (::1)"},
        {"none,localhost", "http://localhost" + port + "/data", "hello"},
        {"none", "http://1.1.1.1/", "not among the hosts that are allowed: 1.1.1.1"},
        {"any", "http://" + server.host() + "/data", "hello"},
    };
    for (const auto& one : cases) {
        ReachRules rules;
        rules.setHosts(one.hosts);
        const Reach reach(std::make_shared<const ReachRules>(rules));
        std::string result;
        try {
            result = fetch({toUtf16(one.url), "", NamedBy::Data}, 500);
        } catch (const EngineError& error) {
            result = error.what();
        }
        EXPECT_NE(result.find(one.expected), std::string::npos)
            << one.hosts << " " << one.url << ": " << result;
    }
}

TEST(FetchUrl, EndsWithItsExport) {
    Server server;
    const auto ends = [&](const Budget& budget, const std::atomic<bool>* cancelled, const char* path) {
        Spending spending(budget, cancelled);
        try {
            fetch({toUtf16("http://" + server.host() + path), ""}, 50'000'000);
            return ErrorCode::Internal;
        } catch (const EngineError& error) {
            return error.code();
        }
    };
    Budget budget;
    std::atomic<bool> cancelled = false;
    std::thread canceller([&] {
        while (!server.wasAsked()) std::this_thread::yield();
        cancelled = true;
    });
    EXPECT_EQ(ends(budget, &cancelled, "/silent"), ErrorCode::Cancelled);
    canceller.join();
    budget.fetchedBytes = 1'000'000;
    EXPECT_EQ(ends(budget, nullptr, "/flood"), ErrorCode::BudgetExceeded);
    budget.fetches = 0;
    EXPECT_EQ(ends(budget, nullptr, "/data"), ErrorCode::BudgetExceeded);

    Reach reach(std::make_shared<const ReachRules>());
    reach.silentHosts().insert("127.0.0.1");
    EXPECT_EQ(ends({}, nullptr, "/data"), ErrorCode::FetchFailed)
        << "a host that did not answer is not asked again";
}

}  // namespace
}  // namespace qbsvrl6
