// The pages of the cases of cases/*.txt, after the column edges of cell documents.
#include "tests/cases.h"
#include "tests/qbsvrl6/layout/recording_sink.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

TEST(Layout, CasesComeOutAsBefore) {
    for (const auto& entry :
         std::filesystem::directory_iterator(QBSVR_SOURCE_DIR "/tests/qbsvrl6/layout/cases")) {
        expectCases(entry.path(), [](const TextCase& one, const std::string&) {
            const auto has = [&](const char* option) { return one.title.find(option) != std::string::npos; };
            LayoutOptions options;
            options.paged = !has("[continuous");
            options.pageHeadersAndFooters = !has("without page parts");
            options.onlyDetailGrid = has("only the grid");
            return columnsOf(one.input, options) +
                   layOutText(one.input, one.data.empty() ? "[]" : one.data, options).everything();
        });
    }
}

}  // namespace
}  // namespace qbsvrl6
