// The sections of a number format, each cut into its digit places and the text around them.
//
// Larkspur counts the places of a section over all of its text and shows signs by other rules. Here the
// text around the digits is taken as it is written and only the digits are larkspur's. The page's text and
// the spreadsheet's format come from the same cut, so that both show the same.
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
        bool plus = true;  // is shown for exponents that aren't negative
        std::size_t places = 1;
    };

    std::array<Around, 3> around;             // by Sign
    larkspur::ClkNumericFormatParser digits;  // of a magnitude
    bool hasDigits = true;                    // else the text is all that is shown
    bool percent = false;
    std::optional<Exponent> exponent;
    std::optional<Color> color;

    std::u16string spreadsheetFormat(Sign sign) const;
};

struct NumberSections {
    NumberSection normal;
    std::unique_ptr<NumberSection> negative;  // null where `normal` shows them too
    std::unique_ptr<NumberSection> zero;      // null where the others do
};

// Every text is a format.
NumberSections cutNumberFormat(std::u16string_view text);

// What is probably a mistake in a format: "has two decimal points"; empty if nothing is.
std::string numberFormatProblem(std::u16string_view text);

}  // namespace qbsvrl6

#endif
