#include "qbsvrl6/api/unused_columns.h"

#include <string>
#include <unordered_set>

#include "qbsvrl6/api/report_data.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/contents.h"

namespace qbsvrl6 {

void tellUnusedColumns(const ReportDefinition& report, const ReportData& data) {
    const Table* const table = rowsOf(report, data);
    if (table == nullptr) return;
    constexpr std::size_t kListed = 20;
    std::unordered_set<std::u16string> mentioned;
    for (const Mention& mention : contentsOf(report).names) mentioned.insert(lowerCase(mention.name));
    std::string names;
    std::size_t count = 0;
    for (std::size_t column = 0; column < table->columnCount(); ++column) {
        const std::u16string name = table->columnName(column);
        if (mentioned.contains(lowerCase(name)) || ++count > kListed) continue;
        names += (names.empty() ? "" : ", ") + toUtf8(name);
    }
    if (count == 0) return;
    if (count > kListed) names += " and " + std::to_string(count - kListed) + " more";
    logInfo("the template does not use these columns of the data: " + names);
}

}  // namespace qbsvrl6
