#include "qbreport/burst/run_status.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "qbreport/burst/descriptor.h"
#include "qbreport/console.h"
#include "qbreport/progress_line.h"

namespace qbreport {

namespace {

constexpr std::chrono::milliseconds kBetweenLines(500);
constexpr std::chrono::seconds kBetweenMetrics(5);

double secondsOf(std::chrono::steady_clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

}  // namespace

RunStatus::RunStatus(std::string title, std::string metrics, bool isShown)
    : title_(printable(title)),
      metrics_(std::move(metrics)),
      isShown_(isShown && isTerminal(STDERR_FILENO)) {}

RunStatus::~RunStatus() { clear(); }

void RunStatus::clear() {
    if (isOnScreen_) static_cast<void>(writeAll(STDERR_FILENO, kClearLine));
    isOnScreen_ = false;
}

bool RunStatus::isTime(Clock::time_point& last, Clock::duration most) const {
    const Clock::time_point now = Clock::now();
    if (now - last < most) return false;
    last = now;
    return true;
}

void RunStatus::showLine(const std::string& text) {
    isOnScreen_ = true;
    const std::string line = cut(title_ + ": " + text, terminalWidth(STDERR_FILENO) - 1);
    static_cast<void>(writeAll(STDERR_FILENO, std::string(kClearLine) + line));
}

void RunStatus::showSurvey(double share) {
    if (!isShown_ || !isTime(lineShown_, kBetweenLines)) return;
    showLine("looking through the data, " + std::to_string(static_cast<int>(100 * share)) + " %");
}

void RunStatus::show(const RunFigures& figures) {
    if (!metrics_.empty() && isTime(metricsWritten_, kBetweenMetrics)) writeMetrics(figures, false);
    if (!isShown_ || !isTime(lineShown_, kBetweenLines)) return;
    const double rate = static_cast<double>(figures.done()) / secondsOf(Clock::now() - started_);
    std::string text = grouped(figures.done()) + " of " + counted(figures.expected, "document");
    text += ", " + grouped(static_cast<std::uint64_t>(rate)) + "/s";
    if (figures.failed > 0) text += ", " + grouped(figures.failed) + " failed";
    const std::uint64_t left = figures.expected - std::min(figures.expected, figures.done());
    if (rate > 0)
        text += ", " + shownTime(static_cast<std::uint64_t>(static_cast<double>(left) / rate)) + " left";
    showLine(text);
}

void RunStatus::begin(const RunFigures& figures) {
    if (!metrics_.empty()) writeMetrics(figures, false);
}

void RunStatus::finish(const RunFigures& figures, bool isComplete) {
    clear();
    if (!metrics_.empty()) writeMetrics(figures, isComplete);
}

void RunStatus::writeMetrics(const RunFigures& figures, bool isComplete) const {
    std::string text;
    const auto add = [&](const std::string& name, const char* type, const char* help,
                         const std::string& value) {
        const std::string metric = "qbreport_burst_" + name;
        text += "# HELP " + metric + " " + help + "\n# TYPE " + metric + " " + type + "\n" + metric + " " +
                value + "\n";
    };
    const auto count = [&](const char* name, const char* type, const char* help, std::uint64_t value) {
        add(name, type, help, std::to_string(value));
    };
    count("expected_documents", "gauge", "Documents of the run.", figures.expected);
    count("documents_total", "counter", "Documents made.", figures.made);
    count("kept_total", "counter", "Documents of an earlier run, verified and kept.", figures.kept);
    count("failed_total", "counter", "Documents that failed.", figures.failed);
    count("pages_total", "counter", "Pages of the documents.", figures.pages);
    count("bytes_total", "counter", "Bytes of the documents.", figures.bytes);
    count("warnings_total", "counter", "Warnings about the documents.", figures.warnings);
    count("complete", "gauge", "1 after a run that has come to its end.", isComplete ? 1 : 0);
    add("seconds", "gauge", "Time since the start.", std::to_string(secondsOf(Clock::now() - started_)));
    const std::string draft = metrics_ + ".part";
    write(openToWrite(draft, true), text, draft);
    rename(draft, metrics_);
}

}  // namespace qbreport
