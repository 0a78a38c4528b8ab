// The order of texts in a language: Chinese by pinyin or strokes, German, Swedish. ICU knows it, and is
// loaded on first use.
#ifndef QBSVR_QBSVRL6_SUPPORT_COLLATION_H
#define QBSVR_QBSVRL6_SUPPORT_COLLATION_H

#include <memory>
#include <string>
#include <string_view>

namespace qbsvrl6 {

class Collation {
public:
    // `name` is a locale of ICU ("de", "zh@collation=stroke") or a collation of Chinese ("pinyin", "stroke",
    // "zhuyin"). Raises EngineError if there is none of this name, or if the library is missing.
    explicit Collation(const std::string& name);

    // Appends bytes that compare as the texts do; the last one is 0, and no other.
    void appendKey(std::u16string_view text, std::string& key);

private:
    std::shared_ptr<void> collator_;
    std::u16string last_;  // texts often repeat from row to row
    std::string lastKey_;
};

}  // namespace qbsvrl6

#endif
