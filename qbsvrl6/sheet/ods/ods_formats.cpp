// A code has up to three sections, for numbers above, below and equal to zero. In OpenDocument, each is a data
// style; the last one has the name of the format and refers to the others by conditions.
#include "qbsvrl6/sheet/ods/ods_formats.h"

#include <algorithm>
#include <vector>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

namespace {

// A part of a section: a literal text, a run of letters of a date, or the digits of a number.
struct Token {
    enum class Kind { Literal, Digits, Percent, Currency, DatePart, Color } kind = Kind::Literal;
    std::u16string text;
};

constexpr std::u16string_view kCurrencies = u"$\u00A2\u00A3\u00A5\u20AC\uFFE5";
constexpr std::u16string_view kDigits = u"#0?.,";

bool isDateLetter(char16_t c) {
    return std::u16string_view(u"yYmMdDhHsS").find(c) != std::u16string_view::npos;
}

class SectionReader {
public:
    explicit SectionReader(std::u16string_view code) : code_(code) {}

    // The tokens of the next section.
    std::vector<Token> next() {
        tokens_.clear();
        while (at_ < code_.size() && code_[at_] != u';') readToken();
        ++at_;
        return std::move(tokens_);
    }
    bool isAtEnd() const { return at_ > code_.size(); }

private:
    void readToken() {
        const char16_t c = code_[at_];
        if (c == u'"') {
            const std::size_t end = std::min(code_.find(u'"', at_ + 1), code_.size());
            addLiteral(code_.substr(at_ + 1, end - at_ - 1));
            at_ = end + 1;
        } else if (c == u'\\' || c == u'_') {
            if (at_ + 1 < code_.size()) addLiteral(c == u'_' ? u" " : code_.substr(at_ + 1, 1));
            at_ += 2;
        } else if (c == u'[') {
            const std::size_t end = std::min(code_.find(u']', at_), code_.size());
            tokens_.push_back({Token::Kind::Color, std::u16string(code_.substr(at_ + 1, end - at_ - 1))});
            at_ = end + 1;
        } else if (c == u'%') {
            tokens_.push_back({Token::Kind::Percent, u"%"});
            ++at_;
        } else if (code_.substr(at_).starts_with(u"AM/PM")) {
            tokens_.push_back({Token::Kind::DatePart, u"AM/PM"});
            at_ += 5;
        } else if (kDigits.find(c) != kDigits.npos && c != u'.' && c != u',') {
            readDigits();
        } else if (isDateLetter(c)) {
            const std::size_t end = std::min(code_.find_first_not_of(c, at_), code_.size());
            tokens_.push_back({Token::Kind::DatePart, std::u16string(code_.substr(at_, end - at_))});
            at_ = end;
        } else {
            addLiteral(code_.substr(at_, 1));
            ++at_;
        }
    }

    // "#,##0.00", "0.0E+00"
    void readDigits() {
        std::size_t end = std::min(code_.find_first_not_of(kDigits, at_), code_.size());
        if (code_.substr(end).starts_with(u"E+") || code_.substr(end).starts_with(u"E-")) {
            end = std::min(code_.find_first_not_of(u"0", end + 2), code_.size());
        }
        tokens_.push_back({Token::Kind::Digits, std::u16string(code_.substr(at_, end - at_))});
        at_ = end;
    }

    // A currency sign is a token of its own.
    void addLiteral(std::u16string_view text) {
        for (const char16_t c : text) {
            const bool isCurrency = kCurrencies.find(c) != kCurrencies.npos;
            const bool goesOn =
                !isCurrency && !tokens_.empty() && tokens_.back().kind == Token::Kind::Literal;
            if (!goesOn) tokens_.push_back({isCurrency ? Token::Kind::Currency : Token::Kind::Literal, {}});
            tokens_.back().text += c;
        }
    }

    std::u16string_view code_;
    std::size_t at_ = 0;
    std::vector<Token> tokens_;
};

bool has(const std::vector<Token>& tokens, Token::Kind kind) {
    return std::any_of(tokens.begin(), tokens.end(), [&](const Token& token) { return token.kind == kind; });
}

OdsValueKind kindOf(const std::vector<Token>& tokens) {
    if (has(tokens, Token::Kind::DatePart)) return OdsValueKind::Date;
    if (has(tokens, Token::Kind::Percent)) return OdsValueKind::Percentage;
    const auto signs = std::count_if(tokens.begin(), tokens.end(),
                                     [](const Token& token) { return token.kind == Token::Kind::Currency; });
    return signs == 1 && has(tokens, Token::Kind::Digits) ? OdsValueKind::Currency : OdsValueKind::Number;
}

bool isTime(const std::vector<Token>& tokens) {
    return std::none_of(tokens.begin(), tokens.end(), [](const Token& token) {
        return token.kind == Token::Kind::DatePart && (token.text[0] == u'y' || token.text[0] == u'd');
    });
}

void writeDigits(XmlWriter& xml, std::u16string_view digits) {
    const std::size_t exponent = digits.find(u'E');
    const std::u16string_view mantissa = digits.substr(0, exponent);
    const std::size_t point = std::min(mantissa.find(u'.'), mantissa.size());
    const std::u16string_view whole = mantissa.substr(0, point);
    const std::u16string_view places = mantissa.substr(std::min(point + 1, mantissa.size()));
    const auto zeros = [](std::u16string_view text) { return std::count(text.begin(), text.end(), u'0'); };
    xml.open(exponent == digits.npos ? "number:number" : "number:scientific-number");
    xml.attribute("number:min-integer-digits", zeros(whole));
    xml.attribute("number:decimal-places", places.size());
    xml.attribute("number:min-decimal-places", zeros(places));
    if (whole.find(u',') != whole.npos) xml.attribute("number:grouping", "true");
    if (exponent != digits.npos) {
        xml.attribute("number:min-exponent-digits", zeros(digits.substr(exponent)));
        if (digits[exponent + 1] == u'-') xml.attribute("number:forced-exponent-sign", "false");
    }
    xml.close();
}

// "mm" are minutes after hours and before seconds, and otherwise a month.
bool isMinute(const std::vector<Token>& tokens, std::size_t index) {
    const auto letter = [&](std::size_t i) { return static_cast<char16_t>(tokens[i].text[0] | 0x20); };
    for (std::size_t i = index; i-- > 0;) {
        if (tokens[i].kind == Token::Kind::DatePart) {
            if (letter(i) == u'h') return true;
            break;
        }
    }
    for (std::size_t i = index + 1; i < tokens.size(); ++i) {
        if (tokens[i].kind == Token::Kind::DatePart) return letter(i) == u's';
    }
    return false;
}

void writeDatePart(XmlWriter& xml, const std::vector<Token>& tokens, std::size_t index) {
    const std::u16string& text = tokens[index].text;
    if (text == u"AM/PM") {
        xml.open("number:am-pm").close();
        return;
    }
    const char16_t letter = static_cast<char16_t>(text[0] | 0x20);
    bool isLong = text.size() > 1;
    bool isName = false;
    const char* name = "number:day";
    if (letter == u'y') {
        name = "number:year";
        isLong = text.size() > 2;
    } else if (letter == u'h') {
        name = "number:hours";
    } else if (letter == u's') {
        name = "number:seconds";
    } else if (letter == u'm') {
        name = isMinute(tokens, index) ? "number:minutes" : "number:month";
        isName = text.size() > 2;
    } else if (text.size() > 2) {
        name = "number:day-of-week";
    }
    if (text.size() > 2 && letter != u'y') isLong = text.size() > 3;
    xml.open(name);
    if (isLong) xml.attribute("number:style", "long");
    if (isName) xml.attribute("number:textual", "true");
    xml.close();
}

void writeTokens(XmlWriter& xml, const std::vector<Token>& tokens, OdsValueKind kind) {
    for (const Token& token : tokens) {
        if (token.kind != Token::Kind::Color || token.text != u"Red") continue;
        xml.open("style:text-properties").attribute("fo:color", "#ff0000").close();
    }
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const Token& token = tokens[i];
        switch (token.kind) {
            case Token::Kind::Digits:
                writeDigits(xml, token.text);
                break;
            case Token::Kind::DatePart:
                writeDatePart(xml, tokens, i);
                break;
            case Token::Kind::Currency:
                xml.element(kind == OdsValueKind::Currency ? "number:currency-symbol" : "number:text",
                            token.text);
                break;
            case Token::Kind::Literal:
            case Token::Kind::Percent:
                xml.element("number:text", token.text);
                break;
            case Token::Kind::Color:
                break;
        }
    }
}

// The tag of a section. In each format, all have the same kind.
const char* tagOf(OdsValueKind kind, const std::vector<Token>& tokens) {
    switch (kind) {
        case OdsValueKind::Percentage:
            return "number:percentage-style";
        case OdsValueKind::Currency:
            return "number:currency-style";
        case OdsValueKind::Date:
            return isTime(tokens) ? "number:time-style" : "number:date-style";
        case OdsValueKind::Number:
            break;
    }
    return "number:number-style";
}

}  // namespace

const OdsFormats::Format& OdsFormats::of(const std::u16string& code) {
    const auto [entry, isNew] = formats_.try_emplace(code);
    Format& format = entry->second;
    if (!isNew) return format;
    format.name = "N" + std::to_string(100 + formats_.size());
    std::vector<std::vector<Token>> sections;
    for (SectionReader reader(code); !reader.isAtEnd() && sections.size() < 3;)
        sections.push_back(reader.next());
    format.kind = kindOf(sections.front());
    XmlWriter xml(styles_);
    for (std::size_t i = 0; i < sections.size(); ++i) {
        const bool isLast = i + 1 == sections.size();
        xml.open(tagOf(format.kind, sections[i]));
        if (isLast) {
            xml.attribute("style:name", format.name);
        } else {
            xml.attribute("style:name", format.name, "P", i).attribute("style:volatile", "true");
        }
        writeTokens(xml, sections[i], format.kind);
        const char* const conditions[] = {sections.size() == 2 ? "value()>=0" : "value()>0", "value()<0"};
        for (std::size_t other = 0; isLast && other < i; ++other) {
            xml.open("style:map").attribute("style:condition", conditions[other]);
            xml.attribute("style:apply-style-name", format.name, "P", other).close();
        }
        xml.close().lineEnd();
    }
    return format;
}

}  // namespace qbsvrl6
