// The report engine: the 71 functions of libqbsvrl6.so, their handles, enumerations and event handlers.
//
//     QBInitConfig(u"/opt/qb");
//     quillbrook::tagQBReport* report = QBReportCreate();
//     if (report && QBReportLoadFromFile(report, u"/opt/qb/Samples/Reports/list.qbf")) {
//         quillbrook::tagQBBinaryObject* pdf =
//             QBReportExportDirectToBinaryObject(report, quillbrook::QBExportType_PDF);
//         if (pdf) Save(QBBinaryObjectGetDataBuf(pdf), QBBinaryObjectGetDataSize(pdf));
//     }
//     QBReportRelease(report);
//
// Conventions
//
// Start. QBInitConfig comes once, before every other function. There is no shutdown.
//
// Ownership. A caller owns the reports that it got from QBReportCreate and gives each back through
// QBReportRelease, which frees all that hangs from it. Every other handle, a sub-report's report among them,
// is borrowed: it belongs to what it was taken from, lives as long as that does, and is never released.
// Loading a template replaces the report's contents, so that sections, controls, grids and record sets taken
// before it are gone; the report itself stays. A binary object has no release function: its bytes are valid
// until the next QBReportUnprepareExport or QBReportRelease on its report. An event handler is
// made with `new` and belongs to the report from the attaching on: the engine deletes it. Handlers stay
// attached across loads, as long as their report lives.
//
// Texts are 16-bit and end at a zero unit, in both directions. A text passed in is read during the call only.
// A text handed out stays the engine's, may be null where that is said, and is valid until the next call with
// the same handle (for functions without a handle: the next call of the same function on the same thread);
// copy what is to be kept. The text of QBRecordsetGetQuerySQL also outlives QBRecordsetSetConnectionString on
// its record set.
//
// Addresses. A path that a program passes (of a template, of data, of output, in a query, of the background
// picture) starts at the working directory if it is relative. A name inside a template starts at the
// template's folder, and so does what a field gives as the source of a picture. Nothing is tried elsewhere. A
// template that is saved names the same files as before, as they are seen from its new folder; absolute paths
// and URLs stay.
//
// Orders. A prepared export is QBReportPrepareExport, the option setters, QBReportExportToBinaryObject (or
// QBExportOptionSetFileName ahead and QBReportExport), the use of the result, and QBReportUnprepareExport,
// the last one on success and on failure alike. Handlers are attached before the export or load that fires
// them. A walk over controls is QBReportFindFirstControl, then QBReportFindNextControl until null; its
// position belongs to the report, so that a walk over a sub-report leaves its parent's alone.
//
// Threads. Different reports may be used on different threads at once, creation and release included. One
// report, with all that hangs from it, belongs to one thread at a time.
//
// Errors. Nothing is thrown across this interface. Failure is a null handle, a null text or a zero; the cause
// is written to the engine's own log. Results declared `int` are switches: zero for false or failure, any
// other value for true or success. Arguments declared `int` are switches too unless their name says
// otherwise.
//
// Nulls. Every function takes a null handle: it then does nothing and gives null, zero or the empty text. A
// null text reads as the empty text. Values outside an enumeration are passed through and count as unknown.
#ifndef QBSVR_ENGINE_QBSVR_H
#define QBSVR_ENGINE_QBSVR_H

#include <cstdint>

// Marks the functions that leave the library, also where an engine is built with hidden visibility.
#define QBSVR_API __attribute__((visibility("default")))

namespace quillbrook {

using lkchar = char16_t;

struct tagQBReport;         // one report: template, data, state
struct tagQBDetailGrid;     // a report's detail grid
struct tagQBRecordset;      // the detail grid's record set
struct tagQBReportHeaders;  // a report's collection of header sections
struct tagQBSection;        // one section
struct tagQBControls;       // a section's collection of controls
struct tagQBControl;        // one control
struct tagQBSubReport;      // a control of type QBControlType_SubReport seen as a sub-report
struct tagQBExportOption;   // options of the export in progress
struct tagQBE2CellOption;   // the same options for outputs made of cells: XLS, TXT, HTM, RTF, CSV
struct tagQBE2XLSOption;    // ... for spreadsheets
struct tagQBE2IMGOption;    // ... for images
struct tagQBE2PDFOption;    // ... for PDF
struct tagQBBinaryObject;   // a block of finished output in memory
struct tagQBPrinter;        // a report's printer settings
struct tagQBFont;           // a report's font
struct tagQBChart;          // a chart, as the argument of the chart data event only
struct tagQBUtility;        // number formatting service of a report

enum tagQBExportType : std::int32_t {
    QBExportType_XLS = 1,  // .xls, or .xlsx after QBE2XLSOptionSetToXlsxFormat
    QBExportType_TXT = 2,
    QBExportType_HTM = 3,
    QBExportType_RTF = 4,
    QBExportType_PDF = 5,
    QBExportType_CSV = 6,
    QBExportType_IMG = 7,  // TIFF unless QBE2IMGOptionSetImageType says otherwise
};

enum tagQBImageType : std::int32_t {
    QBImageType_TIFF = 1,
    QBImageType_PNG = 2,
};

// What becomes of the columns of a detail grid that is wider than the page.
enum tagQBColumnPrintAdaptMethod : std::int32_t {
    QBColumnPrintAdaptMethod_Discard = 1,
    QBColumnPrintAdaptMethod_Wrap = 2,
    QBColumnPrintAdaptMethod_ResizeToFit = 3,
    QBColumnPrintAdaptMethod_ShrinkToFit = 4,
    QBColumnPrintAdaptMethod_ToNewPage = 5,
    QBColumnPrintAdaptMethod_ToNewPageEx = 6,
    QBColumnPrintAdaptMethod_ToNewPageRFC = 7,
    QBColumnPrintAdaptMethod_ToNewPageRFCEx = 8,
    QBColumnPrintAdaptMethod_WrapExcludeGroup = 9,
};

enum tagQBControlType : std::int32_t {
    QBControlType_StaticText = 1,
    QBControlType_Line = 2,
    QBControlType_Box = 3,
    QBControlType_Picture = 4,
    QBControlType_Barcode = 5,
    QBControlType_Chart = 6,
    QBControlType_SubReport = 9,
};

// The numbers that barcode requests carry under "type"; the engine knows more symbologies than have a name
// here.
enum tagQBBarcodeType : std::int32_t {
    QBBarcodeType_Digits = 1,            // digits only
    QBBarcodeType_AppIdentifier = 25,    // digits, or bracketed application identifiers
    QBBarcodeType_LongText50 = 50,       // long mixed text, Chinese included
    QBBarcodeType_LongText51 = 51,       // long mixed text of Latin letters
    QBBarcodeType_LongText52 = 52,       // long mixed text, Chinese included
    QBBarcodeType_AppIdentifier53 = 53,  // bracketed application identifiers
    QBBarcodeType_AppIdentifier54 = 54,  // bracketed application identifiers
};

// Event handlers. The engine calls through the virtual table, whose order is part of the interface:
// destructor, deleting destructor, Execute. Derive singly, An exception
// that leaves Execute ends the export that called it, with its message in the log.

// An export begins; the options may still be changed.
class CqbExportEventInfo {
public:
    virtual ~CqbExportEventInfo() = default;
    virtual void Execute(tagQBExportOption* option) = 0;
};

// The report initialises.
class CqbGeneralEventInfo {
public:
    virtual ~CqbGeneralEventInfo() = default;
    virtual void Execute() = 0;
};

// A chart asks for its data.
class CqbChartEventInfo {
public:
    virtual ~CqbChartEventInfo() = default;
    virtual void Execute(tagQBChart* chart) = 0;
};

}  // namespace quillbrook

extern "C" {

// ---- Configuration and module information

// Names the directory in which the engine is set up, without closing separator. If it exists, the log is
// log/qbsvrl6.log in it; else qbsvrl6/qbsvrl6.log in $XDG_STATE_HOME or ~/.local/state, if there is one.
QBSVR_API int QBInitConfig(const quillbrook::lkchar* setupPath);
// Path of the engine's library file, its version, and the architecture that it was built for.
QBSVR_API const quillbrook::lkchar* QBGetModulePath();
QBSVR_API const quillbrook::lkchar* QBGetModuleVersion();
QBSVR_API const quillbrook::lkchar* QBGetModuleInfo();

// ---- Reports

// An empty report, or null on failure. Callable on any thread.
QBSVR_API quillbrook::tagQBReport* QBReportCreate();
// Frees the report with its template, data, binary objects and event handlers. Does nothing for null.
QBSVR_API void QBReportRelease(quillbrook::tagQBReport* report);
// Makes `target` a copy of `source`'s definition.
QBSVR_API void QBObjectAssign(quillbrook::tagQBReport* target, quillbrook::tagQBReport* source);

// Replaces the report's template by the one in the file. The report may be loaded any number of times.
QBSVR_API int QBReportLoadFromFile(quillbrook::tagQBReport* report, const quillbrook::lkchar* path);
// Files are written whole or not at all, here and by exports: a failure, or a kill, leaves what was there.
QBSVR_API int QBReportSaveToFile(quillbrook::tagQBReport* report, const quillbrook::lkchar* path);
// Sets the picture behind every page.
QBSVR_API void QBReportSetBackImageFile(quillbrook::tagQBReport* report, const quillbrook::lkchar* path);

// ---- Data

// Loads all of the report's data from a JSON or XML text: a local path or a URL.
QBSVR_API int QBReportLoadDataFromURL(quillbrook::tagQBReport* report, const quillbrook::lkchar* url);
// The XML text that a path or URL delivers, for charts; null when it delivers none.
QBSVR_API const quillbrook::lkchar* QBReportExtractXMLFromURL(quillbrook::tagQBReport* report,
                                                              const quillbrook::lkchar* url);
// The report's own query; never null. With the connection string "xml" a query is the path of a data file.
QBSVR_API const quillbrook::lkchar* QBReportGetQuerySQL(quillbrook::tagQBReport* report);
QBSVR_API void QBReportSetQuerySQL(quillbrook::tagQBReport* report, const quillbrook::lkchar* query);
// "xml" reads from a text file; the empty text clears it. A query without a connection string has that of the
// report around it: the record set that of its report, a sub-report that of its parent.
QBSVR_API void QBReportSetConnectionString(quillbrook::tagQBReport* report,
                                           const quillbrook::lkchar* connection);

// Null when the report has no detail grid.
QBSVR_API quillbrook::tagQBDetailGrid* QBReportGetDetailGrid(quillbrook::tagQBReport* report);
// Never null for a grid.
QBSVR_API quillbrook::tagQBRecordset* QBDetailGridGetRecordset(quillbrook::tagQBDetailGrid* grid);
QBSVR_API void QBDetailGridSetPrintAdaptMethod(quillbrook::tagQBDetailGrid* grid,
                                               quillbrook::tagQBColumnPrintAdaptMethod method);
// Query and connection string of the record set, as for the report; the query is never null and stays
// readable across QBRecordsetSetConnectionString.
QBSVR_API const quillbrook::lkchar* QBRecordsetGetQuerySQL(quillbrook::tagQBRecordset* recordset);
QBSVR_API void QBRecordsetSetQuerySQL(quillbrook::tagQBRecordset* recordset, const quillbrook::lkchar* query);
QBSVR_API void QBRecordsetSetConnectionString(quillbrook::tagQBRecordset* recordset,
                                              const quillbrook::lkchar* connection);

// ---- Export

// Exports with default options, into memory (null on failure) or into a file. What the two switches of the
// file form mean is the engine's: spreadsheets are asked for with 1 and 1, PDF with 0 and 0.
QBSVR_API quillbrook::tagQBBinaryObject* QBReportExportDirectToBinaryObject(quillbrook::tagQBReport* report,
                                                                            quillbrook::tagQBExportType type);
QBSVR_API int QBReportExportDirect(quillbrook::tagQBReport* report, quillbrook::tagQBExportType type,
                                   const quillbrook::lkchar* file, int firstSwitch, int secondSwitch);
// The prepared export: opens one and gives its options, runs it into memory (null on failure) or into the
// file named by the options, and closes it.
QBSVR_API quillbrook::tagQBExportOption* QBReportPrepareExport(quillbrook::tagQBReport* report,
                                                               quillbrook::tagQBExportType type);
QBSVR_API quillbrook::tagQBBinaryObject* QBReportExportToBinaryObject(quillbrook::tagQBReport* report);
QBSVR_API int QBReportExport(quillbrook::tagQBReport* report, int showOptions);
QBSVR_API int QBReportUnprepareExport(quillbrook::tagQBReport* report);
// Length in bytes, and the bytes. A binary object lives until QBReportUnprepareExport, which may be called
// without a prepared export, or QBReportRelease of its report, whatever else is exported or loaded meanwhile.
// Beyond 256 MB a report's objects go to temporary files without a name.
QBSVR_API int QBBinaryObjectGetDataSize(quillbrook::tagQBBinaryObject* object);
QBSVR_API const void* QBBinaryObjectGetDataBuf(quillbrook::tagQBBinaryObject* object);

// ---- Export options

QBSVR_API quillbrook::tagQBExportType QBExportOptionGetExportType(quillbrook::tagQBExportOption* option);
// Target of QBReportExport. Where a document is a file a page (PNG, unless all pages are in one image), the
// pages behind the first go beside it as "name-2.png", "name-3.png" and so on; a binary object holds the
// first page only.
QBSVR_API void QBExportOptionSetFileName(quillbrook::tagQBExportOption* option,
                                         const quillbrook::lkchar* file);
// The same options by kind of output; null when the export is of another kind.
QBSVR_API quillbrook::tagQBE2CellOption* QBExportOptionGetAsE2CellOption(
    quillbrook::tagQBExportOption* option);
QBSVR_API quillbrook::tagQBE2XLSOption* QBExportOptionGetAsE2XLSOption(quillbrook::tagQBExportOption* option);
QBSVR_API quillbrook::tagQBE2IMGOption* QBExportOptionGetAsE2IMGOption(quillbrook::tagQBExportOption* option);
QBSVR_API quillbrook::tagQBE2PDFOption* QBExportOptionGetAsE2PDFOption(quillbrook::tagQBExportOption* option);
// Cells follow the printed layout.
QBSVR_API void QBE2CellOptionSetSameAsPrint(quillbrook::tagQBE2CellOption* option, int on);
QBSVR_API void QBE2CellOptionSetExportPageBreak(quillbrook::tagQBE2CellOption* option, int on);
QBSVR_API void QBE2CellOptionSetExportPageHeaderFooter(quillbrook::tagQBE2CellOption* option, int on);
QBSVR_API void QBE2CellOptionSetOnlyExportDetailGrid(quillbrook::tagQBE2CellOption* option, int on);
QBSVR_API void QBE2XLSOptionSetToXlsxFormat(quillbrook::tagQBE2XLSOption* option, int on);
QBSVR_API void QBE2IMGOptionSetImageType(quillbrook::tagQBE2IMGOption* option,
                                         quillbrook::tagQBImageType type);
// All pages in one image.
QBSVR_API void QBE2IMGOptionSetAllInOne(quillbrook::tagQBE2IMGOption* option, int on);
QBSVR_API void QBE2PDFOptionSetFontEmbedding(quillbrook::tagQBE2PDFOption* option, int on);

// ---- Sections and controls

QBSVR_API quillbrook::tagQBReportHeaders* QBReportGetReportHeaders(quillbrook::tagQBReport* report);
QBSVR_API quillbrook::tagQBSection* QBReportHeadersAdd(quillbrook::tagQBReportHeaders* headers);
// Height in centimetres.
QBSVR_API void QBSectionSetHeight(quillbrook::tagQBSection* section, double height);
QBSVR_API void QBSectionSetCanGrow(quillbrook::tagQBSection* section, int on);
QBSVR_API quillbrook::tagQBControls* QBSectionGetControls(quillbrook::tagQBSection* section);
// Null where sub-reports would be nested more than 16 deep.
QBSVR_API quillbrook::tagQBControl* QBControlsAdd(quillbrook::tagQBControls* controls,
                                                  quillbrook::tagQBControlType type);
QBSVR_API quillbrook::tagQBControlType QBControlGetControlType(quillbrook::tagQBControl* control);
// Also takes the chart handle of the chart data event.
QBSVR_API const quillbrook::lkchar* QBControlGetName(quillbrook::tagQBControl* control);
// Null for a control of another type.
QBSVR_API quillbrook::tagQBSubReport* QBControlGetAsSubReport(quillbrook::tagQBControl* control);
// The sub-report's report; belongs to its parent.
QBSVR_API quillbrook::tagQBReport* QBSubReportGetReport(quillbrook::tagQBSubReport* subReport);
// Walk over all controls of the report: the first, and the next; null at the end.
QBSVR_API quillbrook::tagQBControl* QBReportFindFirstControl(quillbrook::tagQBReport* report);
QBSVR_API quillbrook::tagQBControl* QBReportFindNextControl(quillbrook::tagQBReport* report);

// ---- Printing

QBSVR_API quillbrook::tagQBPrinter* QBReportGetPrinter(quillbrook::tagQBReport* report);
// After printing, the printer that was used.
QBSVR_API const quillbrook::lkchar* QBPrinterGetPrinterName(quillbrook::tagQBPrinter* printer);
QBSVR_API void QBPrinterSetPrinterName(quillbrook::tagQBPrinter* printer, const quillbrook::lkchar* name);
QBSVR_API void QBReportPrint(quillbrook::tagQBReport* report, int showDialog);
QBSVR_API quillbrook::tagQBFont* QBReportGetFont(quillbrook::tagQBReport* report);

// ---- Charts (inside the chart data event only)

QBSVR_API int QBChartLoadDataFromXML(quillbrook::tagQBChart* chart, const quillbrook::lkchar* xml,
                                     int firstSwitch, int secondSwitch, int thirdSwitch);
QBSVR_API int QBChartLoadXYDataFromXML(quillbrook::tagQBChart* chart, const quillbrook::lkchar* xml,
                                       int firstSwitch);
QBSVR_API int QBChartLoadXYZDataFromXML(quillbrook::tagQBChart* chart, const quillbrook::lkchar* xml,
                                        int firstSwitch);
QBSVR_API void QBChartSetSeriesCount(quillbrook::tagQBChart* chart, int seriesCount);
// Series count from 0.
QBSVR_API void QBChartSetSeriesLabel(quillbrook::tagQBChart* chart, int seriesIndex,
                                     const quillbrook::lkchar* label);

// ---- Events

// Each takes ownership of the handler, which a null report deletes at once. Of several handlers of one event
// the last one is called, of a null one none. All of them live as long as the report.
QBSVR_API void QBAttachEventExportBegin(quillbrook::tagQBReport* report,
                                        quillbrook::CqbExportEventInfo* handler);
QBSVR_API void QBAttachEventInitialize(quillbrook::tagQBReport* report,
                                       quillbrook::CqbGeneralEventInfo* handler);
QBSVR_API void QBAttachEventChartRequestData(quillbrook::tagQBReport* report,
                                             quillbrook::CqbChartEventInfo* handler);

// ---- Utility

QBSVR_API quillbrook::tagQBUtility* QBReportGetUtility(quillbrook::tagQBReport* report);
// The number by the format, or null.
QBSVR_API const quillbrook::lkchar* QBUtilityNumberFormat(quillbrook::tagQBUtility* utility,
                                                          const quillbrook::lkchar* format, double number);
// The SVG text of a barcode, or null. `json` is an object with "codepage", "requireShowText", "text", "type".
// The text is shown below bars only: symbols of two dimensions (types 50 to 55) have no line for it.
// Needs no report.
QBSVR_API const quillbrook::lkchar* QBGenerateBarcodeGraph(const quillbrook::lkchar* json);

}  // extern "C"

#endif
