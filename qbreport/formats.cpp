#include "qbreport/formats.h"

#include <simdjson.h>

#include <algorithm>
#include <array>

namespace qbreport {

namespace {

struct FormatType {
    std::string_view format;
    const char* type;
};

constexpr std::array kTypes{
    FormatType{"pdf", "application/pdf"},
    FormatType{"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    FormatType{"xls", "application/vnd.ms-excel"},
    FormatType{"ods", "application/vnd.oasis.opendocument.spreadsheet"},
    FormatType{"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    FormatType{"html", "text/html; charset=utf-8"},
    FormatType{"rtf", "application/rtf"},
    FormatType{"txt", "text/plain; charset=utf-8"},
    FormatType{"csv", "text/csv; charset=utf-8"},
    FormatType{"json", "application/json"},
    FormatType{"tiff", "image/tiff"},
    FormatType{"png", "image/png"}};

}  // namespace

const char* mediaTypeOf(std::string_view format) {
    const auto* const known = std::find_if(kTypes.begin(), kTypes.end(),
                                           [&](const FormatType& type) { return type.format == format; });
    return known == kTypes.end() ? nullptr : known->type;
}

std::string mediaTypeOf(std::string_view format, std::string_view document) {
    constexpr std::string_view kCharset = "; charset=utf-8";
    std::string type = mediaTypeOf(format);
    const std::size_t charset = type.find(kCharset);
    const bool isOther =
        charset != std::string::npos && !simdjson::validate_utf8(document.data(), document.size());
    if (isOther) type.resize(charset);
    return type;
}

}  // namespace qbreport
