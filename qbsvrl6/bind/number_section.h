// The sections of a number format, each split into its digit places and the text around them.
//
// Larkspur counts digit places over all of a section's text and has different rules for signs. Here, larkspur
// formats only the digits, and the text around them is shown as it is written. The text on the page and the
// spreadsheet format are made from the same split, so that both show the same.
#ifndef QBSVR_QBSVRL6_BIND_NUMBER_SECTION_H
#define QBSVR_QBSVRL6_BIND_NUMBER_SECTION_H

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "format/numeric_format.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct NumberSection {
    // RoundedMinus: of a number below zero whose digits are all zero.
    enum Sign : std::size_t { Plus, Minus, RoundedMinus };

    struct Literal {
        std::u16string shown;
        std::u16string spreadsheet;  // in a spreadsheet's format
    };
    struct Around {
        Literal before;
        Literal after;
    };
    struct Exponent {
        char16_t letter = u'e';
        bool plus = true;  // whether non-negative exponents have a plus sign
        std::size_t places = 1;
    };

    std::array<Around, 3> around;             // by Sign
    larkspur::ClkNumericFormatParser digits;  // for the absolute value
    bool hasDigits = true;                    // otherwise only the text is shown
    bool percent = false;
    std::optional<Exponent> exponent;
    std::optional<Color> color;

    std::u16string spreadsheetFormat(Sign sign) const;
};

struct NumberSections {
    NumberSection normal;
    std::unique_ptr<NumberSection> negative;  // null: `normal` applies
    std::unique_ptr<NumberSection> zero;      // null: the others apply
};

// Every text is a format.
NumberSections cutNumberFormat(std::u16string_view text);

// Describes a probable mistake in the format: "has two decimal points"; empty if there is none.
std::string numberFormatProblem(std::u16string_view text);

}  // namespace qbsvrl6

#endif
