// Appends text as UTF-8, with other forms for the characters that a format cannot contain.
#ifndef QBSVR_QBSVRL6_SUPPORT_CHARACTER_FORMS_H
#define QBSVR_QBSVRL6_SUPPORT_CHARACTER_FORMS_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace qbsvrl6 {

inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

// The form of each ASCII character.
class CharacterForms {
public:
    constexpr CharacterForms& set(char character, std::string_view form) {
        const auto index = static_cast<unsigned char>(character);
        forms_[index] = form;
        isPlain_[index] = false;
        return *this;
    }
    // All control characters, including DEL.
    constexpr CharacterForms& setControls(std::string_view form) {
        for (char c = 0; c < 0x20; ++c) set(c, form);
        return set(0x7F, form);
    }
    constexpr CharacterForms& keep(std::string_view characters) {
        for (const char c : characters) isPlain_[static_cast<unsigned char>(c)] = true;
        return *this;
    }
    // Writes CR LF as LF.
    constexpr CharacterForms& joinLineEnds() {
        joinsLineEnds_ = true;
        return set('\r', "\n");
    }

    constexpr bool isPlain(char16_t ascii) const { return isPlain_[ascii]; }
    constexpr std::string_view formOf(char16_t ascii) const { return forms_[ascii]; }
    constexpr bool joinsLineEnds() const { return joinsLineEnds_; }

    constexpr CharacterForms() { isPlain_.fill(true); }

private:
    std::array<std::string_view, 128> forms_{};
    std::array<bool, 128> isPlain_{};
    bool joinsLineEnds_ = false;
};

// Lone surrogates, U+FFFE and U+FFFF become U+FFFD. Nothing is allocated besides `out`.
void appendForms(std::string& out, std::u16string_view text, const CharacterForms& forms);
// The same for valid UTF-8.
void appendForms(std::string& out, std::string_view text, const CharacterForms& forms);

// Writes the text up to the first character that has another form, which `text` then begins with, and returns
// the end. There is space for kMostBytes for each of its units.
inline constexpr std::size_t kMostBytes = 3;
char* putPlain(char* to, std::u16string_view& text, const CharacterForms& forms);

}  // namespace qbsvrl6

#endif
