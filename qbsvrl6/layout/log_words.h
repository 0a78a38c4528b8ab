// Lengths and texts as the log shows them.
#ifndef QBSVR_QBSVRL6_LAYOUT_LOG_WORDS_H
#define QBSVR_QBSVRL6_LAYOUT_LOG_WORDS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

std::string inMillimetres(std::int64_t micrometres);

// In quotes, shortened if it is too long for a line.
std::string quoted(std::u16string_view text);

// The control's name, or else its type.
std::string nameForLog(const Control& control);

}  // namespace qbsvrl6

#endif
