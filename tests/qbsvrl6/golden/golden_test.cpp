// Cases of whole reports, a folder each: README.md tells what they hold. With --update the expected files are
// written instead of compared.
#include <algorithm>
#include <sstream>
#include <string_view>

#include "qbsvrl6/api/drawings.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/template/template_io.h"
#include "tests/qbsvrl6/layout/recording_sink.h"
#include "tests/qbsvrl6/paint/programs.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

namespace fs = std::filesystem;
using programs::run;
using programs::TemporaryFile;

bool updating = false;

void layOutCase(const fs::path& folder, PageSink& sink) {
    ReportDefinition report = readTemplate(programs::readFile(folder / "template.qbf"), folder);
    ReportData data;
    data.sets[&report] =
        std::make_shared<DataSet>(readData(programs::readFile(folder / "data.json"), folder));
    Drawings drawings(report);
    LayoutOptions options;
    options.drawings = &drawings;
    layOut(report, data, options, sink);
}

std::string itemsOf(const fs::path& folder) {
    RecordingSink sink;
    layOutCase(folder, sink);
    return sink.everything();
}

// The words of a line with one blank between them.
std::string tidy(const std::string& line) {
    std::istringstream words(line);
    std::string result;
    for (std::string word; words >> word;) result += (result.empty() ? "" : " ") + word;
    return result;
}

std::string pdfOf(const fs::path& folder) {
    std::string bytes;
    const auto sink = makePdfWriter({}, bytes);
    layOutCase(folder, *sink);
    const TemporaryFile file("a.pdf", bytes);
    EXPECT_EQ(run("qpdf --check " + file.path()).status, 0);

    std::string result;
    std::istringstream text(run("pdftotext -layout " + file.path() + " -").output);
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with('\f')) result += "-- page --\n";
        if (!tidy(line).empty()) result += tidy(line) + "\n";
    }
    result += "-- fonts --\n";
    std::istringstream fonts(run("pdffonts " + file.path()).output);
    for (std::string line; std::getline(fonts, line);) {
        const std::size_t tag = line.find('+');
        if (tag == std::string::npos) continue;  // the head of the table
        line = tidy(line.substr(tag + 1));
        result += line.substr(0, line.rfind(" yes") + 4) + "\n";  // without the object's number
    }
    return result;
}

void expectAsWritten(const fs::path& expected, const std::string& actual) {
    if (updating) {
        std::ofstream(expected, std::ios::binary) << actual;
    } else if (programs::readFile(expected) != actual) {
        const TemporaryFile file(expected.filename(), actual);
        ADD_FAILURE() << run("diff -u '" + expected.string() + "' '" + file.path() + "'").output;
    }
}

TEST(Golden, ReportsComeOutAsBefore) {
    std::vector<fs::path> folders;
    for (const auto& entry : fs::directory_iterator(QBSVR_SOURCE_DIR "/tests/qbsvrl6/golden")) {
        if (entry.is_directory()) folders.push_back(entry.path());
    }
    std::sort(folders.begin(), folders.end());
    EXPECT_FALSE(folders.empty());
    for (const fs::path& folder : folders) {
        expectAsWritten(folder / "items.txt", itemsOf(folder));
        expectAsWritten(folder / "pdf.txt", pdfOf(folder));
    }
}

}  // namespace
}  // namespace qbsvrl6

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    qbsvrl6::updating = count == 2 && std::string_view(words[1]) == "--update";
    return RUN_ALL_TESTS();
}
