// The report engine: the 71 functions of libqbsvrl6.so, with their handles, enumerations and event handlers.
//
//     QBInitConfig(u"samples");
//     tagQBReport* report = QBReportCreate();
//     if (QBReportLoadFromFile(report, u"samples/Samples/Reports/7a.stock.qbf") != 0) {
//         QBReportLoadDataFromURL(report, u"samples/Samples/Reports/7a.stock.txt");
//         QBReportExportDirect(report, QBExportType_PDF, u"stock.pdf", 0, 0);
//     }
//     QBReportRelease(report);
//
// In the examples below, `report` is a report that is loaded. The header compiles as C++ and as C99.
//
// Conventions
//
// Start. Call QBInitConfig once, before any other function. There is no shutdown function.
//
// Ownership. The caller owns the reports that QBReportCreate returns and passes each one to
// QBReportRelease, which frees everything that belongs to it. Every other handle is borrowed, including a
// sub-report's report: it belongs to the object it was obtained from and is never released. Loading or
// assigning a template replaces the report's contents. Handles of sections, controls, grids and record sets
// obtained before are then invalid; the report's own handle stays valid.
//
// Texts are UTF-16 and end with a zero unit, in both directions. The engine reads a text argument during the
// call only. A returned text belongs to the engine. It is valid until the next call with the same handle,
// or, for functions without a handle, until the next call of the same function on the same thread. The text
// of QBRecordsetGetQuerySQL also stays valid across QBRecordsetSetConnectionString on its record set. A
// returned text may be passed to any function as an argument, even to one that replaces it.
//
// Results. An `int` result is zero for failure or false, and any other value for success or true. An `int`
// argument is a switch, zero for off, unless its name says otherwise.
//
// Errors. No exception leaves a function. Failure is a null handle, a null text or zero; the cause is a line
// in the engine's log (see QBInitConfig).
//
// Null and invalid values. Every function accepts a null handle, does nothing, and returns null, zero or the
// empty text. The handle of a destroyed object is treated as null, as is a handle of another type; if the
// object's address has been reused, the handle refers to the new object. A null text argument is the empty
// text. Values outside an enumeration are ignored unless the function says otherwise.
//
// Paths. A relative path that a program passes (a template, data, output, a query, the background picture)
// starts from the working directory. A relative path inside a template, or in a field that names a picture,
// starts from the template's folder. No other folder is searched. A `url` argument and a query are a path, or
// a file:, http: or https: address. Names from a program may refer to anything; docs/trust.md explains what
// names in templates and data may refer to.
//
// Threads. Different reports may be used on different threads at the same time, including creation and
// release. One report, with everything that belongs to it, must be used by one thread at a time.
//
// Blocking. Loads, exports and prints return when they are complete. They wait for files, for web addresses
// up to the engine's time limit, and for the print service. All other functions return at once.
#ifndef QBSVR_ENGINE_QBSVR_H
#define QBSVR_ENGINE_QBSVR_H

#include <stdint.h>

// The version of this header, "major.minor.patch". QBGetModuleVersion returns that of the library.
#define QBSVR_VERSION "1.0.0"

// Exports a function from the library, even if an engine is built with hidden visibility.
#define QBSVR_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define QBSVR_INT32 : int32_t
namespace quillbrook {
typedef char16_t lkchar;
#else
#define QBSVR_INT32
typedef uint16_t lkchar;  // what u"text" consists of in C11
#endif

typedef struct tagQBReport tagQBReport;                // one report: template, data and state
typedef struct tagQBDetailGrid tagQBDetailGrid;        // the report's detail grid
typedef struct tagQBRecordset tagQBRecordset;          // the detail grid's record set
typedef struct tagQBReportHeaders tagQBReportHeaders;  // the report's list of header sections
typedef struct tagQBSection tagQBSection;              // one section
typedef struct tagQBControls tagQBControls;            // a section's list of controls
typedef struct tagQBControl tagQBControl;              // one control
typedef struct tagQBSubReport tagQBSubReport;          // the same control, seen as a sub-report
typedef struct tagQBExportOption tagQBExportOption;    // options of an export
typedef struct tagQBE2CellOption tagQBE2CellOption;    // the same options, for XLS, TXT, HTM, RTF and CSV
typedef struct tagQBE2XLSOption tagQBE2XLSOption;      // the same options, for spreadsheets
typedef struct tagQBE2IMGOption tagQBE2IMGOption;      // the same options, for images
typedef struct tagQBE2PDFOption tagQBE2PDFOption;      // the same options, for PDF
typedef struct tagQBBinaryObject tagQBBinaryObject;    // a finished document in memory
typedef struct tagQBPrinter tagQBPrinter;              // the report's printer settings
typedef struct tagQBFont tagQBFont;                    // the report's font
typedef struct tagQBChart tagQBChart;                  // a chart: the argument of the chart data event
typedef struct tagQBUtility tagQBUtility;              // number formatting of a report

typedef enum tagQBExportType QBSVR_INT32 {
    QBExportType_XLS = 1,  // .xls, or .xlsx after QBE2XLSOptionSetToXlsxFormat
    QBExportType_TXT = 2,
    QBExportType_HTM = 3,
    QBExportType_RTF = 4,
    QBExportType_PDF = 5,
    QBExportType_CSV = 6,
    QBExportType_IMG = 7,  // TIFF, or PNG after QBE2IMGOptionSetImageType
} tagQBExportType;

typedef enum tagQBImageType QBSVR_INT32 {
    QBImageType_TIFF = 1,
    QBImageType_PNG = 2,
} tagQBImageType;

// How a detail grid that is wider than the page is printed. docs/column-adapt.md shows each method.
typedef enum tagQBColumnPrintAdaptMethod QBSVR_INT32 {
    QBColumnPrintAdaptMethod_Discard = 1,
    QBColumnPrintAdaptMethod_Wrap = 2,
    QBColumnPrintAdaptMethod_ResizeToFit = 3,
    QBColumnPrintAdaptMethod_ShrinkToFit = 4,
    QBColumnPrintAdaptMethod_ToNewPage = 5,
    QBColumnPrintAdaptMethod_ToNewPageEx = 6,
    QBColumnPrintAdaptMethod_ToNewPageRFC = 7,
    QBColumnPrintAdaptMethod_ToNewPageRFCEx = 8,
    QBColumnPrintAdaptMethod_WrapExcludeGroup = 9,
} tagQBColumnPrintAdaptMethod;

typedef enum tagQBControlType QBSVR_INT32 {
    QBControlType_StaticText = 1,
    QBControlType_Line = 2,
    QBControlType_Box = 3,
    QBControlType_Picture = 4,
    QBControlType_Barcode = 5,
    QBControlType_Chart = 6,
    QBControlType_SubReport = 9,
} tagQBControlType;

// Values for "type" in barcode requests. The engine knows more symbologies than are named here.
typedef enum tagQBBarcodeType QBSVR_INT32 {
    QBBarcodeType_Digits = 1,            // digits only
    QBBarcodeType_AppIdentifier = 25,    // digits, or bracketed application identifiers
    QBBarcodeType_LongText50 = 50,       // long mixed text, including Chinese
    QBBarcodeType_LongText51 = 51,       // long mixed text of Latin letters
    QBBarcodeType_LongText52 = 52,       // long mixed text, including Chinese
    QBBarcodeType_AppIdentifier53 = 53,  // bracketed application identifiers
    QBBarcodeType_AppIdentifier54 = 54,  // bracketed application identifiers
} tagQBBarcodeType;

#ifdef __cplusplus

// Event handlers. The engine calls them through the virtual table, whose order is part of the interface:
// destructor, deleting destructor, Execute. Use single inheritance.

// An export begins. Its options may still be changed.
class CqbExportEventInfo {
public:
    virtual ~CqbExportEventInfo() = default;
    virtual void Execute(tagQBExportOption* option) = 0;
};

// The report is initialised, at the start of an export or print.
class CqbGeneralEventInfo {
public:
    virtual ~CqbGeneralEventInfo() = default;
    virtual void Execute() = 0;
};

// A chart requests its data.
class CqbChartEventInfo {
public:
    virtual ~CqbChartEventInfo() = default;
    virtual void Execute(tagQBChart* chart) = 0;
};

}  // namespace quillbrook

using namespace quillbrook;  // for the declarations below

extern "C" {

#else

// In C, a handler is an object with the same virtual table.
typedef struct CqbExportEventInfo CqbExportEventInfo;
typedef struct CqbGeneralEventInfo CqbGeneralEventInfo;
typedef struct CqbChartEventInfo CqbChartEventInfo;

#endif

// ---- Configuration and module information
//
//     QBInitConfig(u"samples");
//     const lkchar* version = QBGetModuleVersion();  // "1.0.0"

// Sets the set-up directory: a path without a trailing separator. If the directory exists, the engine's log
// is log/qbsvrl6.log in it; otherwise qbsvrl6/qbsvrl6.log in $XDG_STATE_HOME or ~/.local/state, if there is
// one. Also reads the settings file qbsvrl6.conf from the directory, or else from $XDG_CONFIG_HOME or
// ~/.config (docs/settings.md). Returns non-zero.
QBSVR_API int QBInitConfig(const lkchar* setupPath);

// The full path of the engine's library file.
QBSVR_API const lkchar* QBGetModulePath(void);

// The engine's version, "major.minor.patch".
QBSVR_API const lkchar* QBGetModuleVersion(void);

// The architecture and operating system that the library was built for: "x86_64 Linux".
QBSVR_API const lkchar* QBGetModuleInfo(void);

// ---- Reports
//
//     tagQBReport* copy = QBReportCreate();
//     QBObjectAssign(copy, report);
//     QBReportSetBackImageFile(copy, u"samples/Samples/Data/Picture/Seal.png");
//     QBReportSaveToFile(copy, u"copy.qbf");
//     QBReportRelease(copy);

// Creates an empty report. Returns null if memory runs out. May be called on any thread.
QBSVR_API tagQBReport* QBReportCreate(void);

// Frees the report with its template, data, documents and event handlers. A sub-report's report belongs to
// its parent: it is not freed, and the call is logged as a warning. A report that is being exported is freed
// when its export ends.
QBSVR_API void QBReportRelease(tagQBReport* report);

// Makes `target` a copy of the definition of `source`. Handlers, loaded data and documents are not copied.
// Does nothing if the two are the same report. Fails while `target` is being exported.
QBSVR_API void QBObjectAssign(tagQBReport* target, tagQBReport* source);

// Replaces the report's template with the one in the file. Event handlers stay attached. Returns zero if the
// file cannot be read or is not a valid template; the report is then empty. A report may be loaded any number
// of times. Fails while the report is being exported.
QBSVR_API int QBReportLoadFromFile(tagQBReport* report, const lkchar* path);

// Writes the report's definition as a template. The file is replaced as a whole or not at all, missing
// folders are created, and relative names in the template are rewritten so that they still lead to the same
// files. Control characters, which XML cannot hold, are saved as U+FFFD, and the log names the attribute.
// Returns zero if the file cannot be written.
QBSVR_API int QBReportSaveToFile(tagQBReport* report, const lkchar* path);

// Sets the PNG or JPEG picture that is painted on every page, below all else. The empty text removes it. Each
// export reads the file; if that fails, the document has no background and the log says why.
QBSVR_API void QBReportSetBackImageFile(tagQBReport* report, const lkchar* path);

// ---- Data
//
//     QBReportSetConnectionString(report, u"xml");
//     QBReportSetQuerySQL(report, u"samples/Samples/Reports/7a.stock.txt");
//     tagQBDetailGrid* grid = QBReportGetDetailGrid(report);
//     QBDetailGridSetPrintAdaptMethod(grid, QBColumnPrintAdaptMethod_ShrinkToFit);
//     QBReportExportDirect(report, QBExportType_CSV, u"stock.csv", 0, 0);

// Loads all of the report's data from JSON or XML text and uses it in place of every query until the next
// template is loaded. Returns zero if the text cannot be fetched or read; the report then has no loaded data.
QBSVR_API int QBReportLoadDataFromURL(tagQBReport* report, const lkchar* url);

// Fetches JSON or XML text and returns it as XML, for charts. Returns null if it cannot be fetched or read.
QBSVR_API const lkchar* QBReportExtractXMLFromURL(tagQBReport* report, const lkchar* url);

// The report's query; never null. With the connection "xml" a query is the address of a data file.
QBSVR_API const lkchar* QBReportGetQuerySQL(tagQBReport* report);

// Sets the report's query; the empty text clears it. Each export reads the data.
QBSVR_API void QBReportSetQuerySQL(tagQBReport* report, const lkchar* query);

// Sets the report's connection: "xml" for data files, the empty text for none. An export fails with any other
// value. A query without a connection uses that of the enclosing report: a record set that of its report, a
// sub-report that of its parent.
QBSVR_API void QBReportSetConnectionString(tagQBReport* report, const lkchar* connection);

// The report's detail grid, or null if it has none.
QBSVR_API tagQBDetailGrid* QBReportGetDetailGrid(tagQBReport* report);

// The grid's record set; never null for a grid. If it has a query, the grid's rows come from there instead of
// the report's data.
QBSVR_API tagQBRecordset* QBDetailGridGetRecordset(tagQBDetailGrid* grid);

// Sets how columns that are wider than the page are printed. An unknown method counts as Discard.
QBSVR_API void QBDetailGridSetPrintAdaptMethod(tagQBDetailGrid* grid, tagQBColumnPrintAdaptMethod method);

// The record set's query; never null.
QBSVR_API const lkchar* QBRecordsetGetQuerySQL(tagQBRecordset* recordset);

// Sets the record set's query; the empty text clears it.
QBSVR_API void QBRecordsetSetQuerySQL(tagQBRecordset* recordset, const lkchar* query);

// Sets the record set's connection. With the empty text, its query uses the report's connection.
QBSVR_API void QBRecordsetSetConnectionString(tagQBRecordset* recordset, const lkchar* connection);

// ---- Export
//
//     tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_XLS);
//     QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), 1);
//     tagQBBinaryObject* workbook = QBReportExportToBinaryObject(report);
//     const void* bytes = QBBinaryObjectGetDataBuf(workbook);
//     int size = QBBinaryObjectGetDataSize(workbook);
//     QBReportUnprepareExport(report);  // `bytes` are gone
//
// A prepared export runs in this order: QBReportPrepareExport; option setters; QBReportExportToBinaryObject,
// or QBExportOptionSetFileName and QBReportExport; use of the result; QBReportUnprepareExport, on success and
// on failure. Files are replaced as a whole or not at all, and missing folders are created.

// Exports into memory with default options. Returns null on failure.
QBSVR_API tagQBBinaryObject* QBReportExportDirectToBinaryObject(tagQBReport* report, tagQBExportType type);

// Exports into a file with default options. `showOptions` and `openDocument` have no effect: the engine has
// no desktop to show a dialog or a document on. Returns zero on failure.
QBSVR_API int QBReportExportDirect(tagQBReport* report, tagQBExportType type, const lkchar* file,
                                   int showOptions, int openDocument);

// Opens a prepared export with default options and returns them. They are valid until the next
// QBReportPrepareExport, template load or release on the report. An unknown type is accepted here and fails
// when the export runs.
QBSVR_API tagQBExportOption* QBReportPrepareExport(tagQBReport* report, tagQBExportType type);

// Runs the prepared export into memory. Returns null on failure, or if no export is prepared.
QBSVR_API tagQBBinaryObject* QBReportExportToBinaryObject(tagQBReport* report);

// Runs the prepared export into the file that its options name. `showOptions` has no effect. Returns zero on
// failure, or if no export is prepared or no file is named.
QBSVR_API int QBReportExport(tagQBReport* report, int showOptions);

// Closes the prepared export and frees all documents that the report has made in memory. Returns zero if no
// export was prepared.
QBSVR_API int QBReportUnprepareExport(tagQBReport* report);

// The document's length in bytes, at most INT32_MAX.
QBSVR_API int QBBinaryObjectGetDataSize(tagQBBinaryObject* object);

// The document's bytes. They are valid until the next QBReportUnprepareExport or QBReportRelease on the
// report, however many documents are made until then. If a report's documents exceed 256 MB together, further
// ones are kept in temporary files.
QBSVR_API const void* QBBinaryObjectGetDataBuf(tagQBBinaryObject* object);

// ---- Export options
//
//     tagQBExportOption* option = QBReportPrepareExport(report, QBExportType_IMG);
//     tagQBE2IMGOption* image = QBExportOptionGetAsE2IMGOption(option);
//     QBE2IMGOptionSetImageType(image, QBImageType_PNG);
//     QBE2IMGOptionSetAllInOne(image, 1);
//     QBExportOptionSetFileName(option, u"stock.png");
//     QBReportExport(report, 0);
//     QBReportUnprepareExport(report);

// The type of the export; 0 for null.
QBSVR_API tagQBExportType QBExportOptionGetExportType(tagQBExportOption* option);

// Names the file of QBReportExport. Default: none. If the document has one file per page (PNG, unless all
// pages are in one image), the pages after the first are written beside it as "name-2.png", "name-3.png" and
// so on. If one of them can't be written, those of this export are removed. Pages of an earlier document with
// more pages stay. A document in memory has the first page only.
QBSVR_API void QBExportOptionSetFileName(tagQBExportOption* option, const lkchar* file);

// The options of one format, or null if the export has another format.
QBSVR_API tagQBE2CellOption* QBExportOptionGetAsE2CellOption(tagQBExportOption* option);
QBSVR_API tagQBE2XLSOption* QBExportOptionGetAsE2XLSOption(tagQBExportOption* option);
QBSVR_API tagQBE2IMGOption* QBExportOptionGetAsE2IMGOption(tagQBExportOption* option);
QBSVR_API tagQBE2PDFOption* QBExportOptionGetAsE2PDFOption(tagQBExportOption* option);

// On: cells follow the printed pages. Off: one continuous table. Default: on.
QBSVR_API void QBE2CellOptionSetSameAsPrint(tagQBE2CellOption* option, int on);

// Page breaks between printed pages. Default: on.
QBSVR_API void QBE2CellOptionSetExportPageBreak(tagQBE2CellOption* option, int on);

// Page headers and footers. Default: on.
QBSVR_API void QBE2CellOptionSetExportPageHeaderFooter(tagQBE2CellOption* option, int on);

// Only the detail grid, as one continuous table. Overrides QBE2CellOptionSetSameAsPrint. Default: off.
QBSVR_API void QBE2CellOptionSetOnlyExportDetailGrid(tagQBE2CellOption* option, int on);

// On: .xlsx. Off: .xls. Default: off.
QBSVR_API void QBE2XLSOptionSetToXlsxFormat(tagQBE2XLSOption* option, int on);

// The image format. Every value but QBImageType_PNG is TIFF. Default: TIFF.
QBSVR_API void QBE2IMGOptionSetImageType(tagQBE2IMGOption* option, tagQBImageType type);

// All pages in one image, one below the other. Default: off.
QBSVR_API void QBE2IMGOptionSetAllInOne(tagQBE2IMGOption* option, int on);

// On: whole fonts are embedded, for documents that others edit; such documents are large. Off: only the
// glyphs in use are embedded. Either way, a document looks the same on every machine. Default: off.
QBSVR_API void QBE2PDFOptionSetFontEmbedding(tagQBE2PDFOption* option, int on);

// ---- Sections and controls
//
//     tagQBSection* section = QBReportHeadersAdd(QBReportGetReportHeaders(report));
//     QBSectionSetHeight(section, 1.0);
//     QBSectionSetCanGrow(section, 1);
//     tagQBControl* control = QBControlsAdd(QBSectionGetControls(section), QBControlType_SubReport);
//     tagQBReport* inner = QBSubReportGetReport(QBControlGetAsSubReport(control));
//     QBObjectAssign(inner, report);
//
// A walk over all controls:
//
//     for (tagQBControl* control = QBReportFindFirstControl(report); control != nullptr;
//          control = QBReportFindNextControl(report)) {
//         if (QBControlGetControlType(control) == QBControlType_SubReport) QBControlGetName(control);
//     }

// The report's list of header sections.
QBSVR_API tagQBReportHeaders* QBReportGetReportHeaders(tagQBReport* report);

// Appends an empty section. Returns null if memory runs out.
QBSVR_API tagQBSection* QBReportHeadersAdd(tagQBReportHeaders* headers);

// Sets the height in centimetres, clamped to 0 and the largest paper. Default: 0. Not-a-number is ignored.
QBSVR_API void QBSectionSetHeight(tagQBSection* section, double height);

// On: the section grows with its content. Default: on.
QBSVR_API void QBSectionSetCanGrow(tagQBSection* section, int on);

// The section's list of controls.
QBSVR_API tagQBControls* QBSectionGetControls(tagQBSection* section);

// Appends an empty control of 5 by 1 cm in the section's upper left corner. Returns null for an unknown type,
// and for a sub-report that would be nested more than 16 deep.
QBSVR_API tagQBControl* QBControlsAdd(tagQBControls* controls, tagQBControlType type);

// The control's type; 0 for null.
QBSVR_API tagQBControlType QBControlGetControlType(tagQBControl* control);

// The control's name; empty if it has none. Also accepts the chart handle of the chart data event.
QBSVR_API const lkchar* QBControlGetName(tagQBControl* control);

// The control as a sub-report; null for a control of another type.
QBSVR_API tagQBSubReport* QBControlGetAsSubReport(tagQBControl* control);

// The sub-report's report. It belongs to its parent; every function accepts it, but QBReportRelease ignores
// it.
QBSVR_API tagQBReport* QBSubReportGetReport(tagQBSubReport* subReport);

// The first control of a walk over all controls of the report, in the order of the template, or null. The
// controls of sub-reports are not included. Each report has its own walk: a walk over a sub-report does not
// affect the walk over its parent.
QBSVR_API tagQBControl* QBReportFindFirstControl(tagQBReport* report);

// The next control of the walk; null at its end.
QBSVR_API tagQBControl* QBReportFindNextControl(tagQBReport* report);

// ---- Printing
//
//     QBPrinterSetPrinterName(QBReportGetPrinter(report), u"office");
//     const lkchar* printer = QBPrinterGetPrinterName(QBReportGetPrinter(report));  // "office"

// The report's printer settings.
QBSVR_API tagQBPrinter* QBReportGetPrinter(tagQBReport* report);

// The printer that was used last, or else the one that is set; empty for the system's default printer.
QBSVR_API const lkchar* QBPrinterGetPrinterName(tagQBPrinter* printer);

// Selects a printer by name; the empty text selects the system's default printer.
QBSVR_API void QBPrinterSetPrinterName(tagQBPrinter* printer, const lkchar* name);

// Prints the report. `showDialog` has no effect: the engine has no desktop to show a dialog on. If there is
// no print service or no such printer, the log says so.
QBSVR_API void QBReportPrint(tagQBReport* report, int showDialog);

// The report's font. No function reads or changes it.
QBSVR_API tagQBFont* QBReportGetFont(tagQBReport* report);

// ---- Charts, inside the chart data event only
//
//     struct Sales : CqbChartEventInfo {
//         void Execute(tagQBChart* chart) override {
//             QBChartSetSeriesCount(chart, 1);
//             QBChartSetSeriesLabel(chart, 0, u"Sales");
//             QBChartLoadDataFromXML(chart, u"<Data><Row Quarter='Q1' Value='12'/></Data>", 0, 0, 1);
//         }
//     };
//     QBAttachEventChartRequestData(report, new Sales);
//
// docs/chart-data.md describes the XML text. The data is used for the current export only. The switches
// select what the data replaces in the chart; all else keeps its order and is filled with the new values. The
// three functions return zero if the text cannot be read or exceeds a limit.

// Bars, pies and lines.
QBSVR_API int QBChartLoadDataFromXML(tagQBChart* chart, const lkchar* xml, int replaceSeriesCount,
                                     int replaceSeriesLabels, int replaceCategories);

// Points with x and y.
QBSVR_API int QBChartLoadXYDataFromXML(tagQBChart* chart, const lkchar* xml, int replaceSeriesLabels);

// Bubbles: points with x, y and size.
QBSVR_API int QBChartLoadXYZDataFromXML(tagQBChart* chart, const lkchar* xml, int replaceSeriesLabels);

// Sets the number of series, clamped to 0 to 1,000. New series have no label and no values.
QBSVR_API void QBChartSetSeriesCount(tagQBChart* chart, int seriesCount);

// Sets the label of a series, counted from 0. An index without a series is ignored.
QBSVR_API void QBChartSetSeriesLabel(tagQBChart* chart, int seriesIndex, const lkchar* label);

// ---- Events
//
//     struct Xlsx : CqbExportEventInfo {
//         void Execute(tagQBExportOption* option) override {
//             QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), 1);
//         }
//     };
//     QBAttachEventExportBegin(report, new Xlsx);
//     QBReportExportDirect(report, QBExportType_XLS, u"stock.xlsx", 0, 0);
//
// Create a handler with `new`. Once attached, it belongs to the report, which deletes it when the report is
// released; if the report is null, the handler is deleted at once. It stays attached when another template is
// loaded. Of several handlers for the same event, only the last is called; a null handler switches the event
// off. A handler may use any function except those that replace or export its own report: they fail. An
// exception that leaves Execute is logged and ends the export.

// Called when an export of the report begins. Its argument is the options of that export.
QBSVR_API void QBAttachEventExportBegin(tagQBReport* report, CqbExportEventInfo* handler);

// Called when an export or print of the report begins, before the data is read. Sub-reports have their own
// events.
QBSVR_API void QBAttachEventInitialize(tagQBReport* report, CqbGeneralEventInfo* handler);

// Called once per chart and export. A sub-report without a handler uses that of the nearest enclosing report.
QBSVR_API void QBAttachEventChartRequestData(tagQBReport* report, CqbChartEventInfo* handler);

// ---- Utility
//
//     tagQBUtility* utility = QBReportGetUtility(report);
//     const lkchar* amount = QBUtilityNumberFormat(utility, u"#,##0.00", 1234.5);  // 1,234.50
//     const lkchar* svg = QBGenerateBarcodeGraph(u"{\"type\": 52, \"text\": \"报表\"}");

// The number formatting of the report.
QBSVR_API tagQBUtility* QBReportGetUtility(tagQBReport* report);

// The number as text. docs/formats.md describes the formats. Null for a null handle.
QBSVR_API const lkchar* QBUtilityNumberFormat(tagQBUtility* utility, const lkchar* format, double number);

// A barcode as SVG text, or null if the request is invalid or the symbol cannot hold the text. `json` is an
// object with "type" (a number, see docs/template-format.md) and "text". Optional members: "requireShowText"
// (default true: the text is shown below the bars; two-dimensional symbols have none) and "codepage" (must be
// 65001, UTF-8).
QBSVR_API const lkchar* QBGenerateBarcodeGraph(const lkchar* json);

#ifdef __cplusplus
}  // extern "C"
#endif

#endif
