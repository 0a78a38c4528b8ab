// How CSV and TXT documents are written, as a template or an export says.
#ifndef QBSVR_QBSVRL6_MODEL_TEXT_SETTINGS_H
#define QBSVR_QBSVRL6_MODEL_TEXT_SETTINGS_H

#include <optional>
#include <string>
#include <vector>

namespace qbsvrl6 {

enum class CsvValues { Raw, Shown };
enum class CsvQuotes { Needed, All };
enum class LineEnds { CrLf, Lf };

// What is not set has the default of the format.
struct TextSettings {
    std::optional<CsvValues> values;  // none: raw for the detail grid alone, otherwise shown
    std::optional<char> separator;    // an ASCII character; none: a comma
    std::optional<CsvQuotes> quotes;  // none: where they are needed
    std::optional<LineEnds> lineEnds;
    std::string encoding;     // a name that iconv knows; empty: UTF-8, in CSV with a byte order mark
    std::vector<int> widths;  // of the columns of TXT, in characters; empty: those of the paper
};

// The settings, completed by `others` where they are not set.
inline TextSettings completed(TextSettings settings, const TextSettings& others) {
    if (!settings.values) settings.values = others.values;
    if (!settings.separator) settings.separator = others.separator;
    if (!settings.quotes) settings.quotes = others.quotes;
    if (!settings.lineEnds) settings.lineEnds = others.lineEnds;
    if (settings.encoding.empty()) settings.encoding = others.encoding;
    if (settings.widths.empty()) settings.widths = others.widths;
    return settings;
}

}  // namespace qbsvrl6

#endif
