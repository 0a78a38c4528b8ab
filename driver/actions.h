// The actions of the command line, and the export of a single report, which two of them use.
#ifndef QBSVR_DRIVER_ACTIONS_H
#define QBSVR_DRIVER_ACTIONS_H

#include "driver/engine.h"

// Runs one of the actions that need the sample tree: "-a" and "-b" (one batch under two names), "-m", "-s",
// "-create". Any other word prints the usage line.
void DoAction(const str& action);

void DoPrintUsage();
void DoPrintPathInfo();
// Prints the engine's path, version and architecture. Raises std::logic_error if the engine returns no text.
void DoPrintVersion();

// Creates and releases one report and prints the outcome.
void DoReportCreate();

// "-gen_short setupPath dir filename type" and "-gen_full setupPath template data output type", with the
// arguments of `main`, including the null at their end. If there are too few arguments, or one of the two
// after setupPath is empty, they print the action's usage line. `type` isn't checked: if it is missing,
// ParseExportType raises.
void DoGenOneReportShort(int argc, char** argv);
void DoGenOneReportFull(int argc, char** argv);

// The export type for a word, ignoring case: "xls", "xlsx", "txt" or "csv"; any other word means PDF. Sets
// `typeText` to the extension in lower case. Raises std::logic_error for null.
tagQBExportType ParseExportType(const char* type, lkstr& typeText);

// Export one report from one template and one data file, without the sample tree.
//
//     Test_GenFull("sales.qbf", "sales.txt", "out/sales.pdf", "pdf");
//
// Arguments are UTF-8. The data file is loaded if it exists; if the template or the data doesn't load, a line
// is printed and the export is attempted all the same. Raise what ParseExportType raises, before any report
// is created, and ClkException if the output can't be written.
//
// Test_GenShort makes dir/fileName.type from dir/fileName.qbf and dir/fileName.txt. Test_GenFull uses all
// paths as given; `type` adds no extension.
void Test_GenShort(const char* dir, const char* fileName, const char* type);
void Test_GenFull(const char* templateFile, const char* dataFile, const char* outFile, const char* type);

#endif
