#include "qbsvrl6/sheet/text/text_width.h"

#include <algorithm>
#include <array>

#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Widths W and F in EastAsianWidth.txt; neighbouring ranges are joined across unassigned characters.
constexpr std::array kWide = {
    Range{0x1100, 0x115F},   Range{0x231A, 0x231B},   Range{0x2329, 0x232A},   Range{0x23E9, 0x23EC},
    Range{0x23F0, 0x23F0},   Range{0x23F3, 0x23F3},   Range{0x25FD, 0x25FE},   Range{0x2614, 0x2615},
    Range{0x2648, 0x2653},   Range{0x267F, 0x267F},   Range{0x2693, 0x2693},   Range{0x26A1, 0x26A1},
    Range{0x26AA, 0x26AB},   Range{0x26BD, 0x26BE},   Range{0x26C4, 0x26C5},   Range{0x26CE, 0x26CE},
    Range{0x26D4, 0x26D4},   Range{0x26EA, 0x26EA},   Range{0x26F2, 0x26F3},   Range{0x26F5, 0x26F5},
    Range{0x26FA, 0x26FA},   Range{0x26FD, 0x26FD},   Range{0x2705, 0x2705},   Range{0x270A, 0x270B},
    Range{0x2728, 0x2728},   Range{0x274C, 0x274C},   Range{0x274E, 0x274E},   Range{0x2753, 0x2755},
    Range{0x2757, 0x2757},   Range{0x2795, 0x2797},   Range{0x27B0, 0x27B0},   Range{0x27BF, 0x27BF},
    Range{0x2B1B, 0x2B1C},   Range{0x2B50, 0x2B50},   Range{0x2B55, 0x2B55},   Range{0x2E80, 0x303E},
    Range{0x3041, 0x33FF},   Range{0x3400, 0x4DBF},   Range{0x4E00, 0xA4CF},   Range{0xA960, 0xA97C},
    Range{0xAC00, 0xD7A3},   Range{0xF900, 0xFAFF},   Range{0xFE10, 0xFE19},   Range{0xFE30, 0xFE6B},
    Range{0xFF01, 0xFF60},   Range{0xFFE0, 0xFFE6},   Range{0x16FE0, 0x18CFF}, Range{0x1AFF0, 0x1B2FF},
    Range{0x1F004, 0x1F004}, Range{0x1F0CF, 0x1F0CF}, Range{0x1F18E, 0x1F18E}, Range{0x1F191, 0x1F19A},
    Range{0x1F200, 0x1F320}, Range{0x1F32D, 0x1F335}, Range{0x1F337, 0x1F37C}, Range{0x1F37E, 0x1F393},
    Range{0x1F3A0, 0x1F3CA}, Range{0x1F3CF, 0x1F3D3}, Range{0x1F3E0, 0x1F3F0}, Range{0x1F3F4, 0x1F3F4},
    Range{0x1F3F8, 0x1F43E}, Range{0x1F440, 0x1F440}, Range{0x1F442, 0x1F4FC}, Range{0x1F4FF, 0x1F53D},
    Range{0x1F54B, 0x1F54E}, Range{0x1F550, 0x1F567}, Range{0x1F57A, 0x1F57A}, Range{0x1F595, 0x1F596},
    Range{0x1F5A4, 0x1F5A4}, Range{0x1F5FB, 0x1F64F}, Range{0x1F680, 0x1F6C5}, Range{0x1F6CC, 0x1F6CC},
    Range{0x1F6D0, 0x1F6D2}, Range{0x1F6D5, 0x1F6DF}, Range{0x1F6EB, 0x1F6EC}, Range{0x1F6F4, 0x1F6FC},
    Range{0x1F7E0, 0x1F7F0}, Range{0x1F90C, 0x1F93A}, Range{0x1F93C, 0x1F945}, Range{0x1F947, 0x1F9FF},
    Range{0x1FA70, 0x1FAFF}, Range{0x20000, 0x2FFFD}, Range{0x30000, 0x3FFFD},
};

// Combining marks of the scripts that reports use, joiners, direction marks and variation selectors.
constexpr std::array kZeroWidth = {
    Range{0x0300, 0x036F}, Range{0x0483, 0x0489}, Range{0x0591, 0x05BD}, Range{0x0610, 0x061A},
    Range{0x064B, 0x065F}, Range{0x0E31, 0x0E31}, Range{0x0E34, 0x0E3A}, Range{0x0E47, 0x0E4E},
    Range{0x1AB0, 0x1AFF}, Range{0x1DC0, 0x1DFF}, Range{0x200B, 0x200F}, Range{0x202A, 0x202E},
    Range{0x2060, 0x2064}, Range{0x20D0, 0x20FF}, Range{0x302A, 0x302D}, Range{0x3099, 0x309A},
    Range{0xFE00, 0xFE0F}, Range{0xFE20, 0xFE2F}, Range{0xFEFF, 0xFEFF}, Range{0xE0100, 0xE01EF},
};

template <std::size_t N>
bool isIn(const std::array<Range, N>& ranges, char32_t c) {
    const auto after =
        std::upper_bound(ranges.begin(), ranges.end(), c,
                         [](char32_t value, const Range& range) { return value < range.first; });
    return after != ranges.begin() && c <= (after - 1)->last;
}

bool isSpace(char32_t c) { return c == U' ' || c == U'\t'; }

bool mayNotBegin(char32_t c) {
    return std::u32string_view(U",.;:!?)]}%、。〉》」』】〕〗’”…‥：；！？，．）］｝％°℃").find(c) !=
           std::u32string_view::npos;
}

bool mayNotEnd(char32_t c) {
    return std::u32string_view(U"([{〈《「『【〔〖‘“（［｛$￥＄").find(c) != std::u32string_view::npos;
}

bool isOneLine(std::u16string_view text) {
    return std::none_of(text.begin(), text.end(), [](char16_t c) { return c == u'\r' || c == u'\n'; });
}

std::u16string_view withoutTrailingSpaces(std::u16string_view text) {
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

// Breaks one paragraph, greedily.
void wrapParagraph(std::u16string_view text, int width, std::vector<std::u16string_view>& lines) {
    std::size_t lineStart = 0;
    std::size_t breakEnd = 0;   // the line may end here ...
    std::size_t breakNext = 0;  // ... and the next one begin here; lineStart: no break is known
    int column = 0;
    char32_t previous = 0;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t at = i;
        const char32_t c = nextCharacter(text, i);
        const int charWidth = displayWidth(c);
        if (isSpace(c)) {
            if (!isSpace(previous)) breakEnd = at;
            breakNext = i;
        } else if (at > lineStart && !isSpace(previous) && charWidth > 0 &&
                   (charWidth == 2 || displayWidth(previous) == 2) && !mayNotBegin(c) &&
                   !mayNotEnd(previous)) {
            breakEnd = breakNext = at;
        }
        previous = c;
        column += charWidth;
        if (column <= width || isSpace(c)) continue;
        if (breakNext <= lineStart) {  // a word wider than the line
            if (at == lineStart) continue;
            breakEnd = breakNext = at;
        }
        lines.push_back(text.substr(lineStart, breakEnd - lineStart));
        lineStart = breakNext;
        column = displayWidth(text.substr(lineStart, i - lineStart));
    }
    lines.push_back(withoutTrailingSpaces(text.substr(lineStart)));
}

}  // namespace

int displayWidth(char32_t c) {
    if (c < 0x300) return 1;
    if (c >= 0x4E00 && c <= 0x9FFF) return 2;
    if (isIn(kZeroWidth, c)) return 0;
    return isIn(kWide, c) ? 2 : 1;
}

int displayWidth(std::u16string_view text) {
    int width = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] < 0x300) {
            ++i;
            ++width;
        } else {
            width += displayWidth(nextCharacter(text, i));
        }
    }
    return width;
}

int widestWord(std::u16string_view text) {
    int widest = 0;
    int width = 0;
    for (std::size_t i = 0; i < text.size();) {
        const char32_t c = nextCharacter(text, i);
        const int charWidth = displayWidth(c);
        const bool ends = isSpace(c) || c == U'\r' || c == U'\n' || charWidth == 2;
        width = ends ? 0 : width + charWidth;
        widest = std::max(widest, ends ? charWidth : width);
    }
    return widest;
}

void wrapText(std::u16string_view text, int width, std::vector<std::u16string_view>& lines) {
    if (isOneLine(text) && displayWidth(text) <= width) {
        lines.push_back(withoutTrailingSpaces(text));
        return;
    }
    while (true) {
        const std::size_t end = text.find_first_of(u"\r\n");
        wrapParagraph(text.substr(0, end), width, lines);
        if (end == std::u16string_view::npos) return;
        const bool isPair = text[end] == u'\r' && end + 1 < text.size() && text[end + 1] == u'\n';
        text.remove_prefix(end + (isPair ? 2 : 1));
    }
}

}  // namespace qbsvrl6
