#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
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
std::string errorsOf(const std::string& input) {
    std::string all;
    const auto add = [&](const EngineError& error) {
        all += std::to_string(static_cast<int>(error.code())) + " " + error.what() + "\n";
    };
    try {
        readTemplate(input, "t.qbf");
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
