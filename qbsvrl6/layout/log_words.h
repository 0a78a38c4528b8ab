// Lengths and texts as the log shows them.
#ifndef QBSVR_QBSVRL6_LAYOUT_LOG_WORDS_H
#define QBSVR_QBSVRL6_LAYOUT_LOG_WORDS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

std::string inMillimetres(std::int64_t micrometres);

// In quotes, shortened if it is too long for a line.
std::string quoted(std::u16string_view text);

// " in row 3", counted from 1; nothing without a row.
std::string inRow(std::optional<std::size_t> row);

// The control's name, or else its type.
std::string nameForLog(const Control& control);

}  // namespace qbsvrl6

#endif
