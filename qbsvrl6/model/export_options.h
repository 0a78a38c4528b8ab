// The options of an export.
#ifndef QBSVR_QBSVRL6_MODEL_EXPORT_OPTIONS_H
#define QBSVR_QBSVRL6_MODEL_EXPORT_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/model/pdf_protection.h"
#include "qbsvrl6/model/pdf_settings.h"
#include "qbsvrl6/model/text_settings.h"

namespace qbsvrl6 {

// The numbers are those of tagQBExportType and, from 101 on, of QBXExportType.
enum class ExportKind {
    Xls = 1,
    Txt = 2,
    Htm = 3,
    Rtf = 4,
    Pdf = 5,
    Csv = 6,
    Image = 7,
    Json = 101,
    Docx = 102,
    Ods = 103
};
enum class ImageKind { Tiff = 1, Png = 2 };

// Pages of a document, from 1, both included.
struct PageRange {
    int first = 1;
    int last = 1;
};

struct ExportOptions {
    ExportKind kind = ExportKind::Pdf;
    std::u16string fileName;  // target of an export into a file

    // Only these pages of a document with pages; empty: all. Page numbers and the page count stay those of
    // the whole document.
    std::vector<PageRange> pages;

    // For documents of cells, and JSON, which has no pages.
    bool sameAsPrint = true;  // false: one continuous table from logical rows
    bool pageBreaks = true;
    bool pageHeadersAndFooters = true;
    bool onlyDetailGrid = false;         // as one table, whatever sameAsPrint says
    bool xlsx = false;                   // for Xls: .xlsx instead of .xls
    std::optional<bool> defuseFormulas;  // CSV; none: as the template and the settings say
    TextSettings texts;                  // CSV and TXT; what is not set is as the template says

    ImageKind imageKind = ImageKind::Tiff;
    bool allPagesInOneImage = false;
    std::optional<double> imageResolution;   // dots per inch; none: as the template says
    bool embedWholeFonts = false;            // PDF; else subsets
    std::optional<PdfStandard> pdfStandard;  // none: as the template says
    std::optional<bool> pdfAccessible;       // none: as the template says
    std::string pdfMetadata;                 // a file of XMP that a PDF has as well; empty: none
    PdfProtection pdfProtection;
    PdfSigning pdfSigning;
    std::u16string created;  // DocumentInfo::created; empty: as the template says
};

}  // namespace qbsvrl6

#endif
