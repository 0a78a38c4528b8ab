// The errors of malformed JSON text.
#ifndef QBSVR_QBSVRL6_DATA_JSON_OUTLINE_H
#define QBSVR_QBSVRL6_DATA_JSON_OUTLINE_H

#include <cstddef>
#include <string_view>

#include "qbsvrl6/data/utf8_window.h"

namespace qbsvrl6 {

// What the brackets and strings of a text show: positions in it, its end where there is none.
struct JsonOutline {
    explicit JsonOutline(std::string_view text);

    bool endsInString = false;
    const char* control;  // the first control character in a string
    const char* wrong;    // the first bracket that closes one of the other form
    const char* opened;   // the bracket that `wrong` closes, else the innermost one that is never closed
};

// Raise the errors of malformed text, whose outline is in the window.
[[noreturn]] void failBySyntax(const Utf8Window& window, std::size_t offset);
// `closing` closes a bracket of the other form, `opened` in `line`.
[[noreturn]] void failByBracket(const Utf8Window& window, std::size_t closing, char opened, int line);
// The text ends, and `opened` is not closed.
[[noreturn]] void failByEnd(const Utf8Window& window, std::size_t end, char opened, int line);

}  // namespace qbsvrl6

#endif
