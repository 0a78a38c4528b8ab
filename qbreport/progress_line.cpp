#include "qbreport/progress_line.h"

#include <unistd.h>

#include <utility>

#include "qbreport/console.h"
#include "qbreport/interrupt.h"

namespace qbreport {

std::string cut(std::string_view text, std::size_t width) {
    std::string_view rest = text;
    for (std::size_t i = 0; i < width && !rest.empty(); ++i) rest.remove_prefix(characterLength(rest));
    return std::string(text.substr(0, text.size() - rest.size()));
}

std::string shownTime(std::uint64_t seconds) {
    return seconds < 120 ? std::to_string(seconds) + " s" : std::to_string((seconds + 30) / 60) + " min";
}

ProgressLine::ProgressLine(tagQBReport* report, std::string title, bool isShown)
    : report_(report), title_(printable(title)), isShown_(isShown && isTerminal(STDERR_FILENO)) {
    QBXReportSetProgress(report_, onProgress, this);
}

ProgressLine::~ProgressLine() {
    QBXReportSetProgress(report_, nullptr, nullptr);
    if (isOnScreen_) static_cast<void>(writeAll(STDERR_FILENO, kClearLine));
}

int ProgressLine::onProgress(void* context, const QBXProgress* progress) {
    auto& line = *static_cast<ProgressLine*>(context);
    if (line.isShown_) line.show(*progress);
    return isInterrupted() ? 0 : 1;
}

void ProgressLine::show(const QBXProgress& progress) {
    const Clock::duration elapsed = Clock::now() - started_;
    if (elapsed < std::chrono::seconds(1)) return;
    isOnScreen_ = true;
    const std::string line = cut(shown(progress, elapsed), terminalWidth(STDERR_FILENO) - 1);
    static_cast<void>(writeAll(STDERR_FILENO, std::string(kClearLine) + line));
}

std::string ProgressLine::shown(const QBXProgress& progress, Clock::duration elapsed) const {
    std::string line = title_ + ": ";
    if (progress.allRows == 0) {
        line += progress.bytes == 0 ? "reading data" : "reading data, " + shownSize(progress.bytes);
    } else {
        line += grouped(progress.rows) + " of " + counted(progress.allRows, "row");
    }
    if (progress.pages > 0) line += ", " + counted(progress.pages, "page");
    if (progress.rows > 0 && progress.rows < progress.allRows) {
        const double share = static_cast<double>(progress.rows) / static_cast<double>(progress.allRows);
        const double left = std::chrono::duration<double>(elapsed).count() * (1 / share - 1);
        line += ", " + shownTime(static_cast<std::uint64_t>(left + 0.5)) + " left";
    }
    return line;
}

}  // namespace qbreport
