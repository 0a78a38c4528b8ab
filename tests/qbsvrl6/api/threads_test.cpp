#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "engine/qbsvr_more.h"
#include "tests/qbsvrl6/api/api_fixture.h"
#include "tests/source_directory.h"

namespace api_test {
namespace {

constexpr int kThreads = 16;

void onThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

class Quiet : public CqbGeneralEventInfo {
public:
    void Execute() override {}
};

// Writes templates and data that have caused harm to files in this directory.
std::vector<std::string> writeHostileReports(const std::string& directory) {
    std::vector<std::string> names;
    for (const std::string& seed : FilesBelow(QBSVR_SOURCE_DIR "/fuzz/seeds/engine_fuzz")) {
        const std::string text = ReadFile(QBSVR_SOURCE_DIR "/fuzz/seeds/engine_fuzz/" + seed).substr(1);
        const std::string line = "\n=== data\n";
        const std::size_t end = text.find(line);
        WriteFile(directory + seed + ".qbf", text.substr(0, end));
        WriteFile(directory + seed + ".txt",
                  end == std::string::npos ? "[]" : text.substr(end + line.size()));
        names.push_back(seed);
    }
    return names;
}

// Valid exports give the same bytes as alone, whatever happens on other threads: hostile reports, exceeded
// budgets, cancelled exports. QBSVR_SOAK_SECONDS in the environment makes the test run for that time.
TEST_F(ApiTest, ReportsOfManyThreadsDontMeet) {
    using Clock = std::chrono::steady_clock;
    const char* const soak = std::getenv("QBSVR_SOAK_SECONDS");
    const Clock::time_point end = Clock::now() + std::chrono::seconds(soak != nullptr ? std::atoi(soak) : 0);
    const std::vector<std::string> hostile = writeHostileReports(directory_);
    ASSERT_FALSE(hostile.empty());
    std::vector<std::string> expected;
    for (int type = QBExportType_XLS; type <= QBExportType_IMG; ++type) {
        const OwnReport report;
        QBReportLoadFromFile(report, path("list.qbf").c_str());
        expected.push_back(exported(report, static_cast<tagQBExportType>(type)));
    }
    const auto good = [&](std::size_t round) {
        const OwnReport report;
        QBAttachEventInitialize(report, new Quiet);
        QBReportLoadFromFile(report, path("list.qbf").c_str());
        const std::size_t type = round % expected.size();
        return exported(report, static_cast<tagQBExportType>(QBExportType_XLS + type)) == expected[type];
    };
    const std::vector<OwnReport> badReports(kThreads);
    const auto bad = [&](std::size_t round) {
        tagQBReport* const report = badReports[round % kThreads];
        const std::string& name = hostile[round / kThreads % hostile.size()];
        QBXBudget budget = {};
        budget.size = sizeof budget;
        budget.pages = 1 + round % 3;
        QBXReportSetBudget(report, &budget);
        QBReportLoadFromFile(report, path(name + ".qbf").c_str());
        QBReportLoadDataFromURL(report, path(name + ".txt").c_str());
        exported(report, static_cast<tagQBExportType>(QBExportType_XLS + round % expected.size()));
        QBXReportCancel(badReports[(round + 1) % kThreads]);
        QBReportLoadFromFile(report, u"/absent.qbf");  // logs
        return QBReportGetDetailGrid(report) == nullptr;
    };
    std::vector<std::string> results(kThreads);
    std::atomic<int> rounds = 0;
    onThreads(kThreads, [&](int thread) {
        const auto number = static_cast<std::size_t>(thread);
        for (std::size_t round = 0; round < 4 || Clock::now() < end; ++round, ++rounds) {
            if (!good(round + number)) results[number] += "differs ";
            if (!bad(round * kThreads + number)) results[number] += "not empty ";
        }
        if (narrow(QBGetModulePath()).empty()) results[number] += "no path ";
    });
    for (const std::string& result : results) EXPECT_EQ(result, "");
    std::cout << rounds << " good and as many hostile reports\n";
}

// Each export has a connection and statements of its own; one of its queries runs per row.
TEST_F(ApiTest, ThreadsReadOneDatabase) {
    sqlite3* database = nullptr;
    sqlite3_open("shop.db", &database);
    ASSERT_EQ(sqlite3_exec(database,
                           "CREATE TABLE O (n INTEGER, p DECIMAL(10,2), d DATE);"
                           "WITH RECURSIVE i(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM i WHERE n < 200)"
                           "INSERT INTO O SELECT n, n / 8.0, '2026-03-05' FROM i",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    write("shop.qbf", R"(<Report version="1"><Data connection="sqlite:shop.db" query="SELECT * FROM O"/>
<Grid titleHeight="0mm"><Columns><Column name="n" width="60mm"><Content text="[n] [p:0.000] [d:yyyy]"/></Column>
<Column name="s" width="60mm"><Content><SubReport><Parameter name="N" expression="n"/><Report>
<Data query="SELECT count(*) AS c FROM O WHERE n &lt; :N"/><ReportHeader height="5mm">
<Text width="20mm" height="5mm" text="[c]"/></ReportHeader></Report></SubReport></Content></Column>
</Columns></Grid></Report>)");
    const auto document = [&] {
        const OwnReport report;
        QBReportLoadFromFile(report, path("shop.qbf").c_str());
        return exported(report, QBExportType_CSV);
    };
    const std::string expected = document();
    ASSERT_NE(expected.find("200 25.000 2026,199"), std::string::npos) << expected << takeLog();
    onThreads(4, [&](int) {
        for (int round = 0; round < 3; ++round) EXPECT_EQ(document(), expected);
    });
}

}  // namespace
}  // namespace api_test
