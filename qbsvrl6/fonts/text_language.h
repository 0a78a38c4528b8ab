// Chinese, Japanese and Korean draw many ideographs differently.
#ifndef QBSVR_QBSVRL6_FONTS_TEXT_LANGUAGE_H
#define QBSVR_QBSVRL6_FONTS_TEXT_LANGUAGE_H

#include <cstdint>
#include <string_view>

namespace qbsvrl6 {

enum class TextLanguage : std::uint8_t { Unknown, Chinese, Japanese, Korean };

// By the letters: Japanese with kana, else Korean with hangul, else unknown.
TextLanguage languageOfText(std::u16string_view text);

// By words in the name of a folded font family: "ms mincho", "noto sans cjk jp", "batang".
TextLanguage languageOfFamily(std::string_view folded);

}  // namespace qbsvrl6

#endif
