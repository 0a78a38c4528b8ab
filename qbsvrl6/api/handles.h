// Maps the handles of the C interface to the objects that they point at.
#ifndef QBSVR_QBSVRL6_API_HANDLES_H
#define QBSVR_QBSVRL6_API_HANDLES_H

#include <string>
#include <type_traits>

#include "engine/qbsvr.h"
#include "qbsvrl6/api/known_handles.h"
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
Style objectBehind(quillbrook::tagQBFont*);
ExportOptions objectBehind(quillbrook::tagQBExportOption*);
ExportOptions objectBehind(quillbrook::tagQBE2CellOption*);
ExportOptions objectBehind(quillbrook::tagQBE2XLSOption*);
ExportOptions objectBehind(quillbrook::tagQBE2IMGOption*);
ExportOptions objectBehind(quillbrook::tagQBE2PDFOption*);

template <class Handle>
using ObjectBehind = decltype(objectBehind(static_cast<Handle*>(nullptr)));

template <class Object>
inline char kObjectKind = 0;

// Differs between handles of different objects. A control may be seen as a chart.
template <class Handle>
const void* kindOf() {
    return &kObjectKind<ObjectBehind<Handle>>;
}

// A handle for the program, known as long as the owner has the object. Null for null.
template <class Handle, class Object>
Handle* toHandle(Object* object, Runtime& owner) {
    using Behind = ObjectBehind<Handle>;
    static_assert(std::is_same_v<Behind, Object>);
    if (object == nullptr) return nullptr;
    if constexpr (!std::is_same_v<Behind, Report>) {
        constexpr bool isOwn = std::is_same_v<Behind, ExportOptions>;
        constexpr bool isResult = std::is_same_v<Behind, BinaryObject>;
        HandleList& list = isOwn ? owner.ownHandles : isResult ? owner.resultHandles : owner.templateHandles;
        list.add({object, kindOf<Handle>()});
    }
    return reinterpret_cast<Handle*>(object);
}

// The runtime that the handle's object belongs to. Null for null, for an object that is gone and for a handle
// of another type.
template <class Handle>
Runtime* ownerOf(Handle* handle) noexcept {
    return handle == nullptr ? nullptr : ownerOfHandle({handle, kindOf<Handle>()});
}

template <class Handle>
ObjectBehind<Handle>* fromHandle(Handle* handle) noexcept {
    return ownerOf(handle) == nullptr ? nullptr : reinterpret_cast<ObjectBehind<Handle>*>(handle);
}

// A text argument: null reads as empty.
inline std::u16string textFrom(const char16_t* text) { return text == nullptr ? std::u16string() : text; }

// The same in UTF-8.
inline std::string textOf(const char* text) { return text == nullptr ? std::string() : text; }

// A path or URL argument: a relative path of a program starts at the working directory.
inline Address addressFrom(const char16_t* text) { return {textFrom(text), ""}; }

}  // namespace qbsvrl6

#endif
