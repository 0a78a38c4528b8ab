// The cases of cases/*.txt: elements of a template, data, and the pages that they become, after the column edges
// of cell documents. With --update the expected pages are written instead of compared.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "tests/qbsvrl6/layout/recording_sink.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

namespace fs = std::filesystem;

bool updating = false;

// "=== name  [options]", the elements, "--- data" with the rows unless there are none, and "--- pages".
struct Case {
    std::string title, elements, data, pages;
};

std::vector<Case> readCases(const fs::path& file) {
    std::vector<Case> cases;
    std::string* part = nullptr;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("=== ")) {
            cases.push_back({line, {}, {}, {}});
            part = &cases.back().elements;
        } else if (line == "--- data") {
            part = &cases.back().data;
        } else if (line == "--- pages") {
            part = &cases.back().pages;
        } else {
            *part += line + "\n";
        }
    }
    return cases;
}

std::string pagesOf(const Case& one) {
    const auto has = [&](std::string_view option) { return one.title.find(option) != std::string::npos; };
    LayoutOptions options;
    options.paged = !has("[continuous");
    options.pageHeadersAndFooters = !has("without page parts");
    options.onlyDetailGrid = has("only the grid");
    return columnsOf(one.elements, options) +
           layOutText(one.elements, one.data.empty() ? "[]" : one.data, options).everything();
}

TEST(Layout, CasesComeOutAsBefore) {
    for (const auto& entry : fs::directory_iterator(QBSVR_SOURCE_DIR "/tests/qbsvrl6/layout/cases")) {
        std::vector<Case> cases = readCases(entry.path());
        EXPECT_FALSE(cases.empty()) << entry.path();
        std::ostringstream updated;
        for (const Case& one : cases) {
            const std::string pages = pagesOf(one);
            EXPECT_TRUE(updating || pages == one.pages) << entry.path().filename() << " " << one.title << "\n"
                                                        << pages;
            updated << one.title << '\n' << one.elements;
            if (!one.data.empty()) updated << "--- data\n" << one.data;
            updated << "--- pages\n" << pages;
        }
        if (updating) std::ofstream(entry.path()) << updated.str();
    }
}

}  // namespace
}  // namespace qbsvrl6

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    qbsvrl6::updating = count == 2 && std::string_view(words[1]) == "--update";
    return RUN_ALL_TESTS();
}
