// larkspur: 16-bit text, conversions, memory and streams, files, JSON and the format language.
//
// This header includes every public header of the library. All names are in namespace larkspur.
//
//     larkspur::lkstr text = larkspur::FormatNumber(1234567.891, u"#,##0.00");   // 1,234,567.89
//     std::puts(larkspur::UnicodeTextToPrintf(text).c_str());
#ifndef LARKSPUR_H
#define LARKSPUR_H

#include "common/base64.h"
#include "common/bin_data_package.h"
#include "common/color.h"
#include "common/errors.h"
#include "common/files.h"
#include "common/fixed_text.h"
#include "common/machine.h"
#include "common/markup.h"
#include "common/memory.h"
#include "common/memory_stream.h"
#include "common/name_value.h"
#include "common/paths.h"
#include "common/string_ops.h"
#include "common/text.h"
#include "common/unicode.h"
#include "common/uri.h"
#include "common/whole_file.h"
#include "format/boolean_format.h"
#include "format/date_time.h"
#include "format/date_time_format.h"
#include "format/int_enum_format.h"
#include "format/locale_settings.h"
#include "format/number_helpers.h"
#include "format/numeric_format.h"
#include "json/json_name_value.h"
#include "json/json_text.h"
#include "json/json_tree.h"

#endif
