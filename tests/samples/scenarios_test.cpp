// Samples of the driver that no action calls, run with the embedded engine on a copy of the sample tree.
#include <gtest/gtest.h>

#include <filesystem>
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

class Scenarios : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(setup());
        fs::copy(QBSVR_SOURCE_DIR "/samples/Samples", setup() / "Samples", fs::copy_options::recursive);
        QBInitConfig(utf16(setup()).c_str());
        ConfigPath(setup().c_str(), out().c_str());
        ReportsJson.LoadFromFile(utf16(setup() / "Samples/Data/ReportListJson.txt").c_str());
        chartDataPath = wide(setup() / "Samples/Reports/07.Chart/RequestData/");
    }
    void TearDown() override { QBInitConfig(u""); }

    const fs::path& root() const { return scratch_.path; }
    fs::path setup() const { return root() / "SETUP"; }
    fs::path out() const { return root() / "OUT"; }

    static lkstr utf16(const std::string& path) {
        return larkspur::Utf8ToUnicode(path.data(), static_cast<int>(path.size()));
    }
    static wstr wide(const std::string& path) { return larkspur::lkstr_tow(utf16(path).c_str()); }

    static std::string lines(void (*scenario)()) {
        testing::internal::CaptureStdout();
        scenario();
        return testing::internal::GetCapturedStdout();
    }
    std::string textOf(const std::string& pdf) const {
        return qbsvrl6::programs::run("pdftotext -layout '" + (root() / pdf).string() + "' -").output;
    }

private:
    ScratchDirectory scratch_;
};

// Texts that are only in the data files, or only in charts drawn from them.
TEST_F(Scenarios, ChartsShowTheDataThatTheyAskFor) {
    EXPECT_EQ(lines(TestChartLoadDataFromURL), "");
    const std::string text = textOf("OUT/qb-datafromurl.pdf");
    for (const char* piece :
         {"一季度", "173", "张三", "李四", "王五", "39.4%", "甲线", "乙线", "华东", "华南", "华北"})
        EXPECT_NE(text.find(piece), std::string::npos) << piece << " in\n" << text;
}

// The formats that the batches leave out.
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
        {ImgTifThread, "ImgTif", "img-tif", ".tif", "II*"},
        {ImgPngThread, "ImgPng", "img-png", ".png", "\x89PNG"},
        {ImgPngOnePageThread, "ImgPngOnePage", "img-png-allin", ".png", "\x89PNG"},
    };
    for (const auto& test : cases) {
        const std::string printed = lines(test.run);
        EXPECT_EQ(printed.find("failed"), std::string::npos)
            << printed << ReadFile(setup() / "log/qbsvrl6.log");
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

}  // namespace
