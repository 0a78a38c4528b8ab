// One report from one template and one data file, without the sample tree.
//
//     Test_GenFull("sales.qbf", "sales.txt", "out/sales.pdf", "pdf");
#ifndef QBSVR_DRIVER_GENERATE_H
#define QBSVR_DRIVER_GENERATE_H

#include "driver/driver_types.h"

// The export type that a word asks for, in any case: "xls", "xlsx", "txt" or "csv"; every other word is PDF.
// Sets `typeText` to the extension in lower case. Raises std::logic_error for null.
tagQBExportType ParseExportType(const char* type, lkstr& typeText);

// Words are UTF-8. The data file is loaded when it exists; a template or data file that doesn't load is said
// and the export is tried all the same. Raises what ParseExportType does, before any report is created, and
// ClkException when the output can't be written.
//
// dir/fileName.qbf and dir/fileName.txt become dir/fileName.type.
void Test_GenShort(const char* dir, const char* fileName, const char* type);
// All paths as they stand; `type` adds no extension.
void Test_GenFull(const char* templateFile, const char* dataFile, const char* outFile, const char* type);

#endif
