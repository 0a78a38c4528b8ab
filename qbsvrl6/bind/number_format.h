// A number format, applied to numbers. docs/formats.md describes the language.
#ifndef QBSVR_QBSVRL6_BIND_NUMBER_FORMAT_H
#define QBSVR_QBSVRL6_BIND_NUMBER_FORMAT_H

#include <optional>
#include <string>
#include <string_view>

#include "format/numeric_format.h"
#include "qbsvrl6/bind/number_section.h"
#include "qbsvrl6/support/number.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// One object belongs to one thread at a time.
class NumberFormat {
public:
    // Every text is a format.
    explicit NumberFormat(std::u16string text);

    // Appends the number as it is shown, or nothing if it is not finite. If `color` is empty, sets it to the
    // colour of the number's section.
    void append(const Number& number, std::u16string& out, std::optional<Color>& color);

    // Whether numbers become words or Chinese numerals, which number formats of spreadsheets cannot show.
    bool isWords() const { return words_.m_Kind != larkspur::NumericKindNormal; }

    // The spreadsheet format that shows the same, with text around it; empty for the general format.
    std::u16string spreadsheetFormat(std::u16string_view before = {}, std::u16string_view after = {}) const;
    // Whether that format has all colours of this one, and any.
    bool hasSpreadsheetColors() const { return hasSpreadsheetColors_; }

private:
    bool canShowColors() const;
    void appendDigits(const Number& number, std::u16string& out, std::optional<Color>& color);
    void appendWords(const Number& number, std::u16string& out, std::optional<Color>& color);
    // Valid until the next call.
    std::u16string_view digitsOf(const NumberSection& section, const Number& magnitude);
    std::u16string_view decimalDigitsOf(const NumberSection& section, const Decimal& magnitude);
    std::u16string_view scientificDigitsOf(const NumberSection& section, double magnitude, int power);
    Number roundedForWords(const Number& exact) const;
    // Contains a zero unit if there are no words for the number.
    std::u16string chineseWords(double number, const std::u16string& digits) const;

    std::u16string text_;
    larkspur::ClkNumericFormatParser words_;  // for formats of words
    NumberSections sections_;                 // for formats of words: shows the numbers that have none
    bool hasSpreadsheetColors_ = false;
    std::u16string scratch_;
};

}  // namespace qbsvrl6

#endif
