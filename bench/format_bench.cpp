// The format language compared with other formatters and parsers of numbers and dates. Items are values.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <random>
#include <string_view>
#include <vector>

#include "larkspur.h"

#ifdef QBSVR_BENCH_ICU
#include <unicode/numberformatter.h>
#include <unicode/smpdtfmt.h>
#endif

using namespace larkspur;

namespace {

constexpr lkchar kMoneyFormat[] = u"#,##0.00";
constexpr lkchar kDateFormat[] = u"yyyy-MM-dd HH:mm:ss";

// Amounts of one to nine integer digits, as in reports: most with two decimals, some with more.
const std::vector<double>& amounts() {
    static const std::vector<double> values = [] {
        std::mt19937_64 random(1);
        std::vector<double> list(1'000'000);
        for (double& value : list) {
            const double whole = std::pow(10.0, 9.0 * std::ldexp(static_cast<double>(random() >> 11), -53));
            value = random() % 4 == 0 ? whole : std::round(whole * 100) / 100;
            if (random() % 8 == 0) value = -value;
        }
        return list;
    }();
    return values;
}

void check(std::u16string_view text, std::u16string_view expected) {
    if (text != expected) std::abort();
}

// Runs over all amounts and gives each to `show`.
template <typename Show>
void overAmounts(benchmark::State& state, Show show) {
    const std::vector<double>& values = amounts();
    for (auto _ : state) {
        for (const double value : values) show(value);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
}

void NumberKeptParser(benchmark::State& state) {
    ClkNumericFormatParser parser;
    parser.Parse(kMoneyFormat);
    check(parser.Format(-1234567.895), u"-1,234,567.90");
    overAmounts(state, [&parser](double value) { benchmark::DoNotOptimize(*parser.Format(value)); });
}
BENCHMARK(NumberKeptParser)->Unit(benchmark::kMillisecond);
BENCHMARK(NumberKeptParser)->Unit(benchmark::kMillisecond)->Threads(16)->UseRealTime();

void NumberToChars(benchmark::State& state) {
    overAmounts(state, [](double value) {
        char text[400];
        benchmark::DoNotOptimize(
            *std::to_chars(text, std::end(text), value, std::chars_format::fixed, 2).ptr);
    });
}
BENCHMARK(NumberToChars)->Unit(benchmark::kMillisecond);

void NumberSnprintf(benchmark::State& state) {
    overAmounts(state, [](double value) {
        char text[400];
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, "%.2f", value));
    });
}
BENCHMARK(NumberSnprintf)->Unit(benchmark::kMillisecond);

void NumberParseAndRender(benchmark::State& state) {
    check(FormatNumber(1234567.891, kMoneyFormat), u"1,234,567.89");
    overAmounts(state, [](double value) { benchmark::DoNotOptimize(FormatNumber(value, kMoneyFormat)); });
}
BENCHMARK(NumberParseAndRender)->Unit(benchmark::kMillisecond);

void NumberMoneyCapitals(benchmark::State& state) {
    check(FormatNumberToBigHZAmount(1234.56), u"壹仟贰佰叁拾肆元伍角陆分");
    overAmounts(state, [](double value) { benchmark::DoNotOptimize(FormatNumberToBigHZAmount(value)); });
}
BENCHMARK(NumberMoneyCapitals)->Unit(benchmark::kMillisecond);

#ifdef QBSVR_BENCH_ICU
void NumberIcu(benchmark::State& state) {
    using namespace icu::number;
    const LocalizedNumberFormatter formatter =
        NumberFormatter::withLocale(icu::Locale::getUS()).precision(Precision::fixedFraction(2));
    UErrorCode status = U_ZERO_ERROR;
    overAmounts(state, [&](double value) {
        benchmark::DoNotOptimize(formatter.formatDouble(value, status).toString(status));
    });
}
BENCHMARK(NumberIcu)->Unit(benchmark::kMillisecond);
#endif

ClkDateTime sampleTime() {
    ClkDateTime value;
    value.SetDateTime(2024, 3, 5, 14, 7, 9);
    return value;
}

// Counts a date a step.
template <typename Step>
void overDates(benchmark::State& state, Step step) {
    for (auto _ : state) step();
    state.SetItemsProcessed(state.iterations());
}

void DateKeptParser(benchmark::State& state) {
    ClkDateTimeFormatParser parser;
    parser.Parse(kDateFormat);
    const ClkDateTime value = sampleTime();
    check(parser.Format(value), u"2024-03-05 14:07:09");
    overDates(state, [&] { benchmark::DoNotOptimize(parser.Format(value)); });
}
BENCHMARK(DateKeptParser);

void DateDecodeAndKeptParser(benchmark::State& state) {
    ClkDateTimeFormatParser parser;
    parser.Parse(kDateFormat);
    ClkDateTime value = sampleTime();
    overDates(state, [&] {
        value.IncDays(1);
        if (value.m_Time > 4'000'000'000) value = sampleTime();
        benchmark::DoNotOptimize(parser.Format(value));
    });
}
BENCHMARK(DateDecodeAndKeptParser);

void DateKeptParserNames(benchmark::State& state) {
    ClkDateTimeFormatParser parser;
    parser.Parse(u"dddd, d MMMM yyyy");
    const ClkDateTime value = sampleTime();
    check(parser.Format(value), u"Tuesday, 05 March 2024");
    overDates(state, [&] { benchmark::DoNotOptimize(parser.Format(value)); });
}
BENCHMARK(DateKeptParserNames);

void DateParseAndRender(benchmark::State& state) {
    const ClkDateTime value = sampleTime();
    overDates(state, [&] { benchmark::DoNotOptimize(FormatDateTime(value, kDateFormat)); });
}
BENCHMARK(DateParseAndRender);

void DateWcsftime(benchmark::State& state) {
    const std::time_t time = sampleTime().m_Time;
    std::tm tm = {};
    gmtime_r(&time, &tm);
    overDates(state, [&] {
        wchar_t text[64];
        benchmark::DoNotOptimize(std::wcsftime(text, std::size(text), L"%Y-%m-%d %H:%M:%S", &tm));
    });
}
BENCHMARK(DateWcsftime);

void DateRead(benchmark::State& state) {
    bool ok = false;
    if (ParseDateTime(u"2024-03-05 14:07:09", ok).m_Time != sampleTime().m_Time || !ok) std::abort();
    overDates(state, [&] { benchmark::DoNotOptimize(ParseDateTime(u"2024-03-05 14:07:09", ok).m_Time); });
}
BENCHMARK(DateRead);

void DateGmtimeWcsftime(benchmark::State& state) {
    std::time_t time = sampleTime().m_Time;
    overDates(state, [&] {
        time = time > 4'000'000'000 ? sampleTime().m_Time : time + 86400;
        std::tm tm = {};
        gmtime_r(&time, &tm);
        wchar_t text[64];
        benchmark::DoNotOptimize(std::wcsftime(text, std::size(text), L"%Y-%m-%d %H:%M:%S", &tm));
    });
}
BENCHMARK(DateGmtimeWcsftime);

void DateStrftime(benchmark::State& state) {
    const std::time_t time = sampleTime().m_Time;
    std::tm tm = {};
    gmtime_r(&time, &tm);
    overDates(state, [&] {
        char text[64];
        benchmark::DoNotOptimize(std::strftime(text, std::size(text), "%Y-%m-%d %H:%M:%S", &tm));
    });
}
BENCHMARK(DateStrftime);

void DateStrptimeTimegm(benchmark::State& state) {
    overDates(state, [] {
        std::tm tm = {};
        benchmark::DoNotOptimize(strptime("2024-03-05 14:07:09", "%Y-%m-%d %H:%M:%S", &tm));
        benchmark::DoNotOptimize(timegm(&tm));
    });
}
BENCHMARK(DateStrptimeTimegm);

void DateStrptimeMktime(benchmark::State& state) {
    overDates(state, [] {
        std::tm tm = {};
        benchmark::DoNotOptimize(strptime("2024-03-05 14:07:09", "%Y-%m-%d %H:%M:%S", &tm));
        benchmark::DoNotOptimize(std::mktime(&tm));
    });
}
BENCHMARK(DateStrptimeMktime);

void DateMktimeAlone(benchmark::State& state) {
    overDates(state, [] {
        std::tm tm = {};
        tm.tm_year = 124;
        tm.tm_mon = 2;
        tm.tm_mday = 5;
        benchmark::DoNotOptimize(std::mktime(&tm));
    });
}
BENCHMARK(DateMktimeAlone);

#ifdef QBSVR_BENCH_ICU
void DateIcu(benchmark::State& state) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::SimpleDateFormat formatter(icu::UnicodeString(kDateFormat), icu::Locale::getUS(), status);
    const UDate value = static_cast<double>(sampleTime().m_Time) * 1000;
    overDates(state, [&] {
        icu::UnicodeString text;
        benchmark::DoNotOptimize(formatter.format(value, text).length());
    });
}
BENCHMARK(DateIcu);
#endif

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "Asia/Shanghai", 1);  // without TZ, mktime looks for a changed /etc/localtime on every call
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
