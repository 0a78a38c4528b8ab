// A single, self-contained HTML file that is also well-formed XML. Bands of free controls become layout
// tables, the detail grid becomes a table with its titles as headings; all of them share the grid's columns.
// Styles are classes, which are known only at the end, so the head is written last.
#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "common/base64.h"
#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/fonts/bidi.h"
#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/fonts/text_language.h"
#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/items/unbroken_spans.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/text/css.h"
#include "qbsvrl6/sheet/text/text_width.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/support/append.h"

namespace qbsvrl6 {

using namespace std::string_view_literals;

namespace {

// Smaller gaps are rounding errors.
constexpr Micrometres kLeastGap = 500;

// On a screen, each page is a sheet of paper. If the screen is narrower than that, the detail grid scrolls
// sideways, together with the totals below it, and the columns of free controls share the width of the screen
// in proportion; on a phone, free controls wrap row by row.
constexpr const char* kRules = R"(:root{color-scheme:only light}
body{margin:0;background:#e8e8e8;color:#000}
.page{display:flex;flex-direction:column;box-sizing:border-box;width:max-content;min-width:var(--paper);
min-height:var(--height);padding:var(--padding);margin:4mm auto;background:#fff;box-shadow:0 0 2mm #999}
table{border-collapse:collapse;table-layout:fixed;width:var(--table)}
td,th{box-sizing:border-box;white-space:pre-wrap;overflow-wrap:anywhere;font-weight:normal}
.n{white-space:nowrap}
[dir=auto]{unicode-bidi:plaintext}
a{color:inherit}
svg{display:block;margin:0 0 -1mm}
.grid thead{position:sticky;top:0;z-index:1;background:#fff}
.foot{margin-top:auto}
.r90,.r180,.r270{display:inline-block}
.r90,.r270{writing-mode:vertical-rl}
.r180,.r270{transform:rotate(180deg)}
@media screen and (prefers-color-scheme:dark){body{background:#2a2a2a}}
@media print{body{background:none}.page{margin:0;box-shadow:none}tr{break-inside:avoid}
.grid thead{position:static;background:none}
*{print-color-adjust:exact;-webkit-print-color-adjust:exact}}
)";
constexpr const char* kNarrowRules =
    R"(.page{width:auto;min-width:0;min-height:0;margin:2mm 0;padding:3mm;box-shadow:none;background:#fff}
.page::before{content:none!important}
.page{--rows:.5}
.grid{--rows:1;overflow-x:auto}
.free{width:100%;max-width:var(--table);--text:.75;--rows:.6}
.free svg{max-width:100%;height:auto!important}
)";
// Of the paper's width: on a narrower screen, proportional columns would be too narrow to read.
constexpr double kPhoneShare = 0.75;
// 600 pixels: on narrower screens, charts and figures are always below one another.
constexpr Micrometres kPhoneWidth = 158'750;
constexpr const char* kPhoneRules = R"(.free{--text:.8}
.free,.free tbody{display:block}
.free colgroup,.free td:empty{display:none}
.free tr{display:flex;flex-wrap:wrap;column-gap:2mm;height:auto}
.free td{flex:1 1 auto;min-width:0;max-width:100%}
.free div{position:static!important}
.free .wide{overflow-x:auto}
.free .wide svg{max-width:none}
)";
// A wider drawing would be unreadable if shrunk to the width of a phone, so it scrolls sideways.
constexpr Micrometres kWideDrawing = 120'000;

// A rounding error must not start another page.
constexpr const char* kSheetRules = R"(@media print{.page{min-height:calc(var(--height) - 2px)}
.page:not(:last-child){break-after:page}}
)";
// On a narrow screen, a long table scrolls below its titles, in both directions.
constexpr const char* kContinuousRules =
    R"(@media screen and (max-width:600px){.grid{max-height:90vh;overflow:auto}}
@media print{.page{display:block;min-width:0;min-height:0;padding:0}}
)";

// The attributes of an element whose text, or some of it, runs from right to left: each of its paragraphs has
// the direction of its first letter.
std::string_view directionOf(const Item& item) {
    if (isPending(item)) return " dir=\"auto\"";
    const std::u16string_view text = textOf(item);
    if (!std::holds_alternative<TextItem>(item.content) || !mayRunRightToLeft(text)) return "";
    return std::any_of(text.begin(), text.end(), isHebrew) ? " dir=\"auto\" lang=\"he\""
                                                           : " dir=\"auto\" lang=\"ar\"";
}

// The attributes for the direction of the text, or else for the language of its style.
std::string_view languageOf(const Item& item) {
    const std::string_view direction = directionOf(item);
    if (!direction.empty()) return direction;
    switch (item.style == nullptr ? TextLanguage::Unknown : item.style->language) {
        case TextLanguage::Chinese:
            return " lang=\"zh-CN\"";
        case TextLanguage::Japanese:
            return " lang=\"ja\"";
        case TextLanguage::Korean:
            return " lang=\"ko\"";
        case TextLanguage::Unknown:
            break;
    }
    return "";
}

// An upper limit for the width of a text: no common text font is wider.
Micrometres widthLimit(double columns, double fontSize) {
    constexpr double kWidestColumn = 0.7;  // em
    return static_cast<Micrometres>(std::min(columns * fontSize * kMicrometresPerPoint * kWidestColumn, 1e9));
}

bool mayBeWider(std::u16string_view text, double fontSize, Micrometres room) {
    const auto mostColumns = 2.0 * static_cast<double>(text.size());
    return widthLimit(mostColumns, fontSize) > room && widthLimit(displayWidth(text), fontSize) > room;
}

// The length of a line in the item's box.
Micrometres lineRoom(const Item& item) {
    if (item.style == nullptr) return item.box.width;
    const Edges& padding = item.style->padding;
    const bool isTurned = item.style->rotation == 90 || item.style->rotation == 270;
    return isTurned ? item.box.height - padding.top - padding.bottom
                    : item.box.width - padding.left - padding.right;
}

// Shrinks a text until each of its numbers fits on one line. Layout has already done so for printed pages,
// but shows #### if the print would be too small to read; on a screen, the reader can zoom in.
void shrinkToNumbers(TextItem& text, const ResolvedStyle& style, Micrometres room,
                     std::span<const NumberSpan> numbers) {
    Micrometres widest = room;
    for (const NumberSpan& number : numbers) {
        const auto span = std::u16string_view(text.text).substr(number.first, number.size());
        if (!mayBeWider(span, text.fontSize, widest)) continue;
        const FontSet& fonts = resolveFont(style.fontFamily, style.bold, style.italic);
        widest = std::max(widest, lineWidth(fonts, text.fontSize, span));
    }
    // Whole tenths of a point, so that the document has few styles.
    if (widest > room) text.fontSize = std::max(std::floor(10 * text.fontSize * room / widest) / 10, 1.0);
}

// How a browser may wrap a text.
enum class Wrapping {
    None,      // not needed: the text fits on one line
    Any,       // anywhere except in its numbers
    Forbidden  // not at all: the text is a number
};

// Appends a text whose numbers must not be broken.
void appendWithWholeNumbers(std::string& out, std::u16string_view text, std::span<const NumberSpan> numbers) {
    std::size_t done = 0;
    for (const NumberSpan& number : numbers) {
        if (number.size() == 1) continue;
        appendMarkup(out, text.substr(done, number.first - done));
        out += "<span class=\"n\">";
        appendMarkup(out, text.substr(number.first, number.size()));
        out += "</span>";
        done = number.end;
    }
    appendMarkup(out, text.substr(done));
}

// The number of rows of a report footer that hold totals: all rows down to the last one with a single value.
std::size_t countSumRows(std::span<const CellRow> rows) {
    std::size_t end = 0;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (const Cell& cell : rows[row].cells) {
            const auto* text = cell.item == nullptr ? nullptr : std::get_if<TextItem>(&cell.item->content);
            const bool isSum = text != nullptr && !text->pending && isOneValue(*text);
            // A cell that spans rows is not divided.
            if (isSum || row < end) end = std::max(end, row + static_cast<std::size_t>(cell.rowSpan));
        }
    }
    return end;
}

class HtmWriter final : public CellSink {
public:
    HtmWriter(const SheetOptions& options, Spool& output)
        : CellSink(options, GridFit::Exact), options_(options), output_(output) {
        rowsLeft_.assign(static_cast<std::size_t>(grid().columnCount()), 0);
        gridStart_ = "<div class=\"grid\"><table aria-label=\"";
        appendMarkup(gridStart_, title());
        gridStart_ += "\">";
        columns_ = "<colgroup>";
        for (int column = 0; column < grid().columnCount(); ++column) {
            columns_ += "<col class=\"c" + std::to_string(column) + "\"/>";
        }
        columns_ += "</colgroup>";
    }

private:
    static constexpr std::string_view kCell = "<td";

    enum class Part { None, Free, Footer, Head, Body, Sums };

    void openPage(const PageInfo& page, bool) override {
        out() += "<section class=\"page";
        if (page.paperKind != 0) {
            papers_.emplace(page.paperKind, page).first->second.sheet = {};
            out() += " paper" + std::to_string(page.paperKind);
        }
        out() += "\">\n";
    }

    void closePage() override {
        enter(Part::None, 0);
        out() += "</section>\n";
    }

    void writeRows(const Band& band, std::span<const CellRow> rows) override {
        const bool followsGrid = part_ == Part::Body || part_ == Part::Sums;
        if (band.kind == BandKind::ReportFooter && followsGrid) {
            const std::size_t sums = countSumRows(rows);
            writePart(Part::Sums, band, rows.first(sums));
            rows = rows.subspan(sums);
        }
        writePart(partOf(band), band, rows);
        stream_.writeIfLarge();
    }

    void writePart(Part part, const Band& band, std::span<const CellRow> rows) {
        if (rows.empty()) return;
        enter(part, rows.front().gap);
        attachOverlays(rows);
        for (std::size_t row = 0; row < rows.size(); ++row) {
            if (row > 0 || !partIsNew_) writeGap(rows[row].gap);
            partIsNew_ = false;
            overlays_ = {};
            if (!overlaysOf_.empty()) overlays_ = overlaysOf_[row];
            writeRow(band, rows[row]);
        }
    }

    Part partOf(const Band& band) const {
        if (band.kind == BandKind::PageFooter) return Part::Footer;
        if (!band.inGrid || isForm(band)) return Part::Free;
        return band.kind == BandKind::GridTitle ? Part::Head : Part::Body;
    }

    // Whether the band is a group header or footer of free controls outside of the grid's table, as in a
    // certificate. Does not apply to several columns of detail: labels side by side would be separated.
    bool isForm(const Band& band) const {
        const bool ofGroup = band.kind == BandKind::GroupHeader || band.kind == BandKind::GroupFooter;
        const bool inTable = part_ == Part::Head || part_ == Part::Body;
        return ofGroup && !inTable && options_.page.columns == 1 &&
               std::all_of(band.items.begin(), band.items.end(),
                           [](const Item& item) { return item.column < 0; });
    }

    // Closes the current table or part of a table, and opens the one that the band belongs to. Rows of the
    // grid follow its titles in the same table; titles begin a new table.
    void enter(Part part, Micrometres gap) {
        if (part == part_) return;
        partIsNew_ = true;
        if (part_ == Part::Head && part == Part::Body) {
            out() += "</thead><tbody>\n";
            part_ = part;
            partIsNew_ = false;
            return;
        }
        switch (part_) {
            case Part::None:
                break;
            case Part::Head:
                out() += "</thead></table></div>\n";
                break;
            case Part::Body:
            case Part::Sums:
                out() += part == Part::Sums ? "</tbody></table>\n" : "</tbody></table></div>\n";
                break;
            default:
                out() += "</tbody></table>\n";
        }
        part_ = part;
        if (part == Part::None) return;
        if (gap >= kLeastGap && part != Part::Footer) {
            out() += "<div class=\"h" + std::to_string(heightClass(gap)) + "\"></div>\n";
        }
        out() += part == Part::Footer ? "<table class=\"free foot\" role=\"presentation\">"
                 : part == Part::Free ? "<table class=\"free\" role=\"presentation\">"
                 : part == Part::Sums ? "<table role=\"presentation\">"
                                      : gridStart_;
        out() += columns_;
        out() += part == Part::Head ? "<thead>\n" : "<tbody>\n";
    }

    void writeGap(Micrometres gap) {
        if (gap < kLeastGap) return;
        out() += "<tr class=\"h" + std::to_string(heightClass(gap)) + "\"><td colspan=\"" +
                 std::to_string(grid().columnCount()) + "\"></td></tr>\n";
    }

    int heightClass(Micrometres height) {
        const Micrometres rounded = (height + 50) / 100 * 100;
        return heights_.try_emplace(rounded, static_cast<int>(heights_.size())).first->second;
    }

    void writeRow(const Band& band, const CellRow& row) {
        if (row.height != lastHeight_) {
            lastHeight_ = row.height;
            rowStart_ = "<tr class=\"h" + std::to_string(heightClass(row.height)) + "\">";
        }
        out() += rowStart_;
        std::size_t next = 0;
        for (int column = 0; column < grid().columnCount();) {
            int& left = rowsLeft_[static_cast<std::size_t>(column)];
            if (left > 0) {  // a cell of a row above extends to this row
                --left;
                ++column;
            } else if (next < row.cells.size() && row.cells[next].column == column) {
                const Cell& cell = row.cells[next++];
                writeCell(band, cell);
                for (const int end = column + cell.columnSpan; column < end; ++column) {
                    rowsLeft_[static_cast<std::size_t>(column)] = cell.rowSpan - 1;
                }
            } else {
                const int end = next < row.cells.size() ? row.cells[next].column : grid().columnCount();
                column = writeFree(column, end);
            }
        }
        out() += "</tr>\n";
    }

    // An overlay is anchored in a cell of the row in which it begins, or of the nearest row above that has a
    // cell: when rows wrap, it stays with the cells around it.
    void attachOverlays(std::span<const CellRow> rows) {
        overlaysOf_.clear();
        if (rows.front().overlays.empty()) return;
        overlaysOf_.resize(rows.size());
        std::vector<int> free(rows.size(), grid().columnCount());  // columns that no cell from above covers
        std::vector<Micrometres> tops(rows.size(), 0);
        for (std::size_t row = 0; row < rows.size(); ++row) {
            if (row > 0) tops[row] = tops[row - 1] + rows[row - 1].height + rows[row].gap;
            for (const Cell& cell : rows[row].cells) {
                const std::size_t end = std::min(row + static_cast<std::size_t>(cell.rowSpan), rows.size());
                for (std::size_t below = row + 1; below < end; ++below) free[below] -= cell.columnSpan;
            }
        }
        for (Overlay overlay : rows.front().overlays) {
            std::size_t row = rows.size() - 1;
            while (row > 0 && (free[row] <= 0 || tops[row] > overlay.y)) --row;
            overlay.y -= tops[row];
            overlaysOf_[row].push_back(overlay);
        }
    }

    void writeOverlays(int column) {
        for (const Overlay& overlay : std::exchange(overlays_, {})) {
            Micrometres x = overlay.x;
            for (int i = column; i < overlay.column; ++i) x += grid().columnWidth(i);
            for (int i = overlay.column; i < column; ++i) x -= grid().columnWidth(i);
            out() += "<div style=\"position:absolute;left:";
            appendMillimetres(out(), x);
            out() += ";top:";
            appendMillimetres(out(), overlay.y);
            out() += "\">";
            writePicture(*overlay.item);
            out() += "</div>";
        }
    }

    int writeFree(int column, int end) {
        const int start = column;
        while (column < end && rowsLeft_[static_cast<std::size_t>(column)] == 0) ++column;
        out() += "<td";
        writeSpan("colspan", column - start);
        if (overlays_.empty()) {
            out() += "></td>";
        } else {
            out() += " style=\"position:relative\">";
            writeOverlays(start);
            out() += "</td>";
        }
        return column;
    }

    void writeSpan(const char* name, int count) {
        if (count < 2) return;
        out() += ' ';
        out() += name;
        out() += "=\"" + std::to_string(count) + '"';
    }

    void writeCell(const Band& band, const Cell& cell) {
        const Wrapping wrapping = cell.item == nullptr ? Wrapping::None : settleWrapping(*cell.item);
        const bool isTitle = band.kind == BandKind::GridTitle && cell.item != nullptr &&
                             (isPending(*cell.item) || !textOf(*cell.item).empty());
        const std::string_view start = startOf(cell, wrapping == Wrapping::Forbidden);
        if (isTitle) {
            out() += cell.columnSpan > 1 ? "<th scope=\"colgroup\""sv : "<th scope=\"col\""sv;
            out() += start.substr(kCell.size());
        } else {
            out() += start;
        }
        const std::string_view language = cell.item == nullptr ? "" : languageOf(*cell.item);
        if (!language.empty()) out() += language;
        writeSpan("colspan", cell.columnSpan);
        writeSpan("rowspan", cell.rowSpan);
        if (!overlays_.empty()) out() += " style=\"position:relative\"";
        out() += '>';
        if (cell.item != nullptr) writeContent(*cell.item, wrapping);
        writeOverlays(cell.column);
        out() += isTitle ? "</th>"sv : "</td>"sv;
    }

    // Finds the numbers of a text that may not fit on one line, and shrinks the text if they must fit. A cell
    // of the grid always has its full width; a free one is narrower on a phone.
    Wrapping settleWrapping(Item& item) {
        auto* const text = std::get_if<TextItem>(&item.content);
        if (text == nullptr || text->text.empty()) return Wrapping::None;
        const Micrometres room = lineRoom(item);
        const bool breaksAnyway = item.column < 0 || text->lines.size() > 1;
        const bool isTooWide = mayBeWider(text->text, text->fontSize, room);
        if (!breaksAnyway && !isTooWide) return Wrapping::None;
        findUnbrokenSpans(*text, numbers_);
        const bool needsRoom = isTooWide && room > 0 && (text->masked || !options_.paged);
        if (needsRoom && !text->pending && item.style != nullptr) {
            shrinkToNumbers(*text, *item.style, room, numbers_);
            if (!breaksAnyway && !mayBeWider(text->text, text->fontSize, room)) return Wrapping::None;
        }
        const bool isNumber = numbers_.size() == 1 && numbers_.front().size() == text->text.size();
        return isNumber ? Wrapping::Forbidden : Wrapping::Any;
    }

    // The start of a cell's tag, with its style.
    std::string_view startOf(const Cell& cell, bool isNumber) {
        const std::size_t id = 2 * static_cast<std::size_t>(styles_.idOf(cell)) + (isNumber ? 1 : 0);
        while (starts_.size() <= id) {
            const std::string start = std::string(kCell) + " class=\"s" + std::to_string(starts_.size() / 2);
            starts_.push_back(start + '"');
            starts_.push_back(start + " n\"");
        }
        return starts_[id];
    }

    void writeContent(Item& item, Wrapping wrapping) {
        if (const auto* text = std::get_if<TextItem>(&item.content)) {
            language_.see(text->text);
            if (text->pending) {
                stream_.mark();
                pending_.add(std::move(item));
            } else {
                appendText(out(), item, wrapping, numbers_);
            }
        } else {
            writePicture(item);
        }
    }

    void writePicture(const Item& item) {
        if (const auto* picture = std::get_if<PictureItem>(&item.content)) {
            if (picture->picture == nullptr) return;
            const bool isFirst = pictures_.insert(picture->picture->id).second;
            appendPicture(out(), *picture, isFirst);
        } else if (const auto* drawing = std::get_if<DrawingItem>(&item.content)) {
            if (drawing->drawing == nullptr) return;
            const bool isWide = item.box.width > kWideDrawing;
            if (isWide) out() += "<div class=\"wide\">";
            XmlWriter svg(out());
            writeInlineSvg(svg, *drawing->drawing, {item.box.width, item.box.height}, drawing->alternateText);
            if (isWide) out() += "</div>";
        }
    }

    // The first use of a picture contains its bytes; later uses refer to it by its id.
    static void appendPicture(std::string& out, const PictureItem& item, bool isFirst) {
        const Picture& picture = *item.picture;
        XmlWriter svg(out);
        svg.open("svg").attribute("viewBox", "0 0 1 1").attribute("preserveAspectRatio", "none");
        std::string& style = svg.beginAttribute("style");
        style += "width:";
        appendMillimetres(style, item.placed.width);
        style += ";height:";
        appendMillimetres(style, item.placed.height);
        style += ";aspect-ratio:";
        appendNumber(style, item.placed.width, kCssDecimals);
        style += '/';
        appendNumber(style, item.placed.height, kCssDecimals);
        style += ";margin:";
        appendMillimetres(style, std::max(item.placed.y, 0));
        style += " 0 -1mm ";
        appendMillimetres(style, std::max(item.placed.x, 0));
        svg.endAttribute();
        writeAlternateText(svg, item.alternateText);
        if (isFirst) {
            svg.open("image").attribute("id", "p", picture.id).attribute("width", 1).attribute("height", 1);
            appendData(svg.attribute("preserveAspectRatio", "none").beginAttribute("href"), picture);
            svg.endAttribute().close();
        } else {
            svg.open("use").attribute("href", "#p", picture.id).close();
        }
        svg.close();
    }

    static void appendData(std::string& out, const Picture& picture) {
        out += picture.encoding == Picture::Encoding::Jpeg ? "data:image/jpeg;base64,"
                                                           : "data:image/png;base64,";
        out += larkspur::Base64_Encode(picture.bytes.data(), static_cast<int>(picture.bytes.size()));
    }

    // `numbers` are those of the text, if it may be wrapped.
    static void appendText(std::string& out, const Item& item, Wrapping wrapping,
                           std::span<const NumberSpan> numbers) {
        const auto& text = std::get<TextItem>(item.content);
        const int rotation = item.style == nullptr ? 0 : item.style->rotation;
        const bool isLink = !text.link.empty();
        if (rotation != 0) out += "<span class=\"r" + std::to_string(rotation) + "\">";
        if (isLink) {
            out += "<a href=\"";
            appendMarkup(out, text.link);
            out += "\">";
        }
        if (wrapping == Wrapping::Any) {
            appendWithWholeNumbers(out, text.text, numbers);
        } else {
            appendMarkup(out, text.text);
        }
        if (isLink) out += "</a>";
        if (rotation != 0) out += "</span>";
    }

    void close(PendingTexts& pending) override {
        appendHead(output_.end());
        stream_.moveTo(output_, [&](std::size_t place, std::string& out) {
            Item item = pending_.item(place);
            pending.settle(item);
            findUnbrokenSpans(std::get<TextItem>(item.content), numbers_);
            appendText(out, item, Wrapping::Any, numbers_);
        });
        output_.append("</main>\n</body>\n</html>\n");
    }

    void appendHead(std::string& out) const {
        out += "<!DOCTYPE html>\n<html lang=\"";
        if (options_.info.language.empty()) {
            out += language_.name();
        } else {
            appendMarkup(out, options_.info.language);
        }
        // Columns are from left to right, as on paper; texts have their own direction.
        out +=
            "\" dir=\"ltr\">\n<head>\n<meta charset=\"utf-8\"/>\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>";
        appendMarkup(out, title());
        out += "</title>\n";
        appendMeta(out, "author", options_.info.author);
        appendMeta(out, "description", options_.info.subject);
        appendMeta(out, "keywords", options_.info.keywords);
        out += "<style>\n";
        appendPageRules(out);
        for (const auto& [height, number] : heights_) {
            out += ".h" + std::to_string(number) + "{height:calc(var(--rows)*";
            appendMillimetres(out, height);
            out += ")}\n";
        }
        const auto& styles = styles_.styles();
        for (std::size_t i = 0; i < styles.size(); ++i) {
            out += ".s" + std::to_string(i) + '{';
            appendDeclarations(out, *styles[i]);
            out += "}\n";
        }
        out += "</style>\n</head>\n<body>\n<main>\n";
    }

    std::u16string_view title() const {
        return options_.info.title.empty() ? u"Report" : std::u16string_view(options_.info.title);
    }

    static void appendMeta(std::string& out, const char* name, std::u16string_view content) {
        if (content.empty()) return;
        out += "<meta name=\"";
        out += name;
        out += "\" content=\"";
        appendMarkup(out, content);
        out += "\"/>\n";
    }

    static void appendLength(std::string& out, const std::string& rule, Micrometres length) {
        out += rule;
        appendMillimetres(out, length);
        out += "}\n";
    }

    void appendPageRules(std::string& out) const {
        const PageSetup& page = options_.page;
        const Edges& margins = page.margins;
        Micrometres width = 0;
        for (int column = 0; column < grid().columnCount(); ++column) width += grid().columnWidth(column);
        const Micrometres left = options_.columnEdges.empty() ? 0 : options_.columnEdges.front();
        out += ":root{--text:1;--rows:1}\n";
        appendLength(out, ":root{--table:", width);
        appendLength(out, ":root{--paper:", page.paper.width);
        appendLength(out, ":root{--height:", options_.paged ? page.paper.height : 0);
        appendEdges(out, ":root{--padding:", {left, margins.top, margins.right, margins.bottom});
        out += kRules;
        for (int column = 0; column < grid().columnCount(); ++column) {
            appendLength(out, ".c" + std::to_string(column) + "{width:", grid().columnWidth(column));
        }
        if (options_.paged) appendBackdrop(out);
        const Micrometres paper = std::max(page.paper.width, left + width + margins.right);
        out += "@media screen and (max-width:";
        appendMillimetres(out, paper);
        out += "){";
        out += kNarrowRules;
        for (int column = 0; column < grid().columnCount(); ++column) {
            out += ".free .c" + std::to_string(column) + "{width:";
            appendNumber(out, 100.0 * grid().columnWidth(column) / std::max(width, 1), kCssDecimals);
            out += "%}\n";
        }
        out += "}\n@media screen and (max-width:";
        appendMillimetres(
            out, std::max(static_cast<Micrometres>(paper * kPhoneShare), std::min(paper, kPhoneWidth)));
        out += "){";
        out += kPhoneRules;
        out += "}\n";
        // Pages of the report contain their margins; without them, the printer makes the pages and the
        // margins.
        out += "@page{size:";
        appendMillimetres(out, page.paper.width);
        out += ' ';
        appendMillimetres(out, page.paper.height);
        const bool sheets = options_.paged && options_.pageBreaks;
        appendEdges(out, ";margin:", sheets ? Edges{} : margins);
        out += sheets ? kSheetRules : kContinuousRules;
        for (const auto& [kind, info] : papers_) appendPaperRules(out, info);
    }

    // Of pages on other paper than the report's.
    void appendPaperRules(std::string& out, const PageInfo& page) const {
        const std::string name = "paper" + std::to_string(page.paperKind);
        const Micrometres left = options_.columnEdges.empty() ? 0 : options_.columnEdges.front();
        appendLength(out, "." + name + "{--paper:", page.paper.width);
        appendLength(out, "." + name + "{--height:", page.paper.height);
        appendEdges(out, ("." + name + "{--padding:").c_str(),
                    {left, page.margins.top, page.margins.right, page.margins.bottom});
        if (page.background != nullptr) appendBackground(out, ".page." + name, *page.background);
        out += "." + name + "{page:" + name + "}\n@page " + name + "{size:";
        appendMillimetres(out, page.paper.width);
        out += ' ';
        appendMillimetres(out, page.paper.height);
        appendEdges(out, ";margin:", options_.pageBreaks ? Edges{} : page.margins);
    }

    static void appendBackground(std::string& out, const std::string& selector, const Picture& picture) {
        out += selector + "{background:#fff 0 0/var(--paper) var(--height) no-repeat url(";
        appendData(out, picture);
        out += ")}\n";
    }

    // The background and watermark, which are painted below the texts of each page.
    void appendBackdrop(std::string& out) const {
        if (options_.background != nullptr) appendBackground(out, ".page", *options_.background);
        const Watermark& watermark = options_.watermark;
        if (watermark.text.empty() || watermark.fontSize <= 0) return;
        out += ".page{position:relative;isolation:isolate;overflow:hidden}\n.page::before{content:'";
        appendCssText(out, watermark.text);
        out +=
            "';position:absolute;z-index:-1;left:calc(var(--paper)/2);top:calc(var(--height)/2);transform:"
            "translate(-50%,-50%) rotate(";
        appendNumber(out, -std::atan2(options_.page.paper.height, options_.page.paper.width), kCssDecimals);
        out += "rad);white-space:pre;font:";
        appendNumber(out, watermark.fontSize, kCssDecimals);
        out += "pt/1 ";
        appendFontFamily(out, u"SimHei");
        out += ";color:";
        appendColor(out, watermark.color);
        out += "}\n";
    }

    static void appendEdges(std::string& out, const char* rule, const Edges& edges) {
        out += rule;
        for (const Micrometres side : {edges.top, edges.right, edges.bottom, edges.left}) {
            appendMillimetres(out, std::max(side, 0));
            out += ' ';
        }
        out += "}\n";
    }

    std::string& out() { return stream_.text(); }

    SheetOptions options_;
    Spool& output_;
    std::string gridStart_;
    std::string columns_;
    TextStream stream_;
    Micrometres lastHeight_ = -1;
    std::string rowStart_;  // of a row of the last height
    StyleTable styles_;
    std::vector<std::string> starts_;  // of cells: two per style, for texts and for numbers
    std::vector<NumberSpan> numbers_;  // of the current text
    LanguageGuess language_;
    std::map<int, PageInfo> papers_;  // other than the report's, by kind
    std::map<Micrometres, int> heights_;
    std::set<std::uint64_t> pictures_;
    std::vector<int> rowsLeft_;                     // of each column: rows that a cell above still covers
    std::vector<std::vector<Overlay>> overlaysOf_;  // by row of the current part; empty if there are none
    std::span<const Overlay> overlays_;             // of the current row, until its first cell has them
    PendingItems pending_;
    Part part_ = Part::None;
    bool partIsNew_ = false;
};

}  // namespace

std::unique_ptr<PageSink> makeHtmWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<HtmWriter>(options, output);
}

}  // namespace qbsvrl6
