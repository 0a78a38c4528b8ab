// Chinese, Japanese and Korean draw many ideographs differently.
#ifndef QBSVR_QBSVRL6_FONTS_TEXT_LANGUAGE_H
#define QBSVR_QBSVRL6_FONTS_TEXT_LANGUAGE_H

#include <cstdint>
#include <string_view>

#include "qbsvrl6/support/text_language.h"

namespace qbsvrl6 {

// By its letters: Japanese if it has kana, or else Korean if it has hangul, or else unknown.
TextLanguage languageOfText(std::u16string_view text);

bool isHebrew(char16_t unit);

// Guesses the language of a document from the script of its texts: of the first ones that it sees.
class LanguageGuess {
public:
    void see(std::u16string_view text);
    const char* name() const;  // "zh-CN", "ja", "ko", "he", "ar"; else "en"

private:
    static constexpr int kEnough = 1000;  // texts
    int seen_ = 0;
    bool han_ = false, kana_ = false, hangul_ = false;
    std::int64_t hebrew_ = 0, arabic_ = 0, others_ = 0;  // letters
};

// By words in the name of a folded font family: "ms mincho", "noto sans cjk jp", "batang".
TextLanguage languageOfFamily(std::string_view folded);

}  // namespace qbsvrl6

#endif
