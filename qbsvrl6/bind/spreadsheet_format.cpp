#include "qbsvrl6/bind/spreadsheet_format.h"

#include <algorithm>
#include <array>
#include <utility>

#include "format/locale_settings.h"

namespace qbsvrl6 {

namespace {

bool endsInLiteral(std::u16string_view format) {
    return format.ends_with(u'"') && !format.ends_with(u"\\\"");
}

// Characters that need no quotes in a spreadsheet format.
bool isSign(char16_t unit) { return unit == u'-' || unit == u':' || unit == u'/' || unit == u' '; }

}  // namespace

void appendSpreadsheetLiteral(std::u16string& format, std::u16string_view text) {
    for (const char16_t unit : text) {
        if (unit == u'"') {
            format += u"\\\"";
        } else if (endsInLiteral(format)) {
            format.insert(format.size() - 1, 1, unit);
        } else {
            format += u'"';
            format += unit;
            format += u'"';
        }
    }
}

void appendSpreadsheetPart(std::u16string& format, std::u16string_view part) {
    if (endsInLiteral(format) && part.starts_with(u'"')) {
        format.pop_back();
        part.remove_prefix(1);
    }
    format += part;
}

std::u16string_view spreadsheetColor(const Color& color) {
    struct Named {
        Color color;
        std::u16string_view name;
    };
    static constexpr std::array<Named, 7> kNames = {{{{255, 0, 0}, u"[Red]"},
                                                     {{0, 0, 255}, u"[Blue]"},
                                                     {{0, 255, 0}, u"[Green]"},
                                                     {{255, 255, 0}, u"[Yellow]"},
                                                     {{255, 0, 255}, u"[Magenta]"},
                                                     {{0, 255, 255}, u"[Cyan]"},
                                                     {{255, 255, 255}, u"[White]"}}};
    for (const Named& named : kNames) {
        if (named.color == color) return named.name;
    }
    return {};
}

bool hasSpreadsheetHours(std::u16string_view format) {
    const auto has = [format](char16_t letter) { return format.find(letter) != std::u16string_view::npos; };
    return has(u't') ? !has(u'H') : !has(u'h');
}

// The letters of date formats mean the same in a spreadsheet, with three differences: two digits need two
// letters, months and minutes share a letter, and all other text is quoted.
std::u16string spreadsheetDateFormat(std::u16string_view format) {
    std::u16string result;
    std::u16string literal;
    const auto flush = [&] { appendSpreadsheetLiteral(result, std::exchange(literal, {})); };
    for (std::size_t i = 0; i < format.size();) {
        const char16_t unit = format[i];
        std::size_t end = i + 1;
        while (end < format.size() && format[end] == unit) ++end;
        const std::size_t run = end - i;
        if (std::u16string_view(u"yMdHhms").find(unit) != std::u16string_view::npos) {
            const char16_t lower = unit == u'M' ? u'm' : (unit == u'H' ? u'h' : unit);
            flush();
            result += std::u16string(unit == u'y' ? (run < 3 ? 2u : 4u) : std::clamp<std::size_t>(run, 2, 4),
                                     lower);
            i = end;
        } else if (unit == u't') {
            flush();
            result += u"AM/PM";
            i = end;
        } else if (unit == u'/' && run > 1) {
            flush();
            result += unit;
            i += 2;
        } else if (isSign(unit)) {
            flush();
            result += unit == u'/' ? larkspur::g_c_DateSep
                                   : (unit == u':' ? larkspur::g_c_TimeSep : std::u16string(1, unit));
            ++i;
        } else {
            literal += unit;
            ++i;
        }
    }
    flush();
    return result;
}

}  // namespace qbsvrl6
