#include "qbsvrl6/data/json_scalar.h"

#include <charconv>

#include "qbsvrl6/data/widen.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

// number = [ "-" ] ( "0" / digit1-9 *digit ) [ "." 1*digit ] [ ( "e" / "E" ) [ "+" / "-" ] 1*digit ]
bool isNumber(std::string_view token) {
    const char* at = token.data();
    const char* const end = at + token.size();
    const auto digits = [&] {
        const char* const first = at;
        while (at != end && isDigit(*at)) ++at;
        return at != first;
    };
    if (at != end && *at == '-') ++at;
    if (at != end && *at == '0') {
        ++at;
    } else if (!digits()) {
        return false;
    }
    if (at != end && *at == '.') {
        ++at;
        if (!digits()) return false;
    }
    if (at != end && (*at == 'e' || *at == 'E')) {
        ++at;
        if (at != end && (*at == '+' || *at == '-')) ++at;
        if (!digits()) return false;
    }
    return at == end;
}

}  // namespace

JsonScalar JsonScalarReader::read(std::string_view token) {
    JsonScalar scalar;
    if (token.front() == '"') {
        scalar.type = ValueType::Text;
        scalar.text = unescape(token.substr(1, token.size() - 2));
    } else if (token == "true" || token == "false") {
        scalar.type = ValueType::Boolean;
        scalar.boolean = token == "true";
        scalar.text = widened(token);
    } else if (isNumber(token)) {
        // What no double can hold even nearly stays text.
        scalar.type = Number::parse(token, scalar.number) ? ValueType::Number : ValueType::Text;
        scalar.text = widened(token);
    } else if (token != "null") {
        window_.fail(ErrorCode::BadData, "a value is none of JSON's", window_.offsetOf(token.data()));
    }
    return scalar;
}

std::u16string_view JsonScalarReader::widened(std::string_view text) { return widen(text, buffer_); }

// string = *( unescaped / "\" ( one of "\/bfnrt or quote / "u" 4HEXDIG ) )
std::u16string_view JsonScalarReader::unescape(std::string_view raw) {
    if (buffer_.size() < raw.size()) buffer_.resize(raw.size());
    char16_t* out = buffer_.data();
    const char* from = raw.data();
    const char* const end = from + raw.size();
    while (true) {
        from = copyAscii(from, end, out, [](char c) { return c == '\\'; });
        if (from == end) break;
        if (*from == '\\') {
            from = unescapeOne(from, end, out);
        } else {
            putCharacter(out, takeCharacter(from));
        }
    }
    return {buffer_.data(), static_cast<std::size_t>(out - buffer_.data())};
}

// Reads the escape at `from` and returns the position after it.
const char* JsonScalarReader::unescapeOne(const char* from, const char* end, char16_t*& out) const {
    constexpr std::string_view kLetters = "\"\\/bfnrt";
    constexpr std::u16string_view kMeanings = u"\"\\/\b\f\n\r\t";
    const std::size_t letter = end - from > 1 ? kLetters.find(from[1]) : std::string_view::npos;
    if (letter != std::string_view::npos) {
        *out++ = kMeanings[letter];
        return from + 2;
    }
    unsigned unit = 0;
    if (end - from < 6 || from[1] != 'u' || std::from_chars(from + 2, from + 6, unit, 16).ptr != from + 6) {
        window_.fail(ErrorCode::BadData, "a backslash starts no escape that JSON knows",
                     window_.offsetOf(from));
    }
    *out++ = static_cast<char16_t>(unit);
    return from + 6;
}

}  // namespace qbsvrl6
