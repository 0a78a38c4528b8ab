// Values of the settings of CSV and TXT documents, in templates and options of exports.
#ifndef QBSVR_QBSVRL6_TEMPLATE_TEXT_VALUES_H
#define QBSVR_QBSVRL6_TEMPLATE_TEXT_VALUES_H

#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/model/text_settings.h"

namespace qbsvrl6 {

// Each raises ValueError for a text that is no such value.
struct CsvValuesCodec {  // "raw", "shown"
    CsvValues read(std::string_view text) const;
    std::string write(CsvValues value) const;
};

struct CsvSeparatorCodec {  // "tab", or an ASCII character
    char read(std::string_view text) const;
    std::string write(char value) const;
};

struct CsvQuotesCodec {  // "needed", "all"
    CsvQuotes read(std::string_view text) const;
    std::string write(CsvQuotes value) const;
};

struct LineEndsCodec {  // "crlf", "lf"
    LineEnds read(std::string_view text) const;
    std::string write(LineEnds value) const;
};

struct TextEncodingCodec {  // "utf-8", "gbk", "gb18030": names that iconv knows
    std::string read(std::string_view text) const;
    std::string write(const std::string& value) const { return value; }
};

struct TextWidthsCodec {  // "10 20 8", "10,20,8"
    std::vector<int> read(std::string_view text) const;
    std::string write(const std::vector<int>& value) const;
};

}  // namespace qbsvrl6

#endif
