// The syntax of single values in a template: one codec per type of value, with its range.
//
//   length  = number ( "mm" | "cm" | "in" | "pt" )
//   edges   = length | length " " length " " length " " length      (left, top, right, bottom)
//   border  = "none" | length [ " " colour ]
//   colour  = "#" 6 hexadecimal digits
//   number  = [ "-" ] digits [ "." digits ] [ exponent ]
#ifndef QBSVR_QBSVRL6_TEMPLATE_VALUES_H
#define QBSVR_QBSVRL6_TEMPLATE_VALUES_H

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/model/pdf_settings.h"
#include "qbsvrl6/model/style.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Raised for a text that is not a value of its type; what() describes a valid one: "a length like
// \"12.5mm\"".
class ValueError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Each codec has `Value read(std::string_view) const`, which raises ValueError, and
// `std::string write(const Value&) const`; a written value reads as the same value.

struct TextCodec {
    std::u16string read(std::string_view text) const;
    std::string write(const std::u16string& value) const;
};

// The cause of an error in an expression, without the text of the expression.
std::string expressionError(const EngineError& error);

// Codecs for an expression, a sort and a text with placeholders. They check only the grammar and do not
// change the text. Names and scopes are resolved when the report is exported.

struct ExpressionCodec {
    bool mayBeBlank = true;  // blank means none
    bool knowsPage = true;   // false: it selects or sorts rows, before there are pages
    bool ofCross = false;    // of the cells of a cross-table: its totals have other scopes

    std::u16string read(std::string_view text) const;
    std::string write(const std::u16string& value) const;
};

// Terms of a sort, which orders rows before there are pages.
struct SortCodec {
    static constexpr bool knowsPage = false;

    std::u16string read(std::string_view text) const;
    std::string write(const std::u16string& value) const;
};

struct PlaceholderCodec {
    std::u16string read(std::string_view text) const;
    std::string write(const std::u16string& value) const;
};

struct SwitchCodec {
    bool read(std::string_view text) const;
    std::string write(bool value) const { return value ? "true" : "false"; }
};

struct IntegerCodec {
    int least, most;
    int read(std::string_view text) const;
    std::string write(int value) const { return std::to_string(value); }
};

struct NumberCodec {
    double least, most;
    double read(std::string_view text) const;
    std::string write(double value) const;
};

// Numbers separated by spaces.
struct NumberListCodec {
    std::vector<double> read(std::string_view text) const;
    std::string write(const std::vector<double>& values) const;
};

struct LengthCodec {
    Micrometres least = 0;
    Micrometres most = limits::kPaperMicrometres;
    Micrometres read(std::string_view text) const;
    std::string write(Micrometres value) const;
};

// The width of a column: one of the three.
struct ColumnWidth {
    Micrometres length = 0;
    double share = 0;          // "2*"
    bool fitsContent = false;  // "auto"
    bool isLength() const { return share <= 0 && !fitsContent; }
};

struct ColumnWidthCodec {
    ColumnWidth read(std::string_view text) const;
    std::string write(const ColumnWidth& value) const;
};

struct FontSizeCodec {
    double most = 1000;
    double read(std::string_view text) const;
    std::string write(double value) const;
};

struct EdgesCodec {
    Edges read(std::string_view text) const;
    std::string write(const Edges& value) const;
};

struct ColorCodec {
    Color read(std::string_view text) const;
    std::string write(const Color& value) const;
};

struct BorderLineCodec {
    BorderLine read(std::string_view text) const;
    std::string write(const BorderLine& value) const;
};

template <class Enum>
struct Word {
    std::string_view text;
    Enum value;
};

std::string wordsError(std::span<const std::string_view> words);

// One of a few words, each with its value.
template <class Enum>
struct WordCodec {
    std::span<const Word<Enum>> words;

    Enum read(std::string_view text) const {
        std::vector<std::string_view> known;
        for (const Word<Enum>& word : words) {
            if (word.text == text) return word.value;
            known.push_back(word.text);
        }
        throw ValueError(wordsError(known));
    }
    // A value without a word (the C interface accepts any number) is written as the first one.
    std::string write(Enum value) const {
        for (const Word<Enum>& word : words) {
            if (word.value == value) return std::string(word.text);
        }
        return std::string(words.front().text);
    }
};

// A language as BCP 47 names it: "en", "zh-CN".
struct LanguageTagCodec {
    std::u16string read(std::string_view text) const;
    std::string write(const std::u16string& value) const;
};

// A date with a time and a zone, "2026-03-01T09:30:00+08:00"; a date alone is its first second in UTC.
struct MomentCodec {
    std::u16string read(std::string_view text) const;
    std::string write(const std::u16string& value) const;
};

// "text/xml".
struct MimeTypeCodec {
    std::u16string read(std::string_view text) const;
    std::string write(const std::u16string& value) const;
};

// A profile of Factur-X and ZUGFeRD: "EN 16931".
struct InvoiceProfileCodec {
    std::u16string read(std::string_view text) const;
    std::string write(const std::u16string& value) const;
};

struct PdfStandardCodec {
    PdfStandard read(std::string_view text) const;
    std::string write(PdfStandard value) const;
};

// Base64; white space is skipped when reading. Raises ValueError for any other character.
std::string readBase64(std::string_view text);
std::string writeBase64(std::string_view bytes);

}  // namespace qbsvrl6

#endif
