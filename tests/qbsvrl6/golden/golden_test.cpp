// Documents of whole reports, compared as text: README.md describes the files.
#include <map>
#include <sstream>
#include <string_view>

#include "qbsvrl6/api/drawings.h"
#include "qbsvrl6/api/export_kinds.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/data/row_groups.h"
#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/template/template_io.h"
#include "tests/cases.h"
#include "tests/qbsvrl6/layout/recording_sink.h"
#include "tests/qbsvrl6/paint/programs.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

namespace fs = std::filesystem;
using programs::run;
using programs::TemporaryFile;

struct GoldenReport {
    std::string text, data, path;
};

// A document of the case, or what `sink` makes of it where there is one.
std::string layOutOnce(const GoldenReport& golden, const ExportOptions& options, PageSink* sink = nullptr) {
    ReportDefinition report = readTemplate(golden.text, golden.path);
    ReportData data;
    data.sets[&report] = std::make_shared<DataSet>(readData(golden.data, golden.path));
    Drawings drawings(report);
    ExportJob job{report, options, layoutOptionsFor(options), nullptr};
    job.layout.drawings = &drawings;
    job.structure = structureFor(report, options);
    job.layout.structure = job.structure.get();
    Spool bytes;
    layOut(report, data, job.layout, sink != nullptr ? *sink : *makeSink(job, bytes));
    return bytes.take();
}

// The same, if each row is read from a file and forgotten when another one is read.
std::string documentOf(const GoldenReport& golden, const ExportOptions& options = {}) {
    const std::string document = layOutOnce(golden, options);
    limitRowMemory(0);
    limitRowGroups(1, 1);
    EXPECT_TRUE(layOutOnce(golden, options) == document) << golden.path << " with its rows in a file";
    limitRowMemory(kDefaultRowMemory);
    limitRowGroups(OpenGroup::kMostRows, kLoadedRowGroups);
    return document;
}

std::string itemsOf(const GoldenReport& golden) {
    RecordingSink sink;
    layOutOnce(golden, {}, &sink);
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

std::string drawingsOf(const GoldenReport& golden) {
    RecordingSink sink;
    layOutOnce(golden, {}, &sink);
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

std::string pdfOf(const GoldenReport& golden) {
    const TemporaryFile file("a.pdf", documentOf(golden));
    EXPECT_EQ(run("qpdf --check " + file.path()).status, 0) << golden.path;

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

// Of a view named LAYOUT.FORMAT (defused: continuous, with formulas as texts): paged.csv, continuous.htm, grid.xlsx.txt ...; of workbooks what their readers see:
// paged.xls.facts.
std::string cellsOf(const GoldenReport& golden, const std::string& name) {
    static const std::map<std::string, ExportKind> kKinds = {
        {"csv", ExportKind::Csv},   {"txt", ExportKind::Txt},  {"htm", ExportKind::Htm},
        {"rtf", ExportKind::Rtf},   {"xls", ExportKind::Xls},  {"xlsx", ExportKind::Xls},
        {"docx", ExportKind::Docx}, {"ods", ExportKind::Ods},  {"json", ExportKind::Json},
        {"png", ExportKind::Image}, {"tif", ExportKind::Image}};
    const std::size_t dot = name.find('.') + 1;
    const std::string extension = name.substr(dot, name.find('.', dot) - dot);
    ExportOptions options;
    options.kind = kKinds.at(extension);
    options.xlsx = extension == "xlsx";
    options.imageKind = extension == "png" ? ImageKind::Png : ImageKind::Tiff;
    options.sameAsPrint = name.starts_with("paged.");
    options.onlyDetailGrid = name.starts_with("grid.");
    options.defuseFormulas = name.starts_with("defused.");
    const std::string document = documentOf(golden, options);
    if (name.ends_with(".facts")) {
        const TemporaryFile file("a." + extension, document);
        return run("/usr/bin/python3 " QBSVR_SOURCE_DIR "/tests/qbsvrl6/sheet/read_workbook.py " +
                   file.path())
            .output;
    }
    const bool isPlain = options.kind == ExportKind::Csv || options.kind == ExportKind::Txt ||
                         options.kind == ExportKind::Json;
    if (isPlain) return document;
    // What is special to a case is in the body.
    const char* const body = options.kind == ExportKind::Rtf ? "\n\\pard" : "<body";
    return partsOf(extension, name.ends_with(".body") ? document.substr(document.find(body)) : document);
}

std::string viewOf(const GoldenReport& golden, const std::string& name) {
    if (name == "items.txt") return itemsOf(golden);
    if (name == "drawings.svg") return drawingsOf(golden);
    if (name == "pdf.txt") return pdfOf(golden);
    if (name == "objects.txt") return partsOf("pdf", documentOf(golden));
    return cellsOf(golden, name);
}

TEST(Golden, ReportsComeOutAsBefore) {
    int compared = 0;
    for (const auto& entry : fs::recursive_directory_iterator(QBSVR_SOURCE_DIR "/tests/qbsvrl6/golden")) {
        const fs::path expected = entry.path(), folder = expected.parent_path();
        if (expected.filename() == "template.qbf" || expected.filename() == "data.json") continue;
        if (!fs::exists(folder / "template.qbf")) continue;
        const std::string actual = viewOf(
            {ReadFile(folder / "template.qbf"), ReadFile(folder / "data.json"), folder}, expected.filename());
        ++compared;
        if (updatesTests()) {
            std::ofstream(expected, std::ios::binary) << actual;
        } else if (ReadFile(expected) != actual) {
            const TemporaryFile file(expected.filename(), actual);
            ADD_FAILURE() << run("diff -u '" + expected.string() + "' '" + file.path() + "'").output;
        }
    }
    EXPECT_GT(compared, 0);
}

TEST(Golden, CasesComeOutAsBefore) {
    for (const auto& entry : fs::directory_iterator(QBSVR_SOURCE_DIR "/tests/qbsvrl6/golden/cases")) {
        expectCases(entry.path(), [](const TextCase& one, const std::string& view) {
            return viewOf({"<Report version=\"1\">" + one.input + "</Report>",
                           one.data.empty() ? "[]" : one.data, one.title},
                          view);
        });
    }
}

}  // namespace
}  // namespace qbsvrl6
