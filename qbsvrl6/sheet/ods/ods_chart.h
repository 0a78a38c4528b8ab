// Charts as charts of the spreadsheet program, fed by a sheet of their numbers.
#ifndef QBSVR_QBSVRL6_SHEET_ODS_ODS_CHART_H
#define QBSVR_QBSVRL6_SHEET_ODS_ODS_CHART_H

#include <cstdint>
#include <string>
#include <vector>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

// The charts of a spreadsheet, and the sheet of their numbers.
class OdsCharts {
public:
    // Whether a spreadsheet program has such charts, with so many numbers, and there is room for them.
    bool canHold(const ShownChart& chart) const;
    // Adds a chart that can be held, for an item of this size and style. Returns the attributes of its frame's
    // object.
    std::string add(const ShownChart& chart, Size size, const ResolvedStyle* style);

    bool isEmpty() const { return parts_.empty(); }
    // The contents of the objects, "Object 1" being the first.
    const std::vector<std::string>& parts() const { return parts_; }
    // Appends the table of the numbers.
    void writeNumbers(Spool& body, std::string_view tableStyle);

private:
    std::vector<std::string> parts_;
    std::size_t bytes_ = 0;  // of the parts
    Spool rows_;             // of the numbers
    std::int64_t rowCount_ = 0;
    int columnCount_ = 1;
};

}  // namespace qbsvrl6

#endif
