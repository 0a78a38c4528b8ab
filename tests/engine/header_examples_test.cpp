// Every example in the headers of engine/ compiles, runs, and does what it documents, without a warning in
// the engine's log.
#include "tests/engine/header_examples.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "tests/scratch_directory.h"
#include "tests/source_directory.h"

using namespace quillbrook;

namespace {

// The warnings and errors of the log, except those about missing fonts.
std::string complaints(const std::string& log) {
    std::istringstream lines(log);
    std::string found;
    for (std::string line; std::getline(lines, line);) {
        const bool isComplaint = line.find(" info ") == std::string::npos;
        if (isComplaint && line.find("is not installed") == std::string::npos) found += line + "\n";
    }
    return found;
}

}  // namespace

TEST(HeaderExamples, RunWithoutAComplaint) {
    const ScratchDirectory scratch;
    std::filesystem::copy(QBSVR_SOURCE_DIR "/samples", scratch.path / "samples",
                          std::filesystem::copy_options::recursive);
    std::filesystem::remove_all(scratch.path / "samples/log");
    std::filesystem::current_path(scratch.path);
    QBInitConfig(u"samples");
    ASSERT_GE(kHeaderExamples.size(), 10u);
    for (const HeaderExample& example : kHeaderExamples) {
        SCOPED_TRACE(std::string(example.header) + ":" + std::to_string(example.line));
        tagQBReport* const report = QBReportCreate();
        ASSERT_NE(QBReportLoadFromFile(report, u"samples/Samples/Reports/7a.stock.qbf"), 0);
        ASSERT_NE(QBReportLoadDataFromURL(report, u"samples/Samples/Reports/7a.stock.txt"), 0);
        example.run(report);
        EXPECT_NE(QBReportExportDirectToBinaryObject(report, QBExportType_CSV), nullptr);
        QBReportRelease(report);
        EXPECT_EQ(complaints(ReadFile("samples/log/qbsvrl6.log")), "");
    }
    for (const char* file : {"stock.pdf", "copy.qbf", "stock.csv", "stock.png", "stock.xlsx"}) {
        EXPECT_TRUE(std::filesystem::exists(file)) << file;
    }
    std::filesystem::current_path("/");
}
