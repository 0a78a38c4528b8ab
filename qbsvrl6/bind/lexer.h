// Splits the text of an expression into tokens.
#ifndef QBSVR_QBSVRL6_BIND_LEXER_H
#define QBSVR_QBSVRL6_BIND_LEXER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "qbsvrl6/support/number.h"

namespace qbsvrl6 {

enum class TokenKind : std::uint8_t { End, Number, Text, Name, QuotedName, Symbol };

struct Token {
    TokenKind kind = TokenKind::End;
    std::size_t column = 1;  // of its first unit, from 1
    std::u16string text;     // without the quotes of texts and quoted names
    Number number;
    bool isSymbol(std::u16string_view symbol) const { return kind == TokenKind::Symbol && text == symbol; }
    // Whether it is an unquoted name that equals the ASCII word, ignoring case.
    bool isWord(std::u16string_view word) const;
};

class Lexer {
public:
    explicit Lexer(std::u16string_view text) : text_(text) {}
    // Raises EngineError(BadExpression).
    Token next();
    // The text from one column to another, without white space around it.
    std::u16string textBetween(std::size_t first, std::size_t end) const;
    [[noreturn]] void fail(std::string_view message, std::size_t column) const;

private:
    Token quoted(TokenKind kind);
    Token bracketed();
    Token number();
    Token name();
    Token symbol();

    std::u16string_view text_;
    std::size_t index_ = 0;
};

}  // namespace qbsvrl6

#endif
