#include "qbsvrl6/barcode/barcode.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "qbsvrl6/barcode/symbol.h"
#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr double kModule = 330;        // micrometres, at the natural size
constexpr double kUnitsPerModule = 2;  // of zint's vectors
constexpr double kNaturalBarHeight = 15'000;
constexpr const char16_t* kTextFont = u"Arial";
constexpr double kTextPoints = 8;
constexpr double kTextHeight = kTextPoints * kMicrometresPerPoint * 1.3;

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

// All bars are one path, so that there are no seams between modules.
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
    label.fontFamily = kTextFont;
    label.text = std::move(text);
    drawing.elements.emplace_back(std::move(label));
}

// How the standard prints the number of a retail symbol: in groups between guard bars that extend into its
// line. Positions are modules from the first bar.
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

// `module` is the width of the narrowest bar, `left` the first bar's left edge, `bottom` the lower edge of
// the bars that are not guards.
void appendRetailText(Drawing& drawing, const zint_vector& vector, const RetailText& layout,
                      const std::u16string& digits, double left, double module, double bottom, double base) {
    constexpr double kGuardModules = 5;
    constexpr double kDigitModules = 6.5;  // a digit has seven
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

// The font size at which a text below the bars is not wider than its box, but no smaller than can be read.
double fittingPoints(std::u16string_view text, Micrometres room) {
    constexpr double kLeastPoints = 4;
    constexpr double kWidestUnit = 1.1;  // em
    if (static_cast<double>(text.size()) * kWidestUnit * kTextPoints * kMicrometresPerPoint <= room)
        return kTextPoints;
    const Micrometres width = lineWidth(resolveFont(kTextFont, false, false), kTextPoints, text);
    return width <= room ? kTextPoints : std::max(kTextPoints * room / width, kLeastPoints);
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
    // zint adds the check digit to its text; identifiers are shown with their brackets.
    std::u16string shown =
        symbology.identifiers ? request.text : toUtf16(reinterpret_cast<const char*>(symbol.text));
    if (shown.empty()) shown = request.text;
    const double base = box.height - 0.25 * kTextHeight;
    if (const RetailText* layout = retailTextOf(request.type)) {
        appendRetailText(drawing, vector, *layout, shown, extent.left * scaleX, kUnitsPerModule * scaleX,
                         box.height - kTextHeight, base);
    } else {
        const double points = fittingPoints(shown, box.width);
        appendText(drawing, box.width / 2.0, base, Anchor::Middle, points, std::move(shown));
    }
    return drawing;
}

}  // namespace

Drawing drawBarcode(const BarcodeRequest& request, Size box) {
    const Symbology& symbology = symbologyOf(request.type);
    const SymbolPtr symbol = withEnoughMemory([&] { return encode(request, symbology); });
    return drawSymbol(*symbol, symbology, request, box);
}

std::u16string barcodeSvg(const BarcodeRequest& request) {
    const Symbology& symbology = symbologyOf(request.type);
    const SymbolPtr symbol = withEnoughMemory([&] { return encode(request, symbology); });
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
