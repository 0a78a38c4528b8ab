// Samples that exercise one feature of the engine each. No action leads to them; those that use the paths of
// the sample tree need ConfigPath to have run. They print what failed to load and go on, unless said
// otherwise, and raise ClkException when an output can't be written.
#ifndef QBSVR_DRIVER_SAMPLES_H
#define QBSVR_DRIVER_SAMPLES_H

#include "driver/driver_types.h"

// Builds a report around a sub-report, and loads and saves the sub-report.
void TestSubReportLoadSave();

// Loads data into a template from a fixed address and exports "qb-datafromurl.pdf".
void TestLoadDataFromURL();

// Prints a template on a printer, the default one for null or the empty text, and exports it to a fixed path.
// The twin holds its report in a handle, prints another template and looks at the report's font.
void TestPrint(const lkchar* printerName);
void TestPrint_CPP(const lkchar* printerName);

// Loads a template, gives a copy of it a life of its own, and saves it as "save.qbf" with a picture behind
// it.
void TestLoadSave();

// Exports straight into files: "qb-direct.xls", and "qb.xlsx" with options. Ends at a template that doesn't
// load.
void TestExport();

// Exports a template whose queries are file names relative to it.
void Test_DataTextFile(const wchar_t* templateFile, tagQBExportType type, const wchar_t* outFile);
// Exports a template with a data file.
void Test_DataTextFile2(const wchar_t* templateFile, const wchar_t* dataFile, tagQBExportType type,
                        const wchar_t* outFile);

// Export with a handler for the initialize event, as "qb-event.pdf". The twin's handle releases the report on
// every way out.
void TestEvent();
void TestEvent_CPP();

// Export of fixed files with a handler that is called and finds nothing to do, as "qb-custom-export.xls".
void TestExportCustom();

#endif
