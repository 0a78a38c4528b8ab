// The JSON request of a barcode outside of reports.
#ifndef QBSVR_QBSVRL6_API_BARCODE_REQUEST_H
#define QBSVR_QBSVRL6_API_BARCODE_REQUEST_H

#include <string_view>

#include "qbsvrl6/barcode/barcode.h"

namespace qbsvrl6 {

// Reads an object with "type" (a number) and "text", and optionally "requireShowText" (default true) and
// "codepage" (must be 65001, UTF-8). Raises EngineError: NotSupported for another code page, otherwise
// BadData.
BarcodeRequest parseBarcodeRequest(std::u16string_view json);

}  // namespace qbsvrl6

#endif
