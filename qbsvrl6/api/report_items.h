// What a report consists of, as lists for programs.
#ifndef QBSVR_QBSVRL6_API_REPORT_ITEMS_H
#define QBSVR_QBSVRL6_API_REPORT_ITEMS_H

#include <cstdint>
#include <string>
#include <vector>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

struct Runtime;

// An item of QBXReportGetItem, in UTF-8.
struct ReportItem {
    std::string name;
    std::string table;
    std::string type;
    std::string value;
    std::uint64_t count = 0;
    bool isRequired = false;
    TextPosition position;
};

// Empty for an unknown kind.
std::vector<ReportItem> reportItems(Runtime& runtime, QBXItemKind kind);

}  // namespace qbsvrl6

#endif
