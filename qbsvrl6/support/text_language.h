// Languages whose ideographs have different forms.
#ifndef QBSVR_QBSVRL6_SUPPORT_TEXT_LANGUAGE_H
#define QBSVR_QBSVRL6_SUPPORT_TEXT_LANGUAGE_H

#include <cstdint>

namespace qbsvrl6 {

enum class TextLanguage : std::uint8_t { Unknown, Chinese, Japanese, Korean };

}  // namespace qbsvrl6

#endif
