#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/paint/raster/raster.h"
#include "tests/qbsvrl6/paint/handmade.h"

namespace qbsvrl6 {
namespace {

std::string report(PageSink& writer, Spool& output, int kind) {
    const char16_t* families[] = {
        u"SimSun",     u"黑体", u"Arial", u"Times New Roman", u"楷体", u"Verdana", u"WenQuanYi Micro Hei",
        u"Courier New"};
    ResolvedStyle style = handmade::style(families[kind % 8], 6 + kind);
    style.bold = kind % 2 == 0;
    style.italic = kind % 3 == 0;
    for (int page = 0; page < 3; ++page) {
        writer.beginPage({page + 1, handmade::kPaper, {}});
        for (int row = 0; row < 20; ++row) {
            std::u16string text;
            for (int i = 0; i < 25; ++i) text += static_cast<char16_t>(0x4E00 + (page * 20 + row) * 25 + i);
            Band band = handmade::band(10'000);
            band.items.push_back(handmade::text({10'000, 0, 190'000, 10'000}, text + u" fi AV", style));
            writer.band(std::move(band), 0, 10'000 + row * 10'000);
        }
        writer.endPage();
    }
    handmade::SettleTo settle(u"");
    writer.finish(settle);
    return output.take();
}

std::string pdf(int kind) {
    Spool output;
    return report(*makePdfWriter({}, output), output, kind);
}

std::string image(int kind) {
    RasterOptions options;
    options.resolution = 72;
    Spool output;
    return report(*makeTiffWriter(options, output), output, kind);
}

// Sixteen reports at the same time, in different fonts and sizes with 1,500 different ideographs, are equal
// to those made alone.
void expectAsAlone(std::string (*make)(int kind)) {
    constexpr std::size_t kThreads = 16;
    std::vector<std::string> together(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([&together, make, t] { together[t] = make(static_cast<int>(t)); });
    }
    for (std::thread& thread : threads) thread.join();
    for (std::size_t t = 0; t < kThreads; ++t) EXPECT_TRUE(together[t] == make(static_cast<int>(t))) << t;
}

TEST(PaintThreads, Pdf) { expectAsAlone(pdf); }
TEST(PaintThreads, Images) { expectAsAlone(image); }

}  // namespace
}  // namespace qbsvrl6
