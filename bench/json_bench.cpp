// JSON: parsing and writing 10 MB of three shapes, compared with the peers found at configuration.
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

enum Shape { kRows, kReports, kDeep };

// Objects as in reports: short and long texts, Latin and Chinese, numbers, a nested object.
std::string RowText(int i) {
    char row[400];
    std::snprintf(row, sizeof row,
                  "{\"OrderID\":%d,\"CustomerID\":\"C%05d\",\"CompanyName\":\"Company %d of the list\","
                  "\"City\":\"\xE5\x8C\x97\xE4\xBA\xAC\",\"Amount\":%d.%02d,\"Discount\":0,"
                  "\"Paid\":%s,\"Ship\":{\"Name\":\"\xE9\x87\x91\xE8\x8F\xB1\",\"Zip\":\"%06d\"},"
                  "\"Notes\":\"first line\\nsecond \\\"line\\\"\"}",
                  10000 + i, i % 99999, i, i * 7 % 9000, i % 100, i % 3 != 0 ? "true" : "false", i % 999999);
    return row;
}

// A folder of the list of reports, with line breaks and indentation.
std::string ReportsText(int i) {
    std::string text = "{\"Dir\":\"sales\\\\" + std::to_string(2000 + i % 30) + "\",\"Items\":[\n";
    for (int item = 0; item < 8; ++item) {
        text += "  {\"Name\":\"" + std::to_string(item) +
                "a.\xE5\xAE\xA2\xE6\x88\xB7\",\"Data\":\"SalesByMonth\"}";
        text += item < 7 ? ",\n" : "\n";
    }
    return text + "]}";
}

// Objects and arrays in each other, 64 levels deep.
std::string DeepText(int i) {
    std::string text, end;
    for (int level = 0; level < 32; ++level) {
        text += "{\"n\":" + std::to_string(i % 100) + ",\"child\":[";
        end += "]}";
    }
    return text + end;
}

lkstr MakeText(Shape shape) {
    std::string text = "[";
    lkstr units;
    for (int i = 0; units.size() + text.size() < 5'000'000; ++i) {
        if (i != 0) text += ",\n";
        text += shape == kRows ? RowText(i) : shape == kReports ? ReportsText(i) : DeepText(i);
        units += larkspur::Utf8ToUnicode(text.data(), static_cast<int>(text.size()));
        text.clear();
    }
    return units + u']';
}

const lkstr& TextOf(benchmark::State& state) {
    static const lkstr texts[] = {MakeText(kRows), MakeText(kReports), MakeText(kDeep)};
    static constexpr const char* kNames[] = {"rows", "list of reports", "deep"};
    state.SetLabel(kNames[state.range(0)]);
    return texts[state.range(0)];
}

int Length(const lkstr& text) { return static_cast<int>(text.size()); }

void CountBytes(benchmark::State& state, const lkstr& text) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size() * sizeof(char16_t)));
}

void Check(bool good, const char* what) {
    if (good) return;
    std::fprintf(stderr, "json_bench: %s\n", what);
    std::exit(1);
}

void BM_Parse(benchmark::State& state) {
    const lkstr& text = TextOf(state);
    for (auto _ : state) {
        larkspur::ClkArrayJson json;
        json.Parse(text.c_str(), Length(text));
        benchmark::DoNotOptimize(json.Root().Items().size());
    }
    CountBytes(state, text);
}
BENCHMARK(BM_Parse)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);

// The number of units in all texts below a node.
std::size_t UnitsIn(const larkspur::ClkJsonNode& node) {
    std::size_t n = 0;
    if (node.Kind() == larkspur::ClkJsonObject) {
        for (const auto& member : static_cast<const larkspur::ClkJsonObjectNode&>(node).Members()) {
            n += UnitsIn(*member.second);
        }
    } else if (node.Kind() == larkspur::ClkJsonArray) {
        for (const auto& item : static_cast<const larkspur::ClkJsonArrayNode&>(node).Items()) {
            n += UnitsIn(*item);
        }
    } else {
        n = static_cast<const larkspur::ClkJsonAtomNode&>(node).Text().size();
    }
    return n;
}

// Reads every value, so that every node is created.
void BM_ParseAndRead(benchmark::State& state) {
    const lkstr& text = TextOf(state);
    for (auto _ : state) {
        larkspur::ClkArrayJson json;
        json.Parse(text.c_str(), Length(text));
        benchmark::DoNotOptimize(UnitsIn(json.Root()));
    }
    CountBytes(state, text);
}
BENCHMARK(BM_ParseAndRead)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);

void BM_Stringify(benchmark::State& state) {
    const lkstr& text = TextOf(state);
    larkspur::ClkArrayJson json;
    json.Parse(text.c_str(), Length(text));
    const lkstr once = json.Stringify(nullptr);
    larkspur::ClkArrayJson again;
    again.Parse(once.c_str(), Length(once));
    Check(again.Stringify(nullptr) == once, "writing changed the document");
    for (auto _ : state) benchmark::DoNotOptimize(json.Stringify(nullptr));
    CountBytes(state, text);
}
BENCHMARK(BM_Stringify)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);

#ifdef QBSVR_BENCH_RAPIDJSON
using Utf16 = rapidjson::UTF16<char16_t>;
using RapidDocument = rapidjson::GenericDocument<Utf16>;

void BM_ParseRapidJson(benchmark::State& state) {
    const lkstr& text = TextOf(state);
    for (auto _ : state) {
        RapidDocument document;
        document.Parse(text.c_str());
        benchmark::DoNotOptimize(document.Size());
    }
    CountBytes(state, text);
}
BENCHMARK(BM_ParseRapidJson)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);

// Parses in place and passes the document on; the copy of the text, which it overwrites, is not timed.
void ParseInSitu(benchmark::State& state, std::size_t (*read)(const RapidDocument&)) {
    const lkstr& text = TextOf(state);
    lkstr copy;
    for (auto _ : state) {
        state.PauseTiming();
        copy = text;
        state.ResumeTiming();
        RapidDocument document;
        document.ParseInsitu(copy.data());
        benchmark::DoNotOptimize(read(document));
    }
    CountBytes(state, text);
}

void BM_ParseRapidJsonInSitu(benchmark::State& state) {
    ParseInSitu(state, [](const RapidDocument& document) -> std::size_t { return document.Size(); });
}
BENCHMARK(BM_ParseRapidJsonInSitu)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);

std::size_t UnitsIn(const RapidDocument::ValueType& value) {
    std::size_t n = 0;
    if (value.IsObject()) {
        for (const auto& member : value.GetObject()) n += UnitsIn(member.value);
    } else if (value.IsArray()) {
        for (const auto& item : value.GetArray()) n += UnitsIn(item);
    } else if (value.IsString()) {
        n = value.GetStringLength();
    } else {
        n = 1;
    }
    return n;
}

void BM_ParseAndReadRapidJsonInSitu(benchmark::State& state) {
    ParseInSitu(state, [](const RapidDocument& document) { return UnitsIn(document); });
}
BENCHMARK(BM_ParseAndReadRapidJsonInSitu)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);

void BM_StringifyRapidJson(benchmark::State& state) {
    const lkstr& text = TextOf(state);
    RapidDocument document;
    document.Parse(text.c_str());
    for (auto _ : state) {
        rapidjson::GenericStringBuffer<Utf16> buffer;
        rapidjson::Writer<rapidjson::GenericStringBuffer<Utf16>, Utf16, Utf16> writer(buffer);
        document.Accept(writer);
        benchmark::DoNotOptimize(buffer.GetString());
    }
    CountBytes(state, text);
}
BENCHMARK(BM_StringifyRapidJson)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);
#endif

#ifdef QBSVR_BENCH_NLOHMANN
void BM_ParseNlohmann(benchmark::State& state) {
    const lkstr& text = TextOf(state);
    const std::string utf8 = larkspur::UnicodeToUtf8(text.c_str(), Length(text));
    for (auto _ : state) benchmark::DoNotOptimize(nlohmann::json::parse(utf8).size());
    CountBytes(state, text);
}
BENCHMARK(BM_ParseNlohmann)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);

void BM_StringifyNlohmann(benchmark::State& state) {
    const lkstr& text = TextOf(state);
    const auto document = nlohmann::json::parse(larkspur::UnicodeToUtf8(text.c_str(), Length(text)));
    for (auto _ : state) benchmark::DoNotOptimize(document.dump());
    CountBytes(state, text);
}
BENCHMARK(BM_StringifyNlohmann)->DenseRange(kRows, kDeep)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
