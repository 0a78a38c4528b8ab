// The page of an ODS spreadsheet: paper, margins, and the header and footer of each printed page.
#ifndef QBSVR_QBSVRL6_SHEET_ODS_PAGE_REGIONS_H
#define QBSVR_QBSVRL6_SHEET_ODS_PAGE_REGIONS_H

#include <string>

#include "qbsvrl6/sheet/workbook/print_setup.h"

namespace qbsvrl6 {

// styles.xml: the page style of all sheets.
std::string pageStyles(const PrintSetup& print);

}  // namespace qbsvrl6

#endif
