// The tree of bookmarks of a PDF.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_OUTLINE_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_OUTLINE_H

#include <set>
#include <string>
#include <string_view>
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

// The places that inner links lead to, by the titles of bookmarks in UTF-8.
class PdfDestinations {
public:
    // The place of a link "#title", whose title may be encoded ("%20").
    std::string nameOf(std::u16string_view link);
    // Returns the tree of all names that links use, as an entry of the catalog's names; empty without any. A
    // link to a name that no bookmark has leads nowhere, and the log says so.
    std::string write(const std::vector<PdfBookmark>& bookmarks) const;

private:
    std::set<std::string> names_;
};

// Writes the tree of bookmarks, given in document order, and returns the number of its root; 0 if there are
// none.
int writeOutline(PdfFile& file, const std::vector<PdfBookmark>& bookmarks);

}  // namespace qbsvrl6

#endif
