#include "driver/console.h"

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "common/files.h"
#include "common/memory.h"
#include "common/paths.h"

using larkspur::UnicodeTextToPrintf;

namespace {

// The length in bytes of the longest prefix that 16-bit units can represent.
std::size_t RepresentableBytes(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size()) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : 3;
        const std::string_view rest = text.substr(at, size).substr(1);
        const bool isWhole = rest.size() == size - 1 &&
                             std::all_of(rest.begin(), rest.end(), [](char c) { return (c & 0xC0) == 0x80; });
        if (!isWhole || (lead >= 0x80 && lead < 0xC2) || lead >= 0xF0) break;
        at += size;
    }
    return at;
}

const char* OutcomeWord(bool succeeded) { return succeeded ? "成功" : "失败"; }

}  // namespace

void WarnOfWords(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::size_t read = RepresentableBytes(argv[i]);
        if (read == std::strlen(argv[i])) continue;
        std::fprintf(stderr,
                     "qbsvrtest: word %d, \"%s\", can't be used: byte %zu begins a character above U+FFFF or "
                     "is not UTF-8\n",
                     i, argv[i], read + 1);
    }
}

void WarnOfText(const lkstr& path) {
    if (!larkspur::IsFileExist(path.c_str())) return;
    larkspur::ClkMemory bytes;
    larkspur::LoadBinDataFromLocalFile(path.c_str(), bytes);
    const std::string_view text(static_cast<const char*>(bytes.Data()),
                                static_cast<std::size_t>(bytes.Size()));
    // A file in UTF-16 has only 16-bit units.
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) return;
    const std::size_t read = RepresentableBytes(text);
    if (read == text.size()) return;
    const std::string_view before = text.substr(0, read);
    const std::size_t lineStart = before.rfind('\n') + 1;  // 0 for none
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const auto column = 1 + std::count_if(before.begin() + static_cast<std::ptrdiff_t>(lineStart),
                                          before.end(), [](char c) { return (c & 0xC0) != 0x80; });
    std::fprintf(
        stderr,
        "qbsvrtest: %s:%td:%td: a character above U+FFFF, or bytes that are not UTF-8: the file can't "
        "be read whole\n",
        UnicodeTextToPrintf(path).c_str(), line, column);
}

void PrintCreateFailed() { std::puts("Create report failed, please view log file to find reason."); }

void PrintTemplateLoadFailed(const lkstr& templateFile) {
    std::printf("载入报表模板文件 %s 失败。\n", UnicodeTextToPrintf(templateFile).c_str());
}

void PrintDataLoadFailed(const lkstr& dataFile) {
    std::printf("载入报表数据文件 %s 失败。\n", UnicodeTextToPrintf(dataFile).c_str());
}

void PrintTemplateLoaded(const lkstr& templateFile, bool succeeded) {
    std::printf("载入报表模板文件 %s %s\n", UnicodeTextToPrintf(templateFile).c_str(),
                OutcomeWord(succeeded));
}

void PrintTemplateSaved(const lkstr& templateFile, bool succeeded) {
    std::printf("保存报表模板文件 %s %s\n", UnicodeTextToPrintf(templateFile).c_str(),
                OutcomeWord(succeeded));
}

int _getch() {
    termios saved;
    if (tcgetattr(STDIN_FILENO, &saved) != 0) return -1;
    termios raw = saved;
    cfmakeraw(&raw);
    if (tcsetattr(STDIN_FILENO, TCSANOW, &raw) != 0) return -1;
    const int key = std::getc(stdin);
    return tcsetattr(STDIN_FILENO, TCSANOW, &saved) == 0 ? key : -1;
}
