#include "qbsvrl6/barcode/barcode.h"

#include <zint.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <utility>

#include "common/errors.h"
#include "common/string_ops.h"
#include "json/json_tree.h"
#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr int kUtf8Designator = 26;  // the extended channel interpretation of UTF-8
constexpr int kEan8 = 3;             // the type
constexpr std::size_t kEan8Length = 8;
constexpr double kModule = 330;        // micrometres, at the natural size
constexpr double kUnitsPerModule = 2;  // of zint's vectors
constexpr double kNaturalBarHeight = 15'000;
constexpr double kTextPoints = 8;
constexpr double kTextHeight = kTextPoints * kMicrometresPerPoint * 1.3;

struct Symbology {
    int type;
    int zint;
    bool linear;
    bool identifiers;  // bracketed application identifiers
    bool digitsOnly;
};

constexpr Symbology kSymbologies[] = {
    {1, BARCODE_CODE128, true, false, true},   {2, BARCODE_EANX, true, false, true},
    {3, BARCODE_EANX, true, false, true},      {4, BARCODE_UPCA, true, false, true},
    {5, BARCODE_CODE39, true, false, false},   {6, BARCODE_CODE93, true, false, false},
    {7, BARCODE_ITF14, true, false, true},     {8, BARCODE_CODABAR, true, false, false},
    {9, BARCODE_CODE128, true, false, false},  {25, BARCODE_GS1_128, true, true, false},
    {50, BARCODE_PDF417, false, false, false}, {51, BARCODE_DATAMATRIX, false, false, false},
    {52, BARCODE_QRCODE, false, false, false}, {53, BARCODE_DATAMATRIX, false, true, false},
    {54, BARCODE_QRCODE, false, true, false},  {55, BARCODE_AZTEC, false, false, false},
};

// What the whole number of digits is that the symbol wants; zint pads shorter texts on its own, which would
// be another number than the one asked for.
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

struct SymbolDeleter {
    void operator()(zint_symbol* symbol) const { ZBarcode_Delete(symbol); }
};
using SymbolPtr = std::unique_ptr<zint_symbol, SymbolDeleter>;

[[noreturn]] void refuse(const BarcodeRequest& request, const std::string& why) {
    throw EngineError(ErrorCode::BadData, "barcode of type " + std::to_string(request.type) + " for \"" +
                                              toUtf8(request.text) + "\": " + why);
}

const Symbology& symbologyOf(int type) {
    const auto* found = std::find_if(std::begin(kSymbologies), std::end(kSymbologies),
                                     [type](const Symbology& symbology) { return symbology.type == type; });
    if (found == std::end(kSymbologies)) {
        throw EngineError(ErrorCode::NotSupported, "no barcode has the type " + std::to_string(type));
    }
    return *found;
}

SymbolPtr encode(const BarcodeRequest& request, const Symbology& symbology) {
    const std::string text = toUtf8(request.text);
    if (text.empty()) refuse(request, "the text is empty");
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (symbology.digitsOnly && !std::all_of(text.begin(), text.end(), isDigit))
        refuse(request, "digits only");
    if (!lengthFits(request.type, text.size())) refuse(request, "wrong number of digits");
    // zint takes seven digits for EAN-8, and eight for the end of an EAN-13.
    const bool hasCheckDigit = request.type == kEan8 && text.size() == kEan8Length;

    SymbolPtr symbol(ZBarcode_Create());
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

    const int result = ZBarcode_Encode(symbol.get(), reinterpret_cast<const unsigned char*>(text.data()),
                                       static_cast<int>(text.size() - (hasCheckDigit ? 1 : 0)));
    if (result >= ZINT_ERROR || ZBarcode_Buffer_Vector(symbol.get(), 0) >= ZINT_ERROR) {
        refuse(request, symbol->errtxt);
    }
    if (hasCheckDigit && text != reinterpret_cast<const char*>(symbol->text))
        refuse(request, "wrong check digit");
    return symbol;
}

struct Extent {
    double left = std::numeric_limits<double>::max(), top = left;
    double right = std::numeric_limits<double>::lowest(), bottom = right;
};

Extent extentOf(const zint_vector& vector) {
    Extent extent;
    for (const auto* bar = vector.rectangles; bar != nullptr; bar = bar->next) {
        extent.left = std::min<double>(extent.left, bar->x);
        extent.top = std::min<double>(extent.top, bar->y);
        extent.right = std::max<double>(extent.right, bar->x + bar->width);
        extent.bottom = std::max<double>(extent.bottom, bar->y + bar->height);
    }
    return extent;
}

// All bars in one path: the symbol is one shape, with no seams between its modules.
void appendBars(Drawing& drawing, const zint_vector& vector, double x, double y, double scaleX,
                double scaleY) {
    PathBuilder bars;
    for (const auto* bar = vector.rectangles; bar != nullptr; bar = bar->next) {
        bars.rectangle(x + bar->x * scaleX, y + bar->y * scaleY, bar->width * scaleX, bar->height * scaleY);
    }
    drawing.elements.emplace_back(bars.fill({0, 0, 0}).take());
}

using Anchor = Drawing::Label::Anchor;

void appendText(Drawing& drawing, double x, double y, Anchor anchor, double points, std::u16string text) {
    Drawing::Label label;
    label.x = x;
    label.y = y;
    label.anchor = anchor;
    label.fontSize = points;
    label.fontFamily = u"Arial";
    label.text = std::move(text);
    drawing.elements.emplace_back(std::move(label));
}

// How the standard prints the number of a retail symbol: in groups between guard bars that reach down into
// its line. Places are modules from the first bar.
struct RetailText {
    struct Group {
        std::size_t digits = 0;
        double x = 0;
        Anchor anchor = Anchor::Middle;
    };
    struct Guard {
        double from = 0, to = 0;
    };
    int type;
    std::array<Group, 4> groups;
    std::array<Guard, 3> guards;
};

constexpr RetailText kRetailTexts[] = {
    {2, {{{1, -2, Anchor::End}, {6, 24}, {6, 71}}}, {{{0, 3}, {45, 50}, {92, 95}}}},
    {3, {{{4, 17}, {4, 50}}}, {{{0, 3}, {31, 36}, {64, 67}}}},
    // The bars of the first and the last digit are as long as the guards.
    {4,
     {{{1, -2, Anchor::End}, {5, 27.5}, {5, 67.5}, {1, 97, Anchor::Start}}},
     {{{0, 10}, {45, 50}, {85, 95}}}},
};

const RetailText* retailTextOf(int type) {
    const auto* found = std::find_if(std::begin(kRetailTexts), std::end(kRetailTexts),
                                     [type](const RetailText& text) { return text.type == type; });
    return found != std::end(kRetailTexts) ? found : nullptr;
}

// `module` is the width of the narrowest bar, `left` the first bar's left edge, `bottom` where bars that are
// no guards end.
void appendRetailText(Drawing& drawing, const zint_vector& vector, const RetailText& layout,
                      const std::u16string& digits, double left, double module, double bottom, double base) {
    constexpr double kGuardModules = 5;
    constexpr double kDigitModules = 6.5;  // a digit's bars are seven
    constexpr double kDigitEms = 0.556;
    const double reach = std::min(kGuardModules * module, kTextHeight / 2);
    const double scale = module / kUnitsPerModule;
    const Extent extent = extentOf(vector);
    PathBuilder guards;
    for (const auto* bar = vector.rectangles; bar != nullptr; bar = bar->next) {
        const double middle = (bar->x + bar->width / 2 - extent.left) / kUnitsPerModule;
        const bool isGuard = std::any_of(
            layout.guards.begin(), layout.guards.end(),
            [middle](const RetailText::Guard& guard) { return middle > guard.from && middle < guard.to; });
        if (isGuard) guards.rectangle(bar->x * scale, bottom, bar->width * scale, reach);
    }
    drawing.elements.emplace_back(guards.fill({0, 0, 0}).take());
    const double points = std::min(kTextPoints, kDigitModules * module / kDigitEms / kMicrometresPerPoint);
    std::size_t first = 0;
    for (const RetailText::Group& group : layout.groups) {
        if (group.digits == 0) break;
        appendText(drawing, left + group.x * module, base, group.anchor, points,
                   digits.substr(std::min(first, digits.size()), group.digits));
        first += group.digits;
    }
}

Drawing drawSymbol(const zint_symbol& symbol, const Symbology& symbology, const BarcodeRequest& request,
                   Size box) {
    Drawing drawing;
    const zint_vector& vector = *symbol.vector;
    if (vector.rectangles == nullptr || box.width <= 0 || box.height <= 0) return drawing;
    if (!symbology.linear) {
        const double scale = std::min(box.width / static_cast<double>(vector.width),
                                      box.height / static_cast<double>(vector.height));
        appendBars(drawing, vector, (box.width - vector.width * scale) / 2,
                   (box.height - vector.height * scale) / 2, scale, scale);
        return drawing;
    }
    const Extent extent = extentOf(vector);
    const bool text = request.showText && box.height > 2 * kTextHeight;
    const double scaleX = box.width / static_cast<double>(vector.width);
    const double scaleY = (box.height - (text ? kTextHeight : 0)) / (extent.bottom - extent.top);
    appendBars(drawing, vector, 0, -extent.top * scaleY, scaleX, scaleY);
    if (!text) return drawing;
    // zint adds the check digit to what it shows; the brackets of identifiers stay as they were written.
    std::u16string shown =
        symbology.identifiers ? request.text : toUtf16(reinterpret_cast<const char*>(symbol.text));
    if (shown.empty()) shown = request.text;
    const double base = box.height - 0.25 * kTextHeight;
    if (const RetailText* layout = retailTextOf(request.type)) {
        appendRetailText(drawing, vector, *layout, shown, extent.left * scaleX, kUnitsPerModule * scaleX,
                         box.height - kTextHeight, base);
    } else {
        appendText(drawing, box.width / 2.0, base, Anchor::Middle, kTextPoints, std::move(shown));
    }
    return drawing;
}

}  // namespace

BarcodeRequest parseBarcodeRequest(std::u16string_view json) {
    larkspur::ClkObjectJson document;
    try {
        document.Parse(json.data(), static_cast<int>(json.size()));
    } catch (const larkspur::ClkException& error) {
        throw EngineError(ErrorCode::BadData, std::string("barcode request: ") + error.what());
    }
    const auto textOf = [&document](const char16_t* name) -> const std::u16string* {
        const larkspur::ClkJsonAtomNode* atom = document.Root().AtomByName(name);
        return atom == nullptr ? nullptr : &atom->Text();
    };
    const std::u16string* type = textOf(u"type");
    const std::u16string* text = textOf(u"text");
    if (type == nullptr || text == nullptr) {
        throw EngineError(ErrorCode::BadData, "barcode request: \"type\" and \"text\" are needed");
    }
    if (const auto* codepage = textOf(u"codepage"); codepage != nullptr && *codepage != u"65001") {
        throw EngineError(ErrorCode::NotSupported, "barcode request: the code page is always 65001");
    }
    const auto* showText = textOf(u"requireShowText");
    return {larkspur::lkstr_toi(type->c_str()), *text, showText == nullptr || *showText == u"true"};
}

Drawing drawBarcode(const BarcodeRequest& request, Size box) {
    const Symbology& symbology = symbologyOf(request.type);
    return drawSymbol(*encode(request, symbology), symbology, request, box);
}

std::u16string barcodeSvg(const BarcodeRequest& request) {
    const Symbology& symbology = symbologyOf(request.type);
    const SymbolPtr symbol = encode(request, symbology);
    const auto length = [](double units) {
        return static_cast<Micrometres>(units / kUnitsPerModule * kModule);
    };
    Size box{length(symbol->vector->width), length(symbol->vector->height)};
    if (symbology.linear) {
        box.height = static_cast<Micrometres>(kNaturalBarHeight + (request.showText ? kTextHeight : 0));
    }
    return toUtf16(toSvg(drawSymbol(*symbol, symbology, request, box), box, request.text));
}

}  // namespace qbsvrl6
