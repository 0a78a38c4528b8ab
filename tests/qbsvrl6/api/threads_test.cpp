#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/qbsvrl6/api/api_fixture.h"

namespace api_test {
namespace {

void onThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

class Quiet : public CqbGeneralEventInfo {
public:
    void Execute() override {}
};

TEST_F(ApiTest, ReportsOfManyThreadsDontMeet) {
    const tagQBExportType types[] = {QBExportType_PDF, QBExportType_CSV, QBExportType_HTM, QBExportType_TXT};
    std::string expected[4];
    {
        const OwnReport report;
        QBReportLoadFromFile(report, path("list.qbf").c_str());
        for (int i = 0; i < 4; ++i) expected[i] = exported(report, types[i]);
    }
    std::vector<std::string> results(16);
    onThreads(16, [&](int thread) {
        const OwnReport reused;
        for (int round = 0; round < 4; ++round) {
            tagQBReport* report = QBReportCreate();
            QBAttachEventInitialize(report, new Quiet);
            QBReportLoadFromFile(report, path("list.qbf").c_str());
            QBReportLoadFromFile(reused, path("list.qbf").c_str());
            const auto index = static_cast<std::size_t>(thread + round) % 4;
            if (exported(report, types[index]) != expected[index] ||
                exported(reused, types[index]) != expected[index]) {
                results[static_cast<std::size_t>(thread)] += "differs ";
            }
            QBReportLoadFromFile(reused, u"/absent.qbf");  // logs
            QBReportRelease(report);
            if (QBReportGetDetailGrid(reused) != nullptr)
                results[static_cast<std::size_t>(thread)] += "not empty ";
        }
        if (narrow(QBGetModulePath()).empty()) results[static_cast<std::size_t>(thread)] += "no path ";
    });
    for (const std::string& result : results) EXPECT_EQ(result, "");
}

}  // namespace
}  // namespace api_test
