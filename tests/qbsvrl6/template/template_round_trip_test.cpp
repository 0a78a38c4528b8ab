#include <gtest/gtest.h>
#include <iconv.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/model/named_styles.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/messages.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/template_io.h"
#include "tests/scratch_directory.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

namespace fs = std::filesystem;

const std::string kEverything = QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/everything.qbf";
const std::string kLetter = QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/letter.qbf";

std::string encoded(const std::string& utf8, const char* encoding) {
    iconv_t converter = iconv_open(encoding, "UTF-8");
    std::string out(4 * utf8.size() + 16, '\0');
    char* from = const_cast<char*>(utf8.data());
    char* to = out.data();
    std::size_t fromLeft = utf8.size();
    std::size_t toLeft = out.size();
    EXPECT_EQ(iconv(converter, &from, &fromLeft, &to, &toLeft), 0u);
    iconv_close(converter);
    out.resize(out.size() - toLeft);
    return out;
}

// The file sets every attribute and child of the format to a value that isn't the default, in the form in
// which the engine saves it, so that anything lost in a round trip is detected.
TEST(TemplateRoundTrip, KeepsEverything) {
    for (const std::string& path : {kEverything, kLetter}) {
        const std::string file = ReadFile(path);
        ASSERT_FALSE(file.empty());
        EXPECT_EQ(writeTemplate(readTemplate(file, path), fs::path(path).parent_path().string() + "/"), file);
    }
}

// What a template sets itself wins over its libraries, of which the later one wins, and parts are where they
// are used.
TEST(TemplateRoundTrip, IncludesLibraries) {
    ReportDefinition report = loadTemplate(kLetter);
    NamedStyles styles(report);
    const ResolvedStyle title = styles.resolve(u"title", {});
    EXPECT_EQ(title.fontFamily, u"Arial");
    EXPECT_EQ(title.fontSize, 14);
    EXPECT_TRUE(title.italic && title.bold);                     // the template's own "house", and its font
    EXPECT_EQ(title.color, (Color{0x20, 0x20, 0x20}));           // of the inner library's default style
    EXPECT_EQ(styles.resolve(u"small", {}).color, title.color);  // the outer library has another one
    EXPECT_EQ(styles.resolve(u"", {}).fontSize, 9);
    ASSERT_EQ(report.pageHeader->controls.items.size(), 4u);
    EXPECT_EQ(report.pageHeader->controls.items[1]->box, (Rect{5'000, 20'000, 180'000, 0}));
    EXPECT_EQ(report.pageHeader->controls.items[1]->position.line, 9);
    EXPECT_EQ(report.pageFooter->height, 8'000);
}

TEST(TemplateRoundTrip, CopiesKeepEverything) {
    const std::string file = ReadFile(kEverything);
    const auto original = std::make_unique<ReportDefinition>(readTemplate(file, "everything"));
    ReportDefinition copy = *original;
    // The copy shares nothing that can change.
    for (Control* control : allControls(*original)) *control = {};
    EXPECT_EQ(writeTemplate(copy), file);
}

// A template that is read once more is as it was: no change of an earlier reader is in it, its warnings and
// libraries are read again, and a smaller budget refuses it.
TEST(TemplateRoundTrip, ReadsTheSameAgain) {
    const std::string file = ReadFile(kEverything);
    for (int time = 0; time < 4; ++time) {
        ReportDefinition report = readTemplate(file, "again");
        EXPECT_EQ(writeTemplate(report), file);
        for (Control* control : allControls(report)) *control = {};
        report.styles.clear();
    }
    const std::string hidden =
        R"(<Report version="1"><ReportHeader height="5mm"><Text x="900mm" width="9mm" height="5mm"/>
           </ReportHeader></Report>)";
    for (int time = 0; time < 3; ++time) {
        Messages messages;
        const MessagesScope scope(messages);
        readTemplate(hidden, "hidden");
        EXPECT_EQ(messages.all().size(), 1u);
    }
    const ScratchDirectory scratch;
    const std::string letter = (scratch.path / "letter.qbf").string();
    std::ofstream(letter) << R"(<Report version="1"><Include href="house.qbf"/></Report>)";
    for (double size : {8.0, 9.0, 10.0}) {
        std::ofstream(scratch.path / "house.qbf")
            << R"(<Library version="1"><DefaultStyle fontSize=")" << size << R"(pt"/></Library>)";
        EXPECT_EQ(NamedStyles(loadTemplate(letter)).resolve(u"", {}).fontSize, size);
    }
    Budget small;
    small.templateElements = 2;
    const std::string three =
        R"(<Report version="1"><ReportHeader height="5mm"><Text/></ReportHeader></Report>)";
    for (int time = 0; time < 3; ++time) EXPECT_NO_THROW(readTemplate(three, "three"));
    const Spending spending(small);
    EXPECT_THROW(readTemplate(three, "three"), EngineError);
}

std::vector<std::string> samples() {
    std::vector<std::string> paths;
    for (const char* folder : {QBSVR_SOURCE_DIR "/samples", QBSVR_SOURCE_DIR "/docs/gallery"}) {
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.path().extension() == ".qbf") paths.push_back(entry.path().string());
        }
    }
    return paths;
}

TEST(TemplateRoundTrip, SavesTheSamplesOnceForAll) {
    const auto templates = samples();
    EXPECT_GE(templates.size(), 20u);
    for (const std::string& path : templates) {
        const std::string saved = writeTemplate(loadTemplate(path));
        EXPECT_EQ(writeTemplate(readTemplate(saved, "saved")), saved) << path;
    }
}

TEST(TemplateRoundTrip, ReadsValuesInTheirManyForms) {
    const ReportDefinition report = readTemplate(
        R"(<Report version="1"><!-- a remark --><Styles>
             <Style name="a" fontSize="10mm" padding="1cm 2mm 1in 72pt" border="1mm #ABCDEF" borderTop="none"/>
           </Styles><Page name="turned" orientation="landscape"/><Page name="own" size="A4"/>
           <Page width="21.59cm" height="11in" margins="0mm"/></Report>)",
        "forms");
    const Style& style = report.styles.at(0).style;
    EXPECT_DOUBLE_EQ(style.fontSize.value(), 10'000 / kMicrometresPerPoint);
    EXPECT_EQ(style.padding, (Edges{10'000, 2'000, 25'400, 25'400}));
    EXPECT_EQ(style.borderLeft, (BorderLine{1000, {0xAB, 0xCD, 0xEF}}));
    EXPECT_EQ(style.borderTop, BorderLine{});
    EXPECT_EQ(report.page.paper, (Size{215'900, 279'400}));
    EXPECT_EQ(report.namedPages.at(0).setup.paper, (Size{279'400, 215'900}));  // that of the report
    EXPECT_EQ(report.namedPages.at(1).setup.paper, (Size{210'000, 297'000}));
}

TEST(TemplateRoundTrip, SavesTheNumbersThatReplaceRows) {
    ReportDefinition report = readTemplate(
        R"(<Report version="1"><ReportHeader><Chart category="[a]" filter="b"><Series value="c"/></Chart>
           </ReportHeader></Report>)",
        "rows");
    std::get<ChartContent>(allControls(report).at(0)->content).data.categories = {u"x"};
    ReportDefinition saved = readTemplate(writeTemplate(report), "saved");
    const auto& chart = std::get<ChartContent>(allControls(saved).at(0)->content);
    EXPECT_EQ(chart.data.categories.size(), 1u);
    EXPECT_TRUE(chart.rows.series.empty());
}

TEST(TemplateRoundTrip, ReadsOtherEncodings) {
    const std::string expected = ReadFile(kEverything);
    const auto replaced = [](std::string text, const std::string& from, const std::string& to) {
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
            text.replace(at, from.size(), to);
        }
        return text;
    };
    const std::string inputs[] = {
        "\xEF\xBB\xBF" + expected,
        "\xFF\xFE" + encoded(expected, "UTF-16LE"),
        "\xFE\xFF" + encoded(expected, "UTF-16BE"),
        encoded(replaced(expected, "UTF-8", "GB18030"), "GB18030"),
        replaced(expected, "\n", "\r\n"),
    };
    for (const std::string& input : inputs) {
        EXPECT_EQ(writeTemplate(readTemplate(input, "encoded")), expected) << input.substr(0, 60);
    }
    const std::string gbk =
        R"(<?xml version="1.0" encoding="gbk"?><Report version="1"><Info title="报表"/></Report>)";
    EXPECT_EQ(readTemplate(encoded(gbk, "GBK"), "gbk").info.title, u"报表");
}

TEST(TemplateRoundTrip, WritesCharactersThatXmlCantHoldAsReplacements) {
    ReportDefinition report;
    report.info.title = u"a\x01\xFFFE\xFFFF\xD800\x7F<>&\"'\t\r\n b ";
    const std::string text = writeTemplate(report);
    EXPECT_EQ(readTemplate(text, "saved").info.title, u"a\xFFFD\xFFFD\xFFFD\xFFFD\x7F<>&\"'\t\r\n b ");
}

TEST(TemplateRoundTrip, RefusesToSaveWhatCouldNotBeLoaded) {
    ReportDefinition report;
    ReportDefinition* innermost = &report;
    for (int depth = 0; depth <= limits::kSubReportDepth; ++depth) {
        innermost->reportHeaders.push_back(std::make_unique<Section>());
        auto control = std::make_unique<Control>();
        SubReportContent content;
        content.report = std::make_unique<Report>();
        ReportDefinition* next = &content.report->definition;
        control->content = std::move(content);
        innermost->reportHeaders[0]->controls.items.push_back(std::move(control));
        if (depth < limits::kSubReportDepth) {
            EXPECT_NO_THROW(readTemplate(writeTemplate(report), "saved"));
        }
        innermost = next;
    }
    innermost->info.title = u"too deep";
    EXPECT_THROW(writeTemplate(report), EngineError);
}

// The files and folders of the queries, the background and the pictures.
std::vector<std::string> namedFiles(const ReportDefinition& report) {
    std::vector<std::string> files;
    const auto add = [&](const std::string& path) {
        files.push_back(fs::weakly_canonical(fs::absolute(path)));
    };
    const auto addNamed = [&](const Address& address) {
        if (!address.empty()) add(localPath(address));
    };
    const auto addSource = [&](const DataSource& source) {
        const auto parts = connectionParts(source.connection.name);
        Address file = parts && parts->readsSql() ? source.connection : source.query;
        if (parts && parts->readsSql()) file.name = parts->rest;
        addNamed(file);
    };
    addSource(report.data);
    addNamed(report.backgroundPicture);
    if (report.grid) addSource(report.grid->recordset);
    for (const Control* control : allControls(const_cast<ReportDefinition&>(report))) {
        if (const auto* inner = std::get_if<SubReportContent>(&control->content)) {
            for (const std::string& file : namedFiles(inner->report->definition)) files.push_back(file);
        } else if (const auto* picture = std::get_if<PictureContent>(&control->content)) {
            if (!picture->source.empty()) add(folderAt(picture->folder) + "photo");
        }
    }
    return files;
}

TEST(TemplateFiles, SavedElsewhereNameTheSameFiles) {
    const ScratchDirectory scratch;
    const std::string directory = scratch.path.string() + "/";
    ReportDefinition report = loadTemplate(kEverything);
    const Address background = report.backgroundPicture;
    report.backgroundPicture = {u"back.png", ""};
    saveTemplate(report, directory + "新/dir/a.qbf");
    const ReportDefinition saved = loadTemplate(directory + "新/dir/a.qbf");
    EXPECT_EQ(namedFiles(saved), namedFiles(report));
    EXPECT_EQ(namedFiles(saved).size(), 6u);
    // Back in its folder, it is unchanged.
    report.backgroundPicture = background;
    saveTemplate(report, directory + "a.qbf");
    EXPECT_EQ(
        writeTemplate(loadTemplate(directory + "a.qbf"), fs::path(kEverything).parent_path().string() + "/"),
        ReadFile(kEverything));
}

// The schema in docs/ accepts the templates that the engine writes.
TEST(TemplateSchema, AcceptsSavedTemplatesAndSamples) {
    if (std::system("command -v xmllint >/dev/null") != 0) GTEST_SKIP() << "xmllint is not installed";
    std::string files;
    for (const char* name : {"everything", "letter", "house-style", "colours"})
        files += " '" QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/" + std::string(name) + ".qbf'";
    for (const std::string& path : samples()) files += " '" + path + "'";
    const std::string schema = QBSVR_SOURCE_DIR "/docs/template-format.xsd";
    EXPECT_EQ(std::system(("xmllint --noout --schema '" + schema + "'" + files + " 2>&1").c_str()), 0);
}

}  // namespace
}  // namespace qbsvrl6
