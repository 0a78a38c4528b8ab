// Formats and options of exports by the names that programs use.
#ifndef QBSVR_QBSVRL6_API_FORMATS_H
#define QBSVR_QBSVRL6_API_FORMATS_H

#include <span>
#include <string_view>

#include "qbsvrl6/model/export_options.h"

namespace qbsvrl6 {

struct Format {
    std::string_view name;
    std::string_view otherName;  // may be empty
    std::string_view description;
    ExportKind kind;
    ImageKind imageKind = ImageKind::Tiff;
    bool xlsx = false;
};

std::span<const Format> formats();

// Default options for the format of this name, without regard to ASCII case. Raises EngineError, which lists
// the names.
ExportOptions optionsFor(std::string_view formatName);

// Sets an option by its name, as QBXReportSetExportOption documents them. Raises EngineError for an unknown
// name or an invalid value.
void setOption(ExportOptions& options, std::string_view name, std::string_view value);

}  // namespace qbsvrl6

#endif
