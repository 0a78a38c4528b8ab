#include "driver/export_tasks.h"

#include "common/errors.h"
#include "tests/driver/driver_test.h"

using namespace quillbrook;

namespace {

using BatchForm = void (*)(const wstr&, const wstr&);
using HandedForm = void (*)(tagQBReport*, const wstr&, const wstr&);

const std::string kCell = "QBExportOptionGetAsE2CellOption(report1.option1)\n";
const std::string kOneTable = kCell +
                              "QBE2CellOptionSetSameAsPrint(report1.option1.cell, 0)\n"
                              "QBE2CellOptionSetExportPageBreak(report1.option1.cell, 0)\n"
                              "QBE2CellOptionSetExportPageHeaderFooter(report1.option1.cell, 0)\n";
const std::string kOnlyDetail = kCell + "QBE2CellOptionSetOnlyExportDetailGrid(report1.option1.cell, 1)\n";
const std::string kPng =
    "QBExportOptionGetAsE2IMGOption(report1.option1)\n"
    "QBE2IMGOptionSetImageType(report1.option1.img, 2)\n";

struct TaskCase {
    BatchForm batchForm;
    HandedForm handedForm;
    int type;
    std::string settings;  // calls between prepare and export; empty for a direct export
    std::string file;
    std::string label;
    std::string batchLabel = label;
};

#define TASK(name) name, name
const TaskCase kTasks[] = {
    {TASK(TaskExportPDF), 5, "", "pdf/1a 表.pdf", "PDF"},
    {TASK(TaskExportPDFEmbeddingFont), 5,
     "QBExportOptionGetAsE2PDFOption(report1.option1)\n"
     "QBE2PDFOptionSetFontEmbedding(report1.option1.pdf, 1)\n",
     "pdf_EmbeddingFont/1a 表.pdf", "PDF_EmbeddingFont", "PDF(Embedding Font)"},
    {TASK(TaskExportImgTif), 7, "", "img-tif/1a 表.tif", ".tif image"},
    {TASK(TaskExportImgPng), 7, kPng, "img-png/1a 表.png", ".png"},
    {TASK(TaskExportImgPngOnePage), 7, kPng + "QBE2IMGOptionSetAllInOne(report1.option1.img, 1)\n",
     "img-png-allin/1a 表.png", ".png(AllinOne)"},
    {TASK(TaskExportXLS), 1, kCell, "xls/1a 表.xls", " .xls"},
    {TASK(TaskExportXLSX), 1,
     kCell + "QBExportOptionGetAsE2XLSOption(report1.option1)\n"
             "QBE2XLSOptionSetToXlsxFormat(report1.option1.xls, 1)\n",
     "xlsx/1a 表.xlsx", " .xlsx"},
    {TASK(TaskExportXLSXAsEntireTable), 1, kOneTable, "xls-one-table/1a 表.xls", "AsEntireTable  .xls"},
    {TASK(TaskExportXLSXOnlyDetailGrid), 1, kOnlyDetail, "xls-only-detail/1a 表.xls", "OnlyDetail  .xls"},
    {TASK(TaskExportRTF), 4, kCell, "rtf/1a 表.rtf", " .rtf"},
    {TASK(TaskExportRTFAsEntireTable), 4, kOneTable, "rtf-one-table/1a 表.rtf", "AsEntireTable  .rtf"},
    {TASK(TaskExportRTFOnlyDetailGrid), 4, kOnlyDetail, "rtf-only-detail/1a 表.rtf", "OnlyDetail  .rtf"},
    {TASK(TaskExportHTM), 3, kCell, "htm/1a 表.htm", " .htm"},
    {TASK(TaskExportHTMAsEntireTable), 3, kOneTable, "htm-one-table/1a 表.htm", "AsEntireTable  .htm"},
    {TASK(TaskExportHTMOnlyDetailGrid), 3, kOnlyDetail, "htm-only-detail/1a 表.htm", "OnlyDetail  .htm"},
    {TASK(TaskExportTXT), 2, kCell, "txt/1a 表.txt", " .txt"},
    {TASK(TaskExportTXTAsEntireTable), 2, kOneTable, "txt-one-table/1a 表.txt", "AsEntireTable  .txt"},
    {TASK(TaskExportTXTOnlyDetailGrid), 2, kOnlyDetail, "txt-only-detail/1a 表.txt", "OnlyDetail  .txt"},
    {TASK(TaskExportCSV), 6, kCell, "csv/1a 表.csv", " .csv"},
    {TASK(TaskExportCSVAsEntireTable), 6, kOneTable, "csv-one-table/1a 表.csv", "AsEntireTable  .csv"},
    {TASK(TaskExportCSVOnlyDetailGrid), 6, kOnlyDetail, "csv-only-detail/1a 表.csv", "OnlyDetail  .csv"},
};

class ExportTasks : public DriverTest {
protected:
    // A fresh report with a template in it; creation and load don't count among its calls.
    tagQBReport* LoadedReport() {
        tagQBReport* report = QBReportCreate();
        QBReportLoadFromFile(report, u"/qb/t.qbf");
        m_Ahead = Calls().size();
        return report;
    }
    std::string TaskCalls() const { return Calls().substr(m_Ahead); }

private:
    std::size_t m_Ahead = 0;
};

std::string ExpectedCalls(const TaskCase& task, bool exported) {
    const std::string saved = exported ? "QBBinaryObjectGetDataSize(report1.object1)\n"
                                         "QBBinaryObjectGetDataBuf(report1.object1)\n"
                                       : "";
    const std::string type = std::to_string(task.type);
    if (task.settings.empty()) return "QBReportExportDirectToBinaryObject(report1, " + type + ")\n" + saved;
    return "QBReportPrepareExport(report1, " + type + ")\n" + task.settings +
           "QBReportExportToBinaryObject(report1)\n" + saved + "QBReportUnprepareExport(report1)\n";
}

TEST_F(ExportTasks, CallsFileAndLineOfBothForms) {
    for (const TaskCase& task : kTasks) {
        for (const bool batchForm : {true, false}) {
            for (const bool exported : {true, false}) {
                SCOPED_TRACE(task.file + (batchForm ? " batch form" : " handed form") +
                             (exported ? "" : " failing"));
                recording::Reset(true);
                std::filesystem::remove_all(scratch.path / "out");
                tagQBReport* report = LoadedReport();
                Report = batchForm ? report : nullptr;
                if (!exported) recording::Fail("QBReportExportToBinaryObject", "*");
                if (!exported) recording::Fail("QBReportExportDirectToBinaryObject", "*");

                const std::string output = Output([&] {
                    batchForm ? task.batchForm(L"/目录/1a.qbf", L"1a 表")
                              : task.handedForm(report, L"/目录/1a.qbf", L"1a 表");
                });

                const std::string outcome = exported ? "succeeded" : "failed";
                EXPECT_EQ(output, "Export " + (batchForm ? task.batchLabel : task.label) +
                                      " '/目录/1a.qbf' " + outcome + ".\n");
                EXPECT_EQ(TaskCalls(), ExpectedCalls(task, exported));
                EXPECT_EQ(Join(WrittenFiles()), exported ? "auto/" + task.file + "\n" : "");
                const std::string bytes = "type " + std::to_string(task.type) + " of /qb/t.qbf";
                EXPECT_EQ(Written("auto/" + task.file), exported ? bytes : "");
                QBReportRelease(report);
                EXPECT_EQ(Join(recording::Violations()), "");
            }
        }
    }
}

TEST_F(ExportTasks, PrintAdaptGoesThroughTheNineMethods) {
    static const char* const kMethods[] = {"Discard",      "Wrap",           "ResizeToFit",
                                           "ShrinkToFit",  "ToNewPage",      "ToNewPageEx",
                                           "ToNewPageRFC", "ToNewPageRFCEx", "WrapExcludeGroup"};
    for (const bool batchForm : {true, false}) {
        SCOPED_TRACE(batchForm);
        recording::Reset(true);
        std::filesystem::remove_all(scratch.path / "out");
        tagQBReport* report = LoadedReport();
        Report = batchForm ? report : nullptr;
        const std::string output = Output([&] {
            batchForm ? TaskExportPDFPrintAdapt(L"t.qbf", L"1a")
                      : TaskExportPDFPrintAdapt(report, L"t.qbf", L"1a");
        });
        std::string lines;
        std::string calls = "QBReportGetDetailGrid(report1)\n";
        std::vector<std::string> files;
        for (int method = 1; method <= 9; ++method) {
            const std::string name = kMethods[method - 1];
            const std::string object = "(report1.object" + std::to_string(method) + ")\n";
            lines += "Export " + name + " to PDF 't.qbf' succeeded.\n";
            calls += "QBReportGetDetailGrid(report1)\nQBDetailGridSetPrintAdaptMethod(report1.grid, " +
                     std::to_string(method) + ")\nQBReportExportDirectToBinaryObject(report1, 5)\n" +
                     "QBBinaryObjectGetDataSize" + object + "QBBinaryObjectGetDataBuf" + object;
            files.push_back("auto/pdf_adapt/1a" + name + ".pdf");
        }
        std::sort(files.begin(), files.end());
        EXPECT_EQ(output, lines);
        EXPECT_EQ(TaskCalls(), calls);
        EXPECT_EQ(WrittenFiles(), files);
    }
}

TEST_F(ExportTasks, PrintAdaptPassesOverAReportWithoutGrid) {
    recording::SetTemplate("*", {.hasGrid = false});
    tagQBReport* report = LoadedReport();
    EXPECT_EQ(Output([&] { TaskExportPDFPrintAdapt(report, L"t.qbf", L"1a"); }),
              "Export 't.qbf' to PDF for Print Adapt skpped because of none detail grid.\n");
    EXPECT_EQ(TaskCalls(), "QBReportGetDetailGrid(report1)\n");
    EXPECT_TRUE(WrittenFiles().empty());
}

TEST_F(ExportTasks, AnUnwritableFileEndsTheTaskWithoutALine) {
    WriteFile(scratch.path / "out/auto/xls", "a file where the directory should be");
    tagQBReport* report = LoadedReport();
    EXPECT_EQ(Output([&] { EXPECT_THROW(TaskExportXLS(report, L"t.qbf", L"n"), larkspur::ClkException); }),
              "");
    EXPECT_EQ(TaskCalls().find("QBReportUnprepareExport"), std::string::npos);
}

// Those of the cell formats are in the files of the table.
TEST_F(ExportTasks, OtherTypesHaveNoExtension) {
    EXPECT_EQ(ExportExtFileName(QBExportType_PDF), L"pdf");
    for (const int type : {0, 7, 8})
        EXPECT_EQ(ExportExtFileName(static_cast<tagQBExportType>(type)), L"") << type;
}

}  // namespace
