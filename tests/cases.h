// Test cases in text files, whose expected texts are compared with the actual ones:
//
//     === title
//     input
//     --- data
//     more input; optional
//     --- view
//     the expected text; there may be several views
//
// A view may also consist of lines "input => output", with comments between them: see eachLine.
//
// With QBSVR_UPDATE_TESTS=1 in the environment, tests write the actual texts instead of comparing them.
#ifndef QBSVR_TESTS_CASES_H
#define QBSVR_TESTS_CASES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace qbsvrl6 {

inline bool updatesTests() { return std::getenv("QBSVR_UPDATE_TESTS") != nullptr; }

struct TextCase {
    std::string title, input, data;
    std::vector<std::pair<std::string, std::string>> views;  // names and expected texts
};

inline std::vector<TextCase> readCases(const std::filesystem::path& file) {
    std::vector<TextCase> cases;
    std::string* part = nullptr;
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("=== ")) {
            cases.push_back({line.substr(4), {}, {}, {}});
            part = &cases.back().input;
        } else if (line == "--- data") {
            part = &cases.back().data;
        } else if (line.starts_with("--- ")) {
            part = &cases.back().views.emplace_back(line.substr(4), "").second;
        } else {
            *part += line + "\n";
        }
    }
    return cases;
}

// Compares each view of each case of the file with the text that `make` returns for it.
inline void expectCases(const std::filesystem::path& file,
                        const std::function<std::string(const TextCase&, const std::string& view)>& make) {
    const std::vector<TextCase> cases = readCases(file);
    EXPECT_FALSE(cases.empty()) << file;
    std::ostringstream updated;
    for (const TextCase& one : cases) {
        EXPECT_FALSE(one.views.empty()) << file.filename() << ": " << one.title;
        updated << "=== " << one.title << '\n' << one.input;
        if (!one.data.empty()) updated << "--- data\n" << one.data;
        for (const auto& [view, expected] : one.views) {
            std::string actual = make(one, view);
            if (!actual.empty() && actual.back() != '\n') actual += '\n';
            if (!updatesTests()) {
                EXPECT_EQ(expected, actual) << file.filename() << ": " << one.title << ": " << view;
            }
            updated << "--- " << view << '\n' << actual;
        }
    }
    if (updatesTests()) std::ofstream(file, std::ios::binary) << updated.str();
}

// The lines of the case's only view, each with the output of `make` for its input; "// ..." is a comment.
inline std::string eachLine(const TextCase& one, const std::function<std::string(const std::string&)>& make) {
    std::string lines;
    std::istringstream in(one.views.front().second);
    for (std::string line; std::getline(in, line);) {
        if (!line.starts_with("// ")) {
            line.resize(std::min(line.find(" =>"), line.size()));
            const std::string output = make(line);
            line += output.empty() ? " =>" : " => " + output;
        }
        lines += line + "\n";
    }
    return lines;
}

}  // namespace qbsvrl6

#endif
