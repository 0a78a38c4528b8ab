// What one export may use of time, memory and everything else that grows with its input. Templates and data
// are untrusted: an export that exceeds a figure fails with the figure's name, and the next export starts
// from zero. Loading a template or data counts as a separate export.
//
// Code that uses part of a figure reports it (spend, checkFigure), and long loops check the time (goOn). The
// running export is stored per thread, so no object is passed around. If no export runs on the thread, each
// amount is checked separately against the default figures.
#ifndef QBSVR_QBSVRL6_SUPPORT_BUDGET_H
#define QBSVR_QBSVRL6_SUPPORT_BUDGET_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace qbsvrl6 {

// The figures of one export, with their defaults: far above the needs of ordinary reports, and low enough to
// protect the machine from hostile ones. A program that serves untrusted users should set lower figures.
struct Budget {
    std::uint64_t wallMilliseconds = 3'600'000;
    std::uint64_t cpuMilliseconds = 3'600'000;  // of the thread that exports
    std::uint64_t dataBytes = 4ull << 30;       // of the tables in memory
    std::uint64_t cells = 400'000'000;          // of all tables: values that exist, and rows
    std::uint64_t nameUnits = 4'096;            // UTF-16 units of one name in data
    std::uint64_t fetches = 10'000;             // pictures, data and other files, wherever they are
    std::uint64_t fetchMilliseconds = 300'000;  // of all of them together
    std::uint64_t fetchedBytes = 4ull << 30;    // of all of them together
    std::uint64_t pages = 1'000'000;            // of the document
    std::uint64_t pageItems = 1'000'000;        // texts, lines, boxes and pictures of one page or band
    std::uint64_t pixels = 4'000'000'000;       // decoded or drawn, of all pictures together
    std::uint64_t pictureScans = 100;           // of one progressive picture
    std::uint64_t templateElements = 250'000;   // controls, styles and all other elements of a template
    std::uint64_t documentBytes = 0x7FFF'FFFF;  // the interface returns sizes as int
};

using BudgetFigure = std::uint64_t Budget::*;

// The figures by the names that settings, messages and docs use.
struct NamedFigure {
    std::string_view name;
    BudgetFigure figure;
};
inline constexpr std::array kBudgetFigures{
    NamedFigure{"wall-time", &Budget::wallMilliseconds},
    NamedFigure{"cpu-time", &Budget::cpuMilliseconds},
    NamedFigure{"data-memory", &Budget::dataBytes},
    NamedFigure{"cells", &Budget::cells},
    NamedFigure{"name-length", &Budget::nameUnits},
    NamedFigure{"fetches", &Budget::fetches},
    NamedFigure{"fetch-time", &Budget::fetchMilliseconds},
    NamedFigure{"fetched-bytes", &Budget::fetchedBytes},
    NamedFigure{"pages", &Budget::pages},
    NamedFigure{"page-items", &Budget::pageItems},
    NamedFigure{"pixels", &Budget::pixels},
    NamedFigure{"picture-scans", &Budget::pictureScans},
    NamedFigure{"template-elements", &Budget::templateElements},
    NamedFigure{"document-size", &Budget::documentBytes},
};

// "60 s", "4 GiB", "1,000,000": a value of the figure as messages show it.
std::string shownFigure(BudgetFigure figure, std::uint64_t value);

// Parses a value: a whole number, optionally with a unit of the figure: ms, s, min, h for times; bytes, KiB,
// MiB, GiB, KB, MB, GB for sizes. Raises EngineError, which names the expected form.
std::uint64_t figureFrom(BudgetFigure figure, std::string_view text);

// What a running export has done.
struct Progress {
    std::uint64_t rows = 0;     // of the report's grid that are laid out
    std::uint64_t allRows = 0;  // of the report's grid; 0: unknown
    std::uint64_t pages = 0;    // that are finished
    std::uint64_t bytes = 0;    // of data that are read
};

// The running export of a thread. Exports nest, since event handlers may export other reports; whatever ends
// the outer export also ends the inner one.
class Spending {
public:
    // Called with the progress at most ten times a second; false cancels the export.
    using Watcher = std::function<bool(const Progress&)>;

    // `cancelled`, if not null, may be set by any thread and ends the export. It must outlive the object.
    explicit Spending(const Budget& budget, const std::atomic<bool>* cancelled = nullptr,
                      Watcher watcher = {});
    ~Spending();
    Spending(const Spending&) = delete;
    Spending& operator=(const Spending&) = delete;

    // Null if no export runs on the thread.
    static Spending* current() noexcept;

    const Budget& budget() const { return budget_; }
    // How much of the figure is left.
    std::uint64_t left(BudgetFigure figure) const;

    void spend(BudgetFigure figure, std::uint64_t amount, std::string_view where);
    void checkTime();

    Progress& progress() { return progress_; }

private:
    using Clock = std::chrono::steady_clock;

    Budget budget_;
    Budget used_;
    const std::atomic<bool>* cancelled_;
    Clock::time_point started_;
    std::chrono::nanoseconds cpuStarted_;
    Clock::time_point nextCpuCheck_;
    Progress progress_;
    Watcher watcher_;
    Clock::time_point nextWatch_;
    Spending* outer_;
};

// Adds to the amount that the export has used. Raises EngineError (BudgetExceeded) if it exceeds the figure;
// `where` names the place for the message: "the table Orders".
void spend(BudgetFigure figure, std::uint64_t amount, std::string_view where = {});

// Raises the same error if a single value exceeds the figure. Adds nothing.
void checkFigure(BudgetFigure figure, std::uint64_t value, std::string_view where = {});

// Raises the same error if the amount exceeds what is left of the figure: for memory that is soon freed. Adds
// nothing.
void checkLeft(BudgetFigure figure, std::uint64_t amount, std::string_view where = {});

// Raises EngineError if the time is used up (BudgetExceeded) or the export was cancelled (Cancelled).
void checkTime();

// Calls checkTime on every sixteenth call: for loops with short iterations.
void goOn();

}  // namespace qbsvrl6

#endif
