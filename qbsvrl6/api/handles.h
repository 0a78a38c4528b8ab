// Handles of the C interface and the objects behind them.
//
//   tagQBReport, tagQBReportHeaders,
//   tagQBPrinter, tagQBUtility                  Report: checked to be alive
//   tagQBDetailGrid                             DetailGrid
//   tagQBRecordset                              DataSource, of a grid
//   tagQBSection                                Section
//   tagQBControls                               ControlList
//   tagQBControl, tagQBChart                    Control
//   tagQBSubReport                              SubReportContent
//   tagQBFont                                   Style
//   tagQBExportOption and its views by kind     ExportOptions
//   tagQBBinaryObject                           BinaryObject
#ifndef QBSVR_QBSVRL6_API_HANDLES_H
#define QBSVR_QBSVRL6_API_HANDLES_H

#include <string>
#include <vector>

#include "engine/qbsvr.h"
#include "qbsvrl6/api/live_reports.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

template <class Handle, class Object>
Handle* toHandle(Object* object) {
    return reinterpret_cast<Handle*>(object);
}

inline DetailGrid* fromHandle(quillbrook::tagQBDetailGrid* handle) {
    return reinterpret_cast<DetailGrid*>(handle);
}
inline DataSource* fromHandle(quillbrook::tagQBRecordset* handle) {
    return reinterpret_cast<DataSource*>(handle);
}
inline Section* fromHandle(quillbrook::tagQBSection* handle) { return reinterpret_cast<Section*>(handle); }
inline ControlList* fromHandle(quillbrook::tagQBControls* handle) {
    return reinterpret_cast<ControlList*>(handle);
}
inline Control* fromHandle(quillbrook::tagQBControl* handle) { return reinterpret_cast<Control*>(handle); }
inline Control* fromHandle(quillbrook::tagQBChart* handle) { return reinterpret_cast<Control*>(handle); }
inline SubReportContent* fromHandle(quillbrook::tagQBSubReport* handle) {
    return reinterpret_cast<SubReportContent*>(handle);
}
inline BinaryObject* fromHandle(quillbrook::tagQBBinaryObject* handle) {
    return reinterpret_cast<BinaryObject*>(handle);
}

// The export option handles are one object seen in five ways.
inline ExportOptions* fromHandle(quillbrook::tagQBExportOption* handle) {
    return reinterpret_cast<ExportOptions*>(handle);
}
inline ExportOptions* fromHandle(quillbrook::tagQBE2CellOption* handle) {
    return reinterpret_cast<ExportOptions*>(handle);
}
inline ExportOptions* fromHandle(quillbrook::tagQBE2XLSOption* handle) {
    return reinterpret_cast<ExportOptions*>(handle);
}
inline ExportOptions* fromHandle(quillbrook::tagQBE2IMGOption* handle) {
    return reinterpret_cast<ExportOptions*>(handle);
}
inline ExportOptions* fromHandle(quillbrook::tagQBE2PDFOption* handle) {
    return reinterpret_cast<ExportOptions*>(handle);
}

// A report, its headers, a printer and a utility are the report; null for a report that is gone.
inline Report* liveReport(Report* report) {
    return report != nullptr && isLiveReport(report) ? report : nullptr;
}
inline Report* fromHandle(quillbrook::tagQBReport* handle) {
    return liveReport(reinterpret_cast<Report*>(handle));
}
inline Report* fromHandle(quillbrook::tagQBReportHeaders* handle) {
    return liveReport(reinterpret_cast<Report*>(handle));
}
inline Report* fromHandle(quillbrook::tagQBPrinter* handle) {
    return liveReport(reinterpret_cast<Report*>(handle));
}
inline Report* fromHandle(quillbrook::tagQBUtility* handle) {
    return liveReport(reinterpret_cast<Report*>(handle));
}

// A text argument: null reads as empty.
inline std::u16string textFrom(const char16_t* text) { return text == nullptr ? std::u16string() : text; }

// A path or URL argument: a relative path of a program starts at the working directory.
inline Address addressFrom(const char16_t* text) { return {textFrom(text), ""}; }

}  // namespace qbsvrl6

#endif
