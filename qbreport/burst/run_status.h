// The progress of a burst: a line on a terminal, and a file for Prometheus.
#ifndef QBSVR_QBREPORT_BURST_RUN_STATUS_H
#define QBSVR_QBREPORT_BURST_RUN_STATUS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace qbreport {

struct RunFigures {
    std::uint64_t expected = 0;  // documents
    std::uint64_t made = 0;
    std::uint64_t kept = 0;  // of an earlier run
    std::uint64_t failed = 0;
    std::uint64_t bytes = 0;
    std::uint64_t pages = 0;
    std::uint64_t warnings = 0;
    std::uint64_t done() const { return made + kept + failed; }
};

class RunStatus {
public:
    // `metrics`: the file; empty: none. `isShown`: a line on standard error, if that is a terminal.
    RunStatus(std::string title, std::string metrics, bool isShown);
    ~RunStatus();
    RunStatus(const RunStatus&) = delete;
    RunStatus& operator=(const RunStatus&) = delete;

    // Both are cheap: they show something a few times a second only.
    void showSurvey(double share);
    void show(const RunFigures& figures);
    // Raises Failure if the metrics cannot be written.
    void begin(const RunFigures& figures);
    // Clears the line, and writes the last metrics.
    void finish(const RunFigures& figures, bool isComplete);
    // Before something else is written to standard error.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool isTime(Clock::time_point& last, Clock::duration most) const;
    void showLine(const std::string& text);
    void writeMetrics(const RunFigures& figures, bool isComplete) const;

    std::string title_;
    std::string metrics_;
    bool isShown_;
    bool isOnScreen_ = false;
    Clock::time_point started_ = Clock::now();
    Clock::time_point lineShown_ = started_;
    Clock::time_point metricsWritten_ = started_;
};

}  // namespace qbreport

#endif
