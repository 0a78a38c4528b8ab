#include "qbsvrl6/data/json_outline.h"

#include <string>
#include <vector>

namespace qbsvrl6 {

namespace {

constexpr char closerOf(char bracket) { return bracket == '[' ? ']' : '}'; }

// The "{" of line 2
std::string named(char bracket, int line) {
    return std::string("the \"") + bracket + "\" of line " + std::to_string(line);
}

}  // namespace

JsonOutline::JsonOutline(std::string_view text)
    : control(text.data() + text.size()), wrong(control), opened(control) {
    const char* const end = control;
    std::vector<const char*> open;
    for (const char* at = text.data(); at < end; ++at) {
        const char c = *at;
        if (endsInString) {
            if (static_cast<unsigned char>(c) < 0x20 && control == end) control = at;
            if (c == '\\') ++at;
            endsInString = c != '"';
            continue;
        }
        endsInString = c == '"';
        if (c == '[' || c == '{') open.push_back(at);
        if ((c != ']' && c != '}') || open.empty()) continue;
        if (c != closerOf(*open.back()) && wrong == end) {
            wrong = at;
            opened = open.back();
        }
        open.pop_back();
    }
    if (wrong == end && !open.empty()) opened = open.back();
}

void failBySyntax(const Utf8Window& window, std::size_t offset) {
    window.fail(ErrorCode::BadData, "the data is not valid JSON here", offset);
}

void failByBracket(const Utf8Window& window, std::size_t closing, char opened, int line) {
    window.fail(ErrorCode::BadData,
                "this bracket closes " + named(opened, line) + "; write \"" + closerOf(opened) + '"',
                closing);
}

void failByEnd(const Utf8Window& window, std::size_t end, char opened, int line) {
    window.fail(ErrorCode::BadData, "the data ends early: " + named(opened, line) + " is not closed", end);
}

}  // namespace qbsvrl6
