#include <filesystem>
#include <string>

#include "tests/qbsvrl6/api/api_fixture.h"
#include "tests/source_directory.h"

namespace api_test {
namespace {

TEST_F(ApiTest, MakesEachKindOrSaysWhyNot) {
    struct Case {
        tagQBExportType type;
        const char* start;  // of the document; null: not made
    };
    const Case cases[] = {
        {QBExportType_PDF, "%PDF-"},
        {QBExportType_HTM, "<!DOCTYPE html>"},
        {QBExportType_TXT, ""},
        {QBExportType_CSV, "\xEF\xBB\xBF"},
        {QBExportType_XLS, "\xD0\xCF\x11\xE0"},
        {QBExportType_RTF, "{\\rtf1"},
        {QBExportType_IMG, "II*"},
        {static_cast<tagQBExportType>(0), nullptr},
    };
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    for (const Case& test : cases) {
        const std::string document = exported(report, test.type);
        if (test.start != nullptr) {
            EXPECT_TRUE(document.starts_with(test.start)) << test.type << document.substr(0, 40);
            EXPECT_GT(document.size(), 20u) << test.type;
        } else {
            EXPECT_EQ(document, "(null)") << test.type;
            EXPECT_NE(takeLog().find("QBReportExportDirectToBinaryObject: " + directory_ +
                                     "list.qbf: this engine makes no documents of kind"),
                      std::string::npos);
        }
    }
}

TEST_F(ApiTest, ReadsTheDataThatTheQueriesName) {
    write("other.txt", R"({"Rows":[{"Name":"other","Amount":3}]})");
    write("rows.txt", R"([{"Name":"grid","Amount":4}])");
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    const auto csv = [&] { return exported(report, QBExportType_CSV); };
    EXPECT_NE(csv().find("张三"), std::string::npos);
    EXPECT_NE(csv().find("20.00"), std::string::npos);
    EXPECT_NE(csv().find("Report of 2024"), std::string::npos);

    write("list.txt", R"({"Year":2025,"Rows":[{"Name":"changed meanwhile"}]})");
    EXPECT_NE(csv().find("changed meanwhile"), std::string::npos);

    tagQBRecordset* recordset = QBDetailGridGetRecordset(QBReportGetDetailGrid(report));
    QBRecordsetSetQuerySQL(recordset, path("rows.txt").c_str());
    EXPECT_NE(csv().find("grid"), std::string::npos) << "the connection is the report's";
    QBRecordsetSetConnectionString(recordset, u"xml");
    EXPECT_NE(csv().find("grid"), std::string::npos);
    EXPECT_NE(csv().find("Report of 2025"), std::string::npos);

    EXPECT_EQ(QBReportLoadDataFromURL(report, u"other.txt"), 1);
    EXPECT_NE(csv().find("other"), std::string::npos) << "loaded data replaces all connections";
    EXPECT_EQ(QBReportLoadDataFromURL(report, u"absent.txt"), 0);
    EXPECT_NE(csv().find("grid"), std::string::npos) << "what failed to load keeps no old data";

    QBRecordsetSetConnectionString(recordset, u"");
    QBReportSetConnectionString(report, u"");
    EXPECT_EQ(csv().find("2025"), std::string::npos) << "no data is no fault";
    EXPECT_EQ(csv().find("(null)"), std::string::npos);
}

TEST_F(ApiTest, TellsWhatIsWrongWithTheData) {
    write("cut.txt", "[{\"Name\":\"a\"},\n{\"Name");
    struct Case {
        const char16_t* connection;
        const char16_t* query;
        const char* log;
    };
    const Case cases[] = {
        {u"xml", u"absent.txt", "absent.txt: No such file"},
        {u"xml", u"cut.txt", "cut.txt:2:"},
        {u"xml", u"list.qbf/x", "list.qbf/x"},
        {u"Driver={DB}", u"select", "the connection \"Driver={DB}\""},
    };
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    for (const Case& test : cases) {
        QBReportSetConnectionString(report, test.connection);
        QBReportSetQuerySQL(report, test.query);
        EXPECT_EQ(exported(report, QBExportType_CSV), "(null)") << narrow(test.query);
        EXPECT_NE(takeLog().find(test.log), std::string::npos) << test.log;
    }
}

TEST_F(ApiTest, ResultsStayUntilTheExportIsUnprepared) {
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    EXPECT_EQ(QBReportExportToBinaryObject(report), nullptr) << "nothing is prepared";
    EXPECT_NE(takeLog().find("no export is prepared"), std::string::npos);

    tagQBBinaryObject* direct = QBReportExportDirectToBinaryObject(report, QBExportType_CSV);
    const std::string first = bytesOf(direct);
    tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_CSV);
    QBE2CellOptionSetOnlyExportDetailGrid(QBExportOptionGetAsE2CellOption(option), 1);
    tagQBBinaryObject* prepared = QBReportExportToBinaryObject(report);
    EXPECT_EQ(bytesOf(prepared).find("Report of"), std::string::npos);
    EXPECT_EQ(bytesOf(direct), first);
    EXPECT_EQ(QBReportUnprepareExport(report), 1);
    EXPECT_EQ(QBReportUnprepareExport(report), 0);
    EXPECT_EQ(QBReportExportToBinaryObject(report), nullptr);
    EXPECT_EQ(QBExportOptionGetExportType(option), QBExportType_CSV) << "a stale option does no harm";

    EXPECT_EQ(exported(report, QBExportType_CSV), first) << "options don't outlive their export";
    EXPECT_EQ(exported(report, QBExportType_PDF), exported(report, QBExportType_PDF))
        << "the same bytes each time";
}

TEST_F(ApiTest, OptionsAreSeenByTheirKindOnly) {
    const OwnReport report;
    for (int type = 0; type <= 8; ++type) {
        tagQBExportOption* option = QBReportPrepareExport(report, static_cast<tagQBExportType>(type));
        const std::string views = std::string(QBExportOptionGetAsE2CellOption(option) ? "cell " : "") +
                                  (QBExportOptionGetAsE2XLSOption(option) ? "xls " : "") +
                                  (QBExportOptionGetAsE2IMGOption(option) ? "img " : "") +
                                  (QBExportOptionGetAsE2PDFOption(option) ? "pdf " : "");
        const char* expected[] = {"", "cell xls ", "cell ", "cell ", "cell ", "pdf ", "cell ", "img ", ""};
        EXPECT_EQ(views, expected[type]) << type;
    }
}

TEST_F(ApiTest, WritesFilesWholeOrNotAtAll) {
    const OwnReport report;
    QBReportLoadFromFile(report, path("list.qbf").c_str());
    tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_XLS);
    QBExportOptionSetFileName(option, path("new/dir/list.xlsx").c_str());
    QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), 1);
    EXPECT_EQ(QBReportExport(report, 0), 1) << takeLog();
    EXPECT_EQ(read("new/dir/list.xlsx").substr(0, 2), "PK");
    QBExportOptionSetFileName(option, u"");
    EXPECT_EQ(QBReportExport(report, 0), 0);
    EXPECT_NE(takeLog().find("no file is named"), std::string::npos);
    QBReportUnprepareExport(report);

    EXPECT_EQ(QBReportExportDirect(report, QBExportType_PDF, path("new/list.pdf").c_str(), 0, 0), 1);
    EXPECT_EQ(read("new/list.pdf"), exported(report, QBExportType_PDF));
    write("kept.xls", "old");
    constexpr auto kNoKind = static_cast<tagQBExportType>(99);
    EXPECT_EQ(QBReportExportDirect(report, kNoKind, path("kept.xls").c_str(), 1, 1), 0);
    EXPECT_EQ(read("kept.xls"), "old");
    EXPECT_EQ(QBReportExportDirect(report, QBExportType_CSV, u"/dev/full", 0, 0), 0);
    EXPECT_EQ(QBReportExportDirect(report, QBExportType_CSV, path("kept.xls/below.csv").c_str(), 0, 0), 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_ + "new"), {}), 2)
        << "no leftovers";
}

TEST_F(ApiTest, PagesThatNeedFilesOfTheirOwnAreNumbered) {
    write("two.qbf", R"(<Report version="1"><ReportHeader height="10mm"/>
        <ReportFooter height="10mm" newPageBefore="true"/></Report>)");
    const OwnReport report;
    QBReportLoadFromFile(report, path("two.qbf").c_str());
    tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_IMG);
    tagQBE2IMGOption* image = QBExportOptionGetAsE2IMGOption(option);
    QBE2IMGOptionSetImageType(image, QBImageType_PNG);
    QBExportOptionSetFileName(option, path("v1.0/page").c_str());
    EXPECT_EQ(QBReportExport(report, 0), 1) << takeLog();
    EXPECT_EQ(read("v1.0/page-2").substr(1, 3), "PNG");
    QBExportOptionSetFileName(option, path("page.png").c_str());
    EXPECT_EQ(QBReportExport(report, 0), 1) << takeLog();
    EXPECT_EQ(bytesOf(QBReportExportToBinaryObject(report)), read("page.png"));
    EXPECT_NE(takeLog().find("1 pages after the first are left out"), std::string::npos);
    EXPECT_EQ(read("page-2.png").size(), read("page.png").size());
    std::filesystem::create_directories(directory_ + "blocked.png");
    QBExportOptionSetFileName(option, path("blocked.png").c_str());
    EXPECT_EQ(QBReportExport(report, 0), 0);
    EXPECT_FALSE(exists("blocked-2.png")) << "a page without the first";
    std::filesystem::create_directories(directory_ + "half-2.png");
    QBExportOptionSetFileName(option, path("half.png").c_str());
    takeLog();
    EXPECT_EQ(QBReportExport(report, 0), 0);
    const std::string half = takeLog();
    EXPECT_NE(half.find("half.png: page 2, \""), std::string::npos) << half;
    QBExportOptionSetFileName(option, path("page.png").c_str());
    QBE2IMGOptionSetAllInOne(image, 1);
    std::filesystem::remove(directory_ + "page-2.png");
    EXPECT_EQ(QBReportExport(report, 0), 1) << takeLog();
    EXPECT_FALSE(exists("page-2.png"));
}

TEST_F(ApiTest, AMissingBackgroundPictureIsLeftOutAndTold) {
    const OwnReport report;
    QBReportLoadFromFile(report, path("bare.qbf").c_str());
    const std::string plain = exported(report, QBExportType_PDF);
    QBReportSetBackImageFile(report, u"absent.png");
    EXPECT_EQ(exported(report, QBExportType_PDF), plain);
    EXPECT_NE(takeLog().find("no background picture: "), std::string::npos);
    QBReportSetBackImageFile(report,
                             wide(QBSVR_SOURCE_DIR "/samples/Samples/Data/Picture/Butterfly.jpg").c_str());
    EXPECT_GT(exported(report, QBExportType_PDF).size(), plain.size() + 1000);
}

TEST_F(ApiTest, WhatAPageCannotShowIsLoggedOnceAndKeptInCells) {
    write("narrow.qbf", R"(<Report version="1"><Page width="60mm" height="60mm" margins="5mm"/>
        <DefaultStyle font="DejaVu Sans Mono"/>
        <ReportHeader height="9mm" canGrow="false"><Text x="45mm" width="20mm" height="4mm" text="[1234567.89:#,##0.00]"/>
        <Text name="off" x="55mm" width="9mm" height="4mm" text="off"/><Text name="low" y="9mm" width="9mm" height="4mm"/>
        <Text name="two" width="9mm" height="4mm" text="one two"/></ReportHeader>
        <Grid adapt="discard"><Columns>
        <Column name="amount" width="9mm"><Content text="[A:#,##0.00]"/></Column>
        <Column name="wide" width="60mm"/><Column name="last" width="6mm"/></Columns></Grid></Report>)");
    write("narrow.txt", R"([{"A":1234567.89},{"A":-1234567.89},{"A":1}])");
    const OwnReport report;
    takeLog();
    QBReportLoadFromFile(report, path("narrow.qbf").c_str());
    const std::string loading = takeLog();
    EXPECT_NE(loading.find("narrow.qbf:4:9: control \"off\" is beside the paper"), std::string::npos)
        << loading;
    EXPECT_NE(loading.find("narrow.qbf:4:72: control \"low\" is below its section"), std::string::npos)
        << loading;
    QBReportSetConnectionString(report, u"xml");
    QBReportSetQuerySQL(report, u"narrow.txt");
    const std::string csv = exported(report, QBExportType_CSV);
    EXPECT_NE(csv.find("-1,234,567.89"), std::string::npos) << csv;
    const std::string csvLog = takeLog();
    EXPECT_EQ(csvLog.find("####"), std::string::npos) << csvLog;
    EXPECT_EQ(csvLog.find("left out"), std::string::npos) << csvLog;
    exported(report, QBExportType_PDF);
    const std::string log = takeLog();
    for (const char* const line :
         {"\"1,234,567.89\" in column \"amount\" needs 25.5 mm and has 8.0 mm: it shows as ####",
          "narrow.qbf:3:52: a text reaches from 50.0 mm to 70.0 mm on paper that is 60.0 mm wide",
          "narrow.qbf:3:52: \"1,234,567.89\" in a text needs 25.5 mm and has 9.0 mm, since 10.0 mm of its "
          "box",
          "control \"two\" is 9.0 mm wide and 4.0 mm high and cannot grow: 1 line of \"one two\" is left out",
          "the columns need 75.0 mm and have 50.0 mm: adapt=\"discard\" leaves out \"wide\", \"last\""}) {
        const std::size_t place = log.find(line);
        EXPECT_NE(place, std::string::npos) << line << "\n" << log;
        EXPECT_EQ(log.find(line, place + 1), std::string::npos) << log;
    }
    EXPECT_EQ(log.find("-1,234,567.89"), std::string::npos) << "once per column: " << log;
    EXPECT_EQ(log.find("control \"off\""), std::string::npos) << "logged at loading: " << log;
}

TEST_F(ApiTest, SwitchesOfCellDocumentsLeaveOut) {
    write("two.qbf", R"(<Report version="1">
      <PageHeader height="5mm"><Text width="50mm" height="5mm" text="head"/></PageHeader>
      <ReportHeader height="5mm" newPageAfter="true"><Text width="50mm" height="5mm" text="one"/></ReportHeader>
      <ReportFooter height="5mm"><Text width="50mm" height="5mm" text="two"/></ReportFooter></Report>)");
    const OwnReport report;
    QBReportLoadFromFile(report, path("two.qbf").c_str());
    const struct {
        void (*set)(tagQBE2CellOption* option, int on);
        const char* document;
    } cases[] = {{[](tagQBE2CellOption*, int) {}, "head\none\n\fhead\ntwo\n"},
                 {QBE2CellOptionSetExportPageBreak, "head\none\nhead\ntwo\n"},
                 {QBE2CellOptionSetExportPageHeaderFooter, "one\n\ftwo\n"},
                 {QBE2CellOptionSetSameAsPrint, "head\none\ntwo\n"}};
    for (const auto& test : cases) {
        tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_TXT);
        test.set(QBExportOptionGetAsE2CellOption(option), 0);
        EXPECT_EQ(bytesOf(QBReportExportToBinaryObject(report)), test.document) << takeLog();
        QBReportUnprepareExport(report);
    }
}

TEST_F(ApiTest, AnEmptyReportIsExportedToo) {
    const OwnReport report;
    EXPECT_EQ(exported(report, QBExportType_PDF).substr(0, 5), "%PDF-") << takeLog();
}

}  // namespace
}  // namespace api_test
