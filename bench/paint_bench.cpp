// Rows to PDF and images, from handmade bands: shaping, drawing and compressing, without data and layout.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qbsvrl6/paint/band_painter.h"
#include "qbsvrl6/paint/compressor.h"
#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/paint/pdf/pdf_canvas.h"
#include "qbsvrl6/paint/raster/raster.h"
#include "tests/qbsvrl6/paint/handmade.h"

namespace qbsvrl6 {
namespace {

using handmade::kPaper;

constexpr int kColumns = 8;
constexpr int kRowsPerPage = 40;
constexpr Micrometres kRowHeight = 6'500;

// Eight columns as in reports: numbers, dates, codes, Chinese names of 1,200 different ideographs.
class Rows {
public:
    Rows() : text_(handmade::style(u"SimSun", 9)), number_(handmade::style(u"SimSun", 9)) {
        number_.align = HorizontalAlign::Right;
        const BorderLine line{200, {}};
        text_.border = number_.border = {line, line, line, line};
    }

    Band row(int index) const {
        Band band = handmade::band(kRowHeight);
        band.items.reserve(kColumns);
        for (int column = 0; column < kColumns; ++column) {
            const bool isNumber = column == 0 || column >= 5;
            band.items.push_back(handmade::text({15'000 + column * 22'000, 0, 22'000, kRowHeight},
                                                content(index, column), isNumber ? number_ : text_, column));
        }
        return band;
    }

private:
    static std::u16string digits(int value, std::size_t width) {
        std::u16string text;
        for (const char c : std::to_string(value)) text += static_cast<char16_t>(c);
        while (text.size() < width) text.insert(text.begin(), u'0');
        return text;
    }

    static std::u16string content(int row, int column) {
        const auto ideograph = [&](int i) {
            return static_cast<char16_t>(0x4E00 + (row * 7 + i * 131) % 1200);
        };
        switch (column) {
            case 0:
                return digits(row + 1, 0);
            case 1:
                return digits(100'000 + row, 6) + u"C";
            case 2:
                return {ideograph(0), ideograph(1), ideograph(2), u'公', u'司'};
            case 3:
                return digits(2024, 4) + u"-" + digits(1 + row % 12, 2) + u"-" + digits(1 + row % 28, 2);
            case 4:
                return digits(row % 300, 3) + u" Product";
            case 5:
                return digits(row % 1000, 0) + u"." + digits(row % 100, 2);
            case 6:
                return digits(1 + row % 90, 0) + u"," + digits(row % 1000, 3) + u".50";
            default:
                return digits(row % 100, 0) + u"%";
        }
    }

    ResolvedStyle text_, number_;
};

void writePages(PageSink& writer, const Rows& rows, int count) {
    for (int first = 0, page = 1; first < count; first += kRowsPerPage, ++page) {
        writer.beginPage({page, kPaper, {}});
        for (int i = 0; i < std::min(kRowsPerPage, count - first); ++i) {
            writer.band(rows.row(first + i), 0, 15'000 + i * kRowHeight);
        }
        writer.endPage();
    }
    handmade::SettleTo settle(u"");
    writer.finish(settle);
}

void BM_RowsToPdf(benchmark::State& state) {
    const Rows rows;
    std::size_t bytes = 0;
    for (auto _ : state) {
        Spool output;
        writePages(*makePdfWriter({}, output), rows, static_cast<int>(state.range(0)));
        bytes = output.size();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_RowsToPdf)->Arg(50)->Arg(5'000)->Arg(50'000)->Unit(benchmark::kMillisecond);

// The floor: what compressing the same pages alone costs.
void BM_CompressPagesAlone(benchmark::State& state) {
    const Rows rows;
    std::vector<std::string> pages;
    Spool output;
    PdfFile file(output);
    PdfFonts fonts({});
    PdfPictures pictures(file, PdfStandard::None);
    PdfCanvas canvas(fonts, pictures);
    std::vector<PendingItem> pending;
    std::size_t bytes = 0;
    for (int first = 0; first < state.range(0); first += kRowsPerPage) {
        canvas.begin(kPaper.height);
        for (int i = 0; i < kRowsPerPage; ++i) {
            paintBand(canvas, rows.row(first + i), 0, 15'000 + i * kRowHeight, pending);
        }
        pages.emplace_back(canvas.end());
        bytes += pages.back().size();
    }
    for (auto _ : state) {
        for (const std::string& page : pages) benchmark::DoNotOptimize(compress(page).size());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_CompressPagesAlone)->Arg(5'000)->Unit(benchmark::kMillisecond);

using ImageWriter = std::unique_ptr<PageSink> (*)(const RasterOptions& options, Spool& output);

// Pages a second at 150 dots an inch.
void pagesToImage(benchmark::State& state, ImageWriter makeWriter, bool allInOne) {
    constexpr int kPages = 10;
    const Rows rows;
    std::size_t bytes = 0;
    for (auto _ : state) {
        RasterOptions options;
        options.allPagesInOne = allInOne;
        Spool output;
        writePages(*makeWriter(options, output), rows, kPages * kRowsPerPage);
        bytes = output.size();
    }
    state.SetItemsProcessed(state.iterations() * kPages);
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK_CAPTURE(pagesToImage, tiff, makeTiffWriter, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pagesToImage, png_all_in_one, makePngWriter, true)->Unit(benchmark::kMillisecond);

void BM_ShapeCells(benchmark::State& state) {
    const Rows rows;
    for (auto _ : state) {
        for (int i = 0; i < 5'000; ++i) benchmark::DoNotOptimize(rows.row(i).items.size());
    }
    state.SetItemsProcessed(state.iterations() * 5'000 * kColumns);
}
BENCHMARK(BM_ShapeCells)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace qbsvrl6

BENCHMARK_MAIN();
