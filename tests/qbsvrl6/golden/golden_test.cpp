// Cases of whole reports, one folder per case: README.md describes their files. With --update the expected files
// are written instead of compared.
#include <map>
#include <sstream>
#include <string_view>

#include "qbsvrl6/api/drawings.h"
#include "qbsvrl6/api/export_kinds.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/drawing/svg.h"
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

// A document of the case, or what `sink` makes of it where there is one.
std::string documentOf(const fs::path& folder, const ExportOptions& options = {}, PageSink* sink = nullptr) {
    ReportDefinition report = readTemplate(programs::readFile(folder / "template.qbf"), folder);
    ReportData data;
    data.sets[&report] =
        std::make_shared<DataSet>(readData(programs::readFile(folder / "data.json"), folder));
    Drawings drawings(report);
    ExportJob job{report, options, layoutOptionsFor(options), nullptr};
    job.layout.drawings = &drawings;
    std::string bytes;
    layOut(report, data, job.layout, sink != nullptr ? *sink : *makeSink(job, bytes));
    return bytes;
}

std::string itemsOf(const fs::path& folder) {
    RecordingSink sink;
    documentOf(folder, {}, &sink);
    return sink.everything();
}

// A document as lines that can be compared.
std::string partsOf(const std::string& extension, const std::string& bytes) {
    const TemporaryFile file("a." + extension, bytes);
    const programs::Outcome dump =
        run("/usr/bin/python3 " QBSVR_SOURCE_DIR "/tests/qbsvrl6/golden/dump.py " + file.path());
    EXPECT_EQ(dump.status, 0) << dump.output;
    return dump.output;
}

std::string drawingsOf(const fs::path& folder) {
    RecordingSink sink;
    documentOf(folder, {}, &sink);
    std::string all;
    for (const auto& page : sink.pages) {
        for (const auto& recorded : page) {
            for (const Item& item : recorded.band.items) {
                const auto* const drawing = std::get_if<DrawingItem>(&item.content);
                if (drawing == nullptr || drawing->drawing == nullptr) continue;
                all += toSvg(*drawing->drawing, {item.box.width, item.box.height}, drawing->alternateText);
            }
        }
    }
    return partsOf("svg", all);
}

// The words of a line with one blank between them.
std::string tidy(const std::string& line) {
    std::istringstream words(line);
    std::string result;
    for (std::string word; words >> word;) result += (result.empty() ? "" : " ") + word;
    return result;
}

std::string pdfOf(const fs::path& folder) {
    const TemporaryFile file("a.pdf", documentOf(folder));
    EXPECT_EQ(run("qpdf --check " + file.path()).status, 0) << folder;

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

// Of a file named LAYOUT.FORMAT: paged.csv, continuous.htm, grid.xlsx.txt ...
std::string cellsOf(const fs::path& folder, const std::string& name) {
    static const std::map<std::string, ExportKind> kKinds = {
        {"csv", ExportKind::Csv}, {"txt", ExportKind::Txt}, {"htm", ExportKind::Htm},
        {"rtf", ExportKind::Rtf}, {"xls", ExportKind::Xls}, {"xlsx", ExportKind::Xls}};
    const std::size_t dot = name.find('.') + 1;
    const std::string extension = name.substr(dot, name.find('.', dot) - dot);
    ExportOptions options;
    options.kind = kKinds.at(extension);
    options.xlsx = extension == "xlsx";
    options.sameAsPrint = name.starts_with("paged.");
    options.onlyDetailGrid = name.starts_with("grid.");
    const std::string document = documentOf(folder, options);
    const bool isText =
        options.kind == ExportKind::Csv || options.kind == ExportKind::Txt || options.kind == ExportKind::Rtf;
    return isText ? document : partsOf(extension, document);
}

void expectAsWritten(const fs::path& expected) {
    const fs::path folder = expected.parent_path();
    const std::string name = expected.filename();
    const std::string actual = name == "items.txt"      ? itemsOf(folder)
                               : name == "drawings.svg" ? drawingsOf(folder)
                               : name == "pdf.txt"      ? pdfOf(folder)
                               : name == "objects.txt"  ? partsOf("pdf", documentOf(folder))
                                                        : cellsOf(folder, name);
    if (updating) {
        std::ofstream(expected, std::ios::binary) << actual;
    } else if (programs::readFile(expected) != actual) {
        const TemporaryFile file(name, actual);
        ADD_FAILURE() << run("diff -u '" + expected.string() + "' '" + file.path() + "'").output;
    }
}

TEST(Golden, ReportsComeOutAsBefore) {
    int compared = 0;
    for (const auto& entry : fs::recursive_directory_iterator(QBSVR_SOURCE_DIR "/tests/qbsvrl6/golden")) {
        const fs::path file = entry.path();
        if (!fs::exists(file.parent_path() / "template.qbf")) continue;
        if (file.filename() == "template.qbf" || file.filename() == "data.json") continue;
        expectAsWritten(file);
        ++compared;
    }
    EXPECT_GT(compared, 0);
}

}  // namespace
}  // namespace qbsvrl6

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    qbsvrl6::updating = count == 2 && std::string_view(words[1]) == "--update";
    return RUN_ALL_TESTS();
}
