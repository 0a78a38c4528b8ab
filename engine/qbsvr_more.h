// What this engine offers beyond the 71 functions of qbsvr.h: data and documents in memory, errors and warnings
// as values, parameters, options by name, progress and cancellation, the contents of a report as lists, and
// limits on what an export may use and reach.
//
//     tagQBReport* report = QBReportCreate();
//     if (QBXReportLoadTemplateFile(report, "samples/Samples/Reports/7a.stock.qbf") != 0 &&
//         QBXReportLoadDataFrom(report, "xml", "samples/Samples/Reports/7a.stock.txt") != 0 &&
//         QBXReportPrepareExport(report, "pdf") != 0) {
//         QBXReportExportToFile(report, "stock.pdf");
//     }
//     QBXMessage message = {sizeof message};
//     for (uint64_t i = 0; QBXReportGetMessage(report, i, &message) != 0; ++i) {
//         if (message.line > 0) printf("%s:%d:%d: ", message.file, message.line, message.column);
//         puts(message.text);
//     }
//     QBReportRelease(report);
//
// The conventions are those of qbsvr.h, with one difference: texts are UTF-8 here. A text that is returned, also
// as a member of a structure, is valid until the next call with the same handle, or, for functions without a
// handle, until the next call of the same function on the same thread. Another engine of that interface may
// lack these functions.
//
// Structures may grow. The first member, `size`, is the sizeof that the caller was compiled with: members beyond
// it are neither read nor written. The caller sets it before each call.
//
// Functions may be added, and their symbols carry the version that introduced them (QBX_1.0). What is here stays.
#ifndef QBSVR_ENGINE_QBSVR_MORE_H
#define QBSVR_ENGINE_QBSVR_MORE_H

#include <stdint.h>

#include "engine/qbsvr.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- Messages
//
// Everything that the engine logs about a report is also kept with the report, as values: why a call failed, and
// every warning of a load or an export. Repeated lines are counted instead of kept (docs/settings.md).
//
//     QBXMessage error = {sizeof error};
//     if (QBXReportCheck(report) == 0 && QBXReportGetLastError(report, &error) != 0) puts(error.text);
//     QBXReportClearMessages(report);

typedef enum QBXSeverity QBSVR_INT32 {
    QBXSeverity_Error = 1,    // a call failed, or a part of the document is missing
    QBXSeverity_Warning = 2,  // the document may not be what its author wants
    QBXSeverity_Info = 3,
} QBXSeverity;

typedef struct QBXMessage {
    uint64_t size;     // sizeof(QBXMessage)
    int32_t severity;  // a QBXSeverity
    int32_t line;      // from 1; 0: unknown
    int32_t column;    // in characters, from 1; 0: unknown
    const char* file;  // the template or the data; empty: unknown
    const char* text;  // a sentence without the file and the position
    const char* code;  // why a call failed, for programs; empty: it has no code, as all warnings
} QBXMessage;

// The codes: file-not-found, file-unreadable, file-unwritable, not-xml, unknown-version, bad-template,
// bad-expression, bad-data, bad-encoding, bad-picture, fetch-failed, limit, budget, not-allowed, cancelled,
// not-supported, internal. There may be more of them later.

// The number of messages since the report was created or QBXReportClearMessages was called. At most 10,000
// are kept: the first ones.
QBSVR_API uint64_t QBXReportGetMessageCount(tagQBReport* report);

// Gets a message, in the order in which they occurred. Returns zero if there are not as many.
QBSVR_API int QBXReportGetMessage(tagQBReport* report, uint64_t index, QBXMessage* message);

// Gets the last error. Returns zero if there is none.
QBSVR_API int QBXReportGetLastError(tagQBReport* report, QBXMessage* message);

QBSVR_API void QBXReportClearMessages(tagQBReport* report);

// Gets the reason why the last call on this thread of a function without a report has failed: QBXGetBudget,
// QBXSetBudget, QBXSetReach, QBXAddFontFolder, QBXSetFontAlias or QBXGetFontFamily. Returns zero if it has
// not.
QBSVR_API int QBXGetLastError(QBXMessage* message);

// ---- Template
//
//     const char page[] = "<Report version='1'><ReportHeader>"
//                         "<Text width='40mm' height='6mm' text='Hello'/></ReportHeader></Report>";
//     QBXReportLoadTemplate(report, page, sizeof page - 1, "hello.qbf");

// As QBReportLoadFromFile.
QBSVR_API int QBXReportLoadTemplateFile(tagQBReport* report, const char* path);

// Loads a template from memory. `name` is its file name for messages and for the relative names in it; it
// need not exist. With the empty text, relative names in the template start from the working directory.
QBSVR_API int QBXReportLoadTemplate(tagQBReport* report, const void* bytes, uint64_t size, const char* name);

// Checks the template, and the data if there is any, as an export would, without making a document. The
// messages tell what is wrong: unknown fields, columns of the data that the template does not use, controls
// beside the paper, columns wider than the page. Returns zero if there are errors; warnings alone are no
// errors.
QBSVR_API int QBXReportCheck(tagQBReport* report);

// What a page shows, and the control of the template that it comes from. Lengths are micrometres, from the
// upper left corner of the page.
typedef struct QBXShownItem {
    uint64_t size;  // sizeof(QBXShownItem)
    uint64_t page;  // from 1
    int64_t x;
    int64_t y;
    int64_t width;
    int64_t height;
    int64_t pageWidth;
    int64_t pageHeight;
    int32_t line;      // of the control's element in the template; 0: unknown
    int32_t column;    // in characters, from 1
    const char* kind;  // "text", "line", "box", "picture", "barcode", "chart", "sub-report"
    // What the template has there, with its placeholders: a text, the source of a picture, the text of a
    // barcode; otherwise empty.
    const char* content;
} QBXShownItem;

// Takes an item, on the thread of the call; its texts are valid until the function returns. Returns zero to
// end the call.
typedef int (*QBXOnShownItem)(void* context, const QBXShownItem* item);

// As QBXReportCheck, and calls `take` for each item in the order in which it is painted.
QBSVR_API int QBXReportLocateItems(tagQBReport* report, QBXOnShownItem take, void* context);

// ---- Data
//
// A report has its data from one of these calls, from QBReportLoadDataFromURL, or from the queries of its
// template (docs/data.md). The last call counts.

// Loads data from memory. `kind` is "json", "jsonl", "xml" or "csv" with its options ("csv:separator=;");
// empty: JSON or XML. `name` names the data in messages. Returns zero for data that cannot be read.
QBSVR_API int QBXReportLoadData(tagQBReport* report, const char* kind, const void* bytes, uint64_t size,
                                const char* name);

// Loads data from a connection, as QBReportSetConnectionString names it, and a query: a path, an address or
// SQL.
QBSVR_API int QBXReportLoadDataFrom(tagQBReport* report, const char* connection, const char* query);

// A row that a QBXNextRow fills.
typedef struct QBXRow QBXRow;

// Fills the next row. Returns a positive number for a row, zero after the last row, and a negative number to
// end the load as failed. Runs on the thread of the load.
typedef int (*QBXNextRow)(void* context, QBXRow* row);

// Loads a table row by row from the caller. `columns` are `columnCount` names. The table gets the name `table`;
// empty: none. Calls `next` until it returns zero or less. Several calls give several tables.
//
//     // int next(void* context, QBXRow* row): QBXRowSetText(row, 0, "Chair", 5); QBXRowSetNumber(row, 1, 120.5);
QBSVR_API int QBXReportLoadRows(tagQBReport* report, const char* table, const char* const* columns,
                                uint64_t columnCount, QBXNextRow next, void* context);

// Set a value of the row; `column` is an index into the columns. A value that is not set is null. Return zero
// for an index out of range and for a text that is not what the function expects.
QBSVR_API int QBXRowSetText(QBXRow* row, uint64_t column, const char* text, uint64_t size);
QBSVR_API int QBXRowSetInteger(QBXRow* row, uint64_t column, int64_t value);
QBSVR_API int QBXRowSetNumber(QBXRow* row, uint64_t column, double value);  // NaN and infinities are null
QBSVR_API int QBXRowSetDecimal(QBXRow* row, uint64_t column, const char* digits);  // "-1234.50", exactly
QBSVR_API int QBXRowSetBoolean(QBXRow* row, uint64_t column, int value);
QBSVR_API int QBXRowSetDate(QBXRow* row, uint64_t column,
                            const char* iso);  // "2026-03-05", "2026-03-05 14:30:00"

// ---- Parameters

// Sets the value of a parameter for all exports of the report, until null removes it. It wins over the value
// in the data, which wins over the default of the template, but not over one that an outer report passes to a
// sub-report. It holds in sub-reports, too. The text is read as the type that the template declares. Returns
// zero for a text that does not read as that type.
QBSVR_API int QBXReportSetParameter(tagQBReport* report, const char* name, const char* value);

// ---- Export
//
//     QBXReportPrepareExport(report, "xlsx");
//     QBXReportSetExportOption(report, "layout", "table");
//     const void* bytes = 0;
//     uint64_t size = 0;
//     if (QBXReportExportToMemory(report, &bytes, &size) != 0) printf("%d bytes\n", (int)size);
//     QBReportUnprepareExport(report);  // `bytes` are gone

// What the engine writes.
typedef struct QBXFormat {
    uint64_t size;            // sizeof(QBXFormat)
    const char* name;         // "pdf"
    const char* description;  // "PDF document"
} QBXFormat;

// Gets a format: pdf, xlsx, xls, ods, docx, rtf, html, txt, csv, json, tiff, png. Returns zero after the last one.
QBSVR_API int QBXGetFormat(uint64_t index, QBXFormat* format);

// The types of exports that have names only; QBExportOptionGetExportType returns them.
typedef enum QBXExportType QBSVR_INT32 {
    QBXExportType_JSON = 101,
    QBXExportType_DOCX = 102,
    QBXExportType_ODS = 103,
} QBXExportType;

// Opens a prepared export, as QBReportPrepareExport does, in a format by its name; "htm", "text" and "tif"
// are known, too. Returns zero for another name.
QBSVR_API int QBXReportPrepareExport(tagQBReport* report, const char* format);

// Sets an option of the prepared export by its name. Returns zero for an unknown name or an invalid value.
//
// | name             | value                                     | default                               |
// |------------------|-------------------------------------------|---------------------------------------|
// | pages            | "3", "1-3", "2-", "1-3,7": of the document | all; "page x of y" stays as it is     |
// | layout           | "pages": as printed, with pages;          | pages                                 |
// |                  | "table": one continuous table;            |                                       |
// |                  | "grid": the rows of the detail grid alone |                                       |
// |                  | JSON has no pages: "pages" is "table"     |                                       |
// | page-breaks      | "yes", "no": of layout "pages"            | yes                                   |
// | page-headers     | "yes", "no": page headers and footers     | yes                                   |
// | resolution       | "36" to "1200": dots per inch of images   | as the template says                  |
// | all-in-one       | "yes", "no": all pages in one image       | no                                    |
// | whole-fonts      | "yes", "no": instead of subsets, in PDF   | no                                    |
// | standard         | "none", "a-1b", "a-2a", "a-2b", "a-2u",   | as the template says, else "a-2u"     |
// |                  | "a-3a", "a-3b", "a-3u": the level of      |                                       |
// |                  | PDF/A of a PDF                            |                                       |
// | ua               | "yes", "no": a PDF complies with PDF/UA-1 | as the template says                  |
// | created          | the date of a PDF: "2026-03-01", or       | as the template says, else none       |
// |                  | "2026-03-01T09:30:00+08:00"               |                                       |
// | xmp              | a file of XMP, whose properties a PDF has | none                                  |
// |                  | besides its own                           |                                       |
// | user-password    | a password that opens a PDF               | none: everybody can open it           |
// | owner-password   | a password that lifts its restrictions    | none: nobody can lift them            |
// | permissions      | "none", or "print", "print-coarsely",     | all                                   |
// |                  | "copy", "change", "annotate",             |                                       |
// |                  | "fill-forms", "assemble", with commas     |                                       |
// | sign-key         | a PKCS#12 file, or the address of a key   | none: the PDF is not signed           |
// |                  | on a token ("pkcs11:token=…;object=…"):   |                                       |
// |                  | the key signs a PDF                       |                                       |
// | sign-password    | the file's password, or the token's PIN   | none                                  |
// | sign-certificates| a PEM file with the certificates that the | none                                  |
// |                  | key lacks                                 |                                       |
// | sign-reason      | a text of the signature                   | none                                  |
// | sign-location    | a text of the signature                   | none                                  |
// | sign-time-server | the web address of a time-stamp server    | none                                  |
// | csv.values       | "raw": typed values, "shown": their texts | as the template says, else raw in     |
// |                  |                                           | "grid" and shown in other layouts     |
// | csv.separator    | "tab", or a character such as ";"         | as the template says, else a comma    |
// | csv.quotes       | "needed", "all": around every text        | as the template says, else needed     |
// | text.line-ends   | "crlf", "lf": of CSV and TXT              | as the template says, else crlf in    |
// |                  |                                           | CSV and lf in TXT                     |
// | text.encoding    | of CSV and TXT: "utf-8", "gbk", "gb18030" | as the template says, else UTF-8, in  |
// |                  | and so on, as iconv knows them            | CSV with a byte order mark            |
// | txt.widths       | of the columns of TXT, in characters:     | as the template says, else as wide as |
// |                  | "10 20 8"                                 | on paper                              |
// | csv.defuse       | "yes", "no": an apostrophe before texts   | as the template and the settings file |
// |                  | that a spreadsheet would calculate        | say                                   |
//
// An option that the format does not have is ignored.
QBSVR_API int QBXReportSetExportOption(tagQBReport* report, const char* name, const char* value);

// The same for the options that an export event has.
QBSVR_API int QBXExportOptionSet(tagQBExportOption* option, const char* name, const char* value);

// Runs the prepared export into a file, which is replaced as a whole or not at all. PNG has one file per
// page: "a.png", "a-2.png", "a-3.png". If one of them can't be written, those of this export are removed.
QBSVR_API int QBXReportExportToFile(tagQBReport* report, const char* path);

// Runs the prepared export into memory. The bytes belong to the report until QBReportUnprepareExport.
QBSVR_API int QBXReportExportToMemory(tagQBReport* report, const void** bytes, uint64_t* size);

// Takes the next bytes of a document. Returns zero if it could not; the export then fails.
typedef int (*QBXWrite)(void* context, const void* bytes, uint64_t size);

// Runs the prepared export and passes the document on in order, on the thread of the call. If the export
// fails after bytes were passed on, the caller has a part of a document.
QBSVR_API int QBXReportExportToWriter(tagQBReport* report, QBXWrite write, void* context);

// The pages of the last export or check; 0: it had none.
QBSVR_API uint64_t QBXReportGetPageCount(tagQBReport* report);

// ---- Progress and cancellation

typedef struct QBXProgress {
    uint64_t size;     // sizeof(QBXProgress)
    uint64_t rows;     // of the report's grid that are laid out
    uint64_t allRows;  // of the report's grid; 0: the data is being read
    uint64_t pages;    // that are finished
    uint64_t bytes;    // of data that are read
} QBXProgress;

// Called on the thread of a load or export, at most ten times a second. Returns zero to cancel it.
typedef int (*QBXOnProgress)(void* context, const QBXProgress* progress);

// Sets what is called; null: nothing.
QBSVR_API void QBXReportSetProgress(tagQBReport* report, QBXOnProgress progress, void* context);

// Cancels the export or load that the report is running, if any: that call soon fails with "cancelled" as its
// error. Unlike all other functions, this one may be called while another thread uses the report. The
// report's event handlers may call it, too. The report must not be released meanwhile. Returns non-zero if
// something was running.
QBSVR_API int QBXReportCancel(tagQBReport* report);

// ---- What a report consists of

typedef enum QBXItemKind QBSVR_INT32 {
    QBXItemKind_Parameter = 1,  // that the template declares, the data has, or a query to a database names
    QBXItemKind_Field = 2,      // a name that the template reads from its data
    QBXItemKind_Table = 3,      // of the data that is loaded
    QBXItemKind_Column = 4,     // of a table
    QBXItemKind_Font = 5,       // that the template asks for
    QBXItemKind_File = 6,       // that exists, and that an export reads besides the template; no database
} QBXItemKind;

typedef struct QBXItem {
    uint64_t size;  // sizeof(QBXItem)
    const char* name;
    const char* table;  // of a column; otherwise empty
    const char* type;   // of a parameter, if the template declares one: "text", "number", "date", "boolean";
                        // of a file: "picture", "attachment", "data", "font", "library"
    const char* value;  // of a parameter: its default; of a font: the file that is used; of a file: its path
    uint64_t count;     // of a table: its rows; of a field or font: how often the template names it
    int32_t required;   // of a parameter: it must be set
    int32_t line;       // where the template names it first; 0: unknown
    int32_t column;
} QBXItem;

QBSVR_API uint64_t QBXReportGetItemCount(tagQBReport* report, QBXItemKind kind);

// Returns zero if there are not as many.
QBSVR_API int QBXReportGetItem(tagQBReport* report, QBXItemKind kind, uint64_t index, QBXItem* item);

// ---- Fonts

// Adds a folder with font files for all reports of the process. Call it before the first export. Returns zero
// if there is no such folder.
QBSVR_API int QBXAddFontFolder(const char* path);

// Uses a font for templates that ask for another: QBXSetFontAlias("Helvetica", "Liberation Sans").
QBSVR_API int QBXSetFontAlias(const char* name, const char* family);

// A family that is installed or was added, in alphabetical order; null after the last one.
QBSVR_API const char* QBXGetFontFamily(uint64_t index);

// ---- Limits
//
//     QBXBudget budget = {sizeof budget};
//     budget.wallMilliseconds = 10000;  // a deadline
//     budget.pages = 500;
//     QBXSetBudget(&budget);  // from now on, for every report of the process

// What one export may use. An export that needs more fails: the log names the figure and where it was
// exceeded, everything the export held is released, and the next export starts from zero. Each load of a
// template or of data counts as an export of its own. docs/settings.md lists the defaults.
//
// Setters leave a figure unchanged if its member is zero; UINT64_MAX removes the limit.
typedef struct QBXBudget {
    uint64_t size;               // sizeof(QBXBudget)
    uint64_t wallMilliseconds;   // from the beginning of the export to its end
    uint64_t cpuMilliseconds;    // of the thread that exports
    uint64_t dataBytes;          // of the tables in memory
    uint64_t cells;              // of all tables: values that exist, and rows
    uint64_t nameUnits;          // UTF-16 units of one name in data
    uint64_t fetches;            // pictures, data and other files, from disk and web together
    uint64_t fetchMilliseconds;  // of all fetches together
    uint64_t fetchedBytes;       // of all fetches together
    uint64_t pages;              // of the document
    uint64_t pageItems;          // texts, lines, boxes and pictures of one page or band
    uint64_t pixels;             // decoded, of all pictures together; also of one page as an image
    uint64_t pictureScans;       // of one progressive picture
    uint64_t templateElements;   // controls, styles and all other elements of a template
    uint64_t documentBytes;      // clamped to INT32_MAX, since results have sizes of type int
} QBXBudget;

// The files and web addresses that names in templates and data may refer to, in the syntax of the settings
// file (docs/trust.md). Names from a program may refer to anything.
//
// A null list is taken from the settings that apply otherwise; the empty text is the default.
typedef struct QBXReach {
    uint64_t size;        // sizeof(QBXReach)
    const char* folders;  // "/srv/logos:/srv/data"
    const char* hosts;    // "intranet.example, 10.1.0.0/16"
} QBXReach;

// Gets the budget of all reports without their own: what QBXSetBudget has set, or the figures of the settings
// file, or the defaults. The caller sets `size` before the call. Returns zero if `budget` is null, if `size`
// is too small, or if the settings file has an error (QBXGetLastError says where).
QBSVR_API int QBXGetBudget(QBXBudget* budget);

// Sets the budget of all reports without their own, for exports that begin later. Null restores the figures
// of the settings file. Returns zero if `size` is too small, or if the settings file has an error; in the
// latter case every export fails until it is fixed.
QBSVR_API int QBXSetBudget(const QBXBudget* budget);

// Sets the complete budget of one report: figures of zero are copied from the budget of the process at this
// moment. Null removes the report's budget. Returns zero on failure.
QBSVR_API int QBXReportSetBudget(tagQBReport* report, const QBXBudget* budget);

// Sets the reach of all reports without their own, for exports that begin later. Null, or a null list,
// restores that of the settings file. Returns zero, and changes nothing, if an entry is invalid
// (QBXGetLastError names it).
QBSVR_API int QBXSetReach(const QBXReach* reach);

// Sets the reach of one report; a null list is copied from the reach of the process at this moment. Null
// removes the report's reach. Returns zero on failure.
QBSVR_API int QBXReportSetReach(tagQBReport* report, const QBXReach* reach);

#ifdef __cplusplus
}  // extern "C"
#endif

#endif
