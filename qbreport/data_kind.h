// Kinds of data: json, jsonl, xml, csv.
#ifndef QBSVR_QBREPORT_DATA_KIND_H
#define QBSVR_QBREPORT_DATA_KIND_H

#include <string>
#include <string_view>

namespace qbreport {

// The kind that the extension of a file means; empty: its content decides.
std::string kindOfFile(const std::string& path);

// The kind of a text, judged by its first bytes.
std::string kindOfText(std::string_view bytes);

}  // namespace qbreport

#endif
