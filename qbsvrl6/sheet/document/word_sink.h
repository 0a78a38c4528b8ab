// The shared part of the sinks for word processors: pages, their headers and footers, and what is known only at
// the end of the document.
#ifndef QBSVR_QBSVRL6_SHEET_DOCUMENT_WORD_SINK_H
#define QBSVR_QBSVRL6_SHEET_DOCUMENT_WORD_SINK_H

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/sheet/document/page_headers.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/text_stream.h"

namespace qbsvrl6 {

// Page headers and footers belong to a section, which continues for as long as the next page has the same ones
// except for the page number; page numbers are fields that the word processor counts. Whether a page count is
// that of the whole document is known only when all pages are complete, so the beginnings of pages are written
// last.
class WordSink : public CellSink {
protected:
    WordSink(const SheetOptions& options, Spool& output);

    const SheetOptions& options() const { return options_; }
    Spool& output() { return output_; }
    std::size_t pageCount() const { return pages_.size(); }

    // Whether the word processor has the same pages. Pictures then have fixed positions on their page; if they
    // were anchored in cells, some would be moved to a separate page.
    bool hasOwnPages() const { return options_.paged && options_.pageBreaks; }
    // The left edge of the grid, from the page margin.
    Micrometres gridLeft() const;

    // A section of pages, and its first one.
    struct Section {
        std::size_t firstPage;
        PageHeaderFooter& page;
        int number;     // that the first page shows
        bool restarts;  // the page numbers
    };
    // Without pages, tables may be wider than the paper, which would cut them off.
    Micrometres paperWidth() const;
    static Micrometres topMargin(const PageHeaderFooter& page);
    Micrometres bottomMargin(const PageHeaderFooter& page) const;
    // The edges of the header and footer. An empty header is above the margin.
    static Micrometres headerEdge(const PageHeaderFooter& page);
    static Micrometres footerEdge(const PageHeaderFooter& page);
    // The background and watermark as a picture of the size of the paper; none: the page has neither.
    std::optional<Item> backdropOf(const PageHeaderFooter& page) const;

    // Appends the bands of a header or footer, and a paragraph with `shapes` and their overlays.
    void appendPart(std::string& out, std::vector<PlacedBand>& bands, std::string shapes);

    // Takes a text that is pending out of its item; it is written at this place of the document. Returns its
    // number.
    std::size_t keepPending(Item&& item);

    // Settles the headers and footers, and writes the beginnings of pages.
    void closePages(PendingTexts& pending);
    // Appends the document to `to`, with the beginnings of pages and pending texts.
    void moveText(Spool& to, PendingTexts& pending);

private:
    // A paragraph of exactly this height, which ends the table before it.
    virtual void appendGap(std::string& out, Micrometres height, std::string_view content,
                           bool breaksPage) = 0;
    // The rows of a band. Titles are the first rows of their table.
    virtual void appendRows(std::string& out, const Band& band, std::span<const CellRow> rows,
                            bool areTitles) = 0;
    virtual void appendHeaderRows(std::string& out, std::span<const CellRow> rows) = 0;
    // The overlays of a row whose position on the page is `top`.
    virtual void appendOverlays(std::string& out, const CellRow& row, Micrometres top) = 0;
    virtual void appendSettled(std::string& out, const Item& item, std::size_t number) = 0;
    virtual void endTable(std::string& /*out*/) {}
    // For each section, what begins its first page. All pages of the section follow.
    virtual void beginSections(std::span<const Section> sections, std::vector<std::string>& beginnings) = 0;

    // A part that is written last: the beginning of a page, or a pending text.
    struct OpenPlace {
        bool isPage;
        std::size_t index;
    };
    enum class Part { None, Rows, Titles };

    void openPage(const PageInfo& page, bool isFirst) final;
    void closePage() final { endTable(stream_.text()); }
    bool keepBand(Band& band, Micrometres x, Micrometres y) final;
    void writeRows(const Band& band, std::span<const CellRow> rows) final;
    void open(OpenPlace place);
    void appendShapes(std::string& out, std::span<const CellRow> rows, Micrometres& top);

    SheetOptions options_;
    Spool& output_;
    CellGrid headerGrid_;
    TextStream stream_;
    std::vector<OpenPlace> places_;  // of each gap in the stream
    std::vector<PageHeaderFooter> pages_;
    std::vector<std::string> shapes_;      // overlays of each page
    std::vector<std::string> beginnings_;  // of each page
    Micrometres top_ = 0;                  // of the next row on the current page
    Micrometres headerHeight_ = 0;         // of the current page
    Part part_ = Part::None;
    PendingItems pending_;
};

}  // namespace qbsvrl6

#endif
