// The options of an export.
#ifndef QBSVR_QBSVRL6_MODEL_EXPORT_OPTIONS_H
#define QBSVR_QBSVRL6_MODEL_EXPORT_OPTIONS_H

#include <optional>
#include <string>

namespace qbsvrl6 {

// The numbers are those of tagQBExportType.
enum class ExportKind { Xls = 1, Txt = 2, Htm = 3, Rtf = 4, Pdf = 5, Csv = 6, Image = 7 };
enum class ImageKind { Tiff = 1, Png = 2 };

struct ExportOptions {
    ExportKind kind = ExportKind::Pdf;
    std::u16string fileName;  // target of an export into a file

    // For cell documents (XLS, TXT, HTM, RTF, CSV).
    bool sameAsPrint = true;  // false: one continuous table from logical rows
    bool pageBreaks = true;
    bool pageHeadersAndFooters = true;
    bool onlyDetailGrid = false;         // as one table, whatever sameAsPrint says
    bool xlsx = false;                   // for Xls: .xlsx instead of .xls
    std::optional<bool> defuseFormulas;  // CSV; none: as the template and the settings say

    ImageKind imageKind = ImageKind::Tiff;
    bool allPagesInOneImage = false;
    bool embedWholeFonts = false;  // PDF; else subsets
};

}  // namespace qbsvrl6

#endif
