#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/template/template_io.h"
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

std::string inHeader(const std::string& content) {
    return inReport("<ReportHeader>\n" + content + "\n</ReportHeader>\n");
}

std::string inColumns(const std::string& content) {
    return inReport("<Grid><Columns>\n" + content + "\n</Columns></Grid>\n");
}

TEST(TemplateFaults, NamePlaceAndFault) {
    struct Case {
        std::string input;
        ErrorCode code;
        const char* what;  // the message begins so, behind the file's name
    };
    const std::string deep = repeated("<ReportHeader><SubReport><Report>", limits::kSubReportDepth + 1) +
                             repeated("</Report></SubReport></ReportHeader>", limits::kSubReportDepth + 1);
    std::string manyColumns;
    for (std::size_t i = 0; i <= limits::kGridColumns; ++i) {
        manyColumns += "<Column name=\"c" + std::to_string(i) + "\" width=\"1mm\"/>\n";
    }
    const Case cases[] = {
        {"<Report version=\"1\"><Grid\nfilter=\"n = PageCount\"/></Report>", ErrorCode::BadTemplate,
         "2:1: filter=\"n = PageCount\": rows are chosen before there are pages"},
        // not XML
        {"", ErrorCode::NotXml, "1:1: not XML: no root element"},
        {" \n ", ErrorCode::NotXml, "2:2: not XML: no root element"},
        {"{\"a\":1}", ErrorCode::NotXml, "1:1: more than one root element, or text outside of it"},
        {"<Report version=\"1\">\n<Page></Report>", ErrorCode::NotXml, "2:9: not well-formed XML: "},
        {"<Report version=\"1\">\n<Page size=A4/></Report>", ErrorCode::NotXml,
         "2:12: not well-formed XML: "},
        {"<Report version=\"1\"/>\n<Report/>", ErrorCode::NotXml, "2:1: more than one root element"},
        {"<Report version=\"1\"/>\n中 garbage", ErrorCode::NotXml, "2:1: more than one root element"},
        {"<Report version=\"1\"\nversion=\"1\"/>", ErrorCode::NotXml,
         "2:1: the attribute \"version\" stands twice"},
        {std::string("<Report\0/>", 10), ErrorCode::NotXml, "1:8: a null character"},
        {"<!DOCTYPE r [<!ENTITY a \"&b;&b;\"><!ENTITY b \"x\">]>\n<Report version=\"1\"/>",
         ErrorCode::BadTemplate, "1:1: document type declarations are not allowed"},
        {"<?xml version=\"1.0\" encoding=\"GBK\"?>\n<Report version=\"1\" a=\"\xFF\xFF\"/>",
         ErrorCode::BadEncoding, "2:24: "},
        {"<Report version=\"1\">\n \xC3\x28</Report>", ErrorCode::BadEncoding, "2:2: "},
        {"<?xml version=\"1.0\" encoding=\"KLINGON\"?><Report/>", ErrorCode::NotSupported, "1:1: "},
        // the root
        {"\n <Bericht version=\"1\"/>", ErrorCode::BadTemplate,
         "2:2: the root element is <Bericht>, not <Report>"},
        {"<Report/>", ErrorCode::BadTemplate, "1:1: the attribute \"version\" of <Report> is missing"},
        {"<Report version=\"2\"/>", ErrorCode::UnknownVersion, "1:9: unknown version 2"},
        {"<Report version=\"one\"/>", ErrorCode::BadTemplate,
         "1:9: version=\"one\": expected a whole number"},
        {"<Report version=\"99999999999\"/>", ErrorCode::BadTemplate,
         "1:9: version=\"99999999999\": out of range"},
        // what the format doesn't know
        {inReport("  <Pages/>"), ErrorCode::BadTemplate, "2:3: unknown element <Pages> in <Report>"},
        {inReport("  <Page sizes='A4'/>"), ErrorCode::BadTemplate,
         "2:9: unknown attribute \"sizes\" of <Page>"},
        {inReport("<Page size='A4' a='>' margins = '1mm'\n  b='2'/>"), ErrorCode::BadTemplate,
         "2:17: unknown attribute \"a\" of <Page>"},
        {inReport("<Page/>\n<Page/>"), ErrorCode::BadTemplate, "3:1: a second <Page> in <Report>"},
        {inReport("<Info>\n中文</Info>"), ErrorCode::BadTemplate, "3:1: unexpected text in <Info>"},
        {inHeader("<Text text='No. [Id:0] [1 +]'/>"), ErrorCode::BadTemplate,
         "3:7: text=\"No. [Id:0] [1 +]\": column 16: a value is expected"},
        {inHeader("<Text\nvisibleWhen='Nope(1)'/>"), ErrorCode::BadTemplate,
         "4:1: visibleWhen=\"Nope(1)\": column 1: there is no function of this name"},
        {inHeader("<Text text='[Sum(n, Nowhere)]'/>"), ErrorCode::BadTemplate,
         "3:7: text=\"[Sum(n, Nowhere)]\": column 8: there is no group named \"Nowhere\""},
        {inReport("<Fields><Field name='a' expression='b + 1'/>\n<Field name='b' expression='a'/></Fields>"),
         ErrorCode::BadTemplate, "2:25: expression=\"b + 1\": the calculated field \"b\" needs itself"},
        {inHeader("<Text>Hello</Text>"), ErrorCode::BadTemplate, "3:7: unexpected text in <Text>"},
        {inHeader("<Button/>"), ErrorCode::BadTemplate, "3:1: unknown element <Button> in <ReportHeader>"},
        {inHeader("<SubReport><Report version=\"1\"/></SubReport>"), ErrorCode::BadTemplate,
         "3:20: unknown attribute \"version\""},
        {inHeader("<SubReport><Report>\n<PageHeader/></Report></SubReport>"), ErrorCode::BadTemplate,
         "4:1: <PageHeader> has no place in a sub-report: pages are those of the outermost report"},
        // values
        {inReport("<Page margins=\"12\"/>"), ErrorCode::BadTemplate,
         "2:7: margins=\"12\": expected a length with its unit"},
        {inReport("<Page margins=\"1mm 2mm\"/>"), ErrorCode::BadTemplate,
         "2:7: margins=\"1mm 2mm\": expected one"},
        {inReport("<Page size=\"A44\"/>"), ErrorCode::BadTemplate,
         "2:7: size=\"A44\": expected \"A3\", \"A4\""},
        {inReport("<Page width=\"50mm\"/>"), ErrorCode::BadTemplate, "2:1: width and height"},
        {inReport("<Page width=\"50mm\" height=\"50mm\" size=\"A4\"/>"), ErrorCode::BadTemplate,
         "2:1: a paper with"},
        {inReport("<Page width=\"50mm\" height=\"6000mm\"/>"), ErrorCode::BadTemplate,
         "2:20: height=\"6000mm\": out of range: expected 10mm to 5000mm"},
        {inReport("<Page width=\"50mm\" height=\"50mm\" margins=\"25mm\"/>"), ErrorCode::BadTemplate,
         "2:1: the margins leave no room"},
        {inReport("<Page columns=\"0\"/>"), ErrorCode::BadTemplate, "2:7: columns=\"0\": out of range"},
        {inReport("<DefaultStyle fontSize=\"nanpt\"/>"), ErrorCode::BadTemplate, "2:15: fontSize="},
        {inReport("<DefaultStyle fontSize=\"1e999pt\"/>"), ErrorCode::BadTemplate, "2:15: fontSize="},
        {inReport("<DefaultStyle fontSize=\"0pt\"/>"), ErrorCode::BadTemplate,
         "2:15: fontSize=\"0pt\": out of range"},
        {inReport("<DefaultStyle rotation=\"45\"/>"), ErrorCode::BadTemplate,
         "2:15: rotation=\"45\": expected"},
        {inReport("<DefaultStyle bold=\"yes\"/>"), ErrorCode::BadTemplate,
         "2:15: bold=\"yes\": expected \"true\" or \"false\""},
        {inReport("<DefaultStyle color=\"#12345g\"/>"), ErrorCode::BadTemplate,
         "2:15: color=\"#12345g\": expected a"},
        {inReport("<DefaultStyle color=\"red\"/>"), ErrorCode::BadTemplate,
         "2:15: color=\"red\": expected a colour"},
        {inReport("<DefaultStyle border=\"1mm red\"/>"), ErrorCode::BadTemplate, "2:15: border="},
        {inHeader("<Text width=\"-1mm\"/>"), ErrorCode::BadTemplate, "3:7: width=\"-1mm\": out of range"},
        {inHeader("<Text x=\"99999999999999999999mm\"/>"), ErrorCode::BadTemplate, "3:7: x="},
        {inHeader("<Chart><Series values=\"1 2,5\"/></Chart>"), ErrorCode::BadTemplate,
         "3:16: values=\"1 2,5\""},
        // charts of rows
        {inHeader("<Chart category='[Day'/>"), ErrorCode::BadTemplate,
         "3:8: category=\"[Day\": column 1: the placeholder has no"},
        {inHeader("<Chart category='[Day]'/>"), ErrorCode::BadTemplate,
         "3:1: a chart of rows has a <Series>"},
        {inHeader("<Chart><Series value='a +'/></Chart>"), ErrorCode::BadTemplate,
         "3:16: value=\"a +\": column 4"},
        {inHeader("<Chart><Series value='a' aggregate='median'/></Chart>"), ErrorCode::BadTemplate,
         "3:26: aggregate=\"median\": expected \"sum\""},
        {inHeader("<Chart><Series aggregate='sum'/></Chart>"), ErrorCode::BadTemplate,
         "3:8: the attribute \"value\" of <Series> is missing"},
        {inHeader("<Chart kind='bubble'><Series value='a'/></Chart>"), ErrorCode::BadTemplate,
         "3:22: the attribute \"x\" of <Series> is missing"},
        {inHeader("<Chart kind='bubble'><Series x='a' y='b'/></Chart>"), ErrorCode::BadTemplate,
         "3:22: the attribute \"size\" of <Series> is missing"},
        {inHeader("<Chart kind='bubble' category='a'><Series x='a' y='b' size='c'/></Chart>"),
         ErrorCode::BadTemplate, "3:1: scatter lines and bubbles have no categories"},
        {inHeader("<Chart><Series value='a' values='1'/></Chart>"), ErrorCode::BadTemplate,
         "3:26: unknown attribute \"values\" of <Series>"},
        {inHeader("<Chart>\n<Series values='1'/><Series value='a'/></Chart>"), ErrorCode::BadTemplate,
         "4:1: the numbers of a chart are either all of rows or all in the template"},
        {inHeader("<Chart category='a'>\n<Category name='b'/><Series value='a'/></Chart>"),
         ErrorCode::BadTemplate, "4:1: the numbers of a chart are either"},
        {inHeader("<Picture>\n<Embedded>a*b</Embedded></Picture>"), ErrorCode::BadTemplate,
         "4:1: <Embedded>"},
        // names
        {inReport("<Styles><Style bold=\"true\"/></Styles>"), ErrorCode::BadTemplate,
         "2:9: the attribute \"name\" of <Style> is missing"},
        {inReport("<Grid><Groups><Group by=\"\"/></Groups></Grid>"), ErrorCode::BadTemplate,
         "2:15: the attribute \"by\""},
        {inReport("<Grid><Groups><Group by=\" \"/></Groups></Grid>"), ErrorCode::BadTemplate,
         "2:22: by=\" \": column 2: an expression is expected"},
        {inReport("<Styles><Style name=\"a\"/>\n<Style name=\"a\"/></Styles>"), ErrorCode::BadTemplate,
         "3:8: another <Style> is named \"a\""},
        {inColumns("<Column name=\"中\" width=\"1mm\"/>\n<Column width=\"1mm\" name=\"中\"/>"),
         ErrorCode::BadTemplate, "4:21: another <Column> is named \"中\""},
        {inHeader("<Text style=\"none\"/>"), ErrorCode::BadTemplate, "3:7: no style is named \"none\""},
        {inHeader("<Text text=\"style\"><When test=\"1\" style=\"x\"/></Text>"), ErrorCode::BadTemplate,
         "3:35: no style is named \"x\""},
        {inReport("<Styles><Style name=\"a\" parent=\"b\"/></Styles>"), ErrorCode::BadTemplate,
         "2:25: no style"},
        {inHeader("<Text toColumn=\"c\"/>"), ErrorCode::BadTemplate, "3:7: no column is named \"c\""},
        {inReport("<Styles><Style name=\"a\"/></Styles><ReportHeader><SubReport><Report><ReportHeader>\n"
                  "<Text style=\"a\"/></ReportHeader></Report></SubReport></ReportHeader>"),
         ErrorCode::BadTemplate, "3:7: no style is named \"a\""},
        {inColumns("<Column name=\"a\" width=\"1mm\"><Title><Text/><Text/></Title></Column>"),
         ErrorCode::BadTemplate, "3:30: <Title> holds more than one control"},
        {inColumns("<Column name=\"a\" width=\"1mm\"><Title x=\"1mm\"/></Column>"), ErrorCode::BadTemplate,
         "3:37: unknown attribute \"x\" of <Title>"},
        {inColumns("<Column name=\"a\" width=\"1mm\"><Title text=\"x\"><Text/></Title></Column>"),
         ErrorCode::BadTemplate, "3:46: unknown element <Text> in <Title>"},
        // limits
        {inReport(deep), ErrorCode::LimitExceeded, "2:554: sub-reports are nested deeper than 16"},
        {inColumns(manyColumns), ErrorCode::LimitExceeded, "2003:1: more than 2000 <Column>"},
        {inReport(repeated("<a/>", 2'000'001)), ErrorCode::LimitExceeded, "1:1: more than 1000000 elements"},
        {repeated("<a>", 1'000'000), ErrorCode::NotXml, "1:3000000: not well-formed XML: "},
    };
    for (const Case& test : cases) {
        const std::string input = test.input.substr(0, 300);
        try {
            readTemplate(test.input, "t.qbf");
            ADD_FAILURE() << "loaded: " << input;
        } catch (const EngineError& error) {
            const std::string expected = std::string("t.qbf:") + test.what;
            EXPECT_EQ(std::string(error.what()).substr(0, expected.size()), expected) << input;
            EXPECT_EQ(error.code(), test.code) << input << "\n" << error.what();
        }
    }
}

// The places and causes of all errors, with ";" after each.
std::string errorsOf(const std::string& input) {
    std::string all;
    try {
        readTemplate(input, "");
    } catch (const TemplateError& failure) {
        for (const EngineError& error : failure.errors()) all += std::string(error.what()) + ";\n";
    }
    return all;
}

TEST(TemplateFaults, AreAllReportedInTheOrderOfTheText) {
    const struct {
        std::string input;
        const char* errors;
    } cases[] = {
        {inReport(
             "<Page sizes='A4' columns='0'/>\n<Styles><Style name='a' bold='yes'/></Styles>\n"
             "<ReportHeader><Text text='[1 +]' style='b'/>\n<Text style='a' x='1'/><Button/></ReportHeader>"),
         "2:7: unknown attribute \"sizes\" of <Page>;\n"
         "2:18: columns=\"0\": out of range: expected 1 to 100;\n"
         "3:25: bold=\"yes\": expected \"true\" or \"false\";\n"
         "4:21: text=\"[1 +]\": column 5: a value is expected;\n"
         "4:34: no style is named \"b\";\n"
         "5:17: x=\"1\": expected a length with its unit, like \"12.5mm\" (mm, cm, in, pt);\n"
         "5:24: unknown element <Button> in <ReportHeader>;\n"},
        // one cause, one error
        {inReport("<Fields><Field name='a' expression='b + 1'/><Field name='b' expression='a'/></Fields>\n"
                  "<ReportHeader><Text text='[a]'/><Text text='[b]'/></ReportHeader>"),
         "2:25: expression=\"b + 1\": the calculated field \"b\" needs itself;\n"},
        {inReport("<Page width='50mm' margins='90mm'/>"),
         "2:1: width and height of the paper stand together;\n"},
        {inHeader("<SubReport><Report><Page/></Report></SubReport>"),
         "3:20: <Page> has no place in a sub-report: pages are those of the outermost "
         "report;\n"},
        {inReport("<Fields><Field/><Field/></Fields>"),
         "2:9: the attribute \"name\" of <Field> is missing or empty;\n"
         "2:17: the attribute \"name\" of <Field> is missing or empty;\n"},
        {"<Report version=\"2\" x=\"\"/>", "1:9: unknown version 2; this engine reads version 1;\n"},
    };
    for (const auto& test : cases) EXPECT_EQ(errorsOf(test.input), test.errors) << test.input;

    const int most = limits::kTemplateErrors;
    const std::string many = errorsOf(inReport(repeated("<a/>\n", most + 5)));
    EXPECT_EQ(std::count(many.begin(), many.end(), ';'), most + 1);
    EXPECT_TRUE(many.ends_with(";\nthere are more errors;\n")) << many;
}

TEST(TemplateFaults, EveryTruncationIsRefused) {
    std::ostringstream whole;
    whole << std::ifstream(QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/everything.qbf").rdbuf();
    const std::string text = whole.str();
    const std::size_t end = text.rfind("</Report>") + 9;
    for (std::size_t length = 0; length < end; ++length) {
        EXPECT_THROW(readTemplate(std::string_view(text).substr(0, length), "cut"), EngineError) << length;
    }
}

// Whatever a bit more or less does to a template, it either loads and can be saved again or is refused.
TEST(TemplateFaults, ChangedBytesNeverDoHarm) {
    std::ostringstream whole;
    whole << std::ifstream(QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/everything.qbf").rdbuf();
    const std::string text = whole.str();
    int loaded = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        for (const char change : {'\0', '<', '"', '9', '\xFF'}) {
            std::string changed = text;
            changed[i] = change;
            try {
                const std::string saved = writeTemplate(readTemplate(changed, "changed"));
                ASSERT_EQ(writeTemplate(readTemplate(saved, "saved")), saved) << i << ' ' << change;
                ++loaded;
            } catch (const EngineError&) {
            }
        }
    }
    EXPECT_GT(loaded, 100);
}

TEST(TemplateFaults, WarningsNamePlaceAndMistake) {
    char pattern[] = "/tmp/qbsvr-template-XXXXXX";
    const std::string directory = ::mkdtemp(&pattern[0]);
    std::filesystem::create_directory(directory + "/log");
    setLogSetupPath(directory);
    readTemplate(R"(<Report version="1">
<!-- "a < b" & c --><ReportHeader>
  <Text text="[n:#,##0.00.0] [n:0.0;-0.0] [n:0 'C#']" link='a&b&amp;c&#x41;&#10;'/>
  <Text text="[n:0&quot;] [n:0;0;0;0]" visibleWhen="1 < 2 and 3 > 2"/>
  <Text text="[d:yyyy-MM-ddTHH:mm] [d:yyyyy-qq] [d:Week d] [n:{0=no]"/>
</ReportHeader></Report>)",
                 "t.qbf");
    std::ifstream file(directory + "/log/qbsvrl6.log");
    std::string log;
    for (std::string line; std::getline(file, line);) log += line.substr(line.find("t.qbf")) + '\n';
    EXPECT_EQ(log,
              "t.qbf:3:9: the format \"#,##0.00.0\" has two decimal points\n"
              "t.qbf:3:62: a raw \"&\" in an attribute is not XML; write \"&amp;\"\n"
              "t.qbf:4:9: the format \"0\"\" has a quote without a closing quote\n"
              "t.qbf:4:9: the format \"0;0;0;0\" has more than three sections\n"
              "t.qbf:4:55: a raw \"<\" in an attribute is not XML; write \"&lt;\"\n"
              "t.qbf:5:9: the format \"yyyyy-qq\" has no part \"yyyyy\"\n"
              "t.qbf:5:9: the format \"{0=no\" has no \"}\" after its words\n");
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace qbsvrl6
