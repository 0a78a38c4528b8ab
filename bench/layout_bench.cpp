// From the text of the data to pages: the time to the first page, and to the last.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/layout/layout.h"
#include "qbsvrl6/template/template_io.h"

namespace qbsvrl6 {
namespace {

std::string makeData(std::int64_t rows) {
    std::string json = "[";
    for (std::int64_t i = 0; i < rows; ++i) {
        json += i == 0 ? "{" : ",{";
        json += "\"Region\":\"地区 " + std::to_string(i * 12 / rows + 1) + "\",\"No\":\"R" +
                std::to_string(100'000 + i) +
                "\",\"Date\":\"2026-03-18\",\"Customer\":\"恒信科技\",\"Product\":\"Espresso "
                "Beans\",\"Quantity\":" +
                std::to_string(i % 400) + ",\"Price\":12.50,\"Amount\":" + std::to_string(i) +
                ".25,\"Note\":\"ok\"}";
    }
    return json + "]";
}

struct EnoughPages {};

class CountingSink : public PageSink {
public:
    explicit CountingSink(std::int64_t wanted) : wanted_(wanted) {}
    void beginPage(const PageInfo&) override {}
    void band(Band&& band, Micrometres, Micrometres) override { benchmark::DoNotOptimize(band.items.data()); }
    void endPage() override {
        if (++pages == wanted_) throw EnoughPages();
    }
    void finish(PendingTexts&) override {}

    std::int64_t pages = 0;

private:
    std::int64_t wanted_;  // 0: all
};

void pages(benchmark::State& state, std::int64_t wanted) {
    const std::string json = makeData(state.range(0));
    ReportDefinition report = loadTemplate(QBSVR_BENCH_TEMPLATE);
    std::int64_t made = 0;
    for (auto _ : state) {
        ReportData sets;
        sets.sets[&report] = std::make_shared<DataSet>(readData(json, "bench"));
        CountingSink sink(wanted);
        try {
            layOut(report, sets, {}, sink);
        } catch (const EnoughPages&) {
        }
        made = sink.pages;
    }
    if (made == 0 || (wanted > 0 && made != wanted)) state.SkipWithError("no pages");
    state.counters["pages"] = static_cast<double>(made);
}
BENCHMARK_CAPTURE(pages, first, 1)->Arg(50)->Arg(5'000)->Arg(50'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pages, all, 0)->Arg(50)->Arg(5'000)->Arg(50'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace qbsvrl6

BENCHMARK_MAIN();
