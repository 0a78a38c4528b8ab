#include <cmath>
#include <limits>

#include "tests/qbsvrl6/api/api_fixture.h"

namespace api_test {
namespace {

class Deleted : public CqbGeneralEventInfo {
public:
    explicit Deleted(int& count) : count_(count) {}
    ~Deleted() override { ++count_; }
    void Execute() override {}

private:
    int& count_;
};

// Each function that takes a report, given one that must read as null.
void expectNothingOf(tagQBReport* report) {
    QBReportRelease(nullptr);
    QBObjectAssign(report, report);
    EXPECT_EQ(QBReportLoadFromFile(report, u"/x.qbf"), 0);
    EXPECT_EQ(QBReportSaveToFile(report, u"/tmp/x.qbf"), 0);
    QBReportSetBackImageFile(report, u"/x.png");
    EXPECT_EQ(QBReportLoadDataFromURL(report, u"/x.txt"), 0);
    EXPECT_EQ(QBReportExtractXMLFromURL(report, u"/x.txt"), nullptr);
    EXPECT_STREQ(narrow(QBReportGetQuerySQL(report)).c_str(), "");
    QBReportSetQuerySQL(report, u"x");
    QBReportSetConnectionString(report, u"xml");
    EXPECT_EQ(QBReportGetDetailGrid(report), nullptr);
    EXPECT_EQ(QBReportExportDirectToBinaryObject(report, QBExportType_PDF), nullptr);
    EXPECT_EQ(QBReportExportDirect(report, QBExportType_PDF, u"/tmp/x.pdf", 0, 0), 0);
    EXPECT_EQ(QBReportPrepareExport(report, QBExportType_PDF), nullptr);
    EXPECT_EQ(QBReportExportToBinaryObject(report), nullptr);
    EXPECT_EQ(QBReportExport(report, 0), 0);
    EXPECT_EQ(QBReportUnprepareExport(report), 0);
    EXPECT_EQ(QBReportGetReportHeaders(report), nullptr);
    EXPECT_EQ(QBReportFindFirstControl(report), nullptr);
    EXPECT_EQ(QBReportFindNextControl(report), nullptr);
    EXPECT_EQ(QBReportGetPrinter(report), nullptr);
    QBReportPrint(report, 0);
    EXPECT_EQ(QBReportGetFont(report), nullptr);
    EXPECT_EQ(QBReportGetUtility(report), nullptr);
    QBAttachEventExportBegin(report, nullptr);
    QBAttachEventChartRequestData(report, nullptr);
    int deleted = 0;
    QBAttachEventInitialize(report, new Deleted(deleted));
    EXPECT_EQ(deleted, 1) << "a handler that no report takes";
}

TEST_F(ApiTest, NullReportsAndReleasedOnesDoNothing) {
    expectNothingOf(nullptr);
    tagQBReport* report = QBReportCreate();
    tagQBPrinter* printer = QBReportGetPrinter(report);
    tagQBUtility* utility = QBReportGetUtility(report);
    QBReportRelease(report);
    expectNothingOf(report);
    QBReportRelease(report);
    EXPECT_EQ(QBUtilityNumberFormat(utility, u"0", 1), nullptr);
    EXPECT_EQ(narrow(QBPrinterGetPrinterName(printer)), "");
    QBPrinterSetPrinterName(printer, u"x");
}

// A handle of a report's object reads as null if the object no longer exists or has another type.
TEST_F(ApiTest, BorrowedHandlesEndWithTheirOwner) {
    class Keep : public CqbChartEventInfo {
    public:
        explicit Keep(tagQBChart*& kept) : kept_(kept) {}
        void Execute(tagQBChart* chart) override { kept_ = chart; }

    private:
        tagQBChart*& kept_;
    };
    for (const char* end : {"release", "load"}) {
        tagQBReport* const report = QBReportCreate();
        QBReportLoadFromFile(report, u"list.qbf");
        tagQBRecordset* const rows = QBDetailGridGetRecordset(QBReportGetDetailGrid(report));
        tagQBSection* const section = QBReportHeadersAdd(QBReportGetReportHeaders(report));
        tagQBControls* const controls = QBSectionGetControls(section);
        tagQBControl* const control = QBControlsAdd(controls, QBControlType_SubReport);
        tagQBSubReport* const content = QBControlGetAsSubReport(control);
        tagQBReport* const inner = QBSubReportGetReport(content);
        tagQBSection* const innerSection = QBReportHeadersAdd(QBReportGetReportHeaders(inner));
        tagQBChart* chart = nullptr;
        QBAttachEventChartRequestData(report, new Keep(chart));
        tagQBBinaryObject* const result = QBReportExportDirectToBinaryObject(report, QBExportType_CSV);
        tagQBExportOption* const option = QBReportPrepareExport(report, QBExportType_PDF);
        tagQBE2PDFOption* const pdf = QBExportOptionGetAsE2PDFOption(option);
        QBChartSetSeriesCount(chart, 2);
        EXPECT_GT(QBBinaryObjectGetDataSize(result), 0);
        EXPECT_EQ(QBControlGetControlType(reinterpret_cast<tagQBControl*>(section)), 0) << "another type";
        EXPECT_EQ(QBReportGetDetailGrid(reinterpret_cast<tagQBReport*>(option)), nullptr) << "another type";

        if (std::string(end) == "release") {
            QBReportRelease(report);
            EXPECT_EQ(QBExportOptionGetExportType(option), 0);
            QBE2PDFOptionSetFontEmbedding(pdf, 1);
        } else {
            QBReportUnprepareExport(report);
            QBReportLoadFromFile(report, u"absent.qbf");
        }
        EXPECT_EQ(QBBinaryObjectGetDataSize(result), 0) << end;
        QBRecordsetSetQuerySQL(rows, u"x");
        EXPECT_EQ(narrow(QBRecordsetGetQuerySQL(rows)), "") << end;
        QBSectionSetHeight(section, 1);
        QBSectionSetHeight(innerSection, 1);
        EXPECT_EQ(QBControlsAdd(controls, QBControlType_Line), nullptr) << end;
        EXPECT_EQ(QBControlGetControlType(control), 0) << end;
        EXPECT_EQ(QBSubReportGetReport(content), nullptr) << end;
        EXPECT_EQ(QBReportGetReportHeaders(inner), nullptr) << end;
        QBChartSetSeriesCount(chart, 1'000);
        if (std::string(end) == "load") QBReportRelease(report);
    }
}

// As deep as in templates, by adding sections and by copying reports.
TEST_F(ApiTest, ProgramsNestSubReportsAsDeepAsTemplates) {
    const OwnReport report;
    tagQBReport* inner = report;
    int depth = 0;
    for (; inner != nullptr && depth < 100; ++depth) {
        tagQBControls* const controls =
            QBSectionGetControls(QBReportHeadersAdd(QBReportGetReportHeaders(inner)));
        inner =
            QBSubReportGetReport(QBControlGetAsSubReport(QBControlsAdd(controls, QBControlType_SubReport)));
    }
    EXPECT_EQ(depth, 17);
    EXPECT_NE(exported(report, QBExportType_CSV), "(null)");
    const OwnReport outer;
    tagQBControls* const controls = QBSectionGetControls(QBReportHeadersAdd(QBReportGetReportHeaders(outer)));
    inner = QBSubReportGetReport(QBControlGetAsSubReport(QBControlsAdd(controls, QBControlType_SubReport)));
    takeLog();
    QBObjectAssign(inner, report);
    EXPECT_NE(takeLog().find("nested deeper than 16"), std::string::npos);
}

TEST_F(ApiTest, NullHandlesDoNothing) {
    EXPECT_EQ(QBDetailGridGetRecordset(nullptr), nullptr);
    QBDetailGridSetPrintAdaptMethod(nullptr, QBColumnPrintAdaptMethod_Wrap);
    EXPECT_EQ(narrow(QBRecordsetGetQuerySQL(nullptr)), "");
    QBRecordsetSetQuerySQL(nullptr, u"x");
    QBRecordsetSetConnectionString(nullptr, u"x");
    EXPECT_EQ(QBBinaryObjectGetDataSize(nullptr), 0);
    EXPECT_EQ(QBBinaryObjectGetDataBuf(nullptr), nullptr);
    EXPECT_EQ(QBExportOptionGetExportType(nullptr), 0);
    QBExportOptionSetFileName(nullptr, u"x");
    EXPECT_EQ(QBExportOptionGetAsE2CellOption(nullptr), nullptr);
    EXPECT_EQ(QBExportOptionGetAsE2XLSOption(nullptr), nullptr);
    EXPECT_EQ(QBExportOptionGetAsE2IMGOption(nullptr), nullptr);
    EXPECT_EQ(QBExportOptionGetAsE2PDFOption(nullptr), nullptr);
    QBE2CellOptionSetSameAsPrint(nullptr, 1);
    QBE2CellOptionSetExportPageBreak(nullptr, 1);
    QBE2CellOptionSetExportPageHeaderFooter(nullptr, 1);
    QBE2CellOptionSetOnlyExportDetailGrid(nullptr, 1);
    QBE2XLSOptionSetToXlsxFormat(nullptr, 1);
    QBE2IMGOptionSetImageType(nullptr, QBImageType_PNG);
    QBE2IMGOptionSetAllInOne(nullptr, 1);
    QBE2PDFOptionSetFontEmbedding(nullptr, 1);
    EXPECT_EQ(QBReportHeadersAdd(nullptr), nullptr);
    QBSectionSetHeight(nullptr, 1);
    QBSectionSetCanGrow(nullptr, 1);
    EXPECT_EQ(QBSectionGetControls(nullptr), nullptr);
    EXPECT_EQ(QBControlsAdd(nullptr, QBControlType_Line), nullptr);
    EXPECT_EQ(QBControlGetControlType(nullptr), 0);
    EXPECT_EQ(narrow(QBControlGetName(nullptr)), "");
    EXPECT_EQ(QBControlGetAsSubReport(nullptr), nullptr);
    EXPECT_EQ(QBSubReportGetReport(nullptr), nullptr);
    EXPECT_EQ(narrow(QBPrinterGetPrinterName(nullptr)), "");
    QBPrinterSetPrinterName(nullptr, u"x");
    EXPECT_EQ(QBChartLoadDataFromXML(nullptr, u"<a/>", 1, 1, 1), 0);
    EXPECT_EQ(QBChartLoadXYDataFromXML(nullptr, u"<a/>", 1), 0);
    EXPECT_EQ(QBChartLoadXYZDataFromXML(nullptr, u"<a/>", 1), 0);
    QBChartSetSeriesCount(nullptr, 1);
    QBChartSetSeriesLabel(nullptr, 0, u"x");
    EXPECT_EQ(QBUtilityNumberFormat(nullptr, u"0", 1), nullptr);
    EXPECT_EQ(QBGenerateBarcodeGraph(nullptr), nullptr);
}

TEST_F(ApiTest, NullTextsReadAsEmpty) {
    const OwnReport report;
    QBReportSetQuerySQL(report, u"x");
    QBReportSetQuerySQL(report, nullptr);
    EXPECT_EQ(narrow(QBReportGetQuerySQL(report)), "");
    QBReportSetConnectionString(report, nullptr);
    QBReportSetBackImageFile(report, nullptr);
    EXPECT_EQ(QBReportLoadFromFile(report, nullptr), 0);
    EXPECT_EQ(QBReportSaveToFile(report, nullptr), 0);
    EXPECT_EQ(QBReportLoadDataFromURL(report, nullptr), 0);
    EXPECT_EQ(QBReportExtractXMLFromURL(report, nullptr), nullptr);
    EXPECT_EQ(QBReportExportDirect(report, QBExportType_PDF, nullptr, 0, 0), 0);
    EXPECT_NE(QBUtilityNumberFormat(QBReportGetUtility(report), nullptr, 1), nullptr);
    EXPECT_EQ(QBInitConfig(nullptr), 1);
}

TEST_F(ApiTest, ValuesOutsideTheirRangeGiveTheNearest) {
    const OwnReport report;
    tagQBSection* section = QBReportHeadersAdd(QBReportGetReportHeaders(report));
    for (const auto& [height, saved] : {std::pair{1e300, "5000mm"}, {0.00005, "0.001mm"}, {2.5, "25mm"}}) {
        QBSectionSetHeight(section, height);
        QBReportSaveToFile(report, path("height.qbf").c_str());
        EXPECT_NE(read("height.qbf").find(std::string("height=\"") + saved), std::string::npos) << height;
    }
    QBSectionSetHeight(section, std::numeric_limits<double>::quiet_NaN());
    QBReportSaveToFile(report, path("height.qbf").c_str());
    EXPECT_NE(read("height.qbf").find("height=\"25mm\""), std::string::npos) << "NaN changes nothing";

    EXPECT_EQ(QBControlsAdd(QBSectionGetControls(section), static_cast<tagQBControlType>(7)), nullptr);
    tagQBExportOption* option = QBReportPrepareExport(report, static_cast<tagQBExportType>(99));
    EXPECT_EQ(QBExportOptionGetExportType(option), 99);
    EXPECT_EQ(QBExportOptionGetAsE2CellOption(option), nullptr);
    EXPECT_EQ(QBReportExportToBinaryObject(report), nullptr);
    EXPECT_NE(takeLog().find("of kind 99"), std::string::npos);
}

}  // namespace
}  // namespace api_test
