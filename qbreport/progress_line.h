// The progress of a long load or export, on a terminal; and the end of it at an interrupt.
#ifndef QBSVR_QBREPORT_PROGRESS_LINE_H
#define QBSVR_QBREPORT_PROGRESS_LINE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "engine/qbsvr_more.h"

namespace qbreport {

inline constexpr std::string_view kClearLine = "\r\x1b[K";
// At most `width` characters.
std::string cut(std::string_view text, std::size_t width);
// "90 s", "3 min"
std::string shownTime(std::uint64_t seconds);

// While it exists, the report's calls end at an interrupt. If `isShown`, a call that takes longer than a
// second shows a line on standard error, if that is a terminal. The line disappears at the end.
class ProgressLine {
public:
    // `title` names the work.
    ProgressLine(tagQBReport* report, std::string title, bool isShown);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    using Clock = std::chrono::steady_clock;

    static int onProgress(void* context, const QBXProgress* progress);
    void show(const QBXProgress& progress);
    std::string shown(const QBXProgress& progress, Clock::duration elapsed) const;

    tagQBReport* report_;
    std::string title_;
    bool isShown_;
    bool isOnScreen_ = false;
    Clock::time_point started_ = Clock::now();
};

}  // namespace qbreport

#endif
