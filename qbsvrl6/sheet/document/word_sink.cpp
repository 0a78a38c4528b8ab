#include "qbsvrl6/sheet/document/word_sink.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/sheet/document/word_limits.h"
#include "qbsvrl6/sheet/workbook/drawing_picture.h"

namespace qbsvrl6 {

WordSink::WordSink(const SheetOptions& options, Spool& output)
    : CellSink(options, GridFit::Exact),
      options_(options),
      output_(output),
      headerGrid_(options.columnEdges, options.page.paper.width, GridFit::Exact) {}

Micrometres WordSink::gridLeft() const {
    return options_.columnEdges.empty() ? 0 : options_.columnEdges.front() - options_.page.margins.left;
}

void WordSink::open(OpenPlace place) {
    stream_.mark();
    places_.push_back(place);
}

void WordSink::openPage(const PageInfo& page, bool) {
    open({true, pages_.size()});
    pages_.push_back({page.paperKind, page.paper, page.margins, page.background, {}, {}});
    shapes_.emplace_back();
    top_ = page.margins.top;
    part_ = Part::None;
    headerHeight_ = 0;
}

bool WordSink::keepBand(Band& band, Micrometres x, Micrometres y) {
    const bool isHeader = band.kind == BandKind::PageHeader;
    if (!isHeader && band.kind != BandKind::PageFooter) return false;
    PageHeaderFooter& page = pages_.back();
    PlacedBand& kept = (isHeader ? page.header : page.footer).emplace_back();
    if (isHeader) headerHeight_ = std::max(headerHeight_, y + band.height - page.margins.top);
    kept.band = std::move(band);
    kept.x = x;
    kept.y = y;
    return true;
}

void WordSink::writeRows(const Band& band, std::span<const CellRow> rows) {
    std::string& out = stream_.text();
    pages_.back().isBlank = false;
    // Titles that repeat must be the first rows of a table.
    const Part part = band.kind == BandKind::GridTitle ? Part::Titles : Part::Rows;
    const bool beginsTable = part == Part::Titles && part_ == Part::Rows;
    // The first rows of a page follow its header.
    const Micrometres gap = rows.front().gap - (part_ == Part::None ? headerHeight_ : 0);
    if (beginsTable || gap >= kLeastGap) {
        endTable(out);
        appendGap(out, gap, {}, false);
    }
    part_ = part;
    appendRows(out, band, rows, part == Part::Titles);
    if (hasOwnPages()) appendShapes(shapes_.back(), rows, top_);
    stream_.writeIfLarge();
}

// Appends the overlays of rows that begin below `top`, and moves `top` to the end of the rows.
void WordSink::appendShapes(std::string& out, std::span<const CellRow> rows, Micrometres& top) {
    for (const CellRow& row : rows) {
        top += row.gap;
        appendOverlays(out, row, top);
        top += row.height;
    }
}

std::size_t WordSink::keepPending(Item&& item) {
    const std::size_t number = pending_.add(std::move(item));
    open({false, number});
    return number;
}

void WordSink::closePages(PendingTexts& pending) {
    for (PageHeaderFooter& page : pages_) settle(page, pending);
    beginnings_.resize(pages_.size());
    std::vector<Section> sections;
    int counted = 1;  // as the word processor counts
    for (const std::size_t start : sectionStarts(pages_)) {
        if (!sections.empty()) counted += static_cast<int>(start - sections.back().firstPage);
        const int number = shownPageNumber(pages_[start]).value_or(counted);
        sections.push_back({start, pages_[start], number, number != counted});
        counted = number;
    }
    beginSections(sections, beginnings_);
    for (std::size_t i = 0; i < pages_.size(); ++i) {
        const bool breaksPage = options_.pageBreaks && i > 0 && beginnings_[i].empty();
        if (!breaksPage && shapes_[i].empty()) continue;
        if (breaksPage && pages_[i - 1].isBlank) appendGap(beginnings_[i], 0, {}, false);
        appendGap(beginnings_[i], 0, std::exchange(shapes_[i], {}), breaksPage);
    }
}

void WordSink::moveText(Spool& to, PendingTexts& pending) {
    stream_.moveTo(to, [&](std::size_t number, std::string& out) {
        const OpenPlace& place = places_[number];
        if (place.isPage) {
            out += beginnings_[place.index];
            return;
        }
        Item item = pending_.item(place.index);
        settleCell(item, pending);
        appendSettled(out, item, place.index);
    });
}

void WordSink::appendPart(std::string& out, std::vector<PlacedBand>& bands, std::string shapes) {
    Micrometres top = bands.empty() ? 0 : bands.front().y;
    headerGrid_.beginPage(top);
    for (PlacedBand& placed : bands) {
        const std::span<const CellRow> rows = headerGrid_.place(placed.band, placed.x, placed.y);
        if (rows.empty()) continue;
        appendHeaderRows(out, rows);
        if (hasOwnPages()) appendShapes(shapes, rows, top);
    }
    endTable(out);
    appendGap(out, 0, shapes, false);
}

std::optional<Item> WordSink::backdropOf(const PageHeaderFooter& page) const {
    if (!hasOwnPages()) return std::nullopt;
    const std::shared_ptr<const Picture> picture = qbsvrl6::backdropOf(
        page.background != nullptr ? page.background : options_.background, options_.watermark, page.paper);
    if (picture == nullptr) return std::nullopt;
    Item item;
    item.box = {0, 0, page.paper.width, page.paper.height};
    item.content = PictureItem{picture, item.box, PictureFit::Stretch, {}};
    return item;
}

Micrometres WordSink::paperWidth() const {
    if (options_.paged || options_.columnEdges.empty()) return options_.page.paper.width;
    const Micrometres wanted = options_.columnEdges.back() + options_.page.margins.right;
    return std::max(options_.page.paper.width, std::min(wanted, kMaxPaper));
}

Micrometres WordSink::topMargin(const PageHeaderFooter& page) {
    Micrometres top = page.margins.top;
    for (const PlacedBand& placed : page.header) top = std::max(top, placed.y + placed.band.height);
    return top;
}

Micrometres WordSink::bottomMargin(const PageHeaderFooter& page) const {
    const std::vector<PlacedBand>& footer = page.footer;
    Micrometres bottom = page.margins.bottom;
    if (!options_.paged) {
        for (const PlacedBand& placed : footer) bottom += placed.band.height;
        return bottom;
    }
    // Without a footer, the page needs no margin: its page break ends it.
    if (footer.empty()) return 0;
    for (const PlacedBand& placed : footer) bottom = std::max(bottom, page.paper.height - placed.y);
    return bottom - kSlack;
}

Micrometres WordSink::headerEdge(const PageHeaderFooter& page) {
    return std::max(page.header.empty() ? page.margins.top - kLine : page.margins.top, 0);
}

Micrometres WordSink::footerEdge(const PageHeaderFooter& page) {
    return std::max(page.margins.bottom - kSlack, 0);
}

}  // namespace qbsvrl6
