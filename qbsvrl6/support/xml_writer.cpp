#include "qbsvrl6/support/xml_writer.h"

#include <cmath>
#include <cstdint>

#include "qbsvrl6/support/character_forms.h"

namespace qbsvrl6 {

namespace {

constexpr CharacterForms kText = CharacterForms()
                                     .setControls(kReplacementCharacter)
                                     .keep("\t\n\x7F")
                                     .set('\r', "&#13;")
                                     .set('&', "&amp;")
                                     .set('<', "&lt;")
                                     .set('>', "&gt;");

constexpr CharacterForms kValue =
    CharacterForms(kText).set('\t', "&#9;").set('\n', "&#10;").set('"', "&quot;");

}  // namespace

void appendXmlText(std::string& out, std::u16string_view text) { appendForms(out, text, kText); }
void appendXmlText(std::string& out, std::string_view text) { appendForms(out, text, kText); }
void appendXmlValue(std::string& out, std::u16string_view value) { appendForms(out, value, kValue); }
void appendXmlValue(std::string& out, std::string_view value) { appendForms(out, value, kValue); }

// The quotient of a whole number and 100 is the double that its digits read as. Up to 15 digits are the
// shortest text of their double, and shorter than with an exponent unless they end in several zeros.
void appendXmlNumber(std::string& out, double number) {
    constexpr double kLargest = 1e12;
    constexpr std::int64_t kZeros = 100'000;
    const double magnitude = std::fabs(number);
    const std::int64_t hundredths = magnitude < kLargest ? std::llround(magnitude * 100) : 0;
    const std::int64_t whole = hundredths / 100;
    const auto decimals = static_cast<int>(hundredths % 100);
    const bool isAmount = static_cast<double>(hundredths) / 100 == magnitude && hundredths != 0 &&
                          (decimals != 0 || whole % kZeros != 0);
    if (!isAmount) return appendXmlNumber<double>(out, number);
    if (number < 0) out += '-';
    appendXmlNumber(out, whole);
    if (decimals == 0) return;
    out += '.';
    out += static_cast<char>('0' + decimals / 10);
    if (decimals % 10 != 0) out += static_cast<char>('0' + decimals % 10);
}

XmlWriter& XmlWriter::declare() {
    out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
    return *this;
}

}  // namespace qbsvrl6
