// Whole reports within one process: the template sales.qbf over generated rows, in every document format. The
// last row of each text document is checked before timing. Items are rows or, for small reports, reports.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "engine/qbsvr_more.h"
#include "engine/report_handle.h"
#include "larkspur.h"

using namespace larkspur;
using namespace quillbrook;

namespace {

struct Sale {
    lkstr region, number, customer, product;
    ClkDateTime date;
    int quantity = 0;
    double price = 0;
    double amount = 0;
    lkstr note;
};

str Padded(int value, int width) {
    const str digits = std::to_string(value);
    return str(static_cast<std::size_t>(std::max(0, width - static_cast<int>(digits.size()))), '0') + digits;
}

constexpr std::int64_t kFirstDay = 1'767'225'600;  // 2026-01-01

lkstr Ascii(const str& text) { return lkstr(text.begin(), text.end()); }

std::vector<Sale> MakeSales(int count) {
    constexpr const lkchar* kCustomers[] = {u"东方贸易公司", u"恒信科技", u"Bluewater Foods", u"瑞丰物流集团",
                                            u"明远文化"};
    constexpr const lkchar* kProducts[] = {u"龙井绿茶", u"Espresso Beans", u"五常大米", u"东海带鱼",
                                           u"Olive Oil"};
    constexpr const lkchar* kNotes[] = {u"", u"急", u"ok", u"退货"};
    std::mt19937 random(1);
    const auto any = [&random](int from, int to) {
        return from + static_cast<int>(random() % static_cast<unsigned>(to - from + 1));
    };
    std::vector<Sale> sales(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        Sale& sale = sales[static_cast<std::size_t>(i)];
        sale.region = u"地区 " + Ascii(std::to_string(i * 12LL / count + 1));
        sale.number = Ascii("R" + Padded(i + 1, 6));
        sale.date.m_Time = kFirstDay + any(0, 364) * 86'400LL;
        sale.customer = kCustomers[any(0, 4)];
        sale.product = kProducts[any(0, 4)];
        sale.quantity = any(1, 400);
        sale.price = any(100, 90'000) / 100.0;
        sale.amount = std::round(sale.quantity * sale.price * 100) / 100;
        sale.note = kNotes[any(0, 3)];
    }
    return sales;
}

str Json(const std::vector<Sale>& sales) {
    ClkDateTimeFormatParser dates;
    dates.Parse(u"yyyy-MM-dd");
    lkstr text = u"[";
    for (const Sale& sale : sales) {
        const auto add = [&text](const lkchar* name, const lkstr& value) {
            text += u"\"" + lkstr(name) + u"\": \"" + value + u"\", ";
        };
        const auto addNumber = [&text](const lkchar* name, const str& value) {
            text += u"\"" + lkstr(name) + u"\": " + Ascii(value) + u", ";
        };
        const auto money = [](double value) {
            char digits[32];
            std::snprintf(digits, sizeof digits, "%.2f", value);
            return str(digits);
        };
        text += text.size() > 1 ? u", {" : u"{";
        add(u"Region", sale.region);
        add(u"No", sale.number);
        add(u"Date", dates.Format(sale.date));
        add(u"Customer", sale.customer);
        add(u"Product", sale.product);
        addNumber(u"Quantity", std::to_string(sale.quantity));
        addNumber(u"Price", money(sale.price));
        addNumber(u"Amount", money(sale.amount));
        text += u"\"Note\": \"" + sale.note + u"\"}";
    }
    text += u"]";
    return UnicodeToUtf8(text.c_str(), static_cast<int>(text.size()));
}

// The template and a data file for each count of rows, in a directory that goes when the program ends.
class Workplace {
public:
    static Workplace& Get() {
        static Workplace workplace;
        return workplace;
    }
    ~Workplace() { std::filesystem::remove_all(directory_); }

    lkstr DataFile(int count) {
        const str path = directory_ + "/" + std::to_string(count) + ".txt";
        if (!std::filesystem::exists(path)) {
            const str json = Json(MakeSales(count));
            SaveBinDataToLocalFile(Ascii(path).c_str(), json.data(), static_cast<int>(json.size()));
        }
        return Ascii(path);
    }

private:
    Workplace() {
        char name[] = "/tmp/export_bench-XXXXXX";
        if (mkdtemp(name) == nullptr) std::abort();
        directory_ = name;
        QBInitConfig(Ascii(directory_).c_str());
    }
    str directory_;
};

enum class Kind { Pdf, Xlsx, Xls, Htm, Rtf, Txt, Csv, CsvTable, Tiff };

tagQBExportType TypeOf(Kind kind) {
    switch (kind) {
        case Kind::Pdf:
            return QBExportType_PDF;
        case Kind::Xlsx:
        case Kind::Xls:
            return QBExportType_XLS;
        case Kind::Htm:
            return QBExportType_HTM;
        case Kind::Rtf:
            return QBExportType_RTF;
        case Kind::Txt:
            return QBExportType_TXT;
        case Kind::Csv:
        case Kind::CsvTable:
            return QBExportType_CSV;
        case Kind::Tiff:
            break;
    }
    return QBExportType_IMG;
}

void Load(tagQBReport* report, int rows) {
    if (!QBReportLoadFromFile(report, QBSVR_BENCH_TEMPLATE) ||
        !QBReportLoadDataFromURL(report, Workplace::Get().DataFile(rows).c_str())) {
        std::abort();
    }
}

// Makes the document and lets `look` see it: empty where the engine makes none of the kind.
template <typename Look>
void Export(tagQBReport* report, Kind kind, Look look) {
    tagQBExportOption* const option = QBReportPrepareExport(report, TypeOf(kind));
    if (kind == Kind::Xlsx) QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), 1);
    if (kind == Kind::CsvTable) {
        tagQBE2CellOption* const cells = QBExportOptionGetAsE2CellOption(option);
        QBE2CellOptionSetSameAsPrint(cells, 0);
        QBE2CellOptionSetExportPageHeaderFooter(cells, 0);
    }
    tagQBBinaryObject* const document = QBReportExportToBinaryObject(report);
    if (document == nullptr) {
        look(std::string_view());
    } else {
        look(std::string_view(static_cast<const char*>(QBBinaryObjectGetDataBuf(document)),
                              static_cast<std::size_t>(QBBinaryObjectGetDataSize(document))));
    }
    QBReportUnprepareExport(report);
}

bool IsComplete(std::string_view document, Kind kind, int rows) {
    const bool isText = kind == Kind::Htm || kind == Kind::Txt || kind == Kind::Csv || kind == Kind::CsvTable;
    return !document.empty() && (!isText || document.find("R" + Padded(rows, 6)) != document.npos);
}

// Data that is loaded becomes a document.
void Documents(benchmark::State& state, Kind kind) {
    const int rows = static_cast<int>(state.range(0));
    const CQBReportHandle report;
    Load(report.m_report, rows);
    bool complete = false;
    Export(report.m_report, kind,
           [&](std::string_view document) { complete = IsComplete(document, kind, rows); });
    if (!complete) {
        state.SkipWithError("no document");
        return;
    }
    std::size_t bytes = 0;
    for (auto _ : state) {
        Export(report.m_report, kind, [&](std::string_view document) { bytes = document.size(); });
    }
    state.SetItemsProcessed(state.iterations() * rows);
    state.counters["bytes"] = static_cast<double>(bytes);
}
#define QBSVR_DOCUMENTS(name, kind) \
    BENCHMARK_CAPTURE(Documents, name, kind)->Arg(5'000)->Arg(50'000)->Unit(benchmark::kMillisecond)
QBSVR_DOCUMENTS(pdf, Kind::Pdf);
QBSVR_DOCUMENTS(xlsx, Kind::Xlsx);
QBSVR_DOCUMENTS(xls, Kind::Xls);
QBSVR_DOCUMENTS(htm, Kind::Htm);
QBSVR_DOCUMENTS(rtf, Kind::Rtf);
QBSVR_DOCUMENTS(txt, Kind::Txt);
QBSVR_DOCUMENTS(csv, Kind::Csv);
QBSVR_DOCUMENTS(csv_as_one_table, Kind::CsvTable);
BENCHMARK_CAPTURE(Documents, tiff, Kind::Tiff)->Arg(50)->Unit(benchmark::kMillisecond);

void ReadingTheData(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    for (auto _ : state) {
        const CQBReportHandle report;
        Load(report.m_report, rows);
    }
    state.SetItemsProcessed(state.iterations() * rows);
}
BENCHMARK(ReadingTheData)->Arg(5'000)->Arg(50'000)->Unit(benchmark::kMillisecond);

// The text around the cells of a document.
struct Frame {
    std::string_view row, cell, behindCell, behindRow;
};
constexpr Frame kCsv{"", "", ",", "\r\n"};
constexpr Frame kHtm{"<tr class=\"h1\">", "<td class=\"s12\">", "</td>", "</tr>\n"};

// The floor of a text kind: a loop that somebody wrote for this one table, its rows in memory as numbers and
// texts, formatted by larkspur.
void WritingAlone(benchmark::State& state, const Frame& frame) {
    const std::vector<Sale> sales = MakeSales(static_cast<int>(state.range(0)));
    ClkNumericFormatParser whole, money;
    whole.Parse(u"#,##0");
    money.Parse(u"#,##0.00");
    ClkDateTimeFormatParser dates;
    dates.Parse(u"yyyy-MM-dd");
    for (auto _ : state) {
        str out;
        const auto add = [&](std::u16string_view text) {
            out += frame.cell;
            char utf8[8];
            for (const lkchar unit : text) {
                if (unit < 0x80) {
                    out += static_cast<char>(unit);
                } else {
                    out.append(utf8, static_cast<std::size_t>(UnicodeCharToUtf8(unit, utf8, sizeof utf8)));
                }
            }
            out += frame.behindCell;
        };
        for (const Sale& sale : sales) {
            out += frame.row;
            add(sale.number);
            add(dates.Format(sale.date));
            add(sale.customer);
            add(sale.product);
            add(whole.Format(sale.quantity));
            add(money.Format(sale.price));
            add(money.Format(sale.amount));
            add(sale.note);
            out += frame.behindRow;
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK_CAPTURE(WritingAlone, csv, kCsv)->Arg(5'000)->Arg(50'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(WritingAlone, htm, kHtm)->Arg(5'000)->Arg(50'000)->Unit(benchmark::kMillisecond);

// Reports of 50 rows, from template to document, one after the other on each thread.
void SmallReports(benchmark::State& state, Kind kind) {
    for (auto _ : state) {
        const CQBReportHandle report;
        Load(report.m_report, 50);
        Export(report.m_report, kind, [kind](std::string_view document) {
            if (!IsComplete(document, kind, 50)) std::abort();
        });
    }
    state.SetItemsProcessed(state.iterations());
}
#define QBSVR_SMALL_REPORTS(name, kind)         \
    BENCHMARK_CAPTURE(SmallReports, name, kind) \
        ->Threads(1)                            \
        ->Threads(16)                           \
        ->UseRealTime()                         \
        ->MeasureProcessCPUTime()
QBSVR_SMALL_REPORTS(pdf, Kind::Pdf);
QBSVR_SMALL_REPORTS(xlsx, Kind::Xlsx);
QBSVR_SMALL_REPORTS(csv, Kind::Csv);

// A call that does little more than recognise its handle, among those of many reports.
void HandleLookup(benchmark::State& state) {
    const std::vector<CQBReportHandle> reports(static_cast<std::size_t>(state.range(0)));
    std::size_t next = 0;
    for (auto _ : state) {
        if (QBXReportGetPageCount(reports[next].m_report) != 0) std::abort();
        if (++next == reports.size()) next = 0;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(HandleLookup)->Arg(1)->Arg(10'000)->Threads(1)->Threads(2);

}  // namespace

BENCHMARK_MAIN();
