#include "qbsvrl6/bind/lexer.h"

#include <algorithm>
#include <array>

#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

namespace {

// Letters, "_" and everything beyond ASCII except white space: names in any script, even full-width brackets.
bool startsName(char16_t unit) {
    return unit < 0x80 ? isLatinLetter(unit) || unit == u'_' : !isWhiteSpace(unit);
}

}  // namespace

bool Token::isWord(std::u16string_view word) const {
    return kind == TokenKind::Name && equalsIgnoringCase(text, word);
}

void Lexer::fail(std::string_view message, std::size_t column) const {
    // Enough to find the text by; a hostile one is longer.
    constexpr std::size_t kShown = 200;
    const std::string shown = toUtf8(text_.substr(0, kShown)) + (text_.size() > kShown ? "..." : "");
    throw EngineError(
        ErrorCode::BadExpression,
        "bad expression \"" + shown + "\", column " + std::to_string(column) + ": " + std::string(message),
        {"", {0, static_cast<int>(std::min<std::size_t>(column, 1'000'000'000))}});
}

std::u16string Lexer::textBetween(std::size_t first, std::size_t end) const {
    return std::u16string(trimmed(text_.substr(first - 1, end - first)));
}

Token Lexer::next() {
    while (index_ < text_.size() && isWhiteSpace(text_[index_])) ++index_;
    if (index_ == text_.size()) return {TokenKind::End, index_ + 1, {}, {}};
    const char16_t unit = text_[index_];
    if (unit == u'\'' || unit == u'"') return quoted(TokenKind::Text);
    if (unit == u'`') return quoted(TokenKind::QuotedName);
    if (unit == u'[') return bracketed();
    if (isDigit(unit)) return number();
    if (unit == u'.' && index_ + 1 < text_.size() && isDigit(text_[index_ + 1])) return number();
    if (startsName(unit)) return name();
    return symbol();
}

// A quote inside is written twice.
Token Lexer::quoted(TokenKind kind) {
    Token token{kind, index_ + 1, {}, {}};
    const char16_t quote = text_[index_];
    for (++index_; index_ < text_.size(); ++index_) {
        if (text_[index_] == quote) {
            ++index_;
            if (index_ == text_.size() || text_[index_] != quote) return token;
        }
        token.text += text_[index_];
    }
    fail("the closing quote is missing", token.column);
}

// A name as placeholders write it: "[Unit price] * 2".
Token Lexer::bracketed() {
    const std::size_t close = text_.find(u']', index_);
    if (close == std::u16string_view::npos) fail("the closing \"]\" is missing", index_ + 1);
    const std::u16string_view name = trimmed(text_.substr(index_ + 1, close - index_ - 1));
    if (name.empty()) fail("a name is expected", index_ + 2);
    Token token{TokenKind::QuotedName, index_ + 1, std::u16string(name), {}};
    index_ = close + 1;
    return token;
}

Token Lexer::number() {
    Token token{TokenKind::Number, index_ + 1, {}, {}};
    const std::size_t start = index_;
    const auto skipDigits = [this] {
        while (index_ < text_.size() && isDigit(text_[index_])) ++index_;
    };
    skipDigits();
    if (index_ < text_.size() && text_[index_] == u'.') {
        ++index_;
        skipDigits();
    }
    if (index_ < text_.size() && (text_[index_] == u'e' || text_[index_] == u'E')) {
        const std::size_t exponent = index_++;
        if (index_ < text_.size() && (text_[index_] == u'+' || text_[index_] == u'-')) ++index_;
        const std::size_t digits = index_;
        skipDigits();
        if (index_ == digits) index_ = exponent;  // "2em" is 2 and a name, which the parser rejects
    }
    token.text = text_.substr(start, index_ - start);
    if (!Number::parse(token.text, token.number)) fail("the number is out of range", token.column);
    return token;
}

// A period inside a name belongs to it, as in the columns of nested objects.
Token Lexer::name() {
    Token token{TokenKind::Name, index_ + 1, {}, {}};
    const std::size_t start = index_;
    while (index_ < text_.size()) {
        const char16_t unit = text_[index_];
        const bool inside = unit == u'.' && index_ + 1 < text_.size() &&
                            (startsName(text_[index_ + 1]) || isDigit(text_[index_ + 1]));
        if (!startsName(unit) && !isDigit(unit) && !inside) break;
        ++index_;
    }
    token.text = text_.substr(start, index_ - start);
    return token;
}

Token Lexer::symbol() {
    constexpr std::array<std::u16string_view, 14> kSymbols = {u"<>", u"<=", u">=", u"<", u">", u"=", u"+",
                                                              u"-",  u"*",  u"/",  u"&", u"(", u")", u","};
    const std::u16string_view rest = text_.substr(index_);
    for (const std::u16string_view symbol : kSymbols) {
        if (rest.substr(0, symbol.size()) != symbol) continue;
        Token token{TokenKind::Symbol, index_ + 1, std::u16string(symbol), {}};
        index_ += symbol.size();
        return token;
    }
    fail("this character has no meaning here", index_ + 1);
}

}  // namespace qbsvrl6
