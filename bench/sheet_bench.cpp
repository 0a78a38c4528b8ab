// Cell documents: 50,000 rows of 8 mixed columns, as layout would send them, into each kind.
//
//   Bands          the rows alone, into a sink that drops them: what all others bear too
//   Xlsx           against libxlsxwriter in constant memory, which is handed the same values and formats
//   Xls            the old workbook
//   Htm, Rtf, Txt, Csv    with "CopyHtm": the bytes of the same document, copied through a growing string
//   ReadJson       the same rows as 12 MB of JSON text into a table
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/sheet/writers.h"

#ifdef QBSVR_BENCH_XLSXWRITER
#include <sys/mman.h>
#include <xlsxwriter.h>

#include "qbsvrl6/support/utf.h"
#endif

namespace qbsvrl6 {
namespace {

constexpr int kRows = 50'000;
constexpr Micrometres kWidth = 22'500;
constexpr int kColumns = 8;

struct Looks {
    ResolvedStyle text, number, title;
    Looks() {
        const BorderLine line{250, {128, 128, 128}};
        text.border = number.border = title.border = {line, line, line, line};
        number.align = HorizontalAlign::Right;
        title.bold = true;
        title.background = Color{220, 230, 241};
    }
};

std::u16string digits(int number) {
    const std::string text = std::to_string(number);
    return {text.begin(), text.end()};
}

void addCell(Band& band, const ResolvedStyle& style, std::u16string text, const CellValue& value = {}) {
    Item& item = band.items.emplace_back();
    const auto column = static_cast<int>(band.items.size()) - 1;
    item.box = {column * kWidth, 0, kWidth, band.height};
    item.style = &style;
    item.column = item.lastColumn = column;
    TextItem content;
    content.text = std::move(text);
    content.value = value;
    item.content = std::move(content);
}

CellValue typed(ValueType type, double number, std::int64_t date, std::u16string_view format) {
    CellValue value;
    value.type = type;
    value.number = number;
    value.date = date;
    value.spreadsheetFormat = format;
    return value;
}

Band emptyBand(BandKind kind) {
    Band band;
    band.kind = kind;
    band.inGrid = true;
    band.width = kColumns * kWidth;
    band.height = 6000;
    band.items.reserve(kColumns);
    return band;
}

Band rowBand(const Looks& looks, int row) {
    static const std::u16string names[] = {u"龙井绿茶", u"Espresso Beans", u"东海带鱼", u"Olive Oil",
                                           u"五常大米"};
    static const std::u16string towns[] = {u"上海", u"Hamburg", u"杭州", u"Lyon"};
    const auto pick = static_cast<std::size_t>(row);
    const double price = 12.9 + row % 997;
    Band band = emptyBand(BandKind::Row);
    band.form = 1;
    addCell(band, looks.number, digits(row), typed(ValueType::Number, row, 0, {}));
    addCell(band, looks.text, u"SO-2026-" + digits(100'000 + row));
    addCell(band, looks.text, names[pick % 5]);
    addCell(band, looks.text, towns[pick % 4]);
    addCell(band, looks.number, digits(row % 90), typed(ValueType::Number, row % 90, 0, u"#,##0"));
    addCell(band, looks.number, digits(row % 997) + u".90", typed(ValueType::Number, price, 0, u"#,##0.00"));
    addCell(band, looks.number, digits(row % 90 * 13) + u".00",
            typed(ValueType::Number, price * (row % 90), 0, u"#,##0.00"));
    addCell(band, looks.text, u"2026-03-05",
            typed(ValueType::Date, 0, 1'772'668'800 + 86'400LL * (row % 365), u"yyyy-mm-dd"));
    return band;
}

class Nothing : public PendingTexts {
public:
    void settle(Item&) override {}
};

class DroppingSink : public PageSink {
public:
    void beginPage(const PageInfo&) override {}
    void band(Band&& band, Micrometres, Micrometres) override { benchmark::DoNotOptimize(band); }
    void endPage() override {}
    void finish(PendingTexts&) override {}
};

void feed(PageSink& sink, const Looks& looks) {
    PageInfo page;
    page.paper = {210'000, 297'000};
    sink.beginPage(page);
    Micrometres y = 15'000;
    Band title = emptyBand(BandKind::GridTitle);
    for (int i = 0; i < kColumns; ++i) addCell(title, looks.title, u"列 " + digits(i));
    sink.band(std::move(title), 15'000, y);
    for (int row = 0; row < kRows; ++row) sink.band(rowBand(looks, row), 15'000, y += 6000);
    sink.endPage();
    Nothing nothing;
    sink.finish(nothing);
}

using Maker = std::unique_ptr<PageSink> (*)(const SheetOptions&, Spool&);

std::string document(Maker make) {
    const Looks looks;
    SheetOptions options;
    options.paged = false;
    for (int i = 0; i <= kColumns; ++i) options.columnEdges.push_back(15'000 + i * kWidth);
    Spool output;
    feed(*make(options, output), looks);
    return output.take();
}

void countRows(benchmark::State& state, std::size_t bytes) {
    state.counters["rows"] = benchmark::Counter(kRows, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["MB"] = static_cast<double>(bytes) / 1e6;
}

void Bands(benchmark::State& state) {
    const Looks looks;
    for (auto _ : state) {
        DroppingSink sink;
        feed(sink, looks);
    }
    countRows(state, 0);
}

void Kind(benchmark::State& state, Maker make, const char* last) {
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::string output = document(make);
        bytes = output.size();
        benchmark::DoNotOptimize(output.data());
    }
    // A text of the last row is there, or the document is compressed and complete.
    const std::string output = document(make);
    if (output.find(last) == std::string::npos) state.SkipWithError("the document lacks its last row");
    countRows(state, bytes);
}

void CopyHtm(benchmark::State& state) {
    const std::string document = qbsvrl6::document(&makeHtmWriter);
    for (auto _ : state) {
        std::string output;
        for (std::size_t i = 0; i < document.size(); i += 512) output.append(document, i, 512);
        benchmark::DoNotOptimize(output.data());
    }
    countRows(state, document.size());
}

void ReadJson(benchmark::State& state) {
    std::string json = "[";
    for (int row = 0; row < kRows; ++row) {
        const std::string number = std::to_string(row);
        json += R"({"Id":)" + number + R"(,"Order":"SO-2026-)" + number +
                R"(","Name":"龙井绿茶","Town":"Hamburg","Count":)" + std::to_string(row % 90) +
                R"(,"Price":)" + std::to_string(row % 997) +
                R"(.90,"Paid":true,"Date":"2026-03-05","Note":"lines\nof text with \"quotes\""},)";
    }
    json.back() = ']';
    for (auto _ : state) {
        const DataSet data = readData(json, "bench");
        if (data.tables().front().rowCount() != kRows) state.SkipWithError("rows are missing");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(json.size()) * state.iterations());
    countRows(state, json.size());
}

#ifdef QBSVR_BENCH_XLSXWRITER
lxw_format* addFormat(lxw_workbook* book, const char* numberFormat, bool right) {
    lxw_format* format = workbook_add_format(book);
    format_set_font_name(format, "SimSun");
    format_set_font_size(format, 10);
    format_set_border(format, LXW_BORDER_THIN);
    format_set_align(format, LXW_ALIGN_VERTICAL_CENTER);
    format_set_align(format, right ? LXW_ALIGN_RIGHT : LXW_ALIGN_LEFT);
    if (numberFormat != nullptr) format_set_num_format(format, numberFormat);
    return format;
}

// The same bands, so that both sides bear their making; dates as serial numbers.
class PeerSink : public DroppingSink {
public:
    explicit PeerSink(const std::string& path) {
        lxw_workbook_options options{};
        options.constant_memory = LXW_TRUE;
        book_ = workbook_new_opt(path.c_str(), &options);
        sheet_ = workbook_add_worksheet(book_, nullptr);
        text_ = addFormat(book_, nullptr, false);
        plain_ = addFormat(book_, nullptr, true);
        whole_ = addFormat(book_, "#,##0", true);
        money_ = addFormat(book_, "#,##0.00", true);
        date_ = addFormat(book_, "yyyy-mm-dd", false);
    }
    void band(Band&& band, Micrometres, Micrometres) override {
        worksheet_set_row(sheet_, row_, 17.25, nullptr);
        for (std::size_t i = 0; i < band.items.size(); ++i) {
            const auto column = static_cast<lxw_col_t>(i);
            const TextItem& text = std::get<TextItem>(band.items[i].content);
            if (text.value.type == ValueType::Number) {
                lxw_format* format = i == 0 ? plain_ : i == 4 ? whole_ : money_;
                worksheet_write_number(sheet_, row_, column, text.value.number, format);
            } else if (text.value.type == ValueType::Date) {
                worksheet_write_number(sheet_, row_, column,
                                       static_cast<double>(text.value.date) / 86400 + 25569, date_);
            } else {
                worksheet_write_string(sheet_, row_, column, toUtf8(text.text).c_str(), text_);
            }
        }
        ++row_;
    }
    void finish(PendingTexts&) override { workbook_close(book_); }

private:
    lxw_workbook* book_ = nullptr;
    lxw_worksheet* sheet_ = nullptr;
    lxw_format *text_ = nullptr, *plain_ = nullptr, *whole_ = nullptr, *money_ = nullptr, *date_ = nullptr;
    lxw_row_t row_ = 0;
};

void PeerXlsx(benchmark::State& state) {
    const Looks looks;
    std::size_t bytes = 0;
    for (auto _ : state) {
        const int memory = ::memfd_create("book", MFD_CLOEXEC);
        PeerSink sink("/proc/self/fd/" + std::to_string(memory));
        feed(sink, looks);
        bytes = static_cast<std::size_t>(::lseek(memory, 0, SEEK_END));
        ::close(memory);
    }
    countRows(state, bytes);
}
BENCHMARK(PeerXlsx)->Unit(benchmark::kMillisecond)->Name("Xlsx/libxlsxwriter");
#endif

BENCHMARK(Bands)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Kind, Xlsx, &makeXlsxWriter, "PK\x05\x06")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Kind, Xls, &makeXlsWriter, "SO-2026-149999")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Kind, Htm, &makeHtmWriter, "SO-2026-149999")->Unit(benchmark::kMillisecond);
BENCHMARK(CopyHtm)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Kind, Rtf, &makeRtfWriter, "SO-2026-149999")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Kind, Txt, &makeTxtWriter, "SO-2026-149999")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Kind, Csv, &makeCsvWriter, "SO-2026-149999")->Unit(benchmark::kMillisecond);
BENCHMARK(ReadJson)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace qbsvrl6

BENCHMARK_MAIN();
