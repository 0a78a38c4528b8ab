// A format has up to three sections separated by ";". A section is
//
//     [ "rgb(" r "," g "," b ")" ] [ "e" ] before places [ "E" sign zeros ] after
//
// where the places reach from the first "#" or "0" to the last.
#include "qbsvrl6/bind/number_section.h"

#include <algorithm>
#include <utility>

#include "format/locale_settings.h"
#include "qbsvrl6/bind/spreadsheet_format.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

constexpr int kMostSections = 3;
constexpr std::size_t npos = std::u16string_view::npos;
constexpr char16_t kQuoted = u'\0';  // the meaning of quoted characters

// A text and the meaning of each of its characters: itself, unless it is quoted.
struct MarkedText {
    std::u16string text;
    std::u16string meaning;

    std::size_t size() const { return text.size(); }
    void add(char16_t unit, char16_t means) {
        text += unit;
        meaning += means;
    }
    MarkedText part(std::size_t first, std::size_t end = npos) const {
        return {text.substr(first, end - first), meaning.substr(first, end - first)};
    }
};

// "kg", 'kg' and \k are literal. A quote without a closing one and a backslash at the end stand for
// themselves.
MarkedText withoutQuotes(std::u16string_view text) {
    MarkedText result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        const bool isQuote = unit == u'"' || unit == u'\'';
        const std::size_t end = isQuote ? text.find(unit, i + 1) : npos;
        if (end != npos) {
            for (++i; i < end; ++i) result.add(text[i], kQuoted);
        } else if (unit == u'\\' && i + 1 < text.size()) {
            result.add(text[++i], kQuoted);
        } else {
            result.add(unit, unit);
        }
    }
    return result;
}

bool isLetter(char16_t unit) {
    return isLatinLetter(unit) || (unit >= 0xC0 && unit < 0x2000) || (unit >= 0x2E80 && unit < 0xFF00);
}

// The number of digits between the last comma and the point; three if the only comma is after the point.
int groupSize(std::u16string_view places) {
    const std::size_t point = std::min(places.find(u'.'), places.size());
    int count = 0;
    for (std::size_t i = point; i-- > 0;) {
        if (places[i] != u',') {
            ++count;
        } else if (count > 0) {
            return count;
        }
    }
    return places.find(u',', point) != npos ? 3 : 0;
}

class SectionCutter {
public:
    SectionCutter(const MarkedText& body, NumberSection& section)
        : text_(body.text), meaning_(body.meaning), section_(section) {}

    // The body has a digit place.
    void cut() {
        findPlaces();
        findSigns();
        for (const NumberSection::Sign sign :
             {NumberSection::Plus, NumberSection::Minus, NumberSection::RoundedMinus}) {
            write(sign);
        }
    }

private:
    char16_t meaningAt(std::size_t index) const {
        return index < meaning_.size() ? meaning_[index] : kQuoted;
    }
    bool isPlace(std::size_t index) const { return meaningAt(index) == u'#' || meaningAt(index) == u'0'; }

    void findPlaces();
    void findExponent();
    void findSigns();
    bool isHyphen(std::size_t index) const;
    void write(NumberSection::Sign sign);
    void writeUnit(std::size_t index, NumberSection::Sign sign, NumberSection::Literal& out) const;

    const std::u16string& text_;
    const std::u16string& meaning_;
    NumberSection& section_;
    std::size_t start_ = 0;  // start of the text before the digit places
    std::size_t first_ = 0;  // start of the digit places
    std::size_t end_ = 0;
    std::size_t after_ = 0;  // start of the text after them
    std::size_t sign_ = npos;
    std::size_t open_ = npos;
    std::size_t close_ = npos;
    std::size_t percent_ = npos;
};

// "e0.00", or "0.00E+00" as in spreadsheets.
void SectionCutter::findExponent() {
    const std::size_t signs = meaningAt(1) == u'+' || meaningAt(1) == u'-' ? 1 : 0;
    if (meaningAt(0) == u'e' && (isPlace(1 + signs) || meaningAt(1 + signs) == u'.')) {
        section_.exponent = NumberSection::Exponent{};
        start_ = 1;
        return;
    }
    for (std::size_t i = 1; i + 2 < meaning_.size(); ++i) {
        const bool isMark = (meaning_[i] == u'E' || meaning_[i] == u'e') &&
                            (isPlace(i - 1) || (i > 1 && meaning_[i - 1] == u'.' && isPlace(i - 2))) &&
                            (meaning_[i + 1] == u'+' || meaning_[i + 1] == u'-') && meaning_[i + 2] == u'0';
        if (!isMark) continue;
        const std::size_t zerosEnd = std::min(meaning_.find_first_not_of(u'0', i + 2), meaning_.size());
        section_.exponent = {meaning_[i], meaning_[i + 1] == u'+', zerosEnd - i - 2};
        end_ = i;
        after_ = zerosEnd;
        return;
    }
}

void SectionCutter::findPlaces() {
    findExponent();
    first_ = meaning_.find_first_of(u"#0", start_);
    if (first_ > start_ && meaning_[first_ - 1] == u'.') --first_;
    if (end_ == 0) {
        end_ = meaning_.find_last_of(u"#0") + 1;
        while (meaningAt(end_) == u'.' || meaningAt(end_) == u',') ++end_;
        after_ = end_;
    }
    std::u16string places;
    std::copy_if(meaning_.begin() + static_cast<std::ptrdiff_t>(first_),
                 meaning_.begin() + static_cast<std::ptrdiff_t>(end_), std::back_inserter(places),
                 [](char16_t unit) { return std::u16string_view(u"#0.,").find(unit) != npos; });
    section_.digits.Parse(places.c_str());
    section_.digits.m_Normal.m_GroupSize = groupSize(places);
}

// A "-" between two letters joins words.
bool SectionCutter::isHyphen(std::size_t index) const {
    return index > 0 && index + 1 < text_.size() && isLetter(text_[index - 1]) && isLetter(text_[index + 1]);
}

// If there are several signs, the first "+" counts, or else the first "-". Parentheses count only if they
// enclose the digits.
void SectionCutter::findSigns() {
    std::size_t minus = npos;
    for (std::size_t i = start_; i < meaning_.size(); ++i) {
        if (i == first_) i = after_;
        switch (meaningAt(i)) {
            case u'+':
                if (sign_ == npos) sign_ = i;
                break;
            case u'-':
                if (minus == npos && !isHyphen(i)) minus = i;
                break;
            case u'(':
                if (i < first_) open_ = i;
                break;
            case u')':
                if (i >= after_ && close_ == npos) close_ = i;
                break;
            case u'%':
                if (percent_ == npos) percent_ = i;
                break;
            default:
                break;
        }
    }
    if (sign_ == npos) sign_ = minus;
    if (open_ == npos || close_ == npos) open_ = close_ = npos;
    section_.percent = percent_ != npos;
}

void SectionCutter::writeUnit(std::size_t index, NumberSection::Sign sign,
                              NumberSection::Literal& out) const {
    const auto literal = [&out](std::u16string_view text) {
        out.shown += text;
        appendSpreadsheetLiteral(out.spreadsheet, text);
    };
    const auto sure = [&out](char16_t unit) {
        out.shown += unit;
        out.spreadsheet += unit;
    };
    const char16_t meaning = meaning_[index];
    if (index == percent_) {
        sure(meaning);
    } else if (index == open_ || index == close_) {
        if (sign != NumberSection::Plus) sure(meaning);
    } else if (meaning == u'+' || (meaning == u'-' && !isHyphen(index))) {
        if (index != sign_) return;
        if (sign == NumberSection::Plus && meaning == u'+') sure(u'+');
        if (sign == NumberSection::Minus && open_ == npos) sure(u'-');
    } else if (meaning == u'$') {
        const std::u16string& currency = larkspur::g_c_SCurrency;
        literal(currency.empty() ? std::u16string_view(u"$") : currency);
    } else {
        literal({&text_[index], 1});
    }
}

void SectionCutter::write(NumberSection::Sign sign) {
    NumberSection::Around& around = section_.around[sign];
    for (std::size_t i = start_; i < first_; ++i) writeUnit(i, sign, around.before);
    // Nothing else marks numbers below zero.
    if (sign == NumberSection::Minus && sign_ == npos && open_ == npos && !section_.color) {
        around.before.shown += u'-';
        around.before.spreadsheet += u'-';
    }
    for (std::size_t i = after_; i < text_.size(); ++i) writeUnit(i, sign, around.after);
}

// The section shows its text and, if `showsNumber`, the number after it as without a format.
void takeAsText(const MarkedText& body, bool showsNumber, NumberSection& section) {
    section.hasDigits = showsNumber;
    for (NumberSection::Around& around : section.around) {
        around.before.shown = body.text;
        appendSpreadsheetLiteral(around.before.spreadsheet, body.text);
    }
    if (!showsNumber) return;
    NumberSection::Literal& minus = section.around[NumberSection::Minus].before;
    minus.shown += u'-';
    minus.spreadsheet += u'-';
}

// Reads the colour at the start of the section, and returns the rest.
MarkedText takeColor(const MarkedText& section, std::optional<Color>& color) {
    unsigned int decoded = 0;
    const char16_t* const rest =
        larkspur::ClkNumericFormatParser::DecodeTextColor(section.meaning.c_str(), decoded);
    if (rest == nullptr) return section;
    if (decoded != 0) {
        color = {static_cast<std::uint8_t>(decoded), static_cast<std::uint8_t>(decoded >> 8),
                 static_cast<std::uint8_t>(decoded >> 16)};
    }
    return section.part(static_cast<std::size_t>(rest - section.meaning.c_str()));
}

// A section that consists of a colour alone uses the body of the first section.
void cutSection(const MarkedText& text, const MarkedText& first, bool isOnlyOne, NumberSection& section) {
    MarkedText body = takeColor(text, section.color);
    if (body.size() == 0 && section.color) {
        std::optional<Color> ofFirst;
        body = takeColor(first, ofFirst);
    }
    if (body.meaning.find_first_of(u"#0") != npos) {
        SectionCutter(body, section).cut();
    } else {
        takeAsText(body, isOnlyOne || (body.size() == 0 && text.size() == 0), section);
    }
}

}  // namespace

std::u16string NumberSection::spreadsheetFormat(Sign sign) const {
    std::u16string format = around[sign].before.spreadsheet;
    if (hasDigits) {
        const std::u16string places = digits.m_Normal.GetExportXlsFormatText();
        format += places.empty() ? u"General" : places;
    }
    if (exponent) {
        format += exponent->plus ? u"E+" : u"E-";
        format.append(exponent->places, u'0');
    }
    return format + around[sign].after.spreadsheet;
}

std::string numberFormatProblem(std::u16string_view text) {
    if (text.starts_with(u'{') && !text.ends_with(u'}')) return "has no \"}\" after its words";
    const MarkedText whole = withoutQuotes(text);
    if (whole.meaning.find_first_of(u"\"'") != npos) return "has a quote without a closing quote";
    int sections = 0;
    for (std::size_t start = 0; start <= whole.size(); ++sections) {
        const std::size_t end = std::min(whole.meaning.find(u';', start), whole.size());
        const std::u16string_view section = std::u16string_view(whole.meaning).substr(start, end - start);
        const std::size_t first = std::min(section.find_first_of(u"#0"), section.size());
        const std::u16string_view places = section.substr(first, section.find_last_of(u"#0") - first);
        if (std::count(places.begin(), places.end(), u'.') > 1) return "has two decimal points";
        start = end + 1;
    }
    return sections > kMostSections ? "has more than three sections" : "";
}

NumberSections cutNumberFormat(std::u16string_view text) {
    const MarkedText whole = withoutQuotes(text);
    const std::size_t firstEnd = std::min(whole.meaning.find(u';'), whole.size());
    const std::size_t secondStart = std::min(firstEnd + 1, whole.size());
    const std::size_t secondEnd = std::min(whole.meaning.find(u';', secondStart), whole.size());
    const MarkedText first = whole.part(0, firstEnd);
    const bool hasNegative = secondEnd > secondStart;
    const bool hasZero = secondEnd + 1 < whole.size();

    NumberSections sections;
    cutSection(first, first, !hasNegative && !hasZero, sections.normal);
    if (hasNegative) {
        sections.negative = std::make_unique<NumberSection>();
        MarkedText negative = whole.part(secondStart, secondEnd);
        // Parentheses, quoted or not, replace the minus sign.
        for (std::size_t i = 0; i < negative.size(); ++i) {
            const char16_t unit = negative.text[i];
            if (unit == u'(' || unit == u')') negative.meaning[i] = unit;
        }
        cutSection(negative, first, false, *sections.negative);
    }
    if (hasZero) {
        sections.zero = std::make_unique<NumberSection>();
        cutSection(whole.part(secondEnd + 1), first, false, *sections.zero);
    }
    return sections;
}

}  // namespace qbsvrl6
