// The style sheet of HTML: paper, screens, print.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_HTM_RULES_H
#define QBSVR_QBSVRL6_SHEET_TEXT_HTM_RULES_H

#include <map>
#include <string>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/sheet/grid/cell_grid.h"
#include "qbsvrl6/sheet/writers.h"

namespace qbsvrl6 {

// Appends the rules of the pages and their parts, without those of rows and cells. `papers` are those other than the
// report's, by kind.
void appendPageRules(std::string& out, const SheetOptions& options, const CellGrid& grid,
                     const std::map<int, PageInfo>& papers);

}  // namespace qbsvrl6

#endif
