#include "qbsvrl6/template/text_values.h"

#include <array>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/text_encoder.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

namespace {

constexpr std::array<Word<CsvValues>, 2> kValues = {{{"raw", CsvValues::Raw}, {"shown", CsvValues::Shown}}};
constexpr std::array<Word<CsvQuotes>, 2> kQuotes = {{{"needed", CsvQuotes::Needed}, {"all", CsvQuotes::All}}};
constexpr std::array<Word<LineEnds>, 2> kLineEnds = {{{"crlf", LineEnds::CrLf}, {"lf", LineEnds::Lf}}};

}  // namespace

CsvValues CsvValuesCodec::read(std::string_view text) const {
    return WordCodec<CsvValues>{kValues}.read(text);
}
std::string CsvValuesCodec::write(CsvValues value) const {
    return WordCodec<CsvValues>{kValues}.write(value);
}

CsvQuotes CsvQuotesCodec::read(std::string_view text) const {
    return WordCodec<CsvQuotes>{kQuotes}.read(text);
}
std::string CsvQuotesCodec::write(CsvQuotes value) const {
    return WordCodec<CsvQuotes>{kQuotes}.write(value);
}

LineEnds LineEndsCodec::read(std::string_view text) const {
    return WordCodec<LineEnds>{kLineEnds}.read(text);
}
std::string LineEndsCodec::write(LineEnds value) const { return WordCodec<LineEnds>{kLineEnds}.write(value); }

char CsvSeparatorCodec::read(std::string_view text) const {
    if (text == "tab") return '\t';
    const bool isOne = text.size() == 1 && text[0] > ' ' && text[0] < 0x7F;
    if (!isOne || text[0] == '"' || isDigit(text[0]) || isLatinLetter(text[0]) || text[0] == '-' ||
        text[0] == '.') {
        throw ValueError(
            "expected \"tab\" or an ASCII character that is no letter, digit, quote, minus or point");
    }
    return text[0];
}

std::string CsvSeparatorCodec::write(char value) const {
    return value == '\t' ? "tab" : std::string(1, value);
}

std::string TextEncodingCodec::read(std::string_view text) const {
    if (!TextEncoder::knows(text))
        throw ValueError("expected an encoding such as utf-8, gbk, gb18030 or utf-16");
    return std::string(text);
}

std::vector<int> TextWidthsCodec::read(std::string_view text) const {
    constexpr int kWidest = 1'000;
    std::vector<int> widths;
    int width = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        const bool isEnd = i == text.size() || text[i] == ' ' || text[i] == ',';
        if (isEnd && width > 0) widths.push_back(std::exchange(width, 0));
        if (isEnd) continue;
        if (!isDigit(text[i]) || (text[i] == '0' && width == 0)) width = kWidest + 1;
        if (width <= kWidest) width = 10 * width + (text[i] - '0');
        if (width > kWidest)
            throw ValueError("expected widths from 1 to " + std::to_string(kWidest) + ", such as 10 20 8");
    }
    return widths;
}

std::string TextWidthsCodec::write(const std::vector<int>& value) const {
    std::string text;
    for (const int width : value) text += (text.empty() ? "" : " ") + std::to_string(width);
    return text;
}

}  // namespace qbsvrl6
