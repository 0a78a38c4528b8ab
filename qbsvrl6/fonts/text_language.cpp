#include "qbsvrl6/fonts/text_language.h"

#include <algorithm>
#include <array>
#include <utility>

#include "qbsvrl6/fonts/bidi.h"

namespace qbsvrl6 {

namespace {

constexpr auto kWords = std::to_array<std::pair<std::string_view, TextLanguage>>({
    {"mincho", TextLanguage::Japanese},
    {"明朝", TextLanguage::Japanese},
    {"meiryo", TextLanguage::Japanese},
    {"ms gothic", TextLanguage::Japanese},
    {"ms pgothic", TextLanguage::Japanese},
    {"yu gothic", TextLanguage::Japanese},
    {"ゴシック", TextLanguage::Japanese},
    {"sans jp", TextLanguage::Japanese},
    {"serif jp", TextLanguage::Japanese},
    {"cjk jp", TextLanguage::Japanese},
    {"batang", TextLanguage::Korean},
    {"gulim", TextLanguage::Korean},
    {"dotum", TextLanguage::Korean},
    {"malgun", TextLanguage::Korean},
    {"sans kr", TextLanguage::Korean},
    {"serif kr", TextLanguage::Korean},
    {"cjk kr", TextLanguage::Korean},
});

// The middle dot of katakana is also written between the parts of names in Chinese.
bool isKana(char16_t unit) { return unit >= 0x3041 && unit <= 0x30FF && unit != 0x30FB; }

bool isHangul(char16_t unit) { return unit >= 0xAC00 && unit <= 0xD7A3; }

}  // namespace

TextLanguage languageOfText(std::u16string_view text) {
    TextLanguage language = TextLanguage::Unknown;
    for (const char16_t unit : text) {
        if (isKana(unit)) return TextLanguage::Japanese;
        if (isHangul(unit)) language = TextLanguage::Korean;
    }
    return language;
}

bool isHebrew(char16_t unit) {
    return (unit >= 0x590 && unit <= 0x5FF) || (unit >= 0xFB1D && unit <= 0xFB4F);
}

void LanguageGuess::see(std::u16string_view text) {
    if (seen_ >= kEnough) return;
    ++seen_;
    for (const char16_t c : text) {
        han_ = han_ || (c >= 0x4E00 && c <= 0x9FFF);
        kana_ = kana_ || (c >= 0x3041 && c <= 0x30FE);
        hangul_ = hangul_ || isHangul(c);
        if (isHebrew(c)) {
            ++hebrew_;
        } else if (mayRunRightToLeft({&c, 1})) {
            ++arabic_;
        } else if (c > 0x40) {
            ++others_;
        }
    }
}

const char* LanguageGuess::name() const {
    if (std::max(hebrew_, arabic_) > others_) return hebrew_ > arabic_ ? "he" : "ar";
    return kana_ ? "ja" : hangul_ ? "ko" : han_ ? "zh-CN" : "en";
}

TextLanguage languageOfFamily(std::string_view folded) {
    for (const auto& [word, language] : kWords) {
        if (folded.find(word) != std::string_view::npos) return language;
    }
    return TextLanguage::Unknown;
}

}  // namespace qbsvrl6
