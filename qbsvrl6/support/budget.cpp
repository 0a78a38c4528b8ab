#include "qbsvrl6/support/budget.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <limits>

#include "qbsvrl6/support/byte_size.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kKibibyte = 1'024;
constexpr std::uint64_t kRounds = 16;     // calls of goOn per check of the time
constexpr auto kBetweenCpuChecks = 20ms;  // reading the CPU clock is a system call
constexpr auto kBetweenWatches = 100ms;
constexpr Budget kNothing = [] {
    Budget nothing;
    for (const NamedFigure& named : kBudgetFigures) nothing.*named.figure = 0;
    return nothing;
}();
static_assert(sizeof(Budget) == kBudgetFigures.size() * sizeof(std::uint64_t), "every figure has a name");

thread_local Spending* innermost = nullptr;
thread_local std::uint64_t rounds = 0;

struct Unit {
    std::string_view name;
    std::uint64_t factor;
};
constexpr std::array kTimeUnits{Unit{"h", 3'600'000}, Unit{"min", 60'000}, Unit{"s", 1'000}, Unit{"ms", 1}};
constexpr std::array kByteUnits{Unit{"GiB", kKibibyte* kKibibyte* kKibibyte},
                                Unit{"MiB", kKibibyte* kKibibyte},
                                Unit{"KiB", kKibibyte},
                                Unit{"GB", 1'000'000'000},
                                Unit{"MB", 1'000'000},
                                Unit{"KB", 1'000},
                                Unit{"bytes", 1}};

bool isTime(BudgetFigure figure) {
    return figure == &Budget::wallMilliseconds || figure == &Budget::cpuMilliseconds ||
           figure == &Budget::fetchMilliseconds;
}
bool isBytes(BudgetFigure figure) {
    return figure == &Budget::dataBytes || figure == &Budget::fetchedBytes ||
           figure == &Budget::documentBytes;
}

std::string_view nameOf(BudgetFigure figure) {
    return std::find_if(kBudgetFigures.begin(), kBudgetFigures.end(),
                        [&](const NamedFigure& named) { return named.figure == figure; })
        ->name;
}

// "1,000,000".
std::string grouped(std::uint64_t value) {
    std::string digits = std::to_string(value);
    for (std::size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, ",");
    return digits;
}

// In the largest unit that gives a whole number.
template <std::size_t count>
std::string inUnits(std::uint64_t value, const std::array<Unit, count>& units) {
    for (const Unit& unit : units) {
        if (value % unit.factor == 0 && (value != 0 || unit.factor == 1)) {
            return grouped(value / unit.factor) + " " + std::string(unit.name);
        }
    }
    return grouped(value);
}

template <std::size_t count>
std::uint64_t factorOf(std::string_view unit, const std::array<Unit, count>& units) {
    for (const Unit& known : units) {
        if (known.name == unit) return known.factor;
    }
    return 0;
}

template <std::size_t count>
std::string listed(const std::array<Unit, count>& units) {
    std::string list;
    for (const Unit& unit : units) list += (list.empty() ? "" : ", ") + std::string(unit.name);
    return list;
}

// `without` names the unit of values that have none; empty: no value has one.
template <std::size_t count>
std::uint64_t valueFrom(std::string_view name, std::string_view text, const std::array<Unit, count>& units,
                        std::string_view without) {
    std::uint64_t value = 0;
    const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), value);
    std::string_view unit = text.substr(static_cast<std::size_t>(end - text.data()));
    while (!unit.empty() && unit.front() == ' ') unit.remove_prefix(1);
    const std::uint64_t factor = unit.empty() ? 1 : factorOf(unit, units);
    if (failed != std::errc() || factor == 0 || value > std::numeric_limits<std::uint64_t>::max() / factor) {
        const std::string allowed =
            without.empty() ? "" : " (" + std::string(without) + ", or with a unit: " + listed(units) + ")";
        throw EngineError(ErrorCode::NotSupported, "\"" + std::string(text) + "\" is not a value of " +
                                                       std::string(name) + ": a whole number is expected" +
                                                       allowed);
    }
    return value * factor;
}

[[noreturn]] void failPassed(BudgetFigure figure, std::uint64_t limit, std::string_view where) {
    throw EngineError(ErrorCode::BudgetExceeded, "the budget " + std::string(nameOf(figure)) + " of " +
                                                     shownFigure(figure, limit) + " is used up" +
                                                     (where.empty() ? "" : " at " + std::string(where)));
}

std::chrono::nanoseconds threadTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::chrono::milliseconds milliseconds(std::uint64_t count) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max() / 4'000'000;
    return std::chrono::milliseconds(std::min(count, kMost));
}

}  // namespace

std::string shownFigure(BudgetFigure figure, std::uint64_t value) {
    return isTime(figure)    ? inUnits(value, kTimeUnits)
           : isBytes(figure) ? inUnits(value, kByteUnits)
                             : grouped(value);
}

std::uint64_t figureFrom(BudgetFigure figure, std::string_view text) {
    const std::string_view name = nameOf(figure);
    if (isTime(figure)) return valueFrom(name, text, kTimeUnits, "milliseconds");
    if (isBytes(figure)) return sizeFrom(name, text);
    return valueFrom(name, text, std::array<Unit, 0>(), {});
}

std::uint64_t sizeFrom(std::string_view setting, std::string_view text) {
    return valueFrom(setting, text, kByteUnits, "bytes");
}

Spending::Spending(const Budget& budget, const std::atomic<bool>* cancelled, Watcher watcher)
    : budget_(budget),
      used_(kNothing),
      cancelled_(cancelled),
      started_(Clock::now()),
      cpuStarted_(threadTime()),
      nextCpuCheck_(started_ + kBetweenCpuChecks),
      watcher_(std::move(watcher)),
      nextWatch_(started_ + kBetweenWatches),
      outer_(innermost) {
    // The interface returns sizes as int, whatever settings and programs allow.
    budget_.documentBytes = std::min(budget_.documentBytes, Budget().documentBytes);
    innermost = this;
}

Spending::~Spending() { innermost = outer_; }

Spending* Spending::current() noexcept { return innermost; }

std::uint64_t Spending::left(BudgetFigure figure) const { return budget_.*figure - used_.*figure; }

void Spending::spend(BudgetFigure figure, std::uint64_t amount, std::string_view where) {
    if (amount > left(figure)) failPassed(figure, budget_.*figure, where);
    used_.*figure += amount;
}

void Spending::checkTime() {
    if (cancelled_ != nullptr && cancelled_->load(std::memory_order_relaxed)) {
        throw EngineError(ErrorCode::Cancelled, "the export was cancelled");
    }
    const Clock::time_point now = Clock::now();
    if (now - started_ > milliseconds(budget_.wallMilliseconds)) {
        failPassed(&Budget::wallMilliseconds, budget_.wallMilliseconds, {});
    }
    if (now >= nextCpuCheck_) {
        nextCpuCheck_ = now + kBetweenCpuChecks;
        if (threadTime() - cpuStarted_ > milliseconds(budget_.cpuMilliseconds)) {
            failPassed(&Budget::cpuMilliseconds, budget_.cpuMilliseconds, {});
        }
    }
    if (watcher_ && now >= nextWatch_) {
        nextWatch_ = now + kBetweenWatches;
        if (!watcher_(progress_)) throw EngineError(ErrorCode::Cancelled, "the export was cancelled");
    }
    if (outer_ != nullptr) outer_->checkTime();
}

void spend(BudgetFigure figure, std::uint64_t amount, std::string_view where) {
    if (innermost != nullptr) {
        innermost->spend(figure, amount, where);
    } else {
        checkFigure(figure, amount, where);
    }
}

void checkFigure(BudgetFigure figure, std::uint64_t value, std::string_view where) {
    static constexpr Budget kDefaults;
    const Budget& budget = innermost != nullptr ? innermost->budget() : kDefaults;
    if (value > budget.*figure) failPassed(figure, budget.*figure, where);
}

void checkLeft(BudgetFigure figure, std::uint64_t amount, std::string_view where) {
    if (innermost == nullptr) return checkFigure(figure, amount, where);
    if (amount > innermost->left(figure)) failPassed(figure, innermost->budget().*figure, where);
}

void checkTime() {
    if (innermost != nullptr) innermost->checkTime();
}

void goOn() {
    if (++rounds % kRounds == 0) checkTime();
}

}  // namespace qbsvrl6
