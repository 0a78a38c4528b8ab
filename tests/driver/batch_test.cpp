#include "driver/batches.h"

#include <map>

#include "tests/driver/driver_test.h"

namespace {

struct Kind {
    const char* title;
    void (*batch)();  // null where the single-thread batch has no such kind
    void (*thread)();
    std::string directory;
};

// The sixteen in their order, then the six that no batch starts.
const Kind kKinds[] = {
    {"PDF", BatchExportPDF, PDFThread, "pdf"},
    {"PDFEmbeddingFont", BatchExportPDFEmbeddingFont, PDFEmbeddingFontThread, "pdf_EmbeddingFont"},
    {"PDFPrintAdapt", BatchExportPDFPrintAdapt, PDFPrintAdaptThread, "pdf_adapt"},
    {"XLS", BatchExportXLS, XLSThread, "xls"},
    {"XLSX", BatchExportXLSX, XLSXThread, "xlsx"},
    {"XLSXAsEntireTable", BatchExportXLSXAsEntireTable, XLSXAsEntireTableThread, "xls-one-table"},
    {"XLSXOnlyDetailGrid", BatchExportXLSXOnlyDetailGrid, XLSXOnlyDetailGridThread, "xls-only-detail"},
    {"HTM", BatchExportHTM, HTMThread, "htm"},
    {"HTMAsEntireTable", BatchExportHTMAsEntireTable, HTMAsEntireTableThread, "htm-one-table"},
    {"HTMOnlyDetailGrid", BatchExportHTMOnlyDetailGrid, HTMOnlyDetailGridThread, "htm-only-detail"},
    {"TXT", BatchExportTXT, TXTThread, "txt"},
    {"TXTAsEntireTable", BatchExportTXTAsEntireTable, TXTAsEntireTableThread, "txt-one-table"},
    {"TXTOnlyDetailGrid", BatchExportTXTOnlyDetailGrid, TXTOnlyDetailGridThread, "txt-only-detail"},
    {"CSV", BatchExportCSV, CSVThread, "csv"},
    {"CSVAsEntireTable", BatchExportCSVAsEntireTable, CSVAsEntireTableThread, "csv-one-table"},
    {"CSVOnlyDetailGrid", BatchExportCSVOnlyDetailGrid, CSVOnlyDetailGridThread, "csv-only-detail"},
    {"ImgTif", nullptr, ImgTifThread, "img-tif"},
    {"ImgPng", nullptr, ImgPngThread, "img-png"},
    {"ImgPngOnePage", nullptr, ImgPngOnePageThread, "img-png-allin"},
    {"RTF", nullptr, RTFThread, "rtf"},
    {"RTFAsEntireTable", nullptr, RTFAsEntireTableThread, "rtf-one-table"},
    {"RTFOnlyDetailGrid", nullptr, RTFOnlyDetailGridThread, "rtf-only-detail"},
};

constexpr int kStarted = 16;
const std::string kCreateFailed = "Create report failed, please view log file to find reason.\n";

class Batch : public DriverTest {
protected:
    std::vector<std::string> Directories() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(scratch.path / "out/auto")) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};

void NoTask(const wstr& templateFile, const wstr& reportName) {
    std::printf("%s %s\n", larkspur::UnicodeTextToPrintf(templateFile).c_str(),
                larkspur::UnicodeTextToPrintf(reportName).c_str());
}

void NoReportTask(tagQBReport*, const wstr& templateFile, const wstr& reportName) {
    NoTask(templateFile, reportName);
}

TEST_F(Batch, WalkersBuildPathsAndCountEveryItem) {
    SetList(
        R"([{"Dir":"a\\b","Items":[{"Name":"1"},{"Name":"bad"}]},{"Dir":"c/","Items":[{"Name":"2","Data":"D"}]},
                {"Dir":"","Items":[]},{"Dir":7,"Items":[{}]}])");
    recording::Fail("QBReportLoadFromFile", "*bad*");
    Report = QBReportCreate();
    const std::string head = "/qb/Samples/Reports/a/b/1.qbf 1\n";
    const std::string tail = "/qb/Samples/Reports/c//2.qbf 2\n/qb/Samples/Reports/7/.qbf \n";
    EXPECT_EQ(Output([] { ReportBatchTask(NoTask); }),
              head + "载入报表模板文件 /qb/Samples/Reports/a/b/bad.qbf 失败。\n" + tail +
                  "Batch Export finished, ReportCount=4.\n");
    EXPECT_EQ(ReportCount, 4);
    ReportCount = -1;
    EXPECT_EQ(Output([] { MT_ReportBatchTask(Report, NoReportTask, "标题"); }),
              head + "load report '/qb/Samples/Reports/a/b/bad.qbf' failed.\n" + tail +
                  "Batch Export 标题 finished, ReportCount=4.\n");
    EXPECT_EQ(ReportCount, -1) << "the multi-thread walker keeps a count of its own";
    EXPECT_NE(Calls().find("QBReportSetQuerySQL(report1, \"/qb/Samples/Data/json/jsonD.txt\")"),
              std::string::npos);
    QBReportRelease(Report);
}

TEST_F(Batch, EachKindByItself) {
    SetList(R"([{"Items":[{"Name":"n"}]}])");
    for (const Kind& kind : kKinds) {
        for (void (*run)() : {kind.batch, kind.thread}) {
            if (!run) continue;
            SCOPED_TRACE(std::string(kind.title) + (run == kind.thread ? " thread" : " batch"));
            recording::Reset(true);
            std::filesystem::remove_all(scratch.path / "out");
            Report = nullptr;
            const std::string output = Output(run);
            const std::string title = run == kind.thread ? std::string(" ") + kind.title : "";
            EXPECT_TRUE(output.starts_with("Export ")) << output;
            EXPECT_TRUE(output.ends_with("Batch Export" + title + " finished, ReportCount=1.\n")) << output;
            EXPECT_EQ(Directories(), std::vector<std::string>{kind.directory});
            EXPECT_EQ(Join(recording::Violations()), "");

            recording::Reset(true);
            recording::Fail("QBReportCreate", "*");
            Report = nullptr;
            EXPECT_EQ(Output(run), kCreateFailed);
            EXPECT_EQ(Calls(), "QBReportCreate() = null\n");
        }
    }
}

TEST_F(Batch, ThreadsKeepToTheirOwnReports) {
    std::string items;
    for (int i = 0; i < 20; ++i) items += R"({"Name":"n)" + std::to_string(i) + R"(","Data":"d"},)";
    SetList(R"([{"Items":[{"Name":"bad"},)" + items + "]}]");
    recording::Fail("QBReportLoadFromFile", "*bad*");
    recording::Fail("QBReportCreate", "report16");
    const std::string output = Output(TestBatch_MThread);

    EXPECT_TRUE(output.starts_with("开始多线程成批生成报表...\n")) << output;
    std::map<std::string, int> lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) ++lines[line];
    // One of the sixteen got no report, whichever came last, and is lost alone.
    EXPECT_EQ(lines[kCreateFailed.substr(0, kCreateFailed.size() - 1)], 1);
    EXPECT_EQ(lines["load report '/qb/Samples/Reports/bad.qbf' failed."], 15);
    int finished = 0;
    for (int i = 0; i < kStarted; ++i)
        finished += lines[std::string("Batch Export ") + kKinds[i].title + " finished, ReportCount=21."];
    EXPECT_EQ(finished, 15);
    EXPECT_EQ(lines["Export PDF(Embedding Font) '/qb/Samples/Reports/n0.qbf' succeeded."], 0);
    EXPECT_EQ(Join(recording::Violations()), "");
    EXPECT_EQ(Report, nullptr);
    EXPECT_EQ(ReportCount, -1);
}

TEST_F(Batch, ThreadBodyThatCounts) {
    std::string expected = "TestThreadFun start\n";
    for (int i = 1; i <= 100; ++i) expected += "TestThreadFun run at " + std::to_string(i) + "\n";
    EXPECT_EQ(Output(TestThreadFun), expected + "TestThreadFun stop\n");
}

}  // namespace
