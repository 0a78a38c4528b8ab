// Lengths and texts as the log shows them.
#ifndef QBSVR_QBSVRL6_LAYOUT_LOG_WORDS_H
#define QBSVR_QBSVRL6_LAYOUT_LOG_WORDS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

std::string inMillimetres(std::int64_t micrometres);

// In quotes, and no longer than a line bears.
std::string quoted(std::u16string_view text);

// What a control is called: by its name, or by its kind.
std::string nameForLog(const Control& control);

}  // namespace qbsvrl6

#endif
