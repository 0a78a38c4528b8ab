// A text consists of
//
//     "[["                             one "["
//     "[" expression [ ":" format ] "]"   a placeholder
//     all else                         itself, a lone "]" too
//
// The expression ends at the first ":" or "]" outside its quotes and bracketed names, the format at the next
// "]".
#include "qbsvrl6/bind/text_template.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// Index of the ":" or "]" that ends the expression at `start`; npos if there is none.
std::size_t expressionEnd(std::u16string_view text, std::size_t start) {
    char16_t quote = 0;
    bool bracketed = false;
    for (std::size_t i = start; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (quote != 0) {
            if (unit == quote) quote = 0;  // a doubled quote closes and opens again
        } else if (bracketed) {
            bracketed = unit != u']';
        } else if (unit == u'\'' || unit == u'"' || unit == u'`') {
            quote = unit;
        } else if (unit == u'[') {
            bracketed = true;
        } else if (unit == u':' || unit == u']') {
            return i;
        }
    }
    return std::u16string_view::npos;
}

[[noreturn]] void failUnclosed(std::u16string_view text, std::size_t open) {
    constexpr std::size_t kShown = 200;
    throw EngineError(ErrorCode::BadExpression,
                      "bad text \"" + toUtf8(text.substr(0, kShown)) + "\", column " +
                          std::to_string(open + 1) +
                          ": the placeholder has no \"]\" (a \"[\" of the text itself is written \"[[\")",
                      {"", {0, static_cast<int>(open + 1)}});
}

// A program that counts pages itself shows plain digits: numbers in other formats and calculated numbers stay
// text.
std::optional<PageField::Kind> pageFieldOf(const Expression& expression, std::u16string_view format) {
    if (!format.empty() && format != u"0" && format != u"#") return std::nullopt;
    const std::optional<SystemValue> system = expression.loneSystemValue();
    if (system == SystemValue::PageNumber) return PageField::Kind::Number;
    if (system == SystemValue::PageCount) return PageField::Kind::Count;
    return std::nullopt;
}

// Errors report the column in the whole text.
Expression parseAt(std::u16string_view text, std::size_t start, std::size_t end) {
    try {
        return Expression::parse(text.substr(start, end - start));
    } catch (const EngineError& error) {
        SourcePlace place = error.place();
        place.position.column += static_cast<int>(start);
        throw EngineError(error.code(), error.what(), place);
    }
}

}  // namespace

bool TextTemplate::isConstant() const {
    return std::none_of(parts.begin(), parts.end(),
                        [](const TextPart& part) { return part.expression.has_value(); });
}

bool TextTemplate::any(bool Expression::*property) const {
    return std::any_of(parts.begin(), parts.end(),
                       [&](const TextPart& part) { return part.expression && (*part.expression).*property; });
}

void TextTemplate::keepValue() {
    const auto isPlaceholder = [](const TextPart& part) { return part.expression.has_value(); };
    if (valued || std::count_if(parts.begin(), parts.end(), isPlaceholder) != 1) return;
    const auto part = std::find_if(parts.begin(), parts.end(), isPlaceholder);
    std::u16string before, after;
    for (auto other = parts.begin(); other != parts.end(); ++other) {
        if (other != part) (other < part ? before : after) += other->literal;
    }
    if (part->pageField || !part->format.surround(before, after)) return;
    valued = static_cast<std::size_t>(part - parts.begin());
}

TextTemplate TextTemplate::parse(std::u16string_view text) {
    TextTemplate result;
    std::u16string literal;
    const auto flush = [&] {
        if (literal.empty()) return;
        result.parts.emplace_back();
        result.parts.back().literal = std::exchange(literal, {});
    };
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t open = std::min(text.find(u'[', i), text.size());
        literal += text.substr(i, open - i);
        if (open == text.size()) break;
        if (text.substr(open).starts_with(u"[[")) {
            literal += u'[';
            i = open + 2;
            continue;
        }
        const std::size_t end = expressionEnd(text, open + 1);
        const std::size_t close = end == std::u16string_view::npos ? end : text.find(u']', end);
        if (close == std::u16string_view::npos) failUnclosed(text, open);
        flush();
        TextPart part;
        part.expression = parseAt(text, open + 1, end);
        part.start = open;
        part.end = close + 1;
        const std::u16string_view format = text.substr(end, close - end).substr(end < close ? 1 : 0);
        part.pageField = pageFieldOf(*part.expression, format);
        if (!format.empty()) part.format = ValueFormat(std::u16string(format));
        result.parts.push_back(std::move(part));
        i = close + 1;
    }
    flush();
    if (result.isLone()) result.valued = 0;
    return result;
}

std::u16string literalText(std::u16string_view text) {
    std::u16string escaped;
    for (const char16_t unit : text) escaped.append(unit == u'[' ? 2 : 1, unit);
    return escaped;
}

}  // namespace qbsvrl6
