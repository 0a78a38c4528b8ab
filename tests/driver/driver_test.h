// Runs functions of the driver with the recording engine, in a separate tree, and returns what they did.
#ifndef QBSVR_TESTS_DRIVER_DRIVER_TEST_H
#define QBSVR_TESTS_DRIVER_DRIVER_TEST_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/unicode.h"
#include "driver/batches.h"
#include "driver/sample_tree.h"
#include "tests/engine/recording_engine.h"
#include "tests/scratch_directory.h"

inline std::string Join(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// The set-up directory is "/qb/", which need not exist: the recording engine loads any file.
class DriverTest : public testing::Test {
public:
    static void SetList(const std::string& json) {
        const lkstr text = larkspur::Utf8ToUnicode(json.data(), static_cast<int>(json.size()));
        ReportsJson.Parse(text.c_str(), static_cast<int>(text.size()));
    }

protected:
    void SetUp() override {
        recording::Reset(true);
        ConfigPath("/qb", (scratch.path / "out").c_str());
        SetList("[]");
        Report = nullptr;
        ReportCount = -1;
    }

    // Runs the function and returns what it printed, with OUT for the output directory.
    template <class Function>
    std::string Output(Function function) {
        testing::internal::CaptureStdout();
        function();
        return Portable(testing::internal::GetCapturedStdout());
    }

    // The calls since the last Reset, one per line.
    std::string Calls() const { return Portable(Join(recording::Calls())); }

    std::string Portable(std::string text) const {
        const std::string out = (scratch.path / "out").string();
        for (std::size_t at; (at = text.find(out)) != std::string::npos;) text.replace(at, out.size(), "OUT");
        return text;
    }

    std::string Written(const std::string& file) const { return ReadFile(scratch.path / "out" / file); }
    std::vector<std::string> WrittenFiles() const { return FilesBelow(scratch.path / "out"); }

    ScratchDirectory scratch;
};

#endif
