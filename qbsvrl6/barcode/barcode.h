// Barcodes as vector drawings. libzint encodes them.
//
// A type is a number of the engine interface:
//
//     type  symbol            accepts
//     1     Code 128          digits
//     2     EAN-13            12 digits, or 13 with the check digit
//     3     EAN-8             7 or 8 digits
//     4     UPC-A             11 or 12 digits
//     5     Code 39           digits, capitals and - . $ / + % space
//     6     Code 93           ASCII
//     7     ITF-14            13 or 14 digits
//     8     Codabar           digits and - $ : / . + between A to D
//     9     Code 128          Latin-1 text
//     25    GS1-128           bracketed application identifiers, "(11)190419"; without brackets, Code 128
//     50    PDF417            any text
//     51    Data Matrix       any text
//     52    QR Code           any text
//     53    GS1 Data Matrix   bracketed application identifiers
//     54    GS1 QR Code       bracketed application identifiers
//     55    Aztec             any text
//
// In types that accept any text, text outside ASCII is encoded as UTF-8 with its designator, so that scanners
// show it unchanged.
#ifndef QBSVR_QBSVRL6_BARCODE_BARCODE_H
#define QBSVR_QBSVRL6_BARCODE_BARCODE_H

#include <string>

#include "qbsvrl6/items/drawing.h"

namespace qbsvrl6 {

struct BarcodeRequest {
    int type = 0;
    std::u16string text;
    bool showText = true;  // below the bars; two-dimensional symbols have none
};

// The symbol fitted into `box`, including quiet zones. Bars fill the height; two-dimensional symbols keep
// square modules and are centred. Raises EngineError(NotSupported) for an unknown type and
// EngineError(BadData) for a text that the symbol cannot encode.
Drawing drawBarcode(const BarcodeRequest& request, Size box);

// The symbol at its natural size, modules of a third of a millimetre, as SVG.
std::u16string barcodeSvg(const BarcodeRequest& request);

}  // namespace qbsvrl6

#endif
