#include "qbsvrl6/layout/log_words.h"

#include <array>
#include <cstdio>

#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

std::string inMillimetres(std::int64_t micrometres) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f mm", static_cast<double>(micrometres) / 1000);
    return text.data();
}

std::string quoted(std::u16string_view text) {
    constexpr std::size_t kQuotedUnits = 80;
    return '"' + toUtf8(text.substr(0, kQuotedUnits)) + (text.size() > kQuotedUnits ? "…\"" : "\"");
}

std::string inRow(std::optional<std::size_t> row) {
    return row ? " in row " + std::to_string(*row + 1) : std::string();
}

std::string nameForLog(const Control& control) {
    constexpr std::array<const char*, 7> kKinds = {"a text",    "a line",  "a box",       "a picture",
                                                   "a barcode", "a chart", "a sub-report"};
    return control.name.empty() ? kKinds.at(control.content.index()) : "control " + quoted(control.name);
}

}  // namespace qbsvrl6
