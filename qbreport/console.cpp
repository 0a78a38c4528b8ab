#include "qbreport/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "qbreport/failure.h"
#include "qbreport/interrupt.h"

namespace qbreport {

namespace {

constexpr char kDigits[] = "0123456789abcdef";

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

// Whether the character changes a terminal or ends a line. `bytes` is one character or one invalid byte.
bool isControl(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes[0]);
    if (bytes.size() == 1) return first < 0x20 || first >= 0x7F;
    if (bytes.size() == 2) return first == 0xC2 && static_cast<unsigned char>(bytes[1]) < 0xA0;
    return bytes == "\u2028" || bytes == "\u2029";
}

// Calls `each` with every character, and with every byte that belongs to none.
template <class Each>
void forEachCharacter(std::string_view text, Each&& each) {
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        each(text.substr(0, length == 0 ? 1 : length), length != 0);
        text.remove_prefix(length == 0 ? 1 : length);
    }
}

}  // namespace

bool isTerminal(int descriptor) { return ::isatty(descriptor) == 1; }

bool hasColours(int descriptor) {
    const char* const terminal = std::getenv("TERM");
    return isTerminal(descriptor) && !isSet("NO_COLOR") && terminal != nullptr &&
           std::strcmp(terminal, "dumb") != 0;
}

std::size_t terminalWidth(int descriptor) {
    winsize size{};
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR || isInterrupted()) {
            return errno;
        }
    }
    return 0;
}

void failOutput(int error) {
    if (error == EPIPE || error == EINTR) throw Failure("");
    throw Failure(std::string("standard output cannot be written: ") + std::strerror(error));
}

void writeResult(std::string_view text) {
    if (const int error = writeAll(STDOUT_FILENO, text)) failOutput(error);
}

std::size_t characterLength(std::string_view text) {
    if (text.empty()) return 0;
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    const unsigned second = byte(1);
    const bool isOverlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isNoCharacter = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return isOverlong || isNoCharacter ? 0 : length;
}

std::string printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    forEachCharacter(text, [&](std::string_view bytes, bool isCharacter) {
        if (bytes == "\n") {
            shown += "\\n";
        } else if (isCharacter && !isControl(bytes)) {
            shown += bytes;
        } else {
            for (const char c : bytes) {
                const auto byte = static_cast<unsigned char>(c);
                ((shown += "\\x") += kDigits[byte >> 4]) += kDigits[byte & 15];
            }
        }
    });
    return shown;
}

std::string inJson(std::string_view text) {
    std::string json = "\"";
    forEachCharacter(text, [&](std::string_view bytes, bool isCharacter) {
        const auto first = static_cast<unsigned char>(bytes[0]);
        if (!isCharacter) {
            json += "\uFFFD";
        } else if (bytes == "\"" || bytes == "\\") {
            (json += '\\') += bytes;
        } else if (first < 0x20 || first == 0x7F) {
            ((json += "\\u00") += kDigits[first >> 4]) += kDigits[first & 15];
        } else {
            json += bytes;
        }
    });
    return json += '"';
}

std::string grouped(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, ",");
    return digits;
}

std::string counted(std::uint64_t count, std::string_view noun) {
    return grouped(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

std::string shownSize(std::uint64_t bytes) {
    if (bytes < 1'000) return counted(bytes, "byte");
    static constexpr std::array kUnits{"KB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    std::uint64_t tenths = bytes / 100;
    for (; tenths >= 10'000 && unit + 1 < kUnits.size(); ++unit) tenths /= 1'000;
    std::string text = std::to_string(tenths / 10);
    if (tenths < 100) ((text += '.') += static_cast<char>('0' + tenths % 10));
    return text + " " + kUnits.at(unit);
}

}  // namespace qbreport
