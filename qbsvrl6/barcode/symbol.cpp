#include "qbsvrl6/barcode/symbol.h"

#include <algorithm>
#include <new>
#include <string>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/lazy_library.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The functions of zint that are used.
struct Zint {
    LazyLibrary library{"libzint.so.2.11", "libzint2.11"};
    QBSVR_LAZY_FUNCTION(library, ZBarcode_Buffer_Vector);
    QBSVR_LAZY_FUNCTION(library, ZBarcode_Create);
    QBSVR_LAZY_FUNCTION(library, ZBarcode_Delete);
    QBSVR_LAZY_FUNCTION(library, ZBarcode_Encode);
};

const Zint& zint() {
    static const Zint library;
    return library;
}

constexpr int kUtf8Designator = 26;  // the extended channel interpretation of UTF-8
constexpr int kEan8 = 3;             // the type
constexpr std::size_t kEan8Length = 8;

constexpr Symbology kSymbologies[] = {
    {1, "Code 128 of digits", BARCODE_CODE128, true, false, true},
    {2, "EAN-13", BARCODE_EANX, true, false, true},
    {3, "EAN-8", BARCODE_EANX, true, false, true},
    {4, "UPC-A", BARCODE_UPCA, true, false, true},
    {5, "Code 39", BARCODE_CODE39, true, false, false},
    {6, "Code 93", BARCODE_CODE93, true, false, false},
    {7, "ITF-14", BARCODE_ITF14, true, false, true},
    {8, "Codabar", BARCODE_CODABAR, true, false, false},
    {9, "Code 128", BARCODE_CODE128, true, false, false},
    {25, "GS1-128", BARCODE_GS1_128, true, true, false},
    {50, "PDF417", BARCODE_PDF417, false, false, false},
    {51, "Data Matrix", BARCODE_DATAMATRIX, false, false, false},
    {52, "QR Code", BARCODE_QRCODE, false, false, false},
    {53, "GS1 Data Matrix", BARCODE_DATAMATRIX, false, true, false},
    {54, "GS1 QR Code", BARCODE_QRCODE, false, true, false},
    {55, "Aztec", BARCODE_AZTEC, false, false, false},
};

// zint would pad a short text with zeros and encode a different number, so the length is checked here.
bool lengthFits(int type, std::size_t length) {
    switch (type) {
        case 2:
            return length == 12 || length == 13;
        case 3:
            return length == 7 || length == 8;
        case 4:
            return length == 11 || length == 12;
        case 7:
            return length == 13 || length == 14;
        default:
            return true;
    }
}

// "1 (Code 128 of digits), 2 (EAN-13) ..."
std::string allTypes() {
    std::string list;
    for (const Symbology& symbology : kSymbologies) {
        list += (list.empty() ? "" : ", ") + std::to_string(symbology.type) + " (" + symbology.name + ')';
    }
    return list;
}

[[noreturn]] void refuse(const BarcodeRequest& request, const std::string& why) {
    throw EngineError(ErrorCode::BadData, "barcode of type " + std::to_string(request.type) + " for \"" +
                                              toUtf8(request.text) + "\": " + why);
}

}  // namespace

void SymbolDeleter::operator()(zint_symbol* symbol) const { zint().ZBarcode_Delete(symbol); }

const Symbology& symbologyOf(int type) {
    const auto* found = std::find_if(std::begin(kSymbologies), std::end(kSymbologies),
                                     [type](const Symbology& symbology) { return symbology.type == type; });
    if (found == std::end(kSymbologies)) {
        throw EngineError(ErrorCode::NotSupported, "no barcode has the type " + std::to_string(type) +
                                                       "; the types are " + allTypes());
    }
    return *found;
}

SymbolPtr encode(const BarcodeRequest& request, const Symbology& symbology) {
    const std::string text = toUtf8(request.text);
    if (text.empty()) refuse(request, "the text is empty");
    if (symbology.digitsOnly && !std::all_of(text.begin(), text.end(), isDigit<char>))
        refuse(request, "digits only");
    if (!lengthFits(request.type, text.size())) refuse(request, "wrong number of digits");
    // zint reads seven digits as an EAN-8, but eight as the end of an EAN-13.
    const bool hasCheckDigit = request.type == kEan8 && text.size() == kEan8Length;

    SymbolPtr symbol(zint().ZBarcode_Create());
    if (!symbol) throw std::bad_alloc();
    symbol->symbology = symbology.zint;
    symbol->show_hrt = 0;
    symbol->input_mode = UNICODE_MODE;
    if (symbology.identifiers) {
        if (text.find('(') != std::string::npos) {
            symbol->input_mode = GS1_MODE | GS1PARENS_MODE;
        } else if (symbology.linear) {
            symbol->symbology = BARCODE_CODE128;
        } else {
            refuse(request, "an application identifier in brackets is needed");
        }
    } else if (!symbology.linear && std::any_of(text.begin(), text.end(), [](char c) { return c < 0; })) {
        symbol->eci = kUtf8Designator;
    }
    symbol->output_options |= BARCODE_QUIET_ZONES;
    if (symbology.zint == BARCODE_DATAMATRIX) symbol->option_3 = DM_SQUARE;

    const int result =
        zint().ZBarcode_Encode(symbol.get(), reinterpret_cast<const unsigned char*>(text.data()),
                               static_cast<int>(text.size() - (hasCheckDigit ? 1 : 0)));
    if (result >= ZINT_ERROR || zint().ZBarcode_Buffer_Vector(symbol.get(), 0) >= ZINT_ERROR) {
        refuse(request, symbol->errtxt);
    }
    if (hasCheckDigit && text != reinterpret_cast<const char*>(symbol->text))
        refuse(request, "wrong check digit");
    return symbol;
}

}  // namespace qbsvrl6
