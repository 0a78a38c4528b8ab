// Number formats: a format text such as "#,##0.00;(#,##0.00);-" is parsed once and renders many values.
//
//     ClkNumericFormatParser format;
//     format.Parse(u"#,##0.00");
//     format.Format(1234567.891);  // 1,234,567.89
//
// Every text is a format and every value gives some text: nothing here fails. Rendering reads the separators
// and the currency text of format/locale_settings.h and nothing of the host's locale. Threads may work at
// once, each with objects of its own.
#ifndef QBSVR_FORMAT_NUMERIC_FORMAT_H
#define QBSVR_FORMAT_NUMERIC_FORMAT_H

#include <memory>

#include "common/text.h"
#include "format/int_enum_format.h"

namespace larkspur {

// The forms of a format text, in the order in which they are recognised.
enum NumericKind : int {
    NumericKindNormal = 0,      // "positive;negative;zero", one to three sections
    NumericKindBigDigit = 1,    // holds "$$$$$": rendered, then digit by digit in Chinese capitals
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
        int m_MinDecimals;       // zeros after these decimals are dropped
        int m_MinIntegerDigits;  // filled with "0" on the left
        bool m_ExplicitSign;     // "+" for values that aren't negative, "-" in spite of a colour
        bool m_SignLeading;      // sign and currency stand before the digits, else after them
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

        // Up to nine decimals and no more: what an empty format text means.
        void DefaultMe();

        // Takes one section; ";" is a literal here. Null or empty text gives the defaults.
        void Parse(const lkchar* text);

        // Writes at most 128 units, the zero unit included; longer text is cut.
        void Format(double value, lkchar* buffer) const;

        // True for the default digits, whatever the prefix and the suffix.
        bool IsDefaultXlsFormat() const;

        lkstr InternalGetNumericFormatText() const;  // the digit places and "%" alone

        // A canonical section text for the fields. A "-" and a trailing sign next to a space are lost.
        lkstr GetFormatText() const;

        // As number format of a spreadsheet cell: digit places and currency; empty for the default.
        lkstr GetExportXlsFormatText() const;
    };

    int m_Kind;                  // a NumericKind
    ClkFormatAnalyser m_Normal;  // the first section, and the only one that kinds other than 0 and 1 read
    // For values below zero, which keep their sign; may be null.
    std::unique_ptr<ClkFormatAnalyser> m_Negative;
    // For values that would show as zero; may be null.
    std::unique_ptr<ClkFormatAnalyser> m_Zero;
    std::unique_ptr<ClkIntEnumAnalyser> m_IntEnum;  // set for kind 4

    ClkNumericFormatParser() { DefaultMe(); }

    void DefaultMe();

    // Null or empty text gives the defaults. An object may parse any number of texts.
    void Parse(const lkchar* text);

    // The sections of a text that is of no special kind; the rest of the object stays.
    void DoNormalParse(const lkchar* text);

    // Reads "rgb(r,g,b)", each component a run of digits up to 255, at the start of the text. Gives what
    // follows it; null, with color untouched, when it isn't there.
    static const lkchar* DecodeTextColor(const lkchar* text, unsigned int& color);

    // The text stays valid until the next Format or the end of the object.
    const lkchar* Format(double value) const;

    lkstr DoGetNormalFormatText() const;  // the sections alone
    lkstr GetFormatText() const;          // a canonical format text for the fields

    // As number format of a spreadsheet cell; empty for the default and for the kinds that no cell can show.
    lkstr GetExportXlsFormatText() const;

    // The amount in yuan, jiao and fen: 1234.5 gives 壹仟贰佰叁拾肆元伍角整. There are units for 12 integer
    // digits; with more, a zero unit follows the first capital, and Format ends there.
    static lkstr ToBigMoney(double value);

    // The rounded integer between the section's prefix and suffix, with the same units. Negative by the
    // section's decimals: -0.3 under "0.00" gives 负零.
    static lkstr ToBigNumeric(double value, const ClkFormatAnalyser& analyser);

    // The capital of each digit; every other unit is dropped. Null reads as empty text.
    static lkstr ToBigNumericDigit(const lkchar* text);

private:
    // Room for a rendered text, which is kept for the next one.
    lkchar* Room(std::size_t size) const;
    const lkchar* Keep(const lkstr& text) const;

    mutable lkchar m_Result[128] = {};
    mutable lkstr m_LongResult;  // in its place where a text may need more
};

// Parses and renders in one call. To render many values, keep a parser.
lkstr FormatNumber(double value, const lkchar* format);

lkstr FormatNumberToBigHZAmount(double value);          // the format "$$"
lkstr FormatNumberToBigHZ(double value, int decimals);  // the format "$$0.00" with that many decimals

}  // namespace larkspur

#endif
