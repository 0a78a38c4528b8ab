// PDF from laid-out pages.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/items/structure.h"
#include "qbsvrl6/model/pdf_protection.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/paint/pdf/further_metadata.h"
#include "qbsvrl6/paint/pdf/pdf_signature.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

// A file inside the document.
struct PdfAttachment {
    Attachment settings;
    std::string bytes;
};

struct PdfOptions {
    DocumentInfo info;
    bool embedWholeFonts = false;
    std::shared_ptr<const Picture> background;  // below the bands of each page; may be null
    Watermark watermark;
    PdfStandard standard = kDefaultStandard;
    PdfSettings settings;
    PdfProtection protection;
    std::optional<PdfSignatureOptions> signature;
    std::vector<MetadataProperty> metadata;  // of the program's own
    bool accessible = false;                 // complies with PDF/UA-1 as well; needs the structure
    // Of a tagged document, filled by its layout; may be null.
    std::shared_ptr<const DocumentStructure> structure;
    // Filled before finish(); may be null. Only PDF/A-3 allows any file.
    std::shared_ptr<const std::vector<PdfAttachment>> attachments;
};

// A sink that writes each page as it ends; `output` holds the whole document after finish(). The same input
// gives the same bytes: no clock, no random identifiers.
std::unique_ptr<PageSink> makePdfWriter(const PdfOptions& options, Spool& output);

}  // namespace qbsvrl6

#endif
