#include "driver/batches.h"

#include <map>

#include "tests/driver/driver_test.h"

namespace {

TEST_F(DriverTest, ThreadsKeepToTheirOwnReports) {
    std::string items;
    for (int i = 0; i < 20; ++i) items += R"({"Name":"n)" + std::to_string(i) + R"(","Data":"d"},)";
    SetList(R"([{"Items":[{"Name":"bad"},)" + items + "]}]");
    recording::Fail("QBReportLoadFromFile", "*bad*");
    recording::Fail("QBReportCreate", "report16");
    const std::string output = Output(TestBatch_MThread);

    EXPECT_TRUE(output.starts_with("开始多线程成批生成报表...\n")) << output;
    std::map<std::string, int> lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) ++lines[line];
    // One of the sixteen, whichever came last, got no report; the others are not affected.
    EXPECT_EQ(lines["Create report failed, please view log file to find reason."], 1);
    EXPECT_EQ(lines["load report '/qb/Samples/Reports/bad.qbf' failed."], 15);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const auto& line) {
                                return line.first.starts_with("Batch Export ") && line.second == 1 &&
                                       line.first.ends_with(" finished, ReportCount=21.");
                            }),
              15)
        << output;
    EXPECT_EQ(Join(recording::Violations()), "");
    EXPECT_EQ(Report, nullptr);
    EXPECT_EQ(ReportCount, -1);
}

}  // namespace
