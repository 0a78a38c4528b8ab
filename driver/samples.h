// Samples, each of which exercises one feature of the engine. No action calls them; those that use the paths
// of the sample tree require a call of ConfigPath first. If something fails to load, they print a line and
// continue, unless documented otherwise. They raise ClkException if an output can't be written.
#ifndef QBSVR_DRIVER_SAMPLES_H
#define QBSVR_DRIVER_SAMPLES_H

#include "driver/engine.h"

// Builds a report around a sub-report, and loads and saves the sub-report.
void TestSubReportLoadSave();

// Loads data into a template from a fixed address and exports "qb-datafromurl.pdf".
void TestLoadDataFromURL();

// Prints a template on a printer, the default one for null or the empty text, and exports it to a fixed path.
// TestPrint_CPP uses a CQBReportHandle, prints another template and reads the report's font.
void TestPrint(const lkchar* printerName);
void TestPrint_CPP(const lkchar* printerName);

// Loads a template, copies it, and saves it as "save.qbf" with a background picture.
void TestLoadSave();

// Exports straight into files: "qb-direct.xls", and "qb.xlsx" with options. Returns if the template doesn't
// load.
void TestExport();

// Exports a template whose queries are file names relative to it.
void Test_DataTextFile(const wchar_t* templateFile, tagQBExportType type, const wchar_t* outFile);
// Exports a template with a data file.
void Test_DataTextFile2(const wchar_t* templateFile, const wchar_t* dataFile, tagQBExportType type,
                        const wchar_t* outFile);

// Exports "qb-event.pdf" with a handler for the initialize event. TestEvent_CPP releases the report even if
// the file can't be written.
void TestEvent();
void TestEvent_CPP();

// Exports fixed files as "qb-custom-export.xls", with a handler that has nothing to do.
void TestExportCustom();

// Exports "Chart.qbf" as "qb-datafromurl.pdf"; its charts are filled by CqbChartRequestDataEventInfo.
void TestChartLoadDataFromURL();

// Requests a barcode from the engine as JSON, prints the request and the graph, and returns the graph. Raises
// std::logic_error if the engine returns none.
wstr GenBarcodeGraphText(tagQBBarcodeType type, const wchar_t* text);
// Nine barcodes of different types, one line each.
void TestBarcode();

// Prints `value` as the engine formats it with `format`. Raises std::logic_error if the engine returns no
// text.
void DoTestFormat(tagQBUtility* utility, double value, const wchar_t* format);
void TestFormat();

#endif
