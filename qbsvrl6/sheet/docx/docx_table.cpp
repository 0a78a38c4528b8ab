#include "qbsvrl6/sheet/docx/docx_table.h"

#include <algorithm>
#include <limits>

#include "qbsvrl6/sheet/docx/docx_xml.h"
#include "qbsvrl6/sheet/package/package_pictures.h"

namespace qbsvrl6 {

namespace {

constexpr std::string_view kEmptyParagraph = "<w:p><w:pPr><w:pStyle w:val=\"Spacer\"/></w:pPr></w:p>";

std::int64_t emu(Micrometres length) { return std::int64_t{36} * length; }

// A link tag without its id.
std::string linkStart(std::u16string_view address, DocxLinks& links) {
    std::string out = "<w:hyperlink ";
    if (address.starts_with(u'#')) {
        out += "w:anchor=\"" + bookmarkName(address.substr(1)) + "\">";
    } else {
        out += "r:id=\"" + links.idOf(std::u16string(address)) + "\">";
    }
    return out;
}

}  // namespace

const std::string& DocxLinks::idOf(const std::u16string& address) {
    const auto [entry, isNew] = ids_.try_emplace(address);
    if (isNew) entry->second = "rIdLink" + std::to_string(ids_.size());
    return entry->second;
}

std::string DocxLinks::relations(const PictureList& pictures) const {
    PackageRelations all = others_;
    for (const auto& [address, id] : ids_) all.addLink(id, address);
    for (std::size_t i = 0; i < pictures.pictures().size(); ++i) {
        all.add("rIdPicture" + std::to_string(i + 1), "image",
                pictureFile("media/image", i + 1, *pictures.pictures()[i]));
    }
    return all.xml();
}

DocxTable::DocxTable(const ReportDefinition& report, const CellGrid& grid, Micrometres left,
                     bool overlaysInCells)
    : left_(left), overlaysInCells_(overlaysInCells), slots_(grid.columnCount()), styles_(report) {
    Micrometres edge = left;
    for (int column = 0; column < grid.columnCount(); ++column) {
        edge += grid.columnWidth(column);
        edges_.push_back(edge);
    }
    XmlWriter xml(start_);
    xml.open("w:tbl").open("w:tblPr");
    // Without it, LibreOffice reverses the columns of a table whose paragraphs run from right to left.
    xml.open("w:bidiVisual").attribute("w:val", 0).close();
    xml.open("w:tblW").attribute("w:w", twips(edge) - twips(left)).attribute("w:type", "dxa").close();
    xml.open("w:tblInd").attribute("w:w", twips(left)).attribute("w:type", "dxa").close();
    xml.open("w:tblLayout").attribute("w:type", "fixed").close().open("w:tblCellMar");
    for (const char* const side : {"w:left", "w:right"}) {
        xml.open(side).attribute("w:w", 0).attribute("w:type", "dxa").close();
    }
    xml.close().close().open("w:tblGrid");
    for (int column = 0; column < grid.columnCount(); ++column) {
        const int width = twips(edges_[static_cast<std::size_t>(column)]) - twips(columnLeft(column));
        xml.open("w:gridCol").attribute("w:w", width).close();
    }
    xml.close().lineEnd();
}

void DocxTable::append(std::string& out, std::span<const CellRow> rows, bool repeats, DocxLinks& links,
                       const TextWriter& text, const Band* marked) {
    if (!isOpen_) out += start_;
    isOpen_ = true;
    marked_ = marked;
    slots_.beginBand();
    for (const CellRow& row : rows) appendRow(out, row, repeats, links, text);
    marked_ = nullptr;
}

void DocxTable::end(std::string& out) {
    if (isOpen_) out += "</w:tbl>\n";
    isOpen_ = false;
}

void DocxTable::appendRow(std::string& out, const CellRow& row, bool repeats, DocxLinks& links,
                          const TextWriter& text) {
    const std::vector<Slot>& slots = slots_.slotsOf(row);
    XmlWriter xml(out);
    xml.open("w:tr").open("w:trPr").open("w:cantSplit").close();
    xml.open("w:trHeight").attribute("w:val", std::max(twips(row.height), 1));
    xml.attribute("w:hRule", row.keepsHeight ? "exact" : "atLeast").close();
    if (repeats) xml.open("w:tblHeader").close();
    xml.close();
    const std::size_t host =
        row.overlays.empty() || !overlaysInCells_ ? slots.size() : RowSlots::hostOfOverlays(slots);
    int column = 0;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        std::string overlays;
        for (const Overlay& overlay : row.overlays) {
            if (i != host) break;
            const Rect box = pictureBox(*overlay.item);
            const Micrometres x = columnLeft(overlay.column) - columnLeft(column) + overlay.x + box.x;
            appendAnchored(overlays, *overlay.item,
                           {"column", "paragraph", x, overlay.y + box.y, false, true});
        }
        appendCell(out, slots[i], column, overlays, links, text);
        column = slots[i].columnEnd;
    }
    out += "</w:tr>\n";
}

void DocxTable::appendCell(std::string& out, const Slot& slot, int column, std::string_view overlays,
                           DocxLinks& links, const TextWriter& text) {
    XmlWriter xml(out);
    xml.open("w:tc").open("w:tcPr").open("w:tcW");
    xml.attribute("w:w", twips(columnLeft(slot.columnEnd)) - twips(columnLeft(column)));
    xml.attribute("w:type", "dxa").close();
    if (slot.columnEnd - column > 1) {
        xml.open("w:gridSpan").attribute("w:val", slot.columnEnd - column).close();
    }
    if (slot.continues) {
        xml.open("w:vMerge").close();
    } else if (slot.cell != nullptr && slot.cell->rowSpan > 1) {
        xml.open("w:vMerge").attribute("w:val", "restart").close();
    }
    if (slot.cell != nullptr) xml.content() += styles_.cellForm(*slot.cell);
    xml.close();
    if (!slot.isEmpty()) {
        appendContent(out, *slot.cell, overlays, links, text);
    } else if (overlays.empty()) {
        out += kEmptyParagraph;
    } else {
        out += kEmptyParagraph.substr(0, kEmptyParagraph.size() - 6);
        out += overlays;
        out += "</w:p>";
    }
    out += "</w:tc>";
}

void DocxTable::appendContent(std::string& out, const Cell& cell, std::string_view overlays, DocxLinks& links,
                              const TextWriter& text) {
    const auto* const content = std::get_if<TextItem>(&cell.item->content);
    if (content == nullptr) {
        const Rect box = pictureBox(*cell.item);
        XmlWriter xml(out);
        xml.open("w:p").open("w:pPr").open("w:spacing").attribute("w:before", twips(std::max(box.y, 0)));
        xml.attribute("w:after", 0).close().open("w:ind").attribute("w:left", twips(std::max(box.x, 0)));
        xml.attribute("w:right", 0).close().open("w:jc").attribute("w:val", "left").close().close();
        xml.text();
        out += overlays;
        appendInline(out, *cell.item);
        out += "</w:p>";
        return;
    }
    const std::string first = takeBookmark() + std::string(overlays);
    const std::string before = content->link.empty() ? std::string() : linkStart(content->link, links);
    const DocxTextForm& form = styles_.textForm(cell);
    text(out, *cell.item, form, {first, before, before.empty() ? "" : "</w:hyperlink>"});
}

// The same value of another group is another place.
std::string DocxTable::takeBookmark() {
    if (marked_ == nullptr || marked_->bookmark.empty()) return {};
    const std::string name = bookmarkName(marked_->bookmark);
    marked_ = nullptr;
    if (++bookmarkUses_[name] > 1) return {};
    std::string out;
    XmlWriter xml(out);
    const int id = ++bookmarks_;
    xml.open("w:bookmarkStart").attribute("w:id", id).attribute("w:name", name).close();
    xml.open("w:bookmarkEnd").attribute("w:id", id).close();
    return out;
}

void DocxTable::appendOverlays(std::string& out, const CellRow& row, Micrometres margin, Micrometres top) {
    for (const Overlay& overlay : row.overlays) {
        const Rect box = pictureBox(*overlay.item);
        appendAnchored(out, *overlay.item,
                       {"page", "page", margin + columnLeft(overlay.column) + overlay.x + box.x,
                        top + overlay.y + box.y});
    }
}

void DocxTable::appendBackdrop(std::string& out, const Item& item) {
    appendAnchored(out, item, {"page", "page", 0, 0, true});
}

void DocxTable::appendInline(std::string& out, const Item& item) {
    const std::uint32_t number = pictures_.numberOf(item);
    if (number == 0) return;
    out +=
        "<w:r><w:rPr><w:sz w:val=\"2\"/></w:rPr><w:drawing>"
        "<wp:inline distT=\"0\" distB=\"0\" distL=\"0\" distR=\"0\">";
    appendGraphic(out, item, number);
    out += "</wp:inline></w:drawing></w:r>";
}

void DocxTable::appendAnchored(std::string& out, const Item& item, const Anchor& anchor) {
    const std::uint32_t number = pictures_.numberOf(item);
    if (number == 0) return;
    XmlWriter xml(out);
    xml.open("w:r").open("w:drawing").open("wp:anchor");
    for (const char* const side : {"distT", "distB", "distL", "distR", "simplePos"}) xml.attribute(side, 0);
    xml.attribute("relativeHeight", drawings_ + 1).attribute("behindDoc", anchor.isBelow ? 1 : 0);
    xml.attribute("locked", 0).attribute("layoutInCell", anchor.inCell ? 1 : 0);
    xml.attribute("allowOverlap", 1).open("wp:simplePos").attribute("x", 0).attribute("y", 0).close();
    xml.open("wp:positionH").attribute("relativeFrom", anchor.horizontal);
    xml.element("wp:posOffset", emu(anchor.x)).close();
    xml.open("wp:positionV").attribute("relativeFrom", anchor.vertical);
    xml.element("wp:posOffset", emu(anchor.y)).close().text();
    appendGraphic(out, item, number);
    xml.close().close().close();
}

// The size, and the rest of an inline or anchored picture.
void DocxTable::appendGraphic(std::string& out, const Item& item, std::uint32_t number) {
    const Rect box = pictureBox(item);
    const std::int64_t width = emu(std::max(box.width, 1));
    const std::int64_t height = emu(std::max(box.height, 1));
    const bool isAnchored = !out.ends_with("distR=\"0\">");
    const int id = ++drawings_;
    XmlWriter xml(out);
    xml.open("wp:extent").attribute("cx", width).attribute("cy", height).close();
    if (isAnchored) xml.open("wp:wrapNone").close();
    xml.open("wp:docPr").attribute("id", id).attribute("name", "Picture ", id);
    xml.attribute("descr", textOf(item)).close();
    xml.open("a:graphic").open("a:graphicData").attribute("uri", kPictureNamespace);
    xml.open("pic:pic").open("pic:nvPicPr").open("pic:cNvPr").attribute("id", id);
    xml.attribute("name", "Picture ", id).close().open("pic:cNvPicPr").close().close();
    xml.open("pic:blipFill").open("a:blip").attribute("r:embed", "rIdPicture", number).close();
    writeCut(xml, pictureCut(item));
    xml.open("a:stretch").open("a:fillRect").close().close().close();
    xml.open("pic:spPr").open("a:xfrm").open("a:off").attribute("x", 0).attribute("y", 0).close();
    xml.open("a:ext").attribute("cx", width).attribute("cy", height).close().close();
    xml.open("a:prstGeom").attribute("prst", "rect").open("a:avLst").close().close();
    xml.close().close().close().close();
}

}  // namespace qbsvrl6
