// RTF with real tables. Page headers and footers belong to a section, which continues for as long as the next
// page has the same ones except for the page number; page numbers are fields that the word processor counts.
// Whether a page count is that of the whole document is known only when all pages are complete. The
// beginnings of pages are therefore written last, as is the head of the file with its tables of fonts and
// colours.
#include <algorithm>
#include <utility>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/sheet/document/page_headers.h"
#include "qbsvrl6/sheet/document/word_limits.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/rtf/rtf_table.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/sheet/workbook/drawing_picture.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

// A paragraph of exactly this height, which ends the table before it. A page break is a property of the
// paragraph: after a break character, some word processors lose the height of the next paragraph.
void appendGap(std::string& out, Micrometres height, std::string_view content = "",
               std::string_view properties = "") {
    out += "\\pard\\plain";
    out += properties;
    appendCommand(out, "\\fs2\\sl-", std::max(twips(height), 20));
    out += "\\slmult0";
    out += content;
    out += "\\par\n";
}

class RtfWriter final : public CellSink {
public:
    RtfWriter(const SheetOptions& options, Spool& output)
        : CellSink(options, GridFit::Exact),
          options_(options),
          output_(output),
          headerGrid_(options.columnEdges, options.page.paper.width, GridFit::Exact),
          table_(grid(),
                 options.columnEdges.empty() ? 0 : options.columnEdges.front() - options.page.margins.left,
                 !hasOwnPages()) {}

private:
    // A part that is written last: the beginning of a page, or a pending text.
    struct OpenPlace {
        bool isPage;
        std::size_t index;
    };
    enum class Part { None, Rows, Titles };

    // Whether the word processor has the same pages. Pictures then have fixed positions on their page; if
    // they were anchored in cells, some would be moved to a separate page.
    bool hasOwnPages() const { return options_.paged && options_.pageBreaks; }

    void openPage(const PageInfo& page, bool) override {
        open({true, pages_.size()});
        pages_.push_back({page.paperKind, page.paper, page.margins, {}, {}});
        shapes_.emplace_back();
        top_ = page.margins.top;
        part_ = Part::None;
        headerHeight_ = 0;
    }

    void open(OpenPlace place) {
        stream_.mark();
        places_.push_back(place);
    }

    bool keepBand(Band& band, Micrometres x, Micrometres y) override {
        const bool isHeader = band.kind == BandKind::PageHeader;
        if (!isHeader && band.kind != BandKind::PageFooter) return false;
        PlacedBand& kept = (isHeader ? pages_.back().header : pages_.back().footer).emplace_back();
        if (isHeader) {
            headerHeight_ = std::max(headerHeight_, y + band.height - pages_.back().margins.top);
        }
        kept.band = std::move(band);
        kept.x = x;
        kept.y = y;
        return true;
    }

    void writeRows(const Band& band, std::span<const CellRow> rows) override {
        // Titles that repeat must be the first rows of a table.
        const Part part = band.kind == BandKind::GridTitle ? Part::Titles : Part::Rows;
        const bool beginsTable = part == Part::Titles && part_ == Part::Rows;
        // The first rows of a page follow its header.
        const Micrometres gap = rows.front().gap - (part_ == Part::None ? headerHeight_ : 0);
        if (beginsTable || gap >= kLeastGap) appendGap(stream_.text(), gap);
        part_ = part;
        table_.append(stream_.text(), rows, part == Part::Titles && !options_.paged,
                      [&](std::string& out, Item& item) { appendText(out, item); });
        if (hasOwnPages()) appendShapes(shapes_.back(), rows, top_);
        stream_.writeIfLarge();
    }

    // Appends the overlays of rows that begin below `top`, and moves `top` to the end of the rows.
    void appendShapes(std::string& out, std::span<const CellRow> rows, Micrometres& top) {
        for (const CellRow& row : rows) {
            top += row.gap;
            table_.appendOverlays(out, row, options_.page.margins.left, top);
            top += row.height;
        }
    }

    void appendText(std::string& out, Item& item) {
        if (isPending(item)) {
            open({false, pending_.add(std::move(item))});
        } else {
            appendItemText(out, item);
        }
    }

    void close(PendingTexts& pending) override {
        for (PageHeaderFooter& page : pages_) settle(page, pending);
        const std::vector<std::string> pages = pageBeginnings();
        std::string& head = output_.end();
        head += "{\\rtf1\\ansi\\ansicpg1252\\uc1\\deff0\n";
        table_.styles().appendTables(head);
        appendInfo(head);
        appendPaper(head);
        stream_.moveTo(output_, [&](std::size_t number, std::string& out) {
            const OpenPlace& place = places_[number];
            if (place.isPage) {
                out += pages[place.index];
            } else {
                Item item = pending_.item(place.index);
                pending.settle(item);
                appendItemText(out, item);
            }
        });
        // The last paragraph, which must not start another page.
        output_.append("\\pard\\plain\\fs2\\sl-20\\slmult0\n}\n");
    }

    // For each page, the beginning of a section, or a page break within one.
    std::vector<std::string> pageBeginnings() {
        std::vector<std::string> beginnings(pages_.size());
        const std::vector<std::size_t> sections = sectionStarts(pages_);
        const std::string backdrop = makeBackdrop(sections.size());
        int number = 1;  // as the word processor counts
        for (std::size_t i = 0; i < sections.size(); ++i) {
            std::string& out = beginnings[sections[i]];
            if (i > 0) {
                number += static_cast<int>(sections[i] - sections[i - 1]);
                appendGap(out, 0);
                out += options_.pageBreaks ? "\\sect" : "\\sect\\sbknone";
            }
            out += options_.pageBreaks || i == 0 ? "\\sectd\\sbkpage" : "\\sectd\\sbknone";
            const int shown = shownPageNumber(pages_[sections[i]]).value_or(number);
            if (shown != number) appendCommand(out, "\\pgnrestart\\pgnstarts", shown);
            number = shown;
            appendSection(out, pages_[sections[i]], backdrop);
        }
        for (std::size_t i = 0; i < pages_.size(); ++i) {
            const bool breaksPage = options_.pageBreaks && beginnings[i].empty();
            if (!breaksPage && shapes_[i].empty()) continue;
            appendGap(beginnings[i], 0, std::exchange(shapes_[i], {}), breaksPage ? "\\pagebb" : "");
        }
        return beginnings;
    }

    // The background and watermark, which every section repeats.
    std::string makeBackdrop(std::size_t sections) {
        constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // in all sections
        std::string out;
        const Size paper = options_.page.paper;
        if (!hasOwnPages() || sections == 0) return out;
        const std::shared_ptr<const Picture> picture =
            backdropOf(options_.background, options_.watermark, paper);
        if (picture == nullptr) return out;
        if (2 * picture->bytes.size() > kMostBytes / sections) {
            logWarning("the background is left out of the document, which would hold it " +
                       std::to_string(sections) + " times");
            return out;
        }
        Item item;
        item.box = {0, 0, paper.width, paper.height};
        item.content = PictureItem{picture, item.box, PictureFit::Stretch, {}};
        table_.appendBackdrop(out, item);
        return out;
    }

    void appendSection(std::string& out, PageHeaderFooter& parts, std::string_view backdrop) {
        Micrometres top = parts.margins.top;
        for (const PlacedBand& placed : parts.header) top = std::max(top, placed.y + placed.band.height);
        // An empty header is above the margin.
        const Micrometres headerTop = parts.header.empty() ? parts.margins.top - kLine : parts.margins.top;
        appendCommand(out, "\\headery", twips(std::max(headerTop, 0)));
        appendCommand(out, "\\footery", twips(std::max(parts.margins.bottom - kSlack, 0)));
        appendCommand(out, "\\margtsxn", twips(top));
        appendCommand(out, "\\margbsxn", twips(std::max(bottomMargin(parts), 0)));
        if (parts.paperKind != 0) appendPaperOf(out, parts);
        out += '\n';
        appendPart(out, "{\\header\n", parts.header, backdrop, hasHeader_);
        appendPart(out, "{\\footer\n", parts.footer, {}, hasFooter_);
    }

    // Tables are where they are on the report's own paper, which has its own left margin.
    void appendPaperOf(std::string& out, const PageHeaderFooter& page) const {
        appendCommand(out, "\\pgwsxn", twips(page.paper.width));
        appendCommand(out, "\\pghsxn", twips(page.paper.height));
        if (page.paper.width > page.paper.height) out += "\\lndscpsxn";
        appendCommand(out, "\\marglsxn", twips(options_.page.margins.left));
        appendCommand(out, "\\margrsxn", twips(page.margins.right));
    }

    Micrometres bottomMargin(const PageHeaderFooter& page) const {
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

    // `inherits` is whether an earlier section has this part: a section without it would inherit that one.
    void appendPart(std::string& out, const char* start, std::vector<PlacedBand>& bands,
                    std::string_view backdrop, bool& inherits) {
        if (bands.empty() && backdrop.empty() && !inherits) return;
        inherits = true;
        out += start;
        std::string shapes(backdrop);
        Micrometres top = bands.empty() ? 0 : bands.front().y;
        headerGrid_.beginPage(top);
        for (PlacedBand& placed : bands) {
            const std::span<const CellRow> rows = headerGrid_.place(placed.band, placed.x, placed.y);
            table_.append(out, rows, false,
                          [&](std::string& text, Item& item) { appendWithFields(text, item); });
            if (hasOwnPages()) appendShapes(shapes, rows, top);
        }
        appendGap(out, 0, shapes);
        out += "}\n";
    }

    void appendWithFields(std::string& out, const Item& item) const {
        appendItemText(out, item, countedFields(std::get<TextItem>(item.content), pages_.size()));
    }

    void appendInfo(std::string& out) const {
        out += "{\\info";
        const auto add = [&](const char* start, const std::u16string& text) {
            if (text.empty()) return;
            out += start;
            appendRtf(out, text);
            out += '}';
        };
        add("{\\title ", options_.info.title);
        add("{\\subject ", options_.info.subject);
        add("{\\author ", options_.info.author);
        add("{\\keywords ", options_.info.keywords);
        out += "}\n";
    }

    // Without pages, tables may be wider than the paper, which would cut them off.
    Micrometres paperWidth() const {
        if (options_.paged || options_.columnEdges.empty()) return options_.page.paper.width;
        const Micrometres wanted = options_.columnEdges.back() + options_.page.margins.right;
        return std::max(options_.page.paper.width, std::min(wanted, kMaxPaper));
    }

    void appendPaper(std::string& out) const {
        const PageSetup& page = options_.page;
        appendCommand(out, "\\paperw", twips(paperWidth()));
        appendCommand(out, "\\paperh", twips(page.paper.height));
        if (paperWidth() > page.paper.height) out += "\\landscape";
        appendCommand(out, "\\margl", twips(page.margins.left));
        appendCommand(out, "\\margr", twips(page.margins.right));
        appendCommand(out, "\\margt", twips(page.margins.top));
        appendCommand(out, "\\margb", twips(page.margins.bottom));
        out += "\n";
    }

    SheetOptions options_;
    Spool& output_;
    CellGrid headerGrid_;
    RtfTable table_;
    TextStream stream_;
    std::vector<OpenPlace> places_;  // of each gap in the stream
    std::vector<PageHeaderFooter> pages_;
    std::vector<std::string> shapes_;  // overlays of each page
    Micrometres top_ = 0;              // of the next row on the current page
    bool hasHeader_ = false;           // of any section so far
    bool hasFooter_ = false;
    PendingItems pending_;
    Micrometres headerHeight_ = 0;  // of the current page
    Part part_ = Part::None;
};

}  // namespace

std::unique_ptr<PageSink> makeRtfWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<RtfWriter>(options, output);
}

}  // namespace qbsvrl6
