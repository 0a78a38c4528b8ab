// Positioned items: the contents of the bands of a laid-out report.
//
// Layout makes items; sinks paint them or convert them into cells. Lengths are whole micrometres, so that
// equal edges are equal; y grows downwards. An item's box is relative to its band. Its content (lines of
// text, the picture, the drawing) is relative to the box.
#ifndef QBSVR_QBSVRL6_ITEMS_ITEM_H
#define QBSVR_QBSVRL6_ITEMS_ITEM_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/items/calculation.h"
#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/items/evaluated_text.h"
#include "qbsvrl6/items/item_role.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/model/style.h"
#include "qbsvrl6/picture/picture.h"

namespace qbsvrl6 {

struct Item;

// One line of a text, at its position. The position is in the box before rotation: at 90 and 270 degrees,
// this box has the width and height of the item's box exchanged.
struct PlacedLine {
    TextLine line;             // its units are indices into TextItem::lineText()
    Micrometres x = 0;         // of the line's start
    Micrometres baseline = 0;  // y of the base line
    float wordSpacing = 0;     // 1/1000 em that a justified line adds at each space
    float letterSpacing = 0;   // 1/1000 em that a justified line without spaces adds after each character
};

// A text, in three forms: `text` is complete; `shown` is what the lines show, if that is less; `value` is the
// number or date that the text formats, for spreadsheets. Its colour replaces that of the style.
struct TextItem : EvaluatedText {
    // The text of the lines if it differs from `text`: cut with an ellipsis, or with #### in place of a
    // number that is wider than the box. Otherwise empty.
    std::u16string shown;
    bool masked = false;  // `shown` has ####

    Calculation calculation;  // only if the sink needs it (LayoutOptions::forWorkbook)
    double fontSize = 10;     // points, after shrinking to fit
    std::u16string link;      // a harmless address, as documents write it; empty: none

    // From the top down. Empty if the text is empty or pending, and for sinks that draw no text
    // (LayoutOptions::measureText, drawText). Lines that do not fit the height of the box are left out.
    std::vector<PlacedLine> lines;

    // The text shows the page count or another total of the whole report and is not laid out yet. A sink
    // keeps the item and has PendingTexts settle it in PageSink::finish.
    bool pending = false;
    std::uint32_t pendingKey = 0;  // identifies it to PendingTexts
    // Items whose texts share the cell of a pending text, because a cell document has no other for them.
    std::vector<Item> joined;

    const std::u16string& lineText() const { return shown.empty() ? text : shown; }

    // An empty text that keeps the memory of this one.
    void clear();
};

struct LineItem {
    LineContent line;  // a diagonal of the box
};

struct BoxItem {
    BoxContent box;
};

struct PictureItem {
    std::shared_ptr<const Picture> picture;  // null: it could not be read
    Rect placed;                             // relative to the item's box, after fitting
    PictureFit fit = PictureFit::Contain;    // with Clip, `placed` may be larger than the box
    std::u16string alternateText = {};       // shown by text formats, read by screen readers
};

// The settings and numbers of a chart for one position.
struct ShownChart {
    ChartSettings settings;            // texts without placeholders
    std::u16string spreadsheetFormat;  // that shows its numbers as the page does; only for workbooks
    std::shared_ptr<const ChartData> data;
};

// A chart or barcode. `control` and `chart` serve to draw it again at another size.
struct DrawingItem {
    std::shared_ptr<const Drawing> drawing;  // null: it could not be drawn
    std::u16string alternateText;            // like a picture's; the text of a barcode
    const Control* control = nullptr;        // of the barcode or chart; null: it cannot be drawn again
    std::shared_ptr<const ShownChart> chart = nullptr;  // null: no chart
};

struct Item {
    Rect box;                          // relative to the band
    const Control* control = nullptr;  // that the item shows; null: layout has added it
    // Background and border of the box, font of its text. Never null in a band that a sink receives. Valid
    // for the whole export.
    const ResolvedStyle* style = nullptr;
    std::variant<TextItem, LineItem, BoxItem, PictureItem, DrawingItem> content;
    // Columns of the detail grid that a cell, or a control of a group section, covers; -1: a free control.
    int column = -1;
    int lastColumn = -1;
    ItemRole role = {};
};

inline void TextItem::clear() {
    text.clear();
    value.clear();
    color.reset();
    pageFields.clear();
    shown.clear();
    masked = false;
    if (calculation.kind != Calculation::Kind::None) calculation = {};
    fontSize = 10;
    link.clear();
    lines.clear();
    pending = false;
    pendingKey = 0;
    joined.clear();
}

}  // namespace qbsvrl6

#endif
