// A scratch directory with a small report, its data and the engine's log. It is the working directory.
#ifndef QBSVR_TESTS_QBSVRL6_API_API_FIXTURE_H
#define QBSVR_TESTS_QBSVRL6_API_API_FIXTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "engine/qbsvr.h"
#include "tests/scratch_directory.h"

namespace api_test {

using namespace quillbrook;

std::u16string wide(const std::string& utf8);
std::string narrow(const lkchar* text);

// A template over "list.txt" with every type of content, and small: tests export it once per allocation that
// it makes.
extern const char* const kEverything;

// "list.qbf" has a detail grid over "list.txt", a chart, and a sub-report with a chart; "bare.qbf" has no
// grid.
class ApiTest : public testing::Test {
protected:
    ApiTest();
    ~ApiTest() override;

    void write(const std::string& name, const std::string& contents) const;
    std::string read(const std::string& name) const;
    bool exists(const std::string& name) const;
    std::u16string path(const std::string& name) const { return wide(directory_ + name); }

    // The lines that the engine has logged since the last call, except those about substituted fonts.
    std::string takeLog();

    static std::string bytesOf(tagQBBinaryObject* object);
    static std::string exported(tagQBReport* report, tagQBExportType type) {
        return bytesOf(QBReportExportDirectToBinaryObject(report, type));
    }

private:
    ScratchDirectory scratch_;

protected:
    std::string directory_ = scratch_.path.string() + "/";

private:
    std::filesystem::path before_;  // the working directory
    std::size_t logRead_ = 0;
};

// A report that is created and released with the object.
class OwnReport {
public:
    OwnReport() : report_(QBReportCreate()) {}
    ~OwnReport() { QBReportRelease(report_); }
    OwnReport(const OwnReport&) = delete;
    OwnReport& operator=(const OwnReport&) = delete;
    operator tagQBReport*() const { return report_; }

private:
    tagQBReport* report_;
};

}  // namespace api_test

#endif
