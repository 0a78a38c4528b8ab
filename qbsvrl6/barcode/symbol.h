// A text encoded by zint as the bars or modules of a symbol.
#ifndef QBSVR_QBSVRL6_BARCODE_SYMBOL_H
#define QBSVR_QBSVRL6_BARCODE_SYMBOL_H

#include <zint.h>

#include <memory>

#include "qbsvrl6/barcode/barcode.h"

namespace qbsvrl6 {

struct Symbology {
    int type;
    const char* name;
    int zint;
    bool linear;
    bool identifiers;  // bracketed application identifiers
    bool digitsOnly;
};

struct SymbolDeleter {
    void operator()(zint_symbol* symbol) const;
};
using SymbolPtr = std::unique_ptr<zint_symbol, SymbolDeleter>;

// Raises EngineError(NotSupported) for an unknown type.
const Symbology& symbologyOf(int type);

// The symbol with its vectors and quiet zones. Raises EngineError(BadData) for a text that it cannot encode.
SymbolPtr encode(const BarcodeRequest& request, const Symbology& symbology);

}  // namespace qbsvrl6

#endif
