#include <filesystem>
#include <string>

#include "tests/qbsvrl6/api/api_fixture.h"

namespace api_test {
namespace {

std::string names(tagQBReport* report) {
    std::string walk;
    for (tagQBControl* control = QBReportFindFirstControl(report); control != nullptr;
         control = QBReportFindNextControl(report)) {
        walk +=
            narrow(QBControlGetName(control)) + ":" + std::to_string(QBControlGetControlType(control)) + " ";
    }
    return walk;
}

tagQBReport* innerReport(tagQBReport* report, const std::string& name) {
    for (tagQBControl* control = QBReportFindFirstControl(report); control != nullptr;
         control = QBReportFindNextControl(report)) {
        if (narrow(QBControlGetName(control)) == name)
            return QBSubReportGetReport(QBControlGetAsSubReport(control));
    }
    return nullptr;
}

TEST_F(ApiTest, ModuleTellsOfItself) {
    EXPECT_TRUE(narrow(QBGetModulePath()).ends_with("/libqbsvrl6.so")) << narrow(QBGetModulePath());
    EXPECT_TRUE(narrow(QBGetModulePath()).starts_with("/"));
    EXPECT_EQ(narrow(QBGetModuleVersion()), QBSVR_VERSION);
    EXPECT_NE(narrow(QBGetModuleInfo()).find(" Linux"), std::string::npos);
}

TEST_F(ApiTest, LoadsReplacesAndSaves) {
    const OwnReport report;
    ASSERT_EQ(QBReportLoadFromFile(report, path("list.qbf").c_str()), 1);
    ASSERT_EQ(QBReportSaveToFile(report, path("saved.qbf").c_str()), 1);
    EXPECT_EQ(read("saved.qbf"), read("list.qbf"));

    ASSERT_EQ(QBReportLoadFromFile(report, path("bare.qbf").c_str()), 1);
    EXPECT_EQ(QBReportGetDetailGrid(report), nullptr);
    ASSERT_EQ(QBReportLoadFromFile(report, path("list.qbf").c_str()), 1);
    EXPECT_NE(QBReportGetDetailGrid(report), nullptr);
    EXPECT_EQ(takeLog(), "");
}

TEST_F(ApiTest, AReportThatFailsToLoadIsEmptyAndTheLogSaysWhy) {
    write("bad.qbf", "<Report version=\"1\">\n  <Page siz=\"A4\"/></Report>");
    const OwnReport report;
    ASSERT_EQ(QBReportLoadFromFile(report, path("list.qbf").c_str()), 1);
    EXPECT_EQ(QBReportLoadFromFile(report, path("bad.qbf").c_str()), 0);
    EXPECT_EQ(QBReportGetDetailGrid(report), nullptr);
    EXPECT_EQ(names(report), "");
    EXPECT_NE(
        takeLog().find("QBReportLoadFromFile: " + directory_ + "bad.qbf:2:9: unknown attribute \"siz\""),
        std::string::npos);
    EXPECT_EQ(QBReportLoadFromFile(report, path("absent.qbf").c_str()), 0);
    EXPECT_NE(takeLog().find("absent.qbf: No such file"), std::string::npos);
    EXPECT_EQ(QBReportSaveToFile(report, path("list.qbf/x.qbf").c_str()), 0);
    EXPECT_NE(takeLog().find("QBReportSaveToFile: "), std::string::npos);
}

TEST_F(ApiTest, SavesWhatTheSettersChanged) {
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    tagQBDetailGrid* grid = QBReportGetDetailGrid(report);
    tagQBRecordset* recordset = QBDetailGridGetRecordset(grid);
    QBReportSetQuerySQL(report, u"other & more.txt");
    QBReportSetConnectionString(report, u"");
    QBRecordsetSetQuerySQL(recordset, u"rows.txt");
    const lkchar* query = QBRecordsetGetQuerySQL(recordset);
    QBRecordsetSetConnectionString(recordset, u"xml");
    EXPECT_EQ(narrow(query), "rows.txt") << "stays readable across the connection's change";
    QBRecordsetSetQuerySQL(recordset, query);
    QBDetailGridSetPrintAdaptMethod(grid, QBColumnPrintAdaptMethod_WrapExcludeGroup);
    QBReportSetBackImageFile(report, u"back.png");
    QBPrinterSetPrinterName(QBReportGetPrinter(report), u"Office");
    ASSERT_EQ(QBReportSaveToFile(report, path("saved.qbf").c_str()), 1);
    for (const char* part :
         {"<Data query=\"other &amp; more.txt\" table=\"Rows\"/>",
          "<Recordset connection=\"xml\" query=\"rows.txt\"/>", "adapt=\"wrapExcludeGroup\"",
          "<Background picture=\"back.png\"/>", "<Printer name=\"Office\"/>"}) {
        EXPECT_NE(read("saved.qbf").find(part), std::string::npos) << part;
    }
    const OwnReport again;
    EXPECT_EQ(QBReportLoadFromFile(again, path("saved.qbf").c_str()), 1);
    EXPECT_EQ(narrow(QBReportGetQuerySQL(again)), "other & more.txt");
    EXPECT_EQ(narrow(QBPrinterGetPrinterName(QBReportGetPrinter(again))), "Office");
}

TEST_F(ApiTest, WalksLeaveEachOtherAlone) {
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    std::string walk;
    for (tagQBControl* control = QBReportFindFirstControl(report); control != nullptr;
         control = QBReportFindNextControl(report)) {
        walk += narrow(QBControlGetName(control)) + " ";
        if (tagQBSubReport* inner = QBControlGetAsSubReport(control)) {
            EXPECT_EQ(QBControlGetControlType(control), QBControlType_SubReport);
            walk += "( " + names(QBSubReportGetReport(inner)) + ") ";
        }
    }
    EXPECT_EQ(walk, "Title ChartBar Inner ( InnerChart:6 )   NameCell AmountCell ");
    EXPECT_EQ(QBReportFindNextControl(report), nullptr) << "the walk has ended";
}

TEST_F(ApiTest, SubReportsLiveAndDieWithTheirParent) {
    tagQBReport* report = QBReportCreate();
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    tagQBReport* inner = innerReport(report, "Inner");
    ASSERT_NE(inner, nullptr);
    QBReportRelease(inner);
    EXPECT_EQ(names(inner), "InnerChart:6 ") << "a borrowed report isn't released";
    EXPECT_NE(takeLog().find("QBReportRelease"), std::string::npos);

    QBReportLoadFromFile(report, path("list.qbf").c_str());
    EXPECT_EQ(QBReportLoadFromFile(inner, path("bare.qbf").c_str()), 0) << "gone with the old template";
    inner = innerReport(report, "Inner");
    QBReportRelease(report);
    EXPECT_EQ(names(inner), "");
}

TEST_F(ApiTest, BuildsAReportAroundASubReport) {
    const OwnReport report;
    tagQBSection* section = QBReportHeadersAdd(QBReportGetReportHeaders(report));
    QBSectionSetHeight(section, 1.0);
    QBSectionSetCanGrow(section, 1);
    tagQBControl* control = QBControlsAdd(QBSectionGetControls(section), QBControlType_SubReport);
    tagQBReport* inner = QBSubReportGetReport(QBControlGetAsSubReport(control));
    ASSERT_EQ(QBReportLoadFromFile(inner, path("list.qbf").c_str()), 1);
    ASSERT_EQ(QBReportSaveToFile(inner, path("inner.qbf").c_str()), 1);
    EXPECT_EQ(read("inner.qbf"), read("list.qbf"));
    for (const int type : {1, 2, 3, 4, 5, 6, 9}) {
        tagQBControl* added =
            QBControlsAdd(QBSectionGetControls(section), static_cast<tagQBControlType>(type));
        EXPECT_EQ(QBControlGetControlType(added), type);
        EXPECT_EQ(QBControlGetAsSubReport(added) != nullptr, type == 9);
    }
    ASSERT_EQ(QBReportSaveToFile(report, path("outer.qbf").c_str()), 1);
    const OwnReport again;
    ASSERT_EQ(QBReportLoadFromFile(again, path("outer.qbf").c_str()), 1) << takeLog();
    EXPECT_EQ(names(again), ":9 :1 :2 :3 :4 :5 :6 :9 ");
}

TEST_F(ApiTest, AssignCopiesTheDefinition) {
    const OwnReport first;
    QBReportLoadFromFile(first, path("list.qbf").c_str());
    const OwnReport second;
    QBObjectAssign(second, first);
    QBReportSetQuerySQL(first, u"changed");
    QBReportSaveToFile(second, path("copy.qbf").c_str());
    EXPECT_EQ(read("copy.qbf"), read("list.qbf"));
    QBObjectAssign(second, second);
    EXPECT_NE(names(second), "");
    QBObjectAssign(first, innerReport(first, "Inner"));
    EXPECT_EQ(names(first), "InnerChart:6 ") << "a part of itself";
}

TEST_F(ApiTest, TakesTextsThatBelongToWhatTheyReplace) {
    write("named.qbf",
          "<Report version=\"1\"><Data query=\"rows.txt\"/><ReportHeader height=\"10mm\"><Text name=\"" +
              directory_ + "list.qbf\" width=\"9mm\" height=\"5mm\"/></ReportHeader></Report>");
    const OwnReport report;
    ASSERT_EQ(QBReportLoadFromFile(report, path("named.qbf").c_str()), 1);
    QBReportSetQuerySQL(report, QBReportGetQuerySQL(report) + 4);
    EXPECT_EQ(narrow(QBReportGetQuerySQL(report)), ".txt");
    EXPECT_EQ(QBReportLoadFromFile(report, QBControlGetName(QBReportFindFirstControl(report))), 1)
        << takeLog();
    tagQBRecordset* recordset = QBDetailGridGetRecordset(QBReportGetDetailGrid(report));
    QBRecordsetSetQuerySQL(recordset, u"a path longer than what a text holds in itself");
    QBRecordsetSetQuerySQL(recordset, QBRecordsetGetQuerySQL(recordset) + 2);
    EXPECT_EQ(narrow(QBRecordsetGetQuerySQL(recordset)), "path longer than what a text holds in itself");
    tagQBPrinter* printer = QBReportGetPrinter(report);
    QBPrinterSetPrinterName(printer, u"a printer in an office on the second floor");
    QBPrinterSetPrinterName(printer, QBPrinterGetPrinterName(printer) + 2);
    EXPECT_EQ(narrow(QBPrinterGetPrinterName(printer)), "printer in an office on the second floor");
    tagQBUtility* utility = QBReportGetUtility(report);
    const lkchar* format = QBUtilityNumberFormat(utility, u"0.000000000000000000", 0);
    EXPECT_EQ(narrow(QBUtilityNumberFormat(utility, format, 2)).substr(0, 3), "2.0");
}

// A report around a sub-report around a sub-report, as deep as a program can make it.
TEST_F(ApiTest, NestingEndsAtItsLimit) {
    const auto addInner = [](tagQBReport* report) {
        tagQBSection* section = QBReportHeadersAdd(QBReportGetReportHeaders(report));
        return QBSubReportGetReport(
            QBControlGetAsSubReport(QBControlsAdd(QBSectionGetControls(section), QBControlType_SubReport)));
    };
    const OwnReport outer;
    tagQBReport* innermost = outer;
    int depth = 0;
    for (tagQBReport* next = outer; depth < 20'000 && (next = addInner(next)) != nullptr; ++depth)
        innermost = next;
    EXPECT_EQ(depth, 16);
    EXPECT_NE(takeLog().find("QBControlsAdd: sub-reports are nested deeper than 16"), std::string::npos);
    EXPECT_EQ(QBReportLoadFromFile(innermost, path("list.qbf").c_str()), 0) << "with a sub-report of its own";
    EXPECT_NE(takeLog().find("nested deeper"), std::string::npos);
    EXPECT_EQ(QBReportLoadFromFile(innermost, path("bare.qbf").c_str()), 1);
    ASSERT_EQ(QBReportSaveToFile(outer, path("deep.qbf").c_str()), 1) << takeLog();
    const OwnReport again;
    EXPECT_EQ(QBReportLoadFromFile(again, path("deep.qbf").c_str()), 1);
    // Copies a report into a part of itself, again and again: each time, it becomes deeper.
    const OwnReport doubled;
    tagQBReport* part = addInner(doubled);
    for (int i = 0; i < 8; ++i) {
        QBObjectAssign(part, doubled);
        QBReportSaveToFile(doubled, path("doubled.qbf").c_str());
    }
    EXPECT_EQ(QBReportLoadFromFile(again, path("doubled.qbf").c_str()), 1) << takeLog();
}

TEST_F(ApiTest, FormatsNumbersAndDrawsBarcodes) {
    const OwnReport report;
    tagQBUtility* utility = QBReportGetUtility(report);
    EXPECT_EQ(narrow(QBUtilityNumberFormat(utility, u"#,##0.00", 1234.5)), "1,234.50");
    EXPECT_EQ(narrow(QBUtilityNumberFormat(utility, u"#,##0.00;;#", 0)), "");
    EXPECT_EQ(narrow(QBUtilityNumberFormat(utility, u"#,##0 kg", -1234567.5)), "-1,234,568 kg");
    EXPECT_EQ(narrow(QBUtilityNumberFormat(utility, u"", 0.25)), "0.25");

    const struct {
        const char16_t* request;
        bool showsText;
        const char* height;
    } requests[] = {
        {uR"({"codepage":65001,"requireShowText":true,"text":"123456","type":1})", true, "18.67mm"},
        {uR"({"text":"123456","type":1})", true, "18.67mm"},
        {uR"({"requireShowText":false,"text":"123456","type":1})", false, "15mm"},
        {uR"({"requireShowText":true,"text":"a\"b","type":52})", false, "9.57mm"}};
    for (const auto& test : requests) {
        const std::string graph = narrow(QBGenerateBarcodeGraph(test.request));
        EXPECT_TRUE(graph.starts_with("<svg ")) << narrow(test.request) << ": " << graph;
        EXPECT_EQ(graph.find("<text") != std::string::npos, test.showsText) << narrow(test.request);
        EXPECT_NE(graph.find(" height=\"" + std::string(test.height)), std::string::npos) << graph;
    }
    EXPECT_EQ(narrow(QBGenerateBarcodeGraph(uR"({"text":"\u0041\u00E9\/\u0022\\u0041\"","type":9})")),
              narrow(QBGenerateBarcodeGraph(u"{\"text\":\"Aé/\\\"\\\\u0041\\\"\",\"type\":9}")));
    for (const char16_t* bad :
         {u"", u"[]", uR"({"text":"\u12","type":9})", uR"({"text":"\u0000","type":9})", u"{\"text",
          uR"({"type":1})", uR"({"text":"1"})", uR"({"text":"123456","type":1000})",
          uR"({"text":"1","type":1,"codepage":936})"}) {
        EXPECT_EQ(QBGenerateBarcodeGraph(bad), nullptr) << narrow(bad);
        EXPECT_NE(takeLog().find("QBGenerateBarcodeGraph: "), std::string::npos) << narrow(bad);
    }
}

TEST_F(ApiTest, PrintingWithoutAPrinterIsLoggedAndKeepsTheName) {
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    tagQBPrinter* printer = QBReportGetPrinter(report);
    QBPrinterSetPrinterName(printer, u"Office");
    QBReportPrint(report, 0);
    EXPECT_EQ(narrow(QBPrinterGetPrinterName(printer)), "Office");
    EXPECT_NE(takeLog().find("QBReportPrint: "), std::string::npos);
    EXPECT_NE(QBReportGetFont(report), nullptr);
}

TEST_F(ApiTest, TheLogFollowsTheSetupPath) {
    const OwnReport report;
    std::filesystem::create_directory(directory_ + "elsewhere");
    QBInitConfig(path("elsewhere").c_str());
    QBReportLoadFromFile(report, u"/nowhere.qbf");
    EXPECT_NE(read("elsewhere/log/qbsvrl6.log").find("/nowhere.qbf"), std::string::npos);
    EXPECT_EQ(takeLog(), "");
}

// Its controls belong to the template that is gone.
TEST_F(ApiTest, AWalkEndsWithItsTemplate) {
    const OwnReport report;
    ASSERT_EQ(QBReportLoadFromFile(report, path("list.qbf").c_str()), 1);
    ASSERT_NE(QBReportFindFirstControl(report), nullptr);
    ASSERT_EQ(QBReportLoadFromFile(report, path("list.qbf").c_str()), 1);
    EXPECT_EQ(QBReportFindNextControl(report), nullptr);
}

}  // namespace
}  // namespace api_test
