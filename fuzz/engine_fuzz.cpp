// The whole engine: a template and data become a document of any format, within a small budget and without
// fetching. The input is a letter for the format (lower case: with further options), the template and, after
// the line "=== data", the data. It is rejected with EngineError, or the document begins as its format requires.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/whole_engine.h"
#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/template/template_io.h"

using namespace qbsvrl6;

namespace {

constexpr std::string_view kDataLine = "\n=== data\n";
constexpr std::string_view kRows =
    R"({"p": 1, "rows": [{"n": 1, "t": "a"}, {"n": 2, "t": "中文 and a longer text"}, {"n": 3, "t": ""}]})";

struct Kind {
    ExportOptions options;
    std::string_view start;  // of the document; empty: anything
};

ExportOptions cells(ExportKind kind, bool sameAsPrint, bool onlyDetailGrid, bool xlsx = false) {
    ExportOptions options;
    options.kind = kind;
    options.sameAsPrint = sameAsPrint;
    options.onlyDetailGrid = onlyDetailGrid;
    options.xlsx = xlsx;
    return options;
}

ExportOptions image(ImageKind kind) {
    ExportOptions options;
    options.kind = ExportKind::Image;
    options.imageKind = kind;
    options.imageResolution = 36;
    return options;
}

// Selected by the first byte of the input. Text formats occur twice, because they are fastest.
const std::array<Kind, 16>& kinds() {
    static const std::array<Kind, 16> kinds{{
        {cells(ExportKind::Csv, false, true), ""},
        {cells(ExportKind::Txt, true, false), ""},
        {cells(ExportKind::Htm, false, false), "<!DOCTYPE html>"},
        {cells(ExportKind::Csv, true, false), ""},
        {cells(ExportKind::Rtf, true, false), "{\\rtf1"},
        {cells(ExportKind::Xls, false, false), "\xD0\xCF\x11\xE0"},
        {cells(ExportKind::Pdf, true, false), "%PDF-"},
        {cells(ExportKind::Txt, false, true), ""},
        {cells(ExportKind::Xls, true, false, true), "PK"},
        {cells(ExportKind::Htm, true, false), "<!DOCTYPE html>"},
        {cells(ExportKind::Rtf, false, true), "{\\rtf1"},
        {image(ImageKind::Png), ""},
        {image(ImageKind::Tiff), ""},
        {cells(ExportKind::Json, false, false), "{"},
        {cells(ExportKind::Docx, true, false), "PK"},
        {cells(ExportKind::Ods, false, false), "PK"},
    }};
    return kinds;
}

// What programs set beyond the format.
void setFurther(ExportOptions& options) {
    options.pdfStandard = PdfStandard::A2a;
    options.created = u"2026-03-01";
    options.pageBreaks = false;
    options.pageHeadersAndFooters = false;
    options.allPagesInOneImage = true;
    options.defuseFormulas = true;
    options.texts.separator = ';';
    options.texts.quotes = CsvQuotes::All;
    options.texts.encoding = "gb18030";
    options.texts.widths = {10, 20, 8};
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    leaveNoLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0 || size > kMaxSize) return 0;
    const Kind& kind = kinds()[bytes[0] % kinds().size()];
    const bool hasFurther = (bytes[0] & 0x20) != 0;  // a lower-case letter
    const std::string_view input(reinterpret_cast<const char*>(bytes) + 1, size - 1);
    const std::size_t line = input.find(kDataLine);
    const std::string_view data =
        line == std::string_view::npos ? kRows : input.substr(line + kDataLine.size());
    Report report;
    Runtime& runtime = runtimeOf(report);
    runtime.budget = smallBudget();
    try {
        const Spending spending(*runtime.budget);
        report.definition = readTemplate(input.substr(0, line), "fuzz");
        runtime.loadedData = std::make_shared<DataSet>(readData(std::string(data), "data"));
    } catch (const EngineError&) {
        return 0;
    }
    ExportOptions options = kind.options;
    if (hasFurther) setFurther(options);
    std::string document;
    try {
        document = exportReport(runtime, options).take();
    } catch (const EngineError&) {
        return 0;
    }
    if (!std::string_view(document).starts_with(kind.start)) std::abort();
    return 0;
}
