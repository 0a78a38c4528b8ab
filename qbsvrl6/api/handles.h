// Maps the handles of the C interface to the objects that they point at.
#ifndef QBSVR_QBSVRL6_API_HANDLES_H
#define QBSVR_QBSVRL6_API_HANDLES_H

#include <string>
#include <type_traits>

#include "engine/qbsvr.h"
#include "qbsvrl6/api/live_reports.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// The result type is the type of the handle's object. Never called.
Report objectBehind(quillbrook::tagQBReport*);
Report objectBehind(quillbrook::tagQBReportHeaders*);
Report objectBehind(quillbrook::tagQBPrinter*);
Report objectBehind(quillbrook::tagQBUtility*);
DetailGrid objectBehind(quillbrook::tagQBDetailGrid*);
DataSource objectBehind(quillbrook::tagQBRecordset*);  // of a grid
Section objectBehind(quillbrook::tagQBSection*);
ControlList objectBehind(quillbrook::tagQBControls*);
Control objectBehind(quillbrook::tagQBControl*);
Control objectBehind(quillbrook::tagQBChart*);
SubReportContent objectBehind(quillbrook::tagQBSubReport*);
BinaryObject objectBehind(quillbrook::tagQBBinaryObject*);
ExportOptions objectBehind(quillbrook::tagQBExportOption*);
ExportOptions objectBehind(quillbrook::tagQBE2CellOption*);
ExportOptions objectBehind(quillbrook::tagQBE2XLSOption*);
ExportOptions objectBehind(quillbrook::tagQBE2IMGOption*);
ExportOptions objectBehind(quillbrook::tagQBE2PDFOption*);

template <class Handle>
using ObjectBehind = decltype(objectBehind(static_cast<Handle*>(nullptr)));

template <class Handle, class Object>
Handle* toHandle(Object* object) {
    return reinterpret_cast<Handle*>(object);
}

// Null for null, and for a report that has been released.
template <class Handle>
ObjectBehind<Handle>* fromHandle(Handle* handle) {
    auto* const object = reinterpret_cast<ObjectBehind<Handle>*>(handle);
    if constexpr (std::is_same_v<ObjectBehind<Handle>, Report>) {
        if (object != nullptr && !isLiveReport(object)) return nullptr;
    }
    return object;
}

// A text argument: null reads as empty.
inline std::u16string textFrom(const char16_t* text) { return text == nullptr ? std::u16string() : text; }

// A path or URL argument: a relative path of a program starts at the working directory.
inline Address addressFrom(const char16_t* text) { return {textFrom(text), ""}; }

}  // namespace qbsvrl6

#endif
