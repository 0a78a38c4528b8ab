// The pages of an ODS spreadsheet: paper, margins, and the header and footer of each printed page.
#ifndef QBSVR_QBSVRL6_SHEET_ODS_PAGE_REGIONS_H
#define QBSVR_QBSVRL6_SHEET_ODS_PAGE_REGIONS_H

#include <string>
#include <vector>

#include "qbsvrl6/sheet/workbook/print_setup.h"

namespace qbsvrl6 {

// The papers of the sheets, each once. They count from 1.
class OdsPapers {
public:
    // The paper of the next sheet.
    void add(PrintSetup print);
    const std::vector<PrintSetup>& all() const { return papers_; }
    std::size_t ofSheet(std::size_t sheet) const { return ofSheets_[sheet]; }

private:
    std::vector<PrintSetup> papers_;
    std::vector<std::size_t> ofSheets_;
};

// The name of the page style of a paper.
std::string masterPage(std::size_t paper);

// styles.xml: the page styles.
std::string pageStyles(const std::vector<PrintSetup>& papers);

}  // namespace qbsvrl6

#endif
