// UTF-8 to 16-bit text and back on 10 MB, compared with memcpy of the same bytes and, if it is installed,
// ICU. Every conversion is checked against a plain loop before it is timed.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string_view>
#include <vector>

#include "common/unicode.h"

#ifdef QBSVR_BENCH_ICU
#include <unicode/ustring.h>
#endif

namespace {

using namespace larkspur;

enum Kind { kAscii, kChinese, kMixed };
constexpr std::size_t kBytes = 10'000'000;

struct Sample {
    str bytes;
    lkstr text;
};

Sample MakeSample(Kind kind) {
    static const std::vector<std::u16string_view> pieces[] = {
        {u"The quick brown fox jumps over the lazy dog, 0123456789. "},
        {u"报表引擎按模板读取数据并生成打印页面"},
        {u"合同编号 ", u"2024-0815", u",", u"客户:北京示例有限公司 ", u"(Example Ltd.)", u"金额",
         u" 1,234.56 ", u"元", u"Größe ", u"42 m²", u"\n"},
    };
    std::minstd_rand random;
    Sample sample;
    while (sample.bytes.size() < kBytes) {
        for (const lkchar unit : pieces[kind][random() % pieces[kind].size()]) {
            char encoded[3];
            sample.bytes.append(encoded, static_cast<std::size_t>(UnicodeCharToUtf8(unit, encoded, 3)));
            sample.text += unit;
        }
    }
    return sample;
}

const Sample& SampleOf(benchmark::State& state) {
    static const Sample samples[] = {MakeSample(kAscii), MakeSample(kChinese), MakeSample(kMixed)};
    static constexpr const char* kNames[] = {"ASCII", "Chinese", "mixed"};
    state.SetLabel(kNames[state.range(0)]);
    return samples[state.range(0)];
}

// Counts bytes of UTF-8, whichever way they go.
void CountBytes(benchmark::State& state, const Sample& sample) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sample.bytes.size()));
}

void Require(benchmark::State& state, bool right) {
    if (!right) state.SkipWithError("wrong result");
}

void Copy(benchmark::State& state) {
    const Sample& sample = SampleOf(state);
    str to(sample.bytes.size(), '\0');
    for (auto _ : state) {
        std::memcpy(to.data(), sample.bytes.data(), to.size());
        benchmark::ClobberMemory();
    }
    CountBytes(state, sample);
}

void DecodeToString(benchmark::State& state) {
    const Sample& sample = SampleOf(state);
    const int size = static_cast<int>(sample.bytes.size());
    Require(state, Utf8ToUnicode(sample.bytes.data(), size) == sample.text);
    for (auto _ : state) benchmark::DoNotOptimize(Utf8ToUnicode(sample.bytes.data(), size));
    CountBytes(state, sample);
}

void DecodeToMemory(benchmark::State& state) {
    const Sample& sample = SampleOf(state);
    const int size = static_cast<int>(sample.bytes.size());
    ClkMemory out;
    Utf8ToUnicode(sample.bytes.data(), size, out);
    Require(state, std::u16string_view(static_cast<const lkchar*>(out.Data())) == sample.text);
    for (auto _ : state) {
        ClkMemory block;
        Utf8ToUnicode(sample.bytes.data(), size, block);
        benchmark::DoNotOptimize(block.Data());
    }
    CountBytes(state, sample);
}

void EncodeToString(benchmark::State& state) {
    const Sample& sample = SampleOf(state);
    const int size = static_cast<int>(sample.text.size());
    Require(state, UnicodeToUtf8(sample.text.data(), size) == sample.bytes);
    for (auto _ : state) benchmark::DoNotOptimize(UnicodeToUtf8(sample.text.data(), size));
    CountBytes(state, sample);
}

void EncodeToMemory(benchmark::State& state) {
    const Sample& sample = SampleOf(state);
    const int size = static_cast<int>(sample.text.size());
    ClkMemory out;
    UnicodeToUtf8(sample.text.data(), size, out);
    Require(state, std::string_view(static_cast<const char*>(out.Data())) == sample.bytes);
    for (auto _ : state) {
        ClkMemory block;
        UnicodeToUtf8(sample.text.data(), size, block);
        benchmark::DoNotOptimize(block.Data());
    }
    CountBytes(state, sample);
}

void Detect(benchmark::State& state) {
    const Sample& sample = SampleOf(state);
    const int size = static_cast<int>(sample.bytes.size());
    Require(state, DetectIsUTF8(sample.bytes.data(), size));
    for (auto _ : state) benchmark::DoNotOptimize(DetectIsUTF8(sample.bytes.data(), size));
    CountBytes(state, sample);
}

#ifdef QBSVR_BENCH_ICU
void DecodeIcu(benchmark::State& state) {
    const Sample& sample = SampleOf(state);
    const int size = static_cast<int>(sample.bytes.size());
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        int length = 0;
        lkstr out(sample.bytes.size(), 0);
        u_strFromUTF8(out.data(), size, &length, sample.bytes.data(), size, &error);
        out.resize(static_cast<std::size_t>(length));
        benchmark::DoNotOptimize(out.data());
        if (U_FAILURE(error)) state.SkipWithError("wrong result");
    }
    CountBytes(state, sample);
}

void EncodeIcu(benchmark::State& state) {
    const Sample& sample = SampleOf(state);
    const int size = static_cast<int>(sample.text.size());
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        int length = 0;
        str out(sample.bytes.size(), '\0');
        u_strToUTF8(out.data(), static_cast<int>(out.size()), &length, sample.text.data(), size, &error);
        benchmark::DoNotOptimize(out.data());
        if (U_FAILURE(error)) state.SkipWithError("wrong result");
    }
    CountBytes(state, sample);
}
BENCHMARK(DecodeIcu)->DenseRange(kAscii, kMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(EncodeIcu)->DenseRange(kAscii, kMixed)->Unit(benchmark::kMillisecond);
#endif

BENCHMARK(Copy)->DenseRange(kAscii, kMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(DecodeToString)->DenseRange(kAscii, kMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(DecodeToMemory)->DenseRange(kAscii, kMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(EncodeToString)->DenseRange(kAscii, kMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(EncodeToMemory)->DenseRange(kAscii, kMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(Detect)->DenseRange(kAscii, kMixed)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
