// qbreport fonts, qbreport formats: what the engine has.
#include <cstdint>
#include <string>

#include "engine/qbsvr_more.h"
#include "qbreport/commands.h"
#include "qbreport/console.h"

namespace qbreport {

ExitStatus listFonts() {
    std::string text;
    for (std::uint64_t i = 0; const char* const family = QBXGetFontFamily(i); ++i) {
        text += printable(family) + "\n";
    }
    if (text.empty()) {
        throw Failure(
            "no font is installed; install one, such as the package fonts-liberation, or name a folder of "
            "fonts "
            "with --font-folder");
    }
    writeResult(text);
    return ExitStatus::Good;
}

ExitStatus listFormats() {
    constexpr std::size_t kWidth = 6;
    std::string text;
    QBXFormat format{};
    format.size = sizeof format;
    for (std::uint64_t i = 0; QBXGetFormat(i, &format) != 0; ++i) {
        std::string name = format.name;
        name.resize(kWidth, ' ');
        text += name + format.description + "\n";
    }
    writeResult(text);
    return ExitStatus::Good;
}

}  // namespace qbreport
