// Terminals, standard output, and texts as they are shown.
#ifndef QBSVR_QBREPORT_CONSOLE_H
#define QBSVR_QBREPORT_CONSOLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qbreport {

// The name of the file that is standard input or standard output.
inline constexpr std::string_view kStandardStream = "-";

bool isTerminal(int descriptor);
// On a terminal, unless NO_COLOR is set or the terminal has no colours.
bool hasColours(int descriptor);
// In characters; 80 if it is unknown.
std::size_t terminalWidth(int descriptor);

// Writes all bytes to a descriptor. Returns 0, or the errno of the failure.
int writeAll(int descriptor, std::string_view bytes);

// Writes results to standard output. Raises Failure; without a message if the reader has closed the pipe.
void writeResult(std::string_view text);
[[noreturn]] void failOutput(int error);

// The length of the UTF-8 character at the beginning of the text; 0 if there is none.
std::size_t characterLength(std::string_view text);

// One line: control characters and invalid bytes are written like "\x1b".
std::string printable(std::string_view text);
// A JSON string with its quotes.
std::string inJson(std::string_view text);

// "1,234,567"
std::string grouped(std::uint64_t number);
// "3 pages", "1 page"
std::string counted(std::uint64_t count, std::string_view noun);
// "12 bytes", "4 KB", "1.5 MB"
std::string shownSize(std::uint64_t bytes);

}  // namespace qbreport

#endif
