// The tree of bookmarks of a PDF.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_OUTLINE_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_OUTLINE_H

#include <string>
#include <vector>

#include "qbsvrl6/paint/pdf/pdf_file.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct PdfBookmark {
    std::u16string title;
    int level = 0;   // from 0; after a skipped level, a bookmark belongs to the last one of a lower level
    int page = 0;    // number of the page's object
    double top = 0;  // points above the page's lower edge
};

// Writes the tree of bookmarks, given in document order, and returns the number of its root; 0 if there are
// none.
int writeOutline(PdfFile& file, const std::vector<PdfBookmark>& bookmarks);

}  // namespace qbsvrl6

#endif
