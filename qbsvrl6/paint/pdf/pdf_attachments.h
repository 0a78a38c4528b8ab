// The files inside a PDF.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_ATTACHMENTS_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_ATTACHMENTS_H

#include <string>
#include <vector>

#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/paint/pdf/pdf_file.h"

namespace qbsvrl6 {

// The entries that list the files: of the catalog, and of its names. Empty without files.
struct PdfAttachmentEntries {
    std::string catalog, names;
};

PdfAttachmentEntries writeAttachments(PdfFile& file, const std::vector<PdfAttachment>& attachments);

}  // namespace qbsvrl6

#endif
