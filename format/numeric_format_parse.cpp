// Parses number formats.
//
//     format   = [ anything "$$$$$" anything ]     the marker is cut out, the rest are sections
//              | "$$" [ sections ]
//              | "{" entries "}"
//              | sections
//     sections = section [ ";" section [ ";" section-with-any-";" ] ]
//     section  = [ "rgb(" digits "," digits "," digits ")" ] body
//     body     = [ "e" ] { any unit }
//
// A body is not parsed symbol by symbol. Only the first position of each format character and the number of
// "0" and "#" on either side of the first "." matter.
#include <algorithm>
#include <string_view>

#include "common/internal/ascii.h"
#include "common/string_ops.h"
#include "format/numeric_format.h"

namespace larkspur {

namespace {

using Analyser = ClkNumericFormatParser::ClkFormatAnalyser;
using TextView = std::u16string_view;

constexpr TextView kFormatCharacters = u"#(+-.0$%),";

bool IsFormatCharacter(lkchar unit) { return kFormatCharacters.find(unit) != TextView::npos; }

int CountOf(TextView text, lkchar unit) {
    return static_cast<int>(std::count(text.begin(), text.end(), unit));
}

// The first position of each format character. Missing ones have npos, which is greater than every position.
struct FirstPositions {
    explicit FirstPositions(TextView body)
        : plus(body.find(u'+')),
          minus(body.find(u'-')),
          currency(body.find(u'$')),
          comma(body.find(u',')),
          open(body.find(u'(')),
          close(body.find(u')')),
          point(std::min(body.find(u'.'), body.size())) {}

    std::size_t plus, minus, currency, comma, open, close;
    std::size_t point;  // the end of the body without a "."

    std::size_t SignAnchor() const {
        if (plus != TextView::npos) return plus;
        if (minus != TextView::npos) return minus;
        return currency;
    }
};

void ParseLiterals(Analyser& section, TextView body) {
    const auto first = std::find_if(body.begin(), body.end(), IsFormatCharacter);
    section.m_Prefix.assign(body.begin(), first);
    if (first == body.end()) return;
    const auto last = std::find_if(body.rbegin(), body.rend(), IsFormatCharacter);
    section.m_Suffix.assign(last.base(), body.end());
}

void ParseFlags(Analyser& section, TextView body, const FirstPositions& at) {
    section.m_Percent = body.find(u'%') != TextView::npos;
    section.m_Space = body.find(u' ') != TextView::npos;
    section.m_Parenthesis = at.open != TextView::npos;
    section.m_Currency = at.currency != TextView::npos;

    section.m_ExplicitSign =
        at.plus != TextView::npos || (at.minus != TextView::npos && section.m_TextColor != 0);
    const std::size_t anchor = at.SignAnchor();
    section.m_SignLeading = anchor == TextView::npos || anchor < at.point;
    if (!section.m_Currency) return;
    if (section.m_Parenthesis) {
        const std::size_t bracket = section.m_SignLeading ? at.open : at.close;
        section.m_CurrencyBeforeSign = bracket != TextView::npos && at.currency < bracket;
    } else {
        section.m_CurrencyBeforeSign = at.currency <= anchor;
    }
}

void ParseDigitPlaces(Analyser& section, TextView body, const FirstPositions& at) {
    if (at.comma != TextView::npos) {
        // Counts everything between comma and point, even literal text and "%".
        section.m_GroupSize = at.comma < at.point ? static_cast<int>(at.point - 1 - at.comma) : 3;
    }
    section.m_MinIntegerDigits = CountOf(body.substr(0, at.point), u'0');
    const TextView decimals = body.substr(std::min(at.point + 1, body.size()));
    section.m_MinDecimals = CountOf(decimals, u'0');
    section.m_MaxDecimals = section.m_MinDecimals + CountOf(decimals, u'#');
}

// The text after the section must be readable up to a ";" or a zero unit.
void ParseSection(Analyser& section, TextView text) {
    section.DefaultMe();
    if (text.empty()) return;
    TextView body = text;
    if (const lkchar* rest = ClkNumericFormatParser::DecodeTextColor(text.data(), section.m_TextColor)) {
        body.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    }
    section.m_Exponent = !body.empty() && body.front() == u'e';
    if (!section.m_Exponent) ParseLiterals(section, body);
    const FirstPositions at(body);
    ParseFlags(section, body, at);
    ParseDigitPlaces(section, body, at);
}

const lkchar* SkipDigits(const lkchar* text) {
    while (IsAsciiDigit(*text)) ++text;
    return text;
}

}  // namespace

void ClkNumericFormatParser::ClkFormatAnalyser::DefaultMe() {
    m_MaxDecimals = 9;
    m_MinDecimals = 0;
    m_MinIntegerDigits = 1;
    m_ExplicitSign = false;
    m_SignLeading = true;
    m_Parenthesis = false;
    m_GroupSize = 0;
    m_Currency = false;
    m_Percent = false;
    m_Space = false;
    m_CurrencyBeforeSign = true;
    m_Exponent = false;
    m_TextColor = 0;
    m_Prefix.clear();
    m_Suffix.clear();
}

void ClkNumericFormatParser::ClkFormatAnalyser::Parse(const lkchar* text) {
    ParseSection(*this, text != nullptr ? text : gc_lkchar_empty);
}

void ClkNumericFormatParser::DefaultMe() {
    m_Kind = NumericKindNormal;
    m_Normal.DefaultMe();
    m_Negative.reset();
    m_Zero.reset();
    m_IntEnum.reset();
}

void ClkNumericFormatParser::Parse(const lkchar* text) {
    constexpr TextView kDigitMarker = u"$$$$$";
    constexpr TextView kBigMarker = u"$$";
    DefaultMe();
    const TextView whole(text != nullptr ? text : gc_lkchar_empty);
    if (whole.empty()) return;
    if (const std::size_t marker = whole.find(kDigitMarker); marker != TextView::npos) {
        m_Kind = NumericKindBigDigit;
        lkstr sections(whole.substr(0, marker));
        sections += whole.substr(marker + kDigitMarker.size());
        DoNormalParse(sections.c_str());
    } else if (whole == kBigMarker) {
        m_Kind = NumericKindBigMoney;
    } else if (whole.substr(0, kBigMarker.size()) == kBigMarker) {
        m_Kind = NumericKindBigNumeric;
        DoNormalParse(text + kBigMarker.size());
    } else if (whole.front() == u'{' && whole.back() == u'}') {
        m_Kind = NumericKindIntEnum;
        m_IntEnum = std::make_unique<ClkIntEnumAnalyser>(text);
    } else {
        DoNormalParse(text);
    }
}

void ClkNumericFormatParser::DoNormalParse(const lkchar* text) {
    TextView rest(text != nullptr ? text : gc_lkchar_empty);
    const auto nextSection = [&rest] {
        const std::size_t end = std::min(rest.find(u';'), rest.size());
        const TextView section = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        return section;
    };
    ParseSection(m_Normal, nextSection());
    if (const TextView negative = nextSection(); !negative.empty()) {
        m_Negative = std::make_unique<ClkFormatAnalyser>();
        ParseSection(*m_Negative, negative);
    }
    if (!rest.empty()) {
        m_Zero = std::make_unique<ClkFormatAnalyser>();
        ParseSection(*m_Zero, rest);
    }
}

const lkchar* ClkNumericFormatParser::DecodeTextColor(const lkchar* text, unsigned int& color) {
    constexpr TextView kStart = u"rgb(";
    if (text == nullptr) return nullptr;
    for (const lkchar unit : kStart) {
        if (*text++ != unit) return nullptr;
    }
    unsigned int components = 0;
    for (int shift = 0; shift <= 16; shift += 8) {
        const int component = lkstr_toi(text);
        const lkchar* end = SkipDigits(text);
        if (end == text || *end != (shift < 16 ? u',' : u')')) return nullptr;
        if (component < 0 || component > 255) return nullptr;
        components |= static_cast<unsigned int>(component) << shift;
        text = end + 1;
    }
    color = components;
    return text;
}

}  // namespace larkspur
