// The keys of documents from a database: the rows of a query, as CSV in a temporary file.
#ifndef QBSVR_QBREPORT_BURST_KEY_LIST_H
#define QBSVR_QBREPORT_BURST_KEY_LIST_H

#include <memory>
#include <string>
#include <vector>

#include "qbreport/burst/source.h"
#include "qbreport/commands.h"
#include "qbreport/messages.h"

namespace qbreport {

inline constexpr const char* kKeyListKind = "csv:separator=comma";

// Raises Failure, also for a column that the query has not.
std::shared_ptr<const Source> listKeys(const DataOptions& data, const std::vector<std::string>& columns,
                                       Messages& messages);

}  // namespace qbreport

#endif
