// Comments of cells: the rest of a text that is longer than a cell can hold.
#ifndef QBSVR_QBSVRL6_SHEET_XLSX_XLSX_COMMENTS_H
#define QBSVR_QBSVRL6_SHEET_XLSX_XLSX_COMMENTS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

// The comments of one sheet. Rows and columns count from 0.
class XlsxComments {
public:
    // Returns false if the comments would take too much memory, which holds them until the end.
    bool add(int column, std::int64_t row, std::u16string_view text);

    bool isEmpty() const { return count_ == 0; }
    // xl/commentsN.xml
    std::string xml() const;
    // xl/drawings/vmlDrawingN.vml: the boxes in which programs show them.
    std::string boxes() const;

private:
    std::string commentElements_;
    std::string boxElements_;
    int count_ = 0;
};

}  // namespace qbsvrl6

#endif
