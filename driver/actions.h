// The actions of the command line, and the making of one report, which two of them do.
#ifndef QBSVR_DRIVER_ACTIONS_H
#define QBSVR_DRIVER_ACTIONS_H

#include "driver/engine.h"

// Runs one of the actions that need the sample tree: "-a" and "-b" (one batch under two names), "-m", "-s",
// "-create". Any other word prints the usage line.
void DoAction(const str& action);

void DoPrintUsage();
void DoPrintPathInfo();
// Prints the engine's path, version and architecture. Raises std::logic_error when the engine gives no text.
void DoPrintVersion();

// Creates and releases one report and prints the outcome.
void DoReportCreate();

// "-gen_short setupPath dir filename type" and "-gen_full setupPath template data output type", with the
// words that `main` received, including the null at their end. Too few words, or an empty one among the first
// two after setupPath, print the action's usage line. The word `type` isn't checked: without it the run ends
// as ParseExportType does for null.
void DoGenOneReportShort(int argc, char** argv);
void DoGenOneReportFull(int argc, char** argv);

// The export type that a word asks for, in any case: "xls", "xlsx", "txt" or "csv"; every other word is PDF.
// Sets `typeText` to the extension in lower case. Raises std::logic_error for null.
tagQBExportType ParseExportType(const char* type, lkstr& typeText);

// One report from one template and one data file, without the sample tree.
//
//     Test_GenFull("sales.qbf", "sales.txt", "out/sales.pdf", "pdf");
//
// Words are UTF-8. The data file is loaded if it exists; a template or data file that doesn't load is
// reported and the export is attempted all the same. Raises what ParseExportType does, before any report is
// created, and ClkException when the output can't be written.
//
// Test_GenShort makes dir/fileName.type from dir/fileName.qbf and dir/fileName.txt. Test_GenFull uses all
// paths as given; `type` adds no extension.
void Test_GenShort(const char* dir, const char* fileName, const char* type);
void Test_GenFull(const char* templateFile, const char* dataFile, const char* outFile, const char* type);

#endif
