// JSON: parsing and writing a list of small objects, compared with the peers found at configuration.
//
// Bytes per second count the 16-bit text; nlohmann reads and writes the same document in UTF-8.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/unicode.h"
#include "json/json_tree.h"

#ifdef QBSVR_BENCH_NLOHMANN
#include <nlohmann/json.hpp>
#endif
#ifdef QBSVR_BENCH_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif

namespace {

using larkspur::lkstr;

// Rows as in reports: short and long texts, Latin and Chinese, numbers, a nested object; 10 MB.
lkstr MakeRows() {
    lkstr text = u"[";
    for (int i = 0; text.size() < 5'000'000; ++i) {
        if (i != 0) text += u',';
        char row[400];
        std::snprintf(row, sizeof row,
                      "{\"OrderID\":%d,\"CustomerID\":\"C%05d\",\"CompanyName\":\"Company %d of the list\","
                      "\"City\":\"\xE5\x8C\x97\xE4\xBA\xAC\",\"Amount\":%d.%02d,\"Discount\":0,"
                      "\"Paid\":%s,\"Ship\":{\"Name\":\"\xE9\x87\x91\xE8\x8F\xB1\",\"Zip\":\"%06d\"},"
                      "\"Notes\":\"first line\\nsecond \\\"line\\\"\"}",
                      10000 + i, i % 99999, i, i * 7 % 9000, i % 100, i % 3 != 0 ? "true" : "false",
                      i % 999999);
        text += larkspur::Utf8ToUnicode(row, static_cast<int>(std::string(row).size()));
    }
    return text + u']';
}

const lkstr& Rows() {
    static const lkstr rows = MakeRows();
    return rows;
}

int Length(const lkstr& text) { return static_cast<int>(text.size()); }

void CountBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(Rows().size() * sizeof(char16_t)));
}

void Check(bool good, const char* what) {
    if (good) return;
    std::fprintf(stderr, "json_bench: %s\n", what);
    std::exit(1);
}

void BM_Parse(benchmark::State& state) {
    for (auto _ : state) {
        larkspur::ClkArrayJson json;
        json.Parse(Rows().c_str(), Length(Rows()));
        benchmark::DoNotOptimize(json.Root().Items().size());
    }
    CountBytes(state);
}
BENCHMARK(BM_Parse)->Unit(benchmark::kMillisecond);

void BM_Stringify(benchmark::State& state) {
    larkspur::ClkArrayJson json;
    json.Parse(Rows().c_str(), Length(Rows()));
    const lkstr once = json.Stringify(nullptr);
    larkspur::ClkArrayJson again;
    again.Parse(once.c_str(), Length(once));
    Check(once.size() == Rows().size() && again.Stringify(nullptr) == once, "writing changed the document");
    for (auto _ : state) benchmark::DoNotOptimize(json.Stringify(nullptr));
    CountBytes(state);
}
BENCHMARK(BM_Stringify)->Unit(benchmark::kMillisecond);

#ifdef QBSVR_BENCH_RAPIDJSON
using Utf16 = rapidjson::UTF16<char16_t>;
using RapidDocument = rapidjson::GenericDocument<Utf16>;

void BM_ParseRapidJson(benchmark::State& state) {
    for (auto _ : state) {
        RapidDocument document;
        document.Parse(Rows().c_str());
        benchmark::DoNotOptimize(document.Size());
    }
    CountBytes(state);
}
BENCHMARK(BM_ParseRapidJson)->Unit(benchmark::kMillisecond);

// In place; the copy of the text, which it overwrites, is not timed.
void BM_ParseRapidJsonInSitu(benchmark::State& state) {
    lkstr text;
    for (auto _ : state) {
        state.PauseTiming();
        text = Rows();
        state.ResumeTiming();
        RapidDocument document;
        document.ParseInsitu(text.data());
        benchmark::DoNotOptimize(document.Size());
    }
    CountBytes(state);
}
BENCHMARK(BM_ParseRapidJsonInSitu)->Unit(benchmark::kMillisecond);

void BM_StringifyRapidJson(benchmark::State& state) {
    RapidDocument document;
    document.Parse(Rows().c_str());
    for (auto _ : state) {
        rapidjson::GenericStringBuffer<Utf16> buffer;
        rapidjson::Writer<rapidjson::GenericStringBuffer<Utf16>, Utf16, Utf16> writer(buffer);
        document.Accept(writer);
        benchmark::DoNotOptimize(buffer.GetString());
    }
    CountBytes(state);
}
BENCHMARK(BM_StringifyRapidJson)->Unit(benchmark::kMillisecond);
#endif

#ifdef QBSVR_BENCH_NLOHMANN
void BM_ParseNlohmann(benchmark::State& state) {
    const std::string utf8 = larkspur::UnicodeToUtf8(Rows().c_str(), Length(Rows()));
    for (auto _ : state) benchmark::DoNotOptimize(nlohmann::json::parse(utf8).size());
    CountBytes(state);
}
BENCHMARK(BM_ParseNlohmann)->Unit(benchmark::kMillisecond);

void BM_StringifyNlohmann(benchmark::State& state) {
    const auto document = nlohmann::json::parse(larkspur::UnicodeToUtf8(Rows().c_str(), Length(Rows())));
    for (auto _ : state) benchmark::DoNotOptimize(document.dump());
    CountBytes(state);
}
BENCHMARK(BM_StringifyNlohmann)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
