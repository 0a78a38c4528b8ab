#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/template/template_io.h"
#include "tests/cases.h"
#include "tests/scratch_directory.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) result += text;
    return result;
}

std::string inReport(const std::string& content) {
    return "<Report version=\"1\">\n" + content + "</Report>";
}

// The codes, positions and causes of all errors, one per line.
std::string errorsOf(const std::string& input, const std::string& origin = "t.qbf") {
    std::string all;
    const auto add = [&](const EngineError& error) {
        all += std::to_string(static_cast<int>(error.code())) + " " + error.what() + "\n";
    };
    try {
        readTemplate(input, origin);
    } catch (const TemplateError& failure) {
        for (const EngineError& error : failure.errors()) add(error);
    } catch (const EngineError& error) {
        add(error);
    }
    return all;
}

// The lines that reading the template writes to the log, without times.
std::string logOf(const std::string& input) {
    const ScratchDirectory scratch;
    std::filesystem::create_directory(scratch.path / "log");
    setLogSetupPath(scratch.path);
    errorsOf(input);
    setLogSetupPath("");
    std::istringstream lines(ReadFile(scratch.path / "log/qbsvrl6.log"));
    std::string log;
    for (std::string line; std::getline(lines, line);) log += line.substr(line.find("t.qbf")) + '\n';
    return log;
}

TEST(TemplateFaults, NamePlaceAndFault) {
    expectCases(QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/faults.txt",
                [](const TextCase& one, const std::string& view) {
                    return view == "log" ? logOf(one.input) : errorsOf(one.input);
                });
}

TEST(TemplateFaults, NameBytesAndLimits) {
    std::string manyColumns;
    for (std::size_t i = 0; i <= limits::kGridColumns; ++i)
        manyColumns += "<Column name=\"c" + std::to_string(i) + "\" width=\"1mm\"/>\n";
    const int most = limits::kTemplateErrors;
    const struct {
        std::string input;
        ErrorCode code;
        const char* what;  // how the first message begins, after the file's name
    } cases[] = {
        {"", ErrorCode::NotXml, "1:1: not XML: no root element"},
        {" \n ", ErrorCode::NotXml, "2:2: not XML: no root element"},
        {std::string("<Report\0/>", 10), ErrorCode::NotXml, "1:8: a null character"},
        {"<?xml version=\"1.0\" encoding=\"GBK\"?>\n<Report version=\"1\" a=\"\xFF\xFF\"/>",
         ErrorCode::BadEncoding, "2:24: "},
        {"<Report version=\"1\">\n 𠮷\xC3\x28</Report>", ErrorCode::BadEncoding, "2:3: "},
        {inReport("<Grid><Columns>\n" + manyColumns + "\n</Columns></Grid>\n"), ErrorCode::LimitExceeded,
         "2003:1: more than 2000 <Column>"},
        {inReport(repeated("<a/>", 250'000)), ErrorCode::BudgetExceeded, "1:1: the budget template-elements"},
        {repeated("<a>", 250'000), ErrorCode::NotXml, "1:750000: not well-formed XML: "},
        {inReport(repeated("<a/>\n", most + 5)), ErrorCode::BadTemplate, "2:1: unknown element <a>"},
    };
    for (const auto& test : cases) {
        const std::string first = std::to_string(static_cast<int>(test.code)) + " t.qbf:" + test.what;
        const std::string errors = errorsOf(test.input);
        EXPECT_TRUE(errors.starts_with(first)) << test.input.substr(0, 300) << "\n" << errors.substr(0, 300);
        EXPECT_LE(std::count(errors.begin(), errors.end(), '\n'), most + 1);
        EXPECT_EQ(errors.ends_with("there are more errors\n"), &test == &cases[8]) << errors.substr(0, 300);
    }
}

// The template `t.qbf` in a folder with libraries, or without a folder.
TEST(TemplateFaults, OfLibrariesNameTheirFiles) {
    const ScratchDirectory scratch;
    const auto library = [&](const std::string& name, const std::string& content) {
        std::ofstream(scratch.path / name) << "<Library version=\"1\">\n" << content << "</Library>";
    };
    const auto link = [](int to) { return "<Include href=\"" + std::to_string(to) + ".qbf\"/>"; };
    for (int i = 0; i < 9; ++i) library(std::to_string(i) + ".qbf", link(i + 1));
    library("loop.qbf", "<Include href=\"loop.qbf\"/>");
    library("style.qbf", "<Styles><Style name=\"a\" parent=\"b\"/></Styles>");
    library("parts.qbf",
            "<Parts><Part name=\"p\" height=\"5mm\"><Text column=\"c\"/><Text text=\"[Sum(a, g)]\"/>"
            "<UsePart name=\"q\"/></Part>\n<Part name=\"p\" height=\"1mm\"/></Parts>");
    library("page.qbf", "<Page/>");
    for (int i = 0; i < 5; ++i)
        library("many" + std::to_string(i) + ".qbf",
                i == 0 ? "<Styles><Style name=\"a\"/></Styles>"
                       : repeated("<Include href=\"many" + std::to_string(i - 1) + ".qbf\"/>", 30));
    library("good.qbf",
            "<Parts><Part name=\"p\" height=\"5mm\">" + repeated("<Text/>", 1'000) + "</Part></Parts>");
    std::ofstream(scratch.path / "report.qbf") << "<Report version=\"1\"/>";
    std::ofstream(scratch.path / "broken.qbf") << "<Library version=\"1\">";
    const std::string folder = scratch.path.string() + "/", template_ = folder + "t.qbf";
    const struct {
        std::string href, content;
        const char* error;  // F/ is the folder
    } cases[] = {
        {"none.qbf", "",
         "F/t.qbf:2:10: the library \"none.qbf\" is not read: F/none.qbf: No such file or directory"},
        {"../x.qbf", "", "F/t.qbf:2:10: the library \"../x.qbf\" is not read: F/../x.qbf: "},
        {"/etc/passwd", "",
         "F/t.qbf:2:10: the library \"/etc/passwd\" is not read: /etc/passwd: outside the template's "
         "folder and the set-up folder; allow it with reach.folders"},
        {"https://example.com/x.qbf", "",
         "F/t.qbf:2:10: the library \"https://example.com/x.qbf\" is not read: a library is "
         "a file, not a web address"},
        {"", "", "F/t.qbf:2:1: the attribute \"href\" of <Include> is missing or empty"},
        {"0.qbf", "",
         "F/7.qbf:2:10: the library \"8.qbf\" is not read: a template includes at most 64 libraries"},
        {"loop.qbf", "", "F/loop.qbf:2:10: the library \"loop.qbf\" is not read: F/loop.qbf includes itself"},
        {"report.qbf", "",
         "F/report.qbf:1:1: the root element is <Report>, not <Library>; only libraries are included"},
        {"broken.qbf", "",
         "F/t.qbf:2:10: the library \"broken.qbf\" is not read: F/broken.qbf:1:21: not well-formed XML"},
        {"style.qbf", "", "F/style.qbf:2:25: no style is named \"b\""},
        {"page.qbf", "", "F/page.qbf:2:1: unknown element <Page> in <Library>"},
        {"parts.qbf", "",
         "F/parts.qbf:2:42: no column is named \"c\"\n"
         "F/parts.qbf:2:60: text=\"[Sum(a, g)]\": "},
        {"many4.qbf", "",
         "F/many4.qbf:2:91: the library \"many3.qbf\" is not read: the budget template-elements"},
        {"good.qbf", "<UsePart name=\"q\"/>", "F/t.qbf:3:22: no part of an included library is named \"q\""},
        {"good.qbf", repeated("<UsePart name=\"p\"/>", 300), "F/t.qbf:3:"},
    };
    for (const auto& test : cases) {
        std::string errors = errorsOf(
            inReport("<Include href=\"" + test.href + "\"/>\n<PageHeader>" + test.content + "</PageHeader>"),
            template_);
        for (std::size_t at = 0; (at = errors.find(folder, at)) != std::string::npos;)
            errors.replace(at, folder.size(), "F/");
        std::string first;
        std::istringstream lines(errors);
        for (std::string line; std::getline(lines, line);) first += line.substr(line.find(' ') + 1) + '\n';
        EXPECT_TRUE(first.starts_with(test.error)) << test.href << '\n' << errors;
    }
    EXPECT_NE(errorsOf(inReport("<Include href=\"good.qbf\"/>"), "").find("the template is from no file"),
              std::string::npos);
    EXPECT_NE(errorsOf("<Library version=\"1\"/>").find("templates include a library"), std::string::npos);
}

TEST(TemplateFaults, EveryTruncationIsRefused) {
    const std::string text = ReadFile(QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/everything.qbf");
    const std::size_t end = text.rfind("</Report>") + 9;
    for (std::size_t length = 0; length < end; ++length) {
        EXPECT_THROW(readTemplate(std::string_view(text).substr(0, length), "cut"), EngineError) << length;
    }
}

// A template with changed bytes either loads and can be saved again, or is rejected.
TEST(TemplateFaults, ChangedBytesNeverDoHarm) {
    const std::string text = ReadFile(QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/everything.qbf");
    int loaded = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        constexpr std::array kChanges = {'\0', '<', '"', '9', '\xFF', ' ', '&'};
        std::string changed = text;
        changed[i] = kChanges[i % kChanges.size()];
        try {
            const std::string saved = writeTemplate(readTemplate(changed, "changed"));
            ASSERT_EQ(writeTemplate(readTemplate(saved, "saved")), saved) << i;
            ++loaded;
        } catch (const EngineError&) {
        }
    }
    EXPECT_GT(loaded, 100);
}

}  // namespace
}  // namespace qbsvrl6
