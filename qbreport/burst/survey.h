// The first look at the data: how many documents there will be, and that each has its own key and name.
#ifndef QBSVR_QBREPORT_BURST_SURVEY_H
#define QBSVR_QBREPORT_BURST_SURVEY_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "qbreport/burst/documents.h"
#include "qbreport/burst/output_names.h"

namespace qbreport {

struct Survey {
    std::uint64_t documents = 0;
    std::uint64_t rows = 0;
    Decimal total;
    std::string digest;  // of the source; of a shard: empty
};

// Raises Failure before anything is written. `reserved`: files that no document may replace; `onShare` is
// called now and then with the share of the data that has been read.
Survey surveyOf(const DocumentSource& source, const OutputNames& names, const Shard& shard,
                const std::vector<std::string>& reserved, const std::function<void(double)>& onShare);

// Adds the document to the figures. Raises Failure for a total of too many digits.
void add(Survey& survey, const Document& document);

}  // namespace qbreport

#endif
