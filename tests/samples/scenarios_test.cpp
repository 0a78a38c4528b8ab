// Every scenario of the driver once over the embedded engine, on a copy of the samples.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "common/unicode.h"
#include "driver/batches.h"
#include "driver/events.h"
#include "driver/sample_tree.h"
#include "driver/samples.h"
#include "tests/qbsvrl6/paint/programs.h"
#include "tests/scratch_directory.h"
#include "tests/source_directory.h"

using namespace quillbrook;

namespace {

namespace fs = std::filesystem;

// The set-up directory is SETUP, the output goes to OUT, and relative paths end up in CWD.
class Scenarios : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(setup());
        fs::copy(QBSVR_SOURCE_DIR "/samples/Samples", setup() / "Samples", fs::copy_options::recursive);
        fs::create_directory(root() / "CWD");
        fs::current_path(root() / "CWD");
        // No printer of the machine that runs the tests takes part.
        setenv("CUPS_SERVER", (root() / "no-service").c_str(), 1);
        QBInitConfig(utf16(setup()).c_str());
        ConfigPath(setup().c_str(), out().c_str());
        ReportsJson.LoadFromFile(utf16(setup() / "Samples/Data/ReportListJson.txt").c_str());
        chartDataPath = wide(setup() / "Samples/Reports/07.Chart/RequestData/");
    }
    void TearDown() override {
        QBInitConfig(u"");
        fs::current_path("/");
    }

    const fs::path& root() const { return scratch_.path; }
    fs::path setup() const { return root() / "SETUP"; }
    fs::path out() const { return root() / "OUT"; }

    static lkstr utf16(const std::string& path) {
        return larkspur::Utf8ToUnicode(path.data(), static_cast<int>(path.size()));
    }
    static wstr wide(const std::string& path) { return larkspur::lkstr_tow(utf16(path).c_str()); }

    // What it printed, with the scratch directory's path left out.
    std::string lines(const std::function<void()>& scenario) const {
        testing::internal::CaptureStdout();
        scenario();
        std::string text = testing::internal::GetCapturedStdout();
        const std::string prefix = root().string() + "/";
        for (std::size_t at; (at = text.find(prefix)) != std::string::npos;) text.erase(at, prefix.size());
        return text;
    }

    std::vector<std::string> files() const {
        std::vector<std::string> all = FilesBelow(root());
        std::erase_if(all, [](const std::string& file) { return file.starts_with("SETUP/"); });
        return all;
    }
    std::string takeLog() const {
        const fs::path log = setup() / "log/qbsvrl6.log";
        const std::string text = ReadFile(log);
        fs::resize_file(log, 0);
        return text;
    }
    std::string textOf(const std::string& pdf) const {
        return qbsvrl6::programs::run("pdftotext -layout '" + (root() / pdf).string() + "' -").output;
    }

private:
    ScratchDirectory scratch_;
};

// A file that a scenario writes: what it starts with, and what it holds, as text where it is a PDF.
struct Written {
    std::string name, start, text;
};

const std::string kPdf = "%PDF-", kZip = "PK\x03\x04", kTiff = "II*", kXls = "\xD0\xCF\x11\xE0",
                  kXml = "<?xml";

TEST_F(Scenarios, PrintTheirLinesAndWriteTheirFiles) {
    const std::string simple = "SETUP/Samples/Reports/1a.简单表格.qbf";
    const std::string stock = "SETUP/Samples/Reports/7a.stock.qbf";
    const std::string grid = "SETUP/Samples/Reports/grid.qbf";
    WriteFile(root() / grid, R"(<Report version="1"><Grid><Recordset connection="xml" query="rows.txt"/>
        <Columns><Column name="n" width="50mm"><Content text="[n]"/></Column></Columns></Grid></Report>)");
    WriteFile(setup() / "Samples/Reports/rows.txt", R"([{"n":"of the grid"}])");
    const std::string customers = "SETUP/Samples/Data/json/jsonCustomer.txt";
    const std::string fired = "OnInitialize fired from CqbInitializeEventInfo.\n";
    const wstr gridPath = wide(root() / grid);
    const wstr stockPath = wide(root() / stock), simplePath = wide(root() / simple);
    const wstr customersPath = wide(root() / customers);
    const wstr image = wide(out() / "新/x.tif"), pages = wide(out() / "x.pdf");
    const struct {
        const char* name;
        std::function<void()> run;
        std::string lines;
        std::vector<Written> files;
        std::vector<std::string> log;  // none: no error
    } cases[] = {
        {"TestSubReportLoadSave",
         TestSubReportLoadSave,
         "load failed.\n",
         {{"CWD/D:/UserFiles/qb7/Reports/1a.简单表格-sr.qbf", kXml, "<Report version=\"1\""}},
         {"D:/UserFiles/qb7/Reports/1a.简单表格.qbf: No such file"}},
        {"TestLoadDataFromURL",
         TestLoadDataFromURL,
         "",
         {{"OUT/qb-datafromurl.pdf", kPdf, "客户"}},
         {"C:/Quillbrook 6/WebSamples/data/json/jsonCustomer-err.txt: No such file"}},
        {"TestPrint",
         [] { TestPrint(u"打印机"); },
         "Print SETUP/Samples/Reports/1a.smalll-a.qbf on 打印机.\n",
         {{"CWD/d:/qb-print.pdf", kPdf, "新世纪食品有限公司"}},
         {"QBReportPrint: no print service answers"}},
        {"TestPrint_CPP",
         [] { TestPrint_CPP(nullptr); },
         "Print " + simple + " on .\n",
         {{"CWD/d:/qb-print.pdf", kPdf, "新世纪食品有限公司"}},
         {"QBReportPrint: no print service answers"}},
        {"TestLoadSave",
         TestLoadSave,
         "载入报表模板文件 " + simple + " 成功\n保存报表模板文件 OUT/save.qbf 成功\n",
         {{"OUT/save.qbf", kXml, "SETUP/Samples/Data/Picture/Butterfly.jpg"}},
         {}},
        {"TestExport",
         TestExport,
         "Export " + simple + " to OUT/ dir finished.\n",
         {{"OUT/qb-direct.xls", kXls, ""}, {"OUT/qb.xlsx", kZip, ""}},
         {}},
        {"Test_DataTextFile",
         [&] { Test_DataTextFile(stockPath.c_str(), QBExportType_PDF, pages.c_str()); },
         "模板：" + stock + "，导出：OUT/x.pdf\n",
         {{"OUT/x.pdf", kPdf, "龙井绿茶"}},
         {}},
        {"Test_DataTextFile, rows of the grid",
         [&] { Test_DataTextFile(gridPath.c_str(), QBExportType_CSV, image.c_str()); },
         "模板：" + grid + "，导出：OUT/新/x.tif\n",
         {{"OUT/新/x.tif", "\xEF\xBB\xBF", "of the grid"}},
         {}},
        {"Test_DataTextFile, image",
         [&] { Test_DataTextFile(stockPath.c_str(), QBExportType_IMG, image.c_str()); },
         "模板：" + stock + "，导出：OUT/新/x.tif\n",
         {{"OUT/新/x.tif", kTiff, ""}},
         {}},
        {"Test_DataTextFile2",
         [&] {
             Test_DataTextFile2(simplePath.c_str(), customersPath.c_str(), QBExportType_PDF, pages.c_str());
         },
         "模板：" + simple + "，数据: " + customers + ", 导出：OUT/x.pdf\n",
         {{"OUT/x.pdf", kPdf, "新世纪食品有限公司"}},
         {}},
        {"Test_DataTextFile2, no data",
         [&] { Test_DataTextFile2(simplePath.c_str(), L"none.txt", QBExportType_IMG, image.c_str()); },
         "载入报表数据文件 none.txt 失败。\n模板：" + simple + "，数据: none.txt, 导出：OUT/新/x.tif\n",
         {{"OUT/新/x.tif", kTiff, ""}},
         {"none.txt: No such file"}},
        {"TestEvent", TestEvent, fired, {{"OUT/qb-event.pdf", kPdf, "新世纪食品有限公司"}}, {}},
        {"TestEvent_CPP", TestEvent_CPP, fired, {{"OUT/qb-event.pdf", kPdf, "新世纪食品有限公司"}}, {}},
        {"TestExportCustom",
         TestExportCustom,
         "load failed.\nload data failed.\n",
         {{"OUT/qb-custom-export.xls", kXls, ""}},
         {"D:/UserFiles/quillbrookQBReportqbf: No such file",
          "D:/UserFiles/quillbrookQBReporttxt: No such file"}},
        {"TestFormat", TestFormat, "0.000000 foramtted by #,##0.00;;# is \n", {}, {}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        fs::remove_all(out());
        for (const auto& entry : fs::directory_iterator(".")) fs::remove_all(entry);
        EXPECT_EQ(lines(test.run), test.lines);
        std::vector<std::string> names;
        for (const Written& file : test.files) {
            names.push_back(file.name);
            const std::string bytes = ReadFile(root() / file.name);
            EXPECT_EQ(bytes.substr(0, file.start.size()), file.start) << file.name;
            const std::string text = file.start == kPdf ? textOf(file.name) : bytes;
            EXPECT_NE(text.find(file.text), std::string::npos) << file.name << ":\n" << text;
        }
        EXPECT_EQ(files(), names);
        const std::string log = takeLog();
        for (const std::string& cause : test.log) EXPECT_NE(log.find(cause), std::string::npos) << log;
        EXPECT_EQ(log.find(" error ") == std::string::npos, test.log.empty()) << log;
    }
    // Where the fixed path can't be made, neither half of it works.
    WriteFile(fs::absolute("D:"), "");
    EXPECT_EQ(lines(TestSubReportLoadSave), "load failed.\nsave failed.\n");
}

// Texts that only the data files hold, or that only a drawn chart makes of them.
TEST_F(Scenarios, ChartsShowTheDataThatTheyAskFor) {
    EXPECT_EQ(lines(TestChartLoadDataFromURL), "");
    const std::string text = textOf("OUT/qb-datafromurl.pdf");
    for (const char* piece :
         {"一季度", "173", "张三", "李四", "王五", "39.4%", "甲线", "乙线", "华东", "华南", "华北"})
        EXPECT_NE(text.find(piece), std::string::npos) << piece << " in\n" << text;
}

// The kinds that the batches leave out.
TEST_F(Scenarios, ThreadsThatNoBatchStartsMakeTheirDocuments) {
    const lkstr list =
        u"[{\"Items\":[{\"Name\":\"1a.简单表格\",\"Data\":\"Customer\"},{\"Name\":\"9d.图表\"}]}]";
    ReportsJson.Parse(list.c_str(), static_cast<int>(list.size()));
    const struct {
        void (*run)();
        std::string title, directory, extension, start;
    } cases[] = {
        {RTFThread, "RTF", "rtf", ".rtf", "{\\rtf1"},
        {RTFAsEntireTableThread, "RTFAsEntireTable", "rtf-one-table", ".rtf", "{\\rtf1"},
        {RTFOnlyDetailGridThread, "RTFOnlyDetailGrid", "rtf-only-detail", ".rtf", "{\\rtf1"},
        {ImgTifThread, "ImgTif", "img-tif", ".tif", kTiff},
        {ImgPngThread, "ImgPng", "img-png", ".png", "\x89PNG"},
        {ImgPngOnePageThread, "ImgPngOnePage", "img-png-allin", ".png", "\x89PNG"},
    };
    for (const auto& test : cases) {
        const std::string printed = lines(test.run);
        EXPECT_EQ(printed.find("failed"), std::string::npos) << printed << takeLog();
        EXPECT_TRUE(printed.ends_with("Batch Export " + test.title + " finished, ReportCount=2.\n"))
            << printed;
        for (const std::string name : {"1a.简单表格", "9d.图表"}) {
            const std::string bytes = ReadFile(out() / "auto" / test.directory / (name + test.extension));
            EXPECT_EQ(bytes.substr(0, test.start.size()), test.start) << name << ' ' << test.title;
        }
    }
    // Two pages: two images in the TIFF file, and one twice as high in the PNG file of all pages.
    const auto output = [&](const std::string& command, const std::string& file) {
        return qbsvrl6::programs::run(command + " '" + (out() / "auto" / file).string() + "'").output;
    };
    const std::string tiff = output("tiffinfo", "img-tif/1a.简单表格.tif");
    EXPECT_NE(tiff.find("=== TIFF directory 1 ==="), std::string::npos) << tiff;
    EXPECT_EQ(tiff.find("=== TIFF directory 2 ==="), std::string::npos) << tiff;
    const auto height = [&](const std::string& file) {
        const std::string png = ReadFile(out() / "auto" / file);
        return static_cast<unsigned char>(png[22]) * 256 + static_cast<unsigned char>(png[23]);
    };
    EXPECT_EQ(height("img-png-allin/1a.简单表格.png"), 2 * height("img-png/1a.简单表格.png"));
}

TEST_F(Scenarios, BarcodesAreDrawn) {
    std::istringstream printed(lines(TestBarcode));
    int count = 0;
    for (std::string line; std::getline(printed, line); ++count) {
        EXPECT_TRUE(line.starts_with("params={\"codepage\":65001,\"requireShowText\":true,\"text\":"))
            << line;
        EXPECT_NE(line.find("}, graph=<svg "), std::string::npos) << line;
        EXPECT_TRUE(line.ends_with("</svg>")) << line;
    }
    EXPECT_EQ(count, 9);
}

}  // namespace
