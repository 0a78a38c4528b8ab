#include "qbsvrl6/sheet/rtf/rtf_table.h"

#include <algorithm>

#include "qbsvrl6/fonts/bidi.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

// The instruction of a link; "#name" is a bookmark. The address contains neither quotes nor backslashes.
std::string linkInstruction(std::u16string_view address) {
    const bool isInner = address.starts_with(u'#');
    std::string out = isInner ? "HYPERLINK \\\\l \"" : "HYPERLINK \"";
    appendRtf(out, address.substr(isInner ? 1 : 0));
    return out += '"';
}

// Whether parts of the item's text may run from right to left.
bool hasOwnDirection(const Item& item) {
    return std::holds_alternative<TextItem>(item.content) &&
           (isPending(item) || mayRunRightToLeft(textOf(item)));
}

}  // namespace

RtfTable::RtfTable(const CellGrid& grid, Micrometres left, bool overlaysInCells)
    : left_(twips(left)), overlaysInCells_(overlaysInCells), slots_(grid.columnCount()) {
    Micrometres edge = left;
    for (int column = 0; column < grid.columnCount(); ++column) {
        edge += grid.columnWidth(column);
        edges_.push_back(twips(edge));
    }
}

void RtfTable::append(std::string& out, std::span<const CellRow> rows, bool repeats, const TextWriter& text) {
    slots_.beginBand();
    for (const CellRow& row : rows) {
        const std::vector<Slot>& slots = slots_.slotsOf(row);
        appendDefinition(out, row, slots, repeats);
        appendCells(out, row, slots, text);
        out += "\\row\n";
    }
}

void RtfTable::appendDefinition(std::string& out, const CellRow& row, const std::vector<Slot>& slots,
                                bool repeats) {
    // Without \ltrrow in each row, a right-to-left paragraph would reverse the order of the columns.
    appendCommand(out, "\\trowd\\ltrrow\\trgaph0\\trkeep\\trleft", left_);
    appendCommand(out, "\\trrh",
                  row.keepsHeight ? -twips(row.height) : twips(row.height));  // below 0: exactly
    if (repeats) out += "\\trhdr";
    for (const Slot& slot : slots) {
        if (slot.cell != nullptr) {
            if (slot.continues) {
                out += "\\clvmrg";
            } else if (slot.cell->rowSpan > 1) {
                out += "\\clvmgf";
            }
            out += entries_.frame(*slot.cell);
        }
        appendCommand(out, "\\cellx", edges_[static_cast<std::size_t>(slot.columnEnd) - 1]);
    }
    out += '\n';
}

void RtfTable::appendCells(std::string& out, const CellRow& row, const std::vector<Slot>& slots,
                           const TextWriter& text) {
    const std::size_t host =
        row.overlays.empty() || !overlaysInCells_ ? slots.size() : RowSlots::hostOfOverlays(slots);
    int left = left_;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const Slot& slot = slots[i];
        const bool isEmpty = slot.isEmpty();
        out += isEmpty ? "\\pard\\plain\\intbl\\fs2 " : entries_.paragraph(*slot.cell);
        if (!isEmpty && hasOwnDirection(*slot.cell->item)) out += entries_.associated(*slot.cell);
        if (i == host) {
            for (const Overlay& overlay : row.overlays) appendOverlay(out, overlay, left);
        }
        if (!isEmpty) appendContent(out, *slot.cell->item, text);
        out += "\\cell\n";
        left = edges_[static_cast<std::size_t>(slot.columnEnd) - 1];
    }
}

int RtfTable::columnLeft(const Overlay& overlay) const {
    return overlay.column == 0 ? left_ : edges_[static_cast<std::size_t>(overlay.column) - 1];
}

// The position is relative to the cell that anchors the overlay.
void RtfTable::appendOverlay(std::string& out, const Overlay& overlay, int cellLeft) {
    const Rect box = pictureBox(*overlay.item);
    appendShape(out, *overlay.item, columnLeft(overlay) - cellLeft + twips(overlay.x + box.x),
                twips(overlay.y + box.y), "\\shpbxcolumn\\shpbypara\\shpwr3\\shpfblwtxt0");
}

void RtfTable::appendOverlays(std::string& out, const CellRow& row, Micrometres margin, Micrometres top) {
    for (const Overlay& overlay : row.overlays) {
        const Rect box = pictureBox(*overlay.item);
        appendShape(out, *overlay.item, twips(margin) + columnLeft(overlay) + twips(overlay.x + box.x),
                    twips(top + overlay.y + box.y), "\\shpbxpage\\shpbypage\\shpwr3\\shpfblwtxt0");
    }
}

void RtfTable::appendBackdrop(std::string& out, const Item& item) {
    appendShape(out, item, 0, 0, "\\shpfhdr1\\shpbxpage\\shpbypage\\shpwr3\\shpfblwtxt1");
}

void RtfTable::appendShape(std::string& out, const Item& item, int left, int top, const char* anchor) {
    const std::uint32_t number = pictures_.numberOfShown(item);
    if (number == 0) return;
    const Rect box = pictureBox(item);
    appendCommand(out, "{\\shp{\\*\\shpinst\\shpleft", left);
    appendCommand(out, "\\shptop", top);
    appendCommand(out, "\\shpright", left + twips(box.width));
    appendCommand(out, "\\shpbottom", top + twips(box.height));
    out += anchor;
    out += "{\\sp{\\sn shapeType}{\\sv 75}}{\\sp{\\sn pib}{\\sv ";
    appendBytes(out, item, number);
    out += "}}}}";
}

void RtfTable::appendContent(std::string& out, Item& item, const TextWriter& text) {
    const auto* content = std::get_if<TextItem>(&item.content);
    if (content == nullptr) {
        appendPicture(out, item);
        return;
    }
    const bool isLink = !content->link.empty();
    if (isLink) out += "{\\field{\\*\\fldinst{" + linkInstruction(content->link) + "}}{\\fldrslt{";
    text(out, item);
    if (isLink) out += "}}}";
}

void RtfTable::appendPicture(std::string& out, const Item& item) {
    const std::uint32_t number = pictures_.numberOfShown(item);
    if (number == 0) return;
    const Rect box = pictureBox(item);
    appendCommand(out, "\\li", twips(std::max(box.x, 0)));
    appendCommand(out, "\\sb", twips(std::max(box.y, 0)));
    out += "\\fs2 ";
    appendBytes(out, item, number);
}

void RtfTable::appendBytes(std::string& out, const Item& item, std::uint32_t number) {
    const Picture& picture = *pictures_.pictures()[number - 1];
    const Rect box = pictureBox(item);
    const int width = twips(box.width);
    const int height = twips(box.height);
    out += picture.encoding == Picture::Encoding::Jpeg ? "{\\pict\\jpegblip" : "{\\pict\\pngblip";
    // The size in pixels of 15 twips, for readers that ignore the desired size in twips.
    appendCommand(out, "\\picw", width / 15);
    appendCommand(out, "\\pich", height / 15);
    appendCommand(out, "\\picwgoal", width);
    appendCommand(out, "\\pichgoal", height);
    out += '\n';
    for (std::size_t i = 0; i < picture.bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(picture.bytes[i]);
        out += kHexDigits[byte >> 4];
        out += kHexDigits[byte & 0xF];
        if (i % 64 == 63) out += '\n';
    }
    out += '}';
}

}  // namespace qbsvrl6
