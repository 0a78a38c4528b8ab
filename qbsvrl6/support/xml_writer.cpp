#include "qbsvrl6/support/xml_writer.h"

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

XmlWriter& XmlWriter::declare() {
    out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
    return *this;
}

}  // namespace qbsvrl6
