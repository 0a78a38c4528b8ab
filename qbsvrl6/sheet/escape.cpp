#include "qbsvrl6/sheet/escape.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// What stands for each ASCII character.
struct AsciiTable {
    std::array<std::string_view, 128> forms{};  // empty: itself
    std::array<bool, 128> isPlain{};
    bool joinsLineEnds = false;  // CR LF is LF

    constexpr AsciiTable& done() {
        for (std::size_t c = 0; c < forms.size(); ++c) isPlain[c] = forms[c].empty();
        return *this;
    }
};

constexpr AsciiTable kPlain = AsciiTable().done();

constexpr AsciiTable kPrintable = [] {
    AsciiTable table;
    for (std::size_t c = 0; c < 0x20; ++c) table.forms[c] = " ";
    table.forms[0x7F] = " ";
    return table.done();
}();

constexpr AsciiTable kMarkup = [] {
    AsciiTable table;
    for (std::size_t c = 0; c < 0x20; ++c) table.forms[c] = kReplacement;
    table.forms[0x7F] = kReplacement;
    table.forms['\t'] = table.forms['\n'] = {};
    table.forms['\r'] = "\n";
    table.forms['&'] = "&amp;";
    table.forms['<'] = "&lt;";
    table.forms['>'] = "&gt;";
    table.forms['"'] = "&quot;";
    table.joinsLineEnds = true;
    return table.done();
}();

constexpr std::array<std::string_view, 32> kControlForms = {
    "_x0000_", "_x0001_", "_x0002_", "_x0003_", "_x0004_", "_x0005_", "_x0006_", "_x0007_",
    "_x0008_", "_x0009_", "_x000A_", "_x000B_", "_x000C_", "_x000D_", "_x000E_", "_x000F_",
    "_x0010_", "_x0011_", "_x0012_", "_x0013_", "_x0014_", "_x0015_", "_x0016_", "_x0017_",
    "_x0018_", "_x0019_", "_x001A_", "_x001B_", "_x001C_", "_x001D_", "_x001E_", "_x001F_"};

constexpr AsciiTable kXstring = [] {
    AsciiTable table = kMarkup;
    for (std::size_t c = 0; c < 0x20; ++c) table.forms[c] = kControlForms[c];
    table.forms['\t'] = table.forms['\n'] = table.forms[0x7F] = {};
    table.forms['\r'] = "\n";
    return table.done();
}();

// Puts a character beyond ASCII and tells its length.
std::size_t putUtf8(char* place, char32_t c) {
    std::size_t used = 0;
    const auto put = [&](char32_t byte) { place[used++] = static_cast<char>(byte); };
    if (c < 0x800) {
        put(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
    } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
    return used;
}

// Appends by blocks through a buffer of fixed size: nothing is allocated besides `out`.
void appendBy(const AsciiTable& table, std::string& out, std::u16string_view text) {
    constexpr std::size_t kLongestForm = 16;
    std::array<char, 512> buffer;
    std::size_t used = 0;
    std::size_t i = 0;
    while (i < text.size()) {
        if (used > buffer.size() - kLongestForm) {
            out.append(buffer.data(), used);
            used = 0;
        }
        const std::size_t runEnd = std::min(text.size(), i + buffer.size() - used);
        while (i < runEnd && text[i] < 0x80 && table.isPlain[text[i]]) {
            buffer[used++] = static_cast<char>(text[i++]);
        }
        if (i == runEnd || used > buffer.size() - kLongestForm) continue;
        const char16_t unit = text[i];
        if (unit >= 0x80) {
            const char32_t c = nextCharacter(text, i);
            used += putUtf8(&buffer[used], c == 0xFFFE || c == 0xFFFF ? 0xFFFD : c);
            continue;
        }
        ++i;
        if (table.joinsLineEnds && unit == u'\r' && i < text.size() && text[i] == u'\n') continue;
        const std::string_view form = table.forms[unit];
        std::memcpy(&buffer[used], form.data(), form.size());
        used += form.size();
    }
    out.append(buffer.data(), used);
}

bool isHexDigit(char16_t c) {
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

// Whether the text at `index` reads as "_x0041_".
bool isEscapeForm(std::u16string_view text, std::size_t index) {
    return text.size() - index >= 7 && text[index + 1] == u'x' && isHexDigit(text[index + 2]) &&
           isHexDigit(text[index + 3]) && isHexDigit(text[index + 4]) && isHexDigit(text[index + 5]) &&
           text[index + 6] == u'_';
}

}  // namespace

void appendUtf8(std::string& out, std::u16string_view text) { appendBy(kPlain, out, text); }

void appendPrintable(std::string& out, std::u16string_view text) { appendBy(kPrintable, out, text); }

void appendMarkup(std::string& out, std::u16string_view text) { appendBy(kMarkup, out, text); }

void appendXstring(std::string& out, std::u16string_view text) {
    std::size_t from = 0;
    for (std::size_t at = text.find(u'_'); at != std::u16string_view::npos; at = text.find(u'_', at + 1)) {
        if (!isEscapeForm(text, at)) continue;
        appendBy(kXstring, out, text.substr(from, at - from));
        out += "_x005F_";
        from = at + 1;
    }
    appendBy(kXstring, out, text.substr(from));
}

std::u16string_view cleanText(std::u16string_view text, std::u16string& buffer) {
    const auto isSuspect = [](char16_t unit) {
        return unit == u'\r' || (unit & 0xF800) == 0xD800 || unit >= 0xFFFE;
    };
    if (std::none_of(text.begin(), text.end(), isSuspect)) return text;
    buffer.clear();
    for (std::size_t i = 0; i < text.size();) {
        const char32_t c = nextCharacter(text, i);
        if (c == '\r') {
            if (i == text.size() || text[i] != u'\n') buffer += u'\n';
        } else {
            appendCharacter(buffer, c == 0xFFFE || c == 0xFFFF ? 0xFFFD : c);
        }
    }
    return buffer;
}

bool isSafeLink(std::u16string_view link) {
    const bool hasControl =
        std::any_of(link.begin(), link.end(), [](char16_t c) { return c < 0x20 || c == 0x7F; });
    if (link.empty() || hasControl) return false;
    for (const std::u16string_view scheme : {u"http://", u"https://", u"mailto:", u"tel:", u"ftp://"}) {
        if (link.size() < scheme.size()) continue;
        const bool equal = std::equal(scheme.begin(), scheme.end(), link.begin(), [](char16_t a, char16_t b) {
            return a == b || (b >= u'A' && b <= u'Z' && a == b + (u'a' - u'A'));
        });
        if (equal) return true;
    }
    return false;
}

}  // namespace qbsvrl6
