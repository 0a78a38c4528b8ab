// Samples of the engine's services beside reports: barcodes as graphs, and numbers as text.
#ifndef QBSVR_DRIVER_BARCODE_SAMPLES_H
#define QBSVR_DRIVER_BARCODE_SAMPLES_H

#include "driver/driver_types.h"

// Asks the engine for a barcode by a JSON request, prints both and gives the graph. Raises std::logic_error
// when the engine gives none.
wstr GenBarcodeGraphText(tagQBBarcodeType type, const wchar_t* text);
// Nine barcodes of different kinds, one line each.
void TestBarcode();

// Prints `value` as the engine renders it by `format`. Raises std::logic_error when the engine gives no text.
void DoTestFormat(tagQBUtility* utility, double value, const wchar_t* format);
void TestFormat();

#endif
