#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "qbsvrl6/support/address.h"
#include "qbsvrl6/support/clock.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/reach.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/xml_writer.h"
#include "tests/scratch_directory.h"

namespace qbsvrl6 {
namespace {

namespace fs = std::filesystem;

class InDirectory : public testing::Test {
protected:
    std::size_t fileCount() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory_), {}));
    }

    ScratchDirectory scratch_;
    std::string directory_ = scratch_.path.string() + "/";
};

// Each call reads the time zone, which may change while the process runs.
TEST(Clock, ShowsLocalTimeWithSummerTime) {
    const std::pair<const char*, int> zones[] = {
        {"UTC", 0},
        {"Asia/Shanghai", 8 * 3600},
        {"<+0545>-5:45", 5 * 3600 + 45 * 60},
        {"STD4SUM,0/0,J365/25", -3 * 3600},  // daylight saving time all year round
    };
    for (const auto& [zone, offset] : zones) {
        ::setenv("TZ", zone, 1);
        EXPECT_NEAR(static_cast<double>(localTime() - std::time(nullptr)), offset, 2) << zone;
    }
    ::unsetenv("TZ");
}

TEST(Utf, ConvertsAndReplacesEachBadPartOnce) {
    struct Case {
        std::string_view utf8;
        std::u16string_view utf16;
        bool valid;
    };
    const Case cases[] = {
        {"", u"", true},
        {"plain ASCII, longer than a block", u"plain ASCII, longer than a block", true},
        {"1234567é中𠀀.", u"1234567é中𠀀.", true},
        {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF", true},
        {"a\x80z", u"a\xFFFDz", false},
        {"\xC0\xAF", u"\xFFFD\xFFFD", false},            // overlong
        {"\xE0\x80\x80", u"\xFFFD\xFFFD\xFFFD", false},  // overlong
        {"\xED\xA0\x80", u"\xFFFD\xFFFD\xFFFD", false},  // a surrogate
        {"\xF4\x90\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD", false},
        {"\xE4\xB8", u"\xFFFD", false},  // cut short: one part
        {"\xF0\x9F\x98z", u"\xFFFDz", false},
        {"\xE4\xB8\xE4\xB8\xAD", u"\xFFFD中", false},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(toUtf16(test.utf8), test.utf16) << testing::PrintToString(test.utf8);
        EXPECT_EQ(isValidUtf8(test.utf8), test.valid) << testing::PrintToString(test.utf8);
        if (test.valid) {
            EXPECT_EQ(toUtf8(test.utf16), test.utf8);
        }
    }
    EXPECT_EQ(toUtf8(u"a\xD840z\xDC00"), "a\xEF\xBF\xBDz\xEF\xBF\xBD");
}

TEST(XmlNumber, IsTheShortestTextThatReadsBack) {
    for (const double number : {0.0,         -0.0,         0.01,
                                0.1,         -0.05,        0.005,
                                1.1,         12.34,        -1234.5,
                                99'999.99,   50'000.0,     500'000.0,
                                1'200'000.0, 1'230'000.01, 999'999'999'999.99,
                                1e12,        1e15,         123'456'789'012'345.0,
                                0.1 + 0.2,   1.005,        1e-7,
                                1e300}) {
        for (const double near : {number, std::nextafter(number, 1e301), std::nextafter(number, -1e301)}) {
            char digits[32];
            const std::string expected(digits, std::to_chars(digits, std::end(digits), near).ptr);
            std::string text;
            appendXmlNumber(text, near);
            EXPECT_EQ(text, expected);
        }
    }
}

TEST_F(InDirectory, NamesTheSameFileFromAnotherFolder) {
    fs::create_directories(directory_ + "a/deep");
    fs::create_directory_symlink("a/deep", directory_ + "link");
    fs::create_directory_symlink("b", directory_ + "out");
    const fs::path before = fs::current_path();
    fs::current_path(directory_);
    const struct {
        std::string from;
        std::u16string name;
        std::string to;
        std::string expected;
    } cases[] = {
        {"a/", u"x.txt", "a/", "x.txt"},
        {"a/", u"x.txt", directory_ + "a/", "x.txt"},
        {"a/", u"./x.txt", "./a/", "./x.txt"},
        {"a/", u"x.txt", "", "a/x.txt"},
        {"", u"a/x.txt", "a/", "x.txt"},
        {"", u"数/x.txt", "b/c/", "../../数/x.txt"},
        {directory_ + "a/", u"../D/x.jpg", "b/", "../D/x.jpg"},
        {"a/", u"D/../x.jpg", "b/", "../a/D/../x.jpg"},
        {"a/", u".//x.txt", "b/", "../a/x.txt"},
        {"link/", u"../x.txt", "b/", "../a/x.txt"},
        {"a/", u"x.txt", "out/new/", "../../a/x.txt"},
        {"a/", u"file:x%20y", "b/", "../a/x y"},
        {"a/", u"/abs/x.txt", "b/", "/abs/x.txt"},
        {"a/", u"File:///x%20y", "b/", "File:///x%20y"},
        {"a/", u"HTTPS://h/x", "b/", "HTTPS://h/x"},
        {"a/", u"", "b/", "../a/"},
        {"b/", u"../a/", "a/", ""},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(toUtf8(Relocation(test.to).nameOf({test.name, test.from})), test.expected)
            << test.from << ' ' << toUtf8(test.name) << ' ' << test.to;
    }
    fs::current_path(before);
}

TEST_F(InDirectory, NamesOfTemplatesReachTheirFolders) {
    for (const char* folder : {"t/in", "setup", "more", "t2"}) {
        fs::create_directories(directory_ + folder);
        std::ofstream(directory_ + folder + "/x") << "";
    }
    fs::create_symlink("../more/x", directory_ + "t/link");
    fs::create_directory_symlink("setup", directory_ + "linkedSetup");
    fs::create_directory_symlink("t", directory_ + "linkedHome");
    const struct {
        std::string folders, home, name;
        bool isReached;
    } cases[] = {
        {"", "t/", "in/x", true},
        {"", "t/", "../t/in/../in/x", true},
        {"", "linkedHome/", "in/x", true},
        {"", "t/", "../setup/x", true},
        {"", "t/", directory_ + "setup/x", true},
        {"", "t/", "file://" + directory_ + "t/in/x", true},
        {"", "t/", "../t2/x", false},  // its name merely begins with that of the folder
        {"", "t/", "link", false},
        {"", "t/", "../more/x", false},
        {"", "t/", "file:..%2Fmore/x", false},
        {"", "t/", "/proc/self/environ", false},
        {"", "", directory_ + "t/in/x", false},
        {"", "", directory_ + "setup/x", true},
        {directory_ + "more: /no", "t/", "link", true},
        {directory_ + "more", "t/", "in/x", true},
        {"none:" + directory_ + "more", "t/", "in/x", false},
        {"none:" + directory_ + "more", "t/", "../more/x", true},
        {"any", "t/", "../t2/x", true},
    };
    for (const auto& test : cases) {
        ReachRules rules;
        rules.setSetupFolder(directory_ + "linkedSetup");
        rules.setFolders(test.folders);
        const Reach reach(std::make_shared<const ReachRules>(rules));
        const std::string home = test.home.empty() ? "" : directory_ + test.home;
        ErrorCode code = ErrorCode::Internal;
        try {
            reachablePath({toUtf16(test.name), home, NamedBy::Template, home});
        } catch (const EngineError& error) {
            code = error.code();
        }
        EXPECT_EQ(code, test.isReached ? ErrorCode::Internal : ErrorCode::NotAllowed)
            << test.folders << ' ' << test.home << ' ' << test.name;
        EXPECT_NO_THROW(reachablePath({toUtf16(test.name), home})) << "the program";
    }
    ReachRules rules;
    EXPECT_THROW(rules.setFolders("logos"), EngineError);
    for (const char* wrong : {"10.0.0.0/33", "a b", "10.0.0.0/", "http://h"}) {
        EXPECT_THROW(rules.setHosts(wrong), EngineError) << wrong;
    }
}

TEST(Reach, PublicAddressesAndNamedHosts) {
    const auto allows = [](const char* hosts, const char* text) {
        ReachRules rules;
        rules.setHosts(hosts);
        sockaddr_in6 v6{};
        sockaddr_in v4{};
        v6.sin6_family = AF_INET6;
        v4.sin_family = AF_INET;
        if (::inet_pton(AF_INET, text, &v4.sin_addr) == 1) {
            return rules.allowsAddress(reinterpret_cast<const sockaddr&>(v4));
        }
        if (::inet_pton(AF_INET6, text, &v6.sin6_addr) == 1) {
            return rules.allowsAddress(reinterpret_cast<const sockaddr&>(v6));
        }
        return rules.allowsHost(text);
    };
    for (const char* yes : {"1.1.1.1", "100.63.255.255", "100.128.0.0", "172.32.0.1", "223.255.255.255",
                            "2606:4700::1111", "::ffff:1.1.1.1", "64:ff9b::101:101", "2002:101:101::1"}) {
        EXPECT_TRUE(allows("", yes)) << yes;
        EXPECT_FALSE(allows("none", yes)) << yes;
    }
    for (const char* no : {"0.0.0.0",
                           "10.255.255.255",
                           "100.64.0.1",
                           "127.0.0.2",
                           "169.254.169.254",
                           "172.31.255.255",
                           "192.168.0.1",
                           "198.19.0.1",
                           "224.0.0.1",
                           "255.255.255.255",
                           "::",
                           "::1",
                           "::7f00:1",
                           "fe80::1",
                           "fd00::1",
                           "ff02::1",
                           "::ffff:10.0.0.1",
                           "64:ff9b::a00:1",
                           "64:ff9b:1::1",
                           "2002:a00:1::1",
                           "2001:0:1::1",
                           "2001:db8::1",
                           "intranet.example"}) {
        EXPECT_FALSE(allows("", no)) << no;
        EXPECT_TRUE(allows("any", no)) << no;
    }
    const char* const some = "Intranet.example, *.corp.example ,10.1.0.0/16,fd00::/8";
    for (const char* yes : {"intranet.EXAMPLE", "intranet.example.", "a.b.corp.example", "10.1.255.1",
                            "fd00::1", "::ffff:10.1.0.1", "64:ff9b::a01:1", "1.1.1.1"}) {
        EXPECT_TRUE(allows(some, yes)) << yes;
    }
    for (const char* no : {"x.intranet.example", "corp.example", "xcorp.example", "10.2.0.1"}) {
        EXPECT_FALSE(allows(some, no)) << no;
    }
}

TEST(Suggestion, NamesTheNearestAndListsSome) {
    const std::u16string_view names[] = {u"Customers", u"Orders", u"id", u"客户名称", u"OrderLines"};
    const struct {
        std::u16string_view wrong;
        std::string_view nearest;
    } cases[] = {
        {u"orders", "Orders"},
        {u"Ordesr", "Orders"},
        {u"Order", "Orders"},
        {u"OrdersLine", "OrderLines"},
        {u"客户名稱", "客户名称"},
        {u"客户", ""},
        {u"ix", "id"},
        {u"x", ""},
        {u"", ""},
        {u"Suppliers", ""},
        {u"Custmoer", "Customers"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(toUtf8(nearestName(test.wrong, names)), test.nearest) << toUtf8(test.wrong);
    }
    EXPECT_EQ(suggestion(u"Order", names),
              "did you mean \"Orders\"? There are: Customers, Orders, id, 客户名称, OrderLines");
    EXPECT_EQ(suggestion(u"x", names).substr(0, 22), "there are: Customers, ");
    EXPECT_EQ(suggestion(u"x", {}), "there are none");

    // Hostile: as many names as data can have, and as long.
    const std::u16string longName(1'000'000, u'n');
    const std::vector<std::u16string_view> many(16'384, longName);
    EXPECT_EQ(suggestion(longName, many).size(), std::string("there are:  and more").size() + 12 * 53 - 2);
}

TEST_F(InDirectory, SpoolsKeepBytesInMemoryOrInAFile) {
    for (const std::size_t parts : {0u, 1u, 2u, 1'000u, 20'000u}) {
        Spool spool, copy;
        std::string expected;
        copy.append("a");
        for (std::size_t i = 0; i < parts; ++i) {
            const std::string part = std::to_string(i) + std::string(1'000, 'x');
            expected += part;
            spool.end() += part;
            spool.writeIfLarge();
        }
        ASSERT_EQ(spool.size(), expected.size());
        ASSERT_EQ(spool.file() != nullptr, expected.size() > Spool::kBytesInMemory);
        writeFile(directory_ + "spool", spool);
        ASSERT_TRUE(ReadFile(directory_ + "spool") == expected) << parts;
        copy.append(spool, spool.size() / 3, spool.size());
        ASSERT_TRUE(copy.take() == "a" + expected.substr(expected.size() / 3)) << parts;
        Spool moved;
        moved.append(std::move(spool));
        ASSERT_TRUE(moved.take() == expected) << parts;
    }
}

TEST_F(InDirectory, WritesWholeFilesAndLeavesNothingElse) {
    const std::string path = directory_ + "a/b/报表.qbf";
    writeFile(path, "first");
    ::chmod(path.c_str(), 0640);
    writeFile(path, "second");
    EXPECT_EQ(ReadFile(path), "second");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
    EXPECT_EQ(std::distance(fs::directory_iterator(directory_ + "a/b"), {}), 1);
}

TEST_F(InDirectory, TellsWhyAFileCantBeReadOrWritten) {
    writeFile(directory_ + "file", "12345");
    const auto codeOf = [](auto&& action) {
        try {
            action();
        } catch (const EngineError& error) {
            return error.code();
        }
        return ErrorCode::Internal;
    };
    EXPECT_EQ(readFile(directory_ + "file", 5), "12345");
    EXPECT_EQ(codeOf([&] { readFile(directory_ + "file", 4); }), ErrorCode::LimitExceeded);
    EXPECT_EQ(codeOf([&] { readFile(std::string("/dev/zero"), 5); }), ErrorCode::FileUnreadable);
    EXPECT_EQ(codeOf([&] { readFile(directory_ + "none", 5); }), ErrorCode::FileNotFound);
    EXPECT_EQ(codeOf([&] { readFile(directory_, 5); }), ErrorCode::FileUnreadable);
    EXPECT_EQ(codeOf([&] { writeFile(directory_ + "file/below", "x"); }), ErrorCode::FileUnwritable);
    ASSERT_EQ(::mkfifo((directory_ + "pipe").c_str(), 0600), 0);
    EXPECT_EQ(codeOf([&] { writeFile(directory_ + "pipe", "x"); }), ErrorCode::FileUnwritable) << "no reader";
    EXPECT_EQ(codeOf([&] { writeFile("/dev/full", "x"); }), ErrorCode::FileUnwritable);
    EXPECT_EQ(codeOf([&] { writeFile("", "x"); }), ErrorCode::FileUnwritable);
    EXPECT_EQ(codeOf([&] { writeFile(directory_, "x"); }), ErrorCode::FileUnwritable);

    EXPECT_EQ(ReadFile(directory_ + "file"), "12345");
    EXPECT_EQ(fileCount(), 2u);
}

TEST_F(InDirectory, LogsALineAnEventFromManyThreads) {
    setLogSetupPath(directory_);
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([i] {
            const LogSubject subject(i % 2 == 0 ? "" : "a.qbf");
            for (int line = 0; line < 50; ++line) logError("two\nlines\x1b \u0085\u2028中");
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::istringstream log(ReadFile(directory_ + "log/qbsvrl6.log"));
    int count = 0, withSubject = 0;
    for (std::string line; std::getline(log, line); ++count) {
        EXPECT_NE(line.find(" error "), std::string::npos) << line;
        EXPECT_TRUE(line.ends_with(" two\\nlines\\x1b \\x85\\n中")) << line;
        if (line.ends_with(" a.qbf: two\\nlines\\x1b \\x85\\n中")) ++withSubject;
    }
    EXPECT_EQ(count, 16 * 50);
    EXPECT_EQ(withSubject, 8 * 50);

    std::string endless = "x";
    for (int i = 0; i < 10'000; ++i) endless += "中";
    logError(endless);
    const std::string all = ReadFile(directory_ + "log/qbsvrl6.log");
    const std::string last = all.substr(all.rfind('\n', all.size() - 2));
    EXPECT_TRUE(last.size() < 5'000 && last.ends_with("中...\n")) << last;

    {
        const LogSubject subject("b.qbf");
        for (int i = 0; i < 100'000; ++i) logWarning("no picture " + std::to_string(i));
        logWarning("another kind");
    }
    const std::string few = ReadFile(directory_ + "log/qbsvrl6.log").substr(all.size());
    EXPECT_EQ(std::count(few.begin(), few.end(), '\n'), static_cast<long>(limits::kLinesOfAKind) + 2);
    EXPECT_NE(few.find("another kind"), std::string::npos);
    EXPECT_TRUE(few.ends_with(" b.qbf: 99950 more lines such as: no picture 0\n")) << few;
}

TEST_F(InDirectory, LogsToTheStateDirectoryWhereTheSetupPathCantBeWritten) {
    ::setenv("XDG_STATE_HOME", (directory_ + "state").c_str(), 1);
    setLogSetupPath("/dev/null");
    logWarning("elsewhere");
    EXPECT_NE(ReadFile(directory_ + "state/qbsvrl6/qbsvrl6.log").find(" elsewhere"), std::string::npos);
    EXPECT_EQ(fs::status(directory_ + "state/qbsvrl6/qbsvrl6.log").permissions(), fs::perms(0600));
    // A mistyped set-up folder is not created, and links are not followed, whether to the file or to its
    // folder.
    setLogSetupPath(directory_ + "mistyped");
    logWarning("mistyped");
    EXPECT_FALSE(fs::exists(directory_ + "mistyped"));
    EXPECT_NE(ReadFile(directory_ + "state/qbsvrl6/qbsvrl6.log").find(" mistyped"), std::string::npos);
    for (const char* planted : {"a/log/qbsvrl6.log", "b/log"}) {
        const fs::path link = directory_ + planted;
        fs::create_directories(link.parent_path());
        fs::create_directory(directory_ + "victim");
        fs::create_symlink(directory_ + (link.extension() == ".log" ? "victim/file" : "victim"), link);
        setLogSetupPath(directory_ + planted[0]);
        logWarning(planted);
        EXPECT_TRUE(fs::is_empty(directory_ + "victim")) << planted;
    }
    ::unsetenv("XDG_STATE_HOME");
    ::unsetenv("HOME");
    setLogSetupPath("/dev/null");
    logWarning("nowhere");  // must not throw
}

TEST_F(InDirectory, TheLogStartsAnewAtItsLimitInSeveralProcesses) {
    constexpr int kProcesses = 2, kThreads = 16, kLines = 72, kLine = 3'900;
    setLogSetupPath(directory_);
    const auto writeLines = [] {
        for (int i = 0; i < kLines; ++i) logError(std::string(kLine, 'x'));
    };
    for (int process = 0; process < kProcesses; ++process) {
        if (::fork() != 0) continue;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) threads.emplace_back(writeLines);
        for (std::thread& thread : threads) thread.join();
        ::_exit(0);
    }
    while (::wait(nullptr) > 0) {
    }
    const fs::path log = directory_ + "log/qbsvrl6.log";
    const std::string old = ReadFile(log.string() + ".1");
    const std::string both = old + ReadFile(log);
    EXPECT_LE(old.size(), limits::kLogBytes + kProcesses * 5'000);
    EXPECT_GT(old.size(), limits::kLogBytes - 5'000);
    EXPECT_EQ(std::count(both.begin(), both.end(), '\n'), kProcesses * kThreads * kLines);
    EXPECT_EQ(std::distance(fs::directory_iterator(log.parent_path()), {}), 2);
    setLogSetupPath("/dev/null");
}

}  // namespace
}  // namespace qbsvrl6
