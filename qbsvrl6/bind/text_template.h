// A text with placeholders: "No. [Id:00000] of [PageCount]".
#ifndef QBSVR_QBSVRL6_BIND_TEXT_TEMPLATE_H
#define QBSVR_QBSVRL6_BIND_TEXT_TEMPLATE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/bind/value_format.h"
#include "qbsvrl6/items/page_field.h"

namespace qbsvrl6 {

struct TextPart {
    std::u16string literal;
    std::optional<Expression> expression;  // none: the part is the literal
    std::size_t start = 0;                 // of the placeholder in the text, with its brackets
    std::size_t end = 0;
    ValueFormat format{{}};
    std::optional<PageField::Kind> pageField;  // the placeholder is only this number, in plain digits
};

// The parts of a text, in order. "[[" stands for a literal "[".
struct TextTemplate {
    std::vector<TextPart> parts;

    bool isConstant() const;  // has no placeholder
    bool isLone() const { return parts.size() == 1 && parts[0].expression; }
    // Makes the text around a lone placeholder part of its spreadsheet format, so that "¥[Price:#,##0.00]" has
    // a value. Other texts have none: those with several placeholders, without a format, or with words.
    void keepValue();
    // The index of the part that has the value of the text; none: it has no value.
    std::optional<std::size_t> valued;
    // Whether the property is true for any placeholder's expression.
    bool any(bool Expression::*property) const;

    // Raises EngineError(BadExpression) with the text and the column in the whole text.
    static TextTemplate parse(std::u16string_view text);
};

// The text of a template that shows this text as it is.
std::u16string literalText(std::u16string_view text);

}  // namespace qbsvrl6

#endif
