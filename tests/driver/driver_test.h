// Runs functions of the driver over the recording engine, in a tree of its own, and gives what they did.
#ifndef QBSVR_TESTS_DRIVER_DRIVER_TEST_H
#define QBSVR_TESTS_DRIVER_DRIVER_TEST_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "common/unicode.h"
#include "driver/batch.h"
#include "driver/sample_tree.h"
#include "tests/engine/recording_engine.h"

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string Join(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// All files below a directory, relative to it, in order.
inline std::vector<std::string> FilesBelow(const std::filesystem::path& directory) {
    std::vector<std::string> files;
    if (!std::filesystem::exists(directory)) return files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) files.push_back(entry.path().lexically_relative(directory).string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

class ScratchDirectory {
public:
    ScratchDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qbsvrtest-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~ScratchDirectory() { std::filesystem::remove_all(path); }
    std::filesystem::path path;
};

// The set-up directory is "/qb/", which need not exist: the recording engine loads whatever it is asked for.
class DriverTest : public testing::Test {
protected:
    void SetUp() override {
        recording::Reset(true);
        ConfigPath("/qb", (scratch.path / "out").c_str());
        SetList("[]");
        Report = nullptr;
        ReportCount = -1;
    }

    static void SetList(const std::string& json) {
        const lkstr text = larkspur::Utf8ToUnicode(json.data(), static_cast<int>(json.size()));
        ReportsJson.Parse(text.c_str(), static_cast<int>(text.size()));
    }

    // Runs it and gives what it printed, with the scratch directory written as OUT.
    template <class Function>
    std::string Output(Function function) {
        testing::internal::CaptureStdout();
        function();
        return Portable(testing::internal::GetCapturedStdout());
    }

    // The calls since the last Reset, one a line.
    std::string Calls(const std::string& report = "") const {
        return Portable(Join(recording::Calls(report)));
    }

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
