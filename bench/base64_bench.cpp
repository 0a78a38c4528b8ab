// Base64 of 10 MB, clean and in lines of 76 characters, compared with a plain copy and, if it is installed,
// OpenSSL.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "common/base64.h"

#ifdef QBSVR_BENCH_OPENSSL
#include <openssl/evp.h>
#endif

namespace {

constexpr int kSize = 10'000'000;

const std::string& Bytes() {
    static const std::string bytes = [] {
        std::string made(kSize, '\0');
        unsigned int state = 1;
        for (char& c : made) {
            state = state * 1664525u + 1013904223u;
            c = static_cast<char>(state >> 24);
        }
        return made;
    }();
    return bytes;
}

// The Base64 of the bytes, with a line end after every lineLength characters unless that is 0.
std::string Encoded(std::size_t lineLength) {
    const std::string text = larkspur::Base64_Encode(Bytes().data(), kSize);
    if (lineLength == 0) return text;
    std::string lines;
    for (std::size_t at = 0; at < text.size(); at += lineLength)
        lines.append(text, at, lineLength).append("\r\n");
    return lines;
}

void CountBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSize));
}

void BM_Copy(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(std::string(Bytes()));
    CountBytes(state);
}
BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond);

void BM_Encode(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(larkspur::Base64_Encode(Bytes().data(), kSize));
    CountBytes(state);
}
BENCHMARK(BM_Encode)->Unit(benchmark::kMillisecond);

void BM_Decode(benchmark::State& state) {
    const std::string text = Encoded(static_cast<std::size_t>(state.range(0)));
    larkspur::ClkMemory bytes;
    for (auto _ : state) larkspur::Base64_Decode(text.data(), static_cast<int>(text.size()), bytes);
    if (bytes.Size() != kSize || std::memcmp(bytes.Data(), Bytes().data(), kSize) != 0) {
        std::fputs("base64_bench: decoding changed the bytes\n", stderr);
        std::exit(1);
    }
    CountBytes(state);
}
BENCHMARK(BM_Decode)->Arg(0)->Arg(76)->Unit(benchmark::kMillisecond);

#ifdef QBSVR_BENCH_OPENSSL
void BM_EncodeOpenSsl(benchmark::State& state) {
    for (auto _ : state) {
        std::string text(static_cast<std::size_t>(kSize) * 4 / 3 + 4, '\0');
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                        reinterpret_cast<const unsigned char*>(Bytes().data()), kSize);
        benchmark::DoNotOptimize(text.data());
    }
    CountBytes(state);
}
BENCHMARK(BM_EncodeOpenSsl)->Unit(benchmark::kMillisecond);

void BM_DecodeOpenSsl(benchmark::State& state) {
    const std::string text = Encoded(0);
    for (auto _ : state) {
        std::string bytes(text.size(), '\0');
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
        benchmark::DoNotOptimize(bytes.data());
    }
    CountBytes(state);
}
BENCHMARK(BM_DecodeOpenSsl)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
