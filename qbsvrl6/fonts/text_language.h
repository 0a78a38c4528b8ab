// Chinese, Japanese and Korean draw many ideographs differently.
#ifndef QBSVR_QBSVRL6_FONTS_TEXT_LANGUAGE_H
#define QBSVR_QBSVRL6_FONTS_TEXT_LANGUAGE_H

#include <string_view>

#include "qbsvrl6/support/text_language.h"

namespace qbsvrl6 {

// By its letters: Japanese if it has kana, or else Korean if it has hangul, or else unknown.
TextLanguage languageOfText(std::u16string_view text);

// By words in the name of a folded font family: "ms mincho", "noto sans cjk jp", "batang".
TextLanguage languageOfFamily(std::string_view folded);

}  // namespace qbsvrl6

#endif
