// Number formats: a format text such as "#,##0.00;(#,##0.00);-" is parsed once and renders many values.
//
//     ClkNumericFormatParser format;
//     format.Parse(u"#,##0.00");
//     format.Format(1234567.891);  // 1,234,567.89
//
// Every text is a format and every value has a text: nothing here fails. Rendering uses the separators and
// the currency symbol of format/locale_settings.h, and not the locale of the process. Each thread needs its
// own objects.
#ifndef QBSVR_FORMAT_NUMERIC_FORMAT_H
#define QBSVR_FORMAT_NUMERIC_FORMAT_H

#include <memory>

#include "common/text.h"
#include "format/int_enum_format.h"

namespace larkspur {

// The forms of a format text.
enum NumericKind : int {
    NumericKindNormal = 0,      // "positive;negative;zero", one to three sections
    NumericKindBigDigit = 1,    // contains "$$$$$": rendered, then each digit becomes a Chinese capital
    NumericKindBigMoney = 2,    // "$$": an amount in Chinese capitals
    NumericKindBigNumeric = 3,  // "$$" and sections: an integer in Chinese capitals
    NumericKindIntEnum = 4,     // "{1=a,2=b}": words for integers
};

class ClkNumericFormatParser {
public:
    using ClkIntEnumAnalyser = larkspur::ClkIntEnumAnalyser;

    // One section of a format text, decoded. "#" and "0" are digit places and "." divides them; the presence
    // of "+", "-", "(", "$", "%", "," or a space anywhere in the section, and the order in which they first
    // appear, set the flags. The characters before the first of these and after the last are literal.
    class ClkFormatAnalyser {
    public:
        int m_MaxDecimals;
        int m_MinDecimals;       // further decimals are dropped if they are zeros
        int m_MinIntegerDigits;  // padded with "0" on the left
        bool m_ExplicitSign;     // "+" for non-negative values, "-" even with a colour
        bool m_SignLeading;      // sign and currency are before the digits; otherwise after them
        bool m_Parenthesis;      // "(" and ")" in place of "-"
        int m_GroupSize;         // integer digits between thousands separators; 0 for none
        bool m_Currency;
        bool m_Percent;  // multiplied by 100, with "%"
        bool m_Space;    // a space between the sign and the digits
        bool m_CurrencyBeforeSign;
        bool m_Exponent;
        unsigned int m_TextColor;  // red in bits 0 to 7, then green and blue; 0 for none
        lkstr m_Prefix;
        lkstr m_Suffix;

        ClkFormatAnalyser() { DefaultMe(); }

        // The meaning of an empty format text: up to nine decimals, and nothing else.
        void DefaultMe();

        // Parses one section; ";" is a literal here. Null or empty text gives the defaults.
        void Parse(const lkchar* text);

        // Writes at most 128 units, the zero unit included; longer text is cut.
        void Format(double value, lkchar* buffer) const;

        // True for the default digits, whatever the prefix and the suffix.
        bool IsDefaultXlsFormat() const;

        lkstr InternalGetNumericFormatText() const;  // the digit places and "%" alone

        // A canonical section text for the fields. A "-" and a trailing sign next to a space are lost.
        lkstr GetFormatText() const;

        // The number format of a spreadsheet cell: digit places and currency; empty for the default.
        lkstr GetExportXlsFormatText() const;
    };

    int m_Kind;                  // a NumericKind
    ClkFormatAnalyser m_Normal;  // the first section; the only one for kinds other than 0 and 1
    // For values below zero, which keep their sign; may be null.
    std::unique_ptr<ClkFormatAnalyser> m_Negative;
    // For values that would be shown as zero; may be null.
    std::unique_ptr<ClkFormatAnalyser> m_Zero;
    std::unique_ptr<ClkIntEnumAnalyser> m_IntEnum;  // set for kind 4

    ClkNumericFormatParser() { DefaultMe(); }

    void DefaultMe();

    // Null or empty text gives the defaults. An object may parse any number of texts.
    void Parse(const lkchar* text);

    // Parses the text as sections; changes nothing else in the object.
    void DoNormalParse(const lkchar* text);

    // Reads "rgb(r,g,b)" at the start of the text; each component is a run of digits up to 255. Returns the
    // text after it; if it isn't there, returns null and does not change `color`.
    static const lkchar* DecodeTextColor(const lkchar* text, unsigned int& color);

    // The result is valid until the next Format or the end of the object.
    const lkchar* Format(double value) const;

    lkstr DoGetNormalFormatText() const;  // the sections alone
    lkstr GetFormatText() const;          // a canonical format text for the fields

    // The number format of a spreadsheet cell; empty for the default and for kinds that no cell can show.
    lkstr GetExportXlsFormatText() const;

    // The amount in yuan, jiao and fen: 1234.5 gives 壹仟贰佰叁拾肆元伍角整. There are Chinese units for 12 integer
    // digits; with more digits, a zero unit follows the first capital, and Format ends there.
    static lkstr ToBigMoney(double value);

    // The rounded integer between the section's prefix and suffix, with the same units. The sign is that of
    // the value rounded to the section's decimals: -0.3 under "0.00" gives 负零.
    static lkstr ToBigNumeric(double value, const ClkFormatAnalyser& analyser);

    // The capital of each digit; all other units are dropped. Null reads as empty text.
    static lkstr ToBigNumericDigit(const lkchar* text);

private:
    // A buffer for a rendered text, which is reused for the next one.
    lkchar* Room(std::size_t size) const;
    const lkchar* Keep(const lkstr& text) const;

    mutable lkchar m_Result[128] = {};
    mutable lkstr m_LongResult;  // used instead if a text may be longer
};

// Parses and renders in one call. For many values, use a parser.
lkstr FormatNumber(double value, const lkchar* format);

lkstr FormatNumberToBigHZAmount(double value);          // the format "$$"
lkstr FormatNumberToBigHZ(double value, int decimals);  // the format "$$0.00" with that many decimals

}  // namespace larkspur

#endif
