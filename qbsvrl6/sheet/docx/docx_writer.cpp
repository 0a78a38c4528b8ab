// DOCX with real tables (ECMA-376 part 1, 17). Page headers and footers belong to a section, which continues
// for as long as the next page has the same ones except for the page number; page numbers are fields that the
// word processor counts. Whether a page count is that of the whole document is known only when all pages are
// complete, so the beginnings of pages are written last.
#include <algorithm>
#include <map>
#include <utility>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/sheet/document/page_headers.h"
#include "qbsvrl6/sheet/document/word_limits.h"
#include "qbsvrl6/sheet/docx/docx_table.h"
#include "qbsvrl6/sheet/docx/docx_xml.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/package/zip.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

// Each is a file of the package, which has at most 65,535.
constexpr std::size_t kMostHeaders = 30'000;

// A paragraph of exactly this height. A page break is a property of the paragraph.
void appendGap(std::string& out, Micrometres height, std::string_view content = "", bool breaksPage = false,
               std::string_view section = "") {
    constexpr int kHighest = 31'680;  // twips
    out += "<w:p><w:pPr><w:pStyle w:val=\"Spacer\"/>";
    if (breaksPage) out += "<w:pageBreakBefore/>";
    if (twips(height) > 20) {
        XmlWriter(out)
            .open("w:spacing")
            .attribute("w:line", std::min(twips(height), kHighest))
            .attribute("w:lineRule", "exact")
            .close();
    }
    out += section;
    out += "</w:pPr>";
    out += content;
    out += "</w:p>\n";
}

class DocxWriter final : public CellSink {
public:
    DocxWriter(const SheetOptions& options, const ReportDefinition& report, Spool& output)
        : CellSink(options, GridFit::Exact),
          options_(options),
          output_(output),
          headerGrid_(options.columnEdges, options.page.paper.width, GridFit::Exact),
          table_(report, grid(),
                 options.columnEdges.empty() ? 0 : options.columnEdges.front() - options.page.margins.left,
                 !hasOwnPages()) {}

private:
    // A part that is written last: the beginning of a page, or a pending text.
    struct OpenPlace {
        bool isPage;
        std::size_t index;
    };
    struct PendingText {
        DocxTextForm form;
        std::string first, before, after;
    };
    enum class Part { None, Rows, Titles };
    // A header or footer.
    struct PagePart {
        std::size_t number = 0;
        DocxLinks links;
    };

    // Whether the word processor has the same pages. Pictures then have fixed positions on their page.
    bool hasOwnPages() const { return options_.paged && options_.pageBreaks; }

    void openPage(const PageInfo& page, bool) override {
        stream_.mark();
        places_.push_back({true, pages_.size()});
        pages_.push_back({page.paperKind, page.paper, page.margins, {}, {}});
        shapes_.emplace_back();
        top_ = page.margins.top;
        part_ = Part::None;
        headerHeight_ = 0;
    }

    void closePage() override { table_.end(stream_.text()); }

    bool keepBand(Band& band, Micrometres x, Micrometres y) override {
        const bool isHeader = band.kind == BandKind::PageHeader;
        if (!isHeader && band.kind != BandKind::PageFooter) return false;
        PlacedBand& kept = (isHeader ? pages_.back().header : pages_.back().footer).emplace_back();
        if (isHeader) headerHeight_ = std::max(headerHeight_, y + band.height - pages_.back().margins.top);
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
        if (beginsTable || gap >= kLeastGap) {
            table_.end(stream_.text());
            appendGap(stream_.text(), gap);
        }
        part_ = part;
        table_.append(
            stream_.text(), rows, part == Part::Titles, links_,
            [&](std::string& out, Item& item, const DocxTextForm& form, const DocxTextFrame& frame) {
                appendText(out, item, form, frame);
            },
            &band);
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

    void appendText(std::string& out, Item& item, const DocxTextForm& form, const DocxTextFrame& frame) {
        if (!isPending(item)) return appendParagraphs(out, item, {}, form, frame);
        stream_.mark();
        places_.push_back({false, pending_.add(std::move(item))});
        pendingTexts_.push_back(
            {form, std::string(frame.first), std::string(frame.before), std::string(frame.after)});
    }

    void close(PendingTexts& pending) override {
        for (PageHeaderFooter& page : pages_) settle(page, pending);
        const std::vector<std::string> pages = pageBeginnings();
        Spool body;
        stream_.moveTo(body, [&](std::size_t number, std::string& out) {
            const OpenPlace& place = places_[number];
            if (place.isPage) {
                out += pages[place.index];
                return;
            }
            Item item = pending_.item(place.index);
            pending.settle(item);
            const PendingText& text = pendingTexts_[place.index];
            appendParagraphs(out, item, {}, text.form, {text.first, text.before, text.after});
        });
        writePackage(body);
    }

    // The pages.

    // For each page, the end of the section before it, or a page break within one.
    std::vector<std::string> pageBeginnings() {
        std::vector<std::string> beginnings(pages_.size());
        const std::vector<std::size_t> sections = sectionStarts(pages_);
        const std::string backdrop = makeBackdrop();
        int number = 1;  // as the word processor counts
        std::string section;
        for (std::size_t i = 0; i < sections.size(); ++i) {
            if (i > 0) {
                number += static_cast<int>(sections[i] - sections[i - 1]);
                appendGap(beginnings[sections[i]], 0, {}, false, section);
            }
            const int shown = shownPageNumber(pages_[sections[i]]).value_or(number);
            section = makeSection(pages_[sections[i]], backdrop, shown == number ? 0 : shown, i == 0);
            number = shown;
        }
        PageHeaderFooter nothing{0, options_.page.paper, options_.page.margins, {}, {}};
        lastSection_ = section.empty() ? makeSection(nothing, {}, 0, true) : section;
        for (std::size_t i = 0; i < pages_.size(); ++i) {
            const bool breaksPage = options_.pageBreaks && i > 0 && beginnings[i].empty();
            if (!breaksPage && shapes_[i].empty()) continue;
            appendGap(beginnings[i], 0, std::exchange(shapes_[i], {}), breaksPage);
        }
        return beginnings;
    }

    // The background and watermark, which every page header has.
    std::string makeBackdrop() {
        std::string out;
        const Size paper = options_.page.paper;
        if (!hasOwnPages()) return out;
        const std::shared_ptr<const Picture> picture =
            backdropOf(options_.background, options_.watermark, paper);
        if (picture == nullptr) return out;
        Item item;
        item.box = {0, 0, paper.width, paper.height};
        item.content = PictureItem{picture, item.box, PictureFit::Stretch, {}};
        table_.appendBackdrop(out, item);
        return out;
    }

    // The properties of a section that begins with this page; `number` is that of the page, or 0: it goes on.
    std::string makeSection(PageHeaderFooter& parts, std::string_view backdrop, int number, bool isFirst) {
        const Edges& margins = parts.margins;
        Micrometres top = margins.top;
        for (const PlacedBand& placed : parts.header) top = std::max(top, placed.y + placed.band.height);
        // An empty header is above the margin.
        const Micrometres headerTop = parts.header.empty() ? margins.top - kLine : margins.top;
        std::string out;
        XmlWriter xml(out);
        xml.open("w:sectPr");
        addPart(xml, "w:headerReference", "w:hdr", parts.header, backdrop, hasHeader_);
        addPart(xml, "w:footerReference", "w:ftr", parts.footer, {}, hasFooter_);
        const bool startsPage = options_.pageBreaks || isFirst;
        xml.open("w:type").attribute("w:val", startsPage ? "nextPage" : "continuous").close();
        const Micrometres width = parts.paperKind == 0 ? paperWidth() : parts.paper.width;
        xml.open("w:pgSz").attribute("w:w", twips(width)).attribute("w:h", twips(parts.paper.height));
        if (width > parts.paper.height) xml.attribute("w:orient", "landscape");
        xml.close().open("w:pgMar").attribute("w:top", twips(std::max(top, 0)));
        xml.attribute("w:right", twips(std::max(margins.right, 0)));
        xml.attribute("w:bottom", twips(std::max(bottomMargin(parts), 0)));
        // Tables are where they are on the report's own paper.
        xml.attribute("w:left", twips(std::max(options_.page.margins.left, 0)));
        xml.attribute("w:header", twips(std::max(headerTop, 0)));
        xml.attribute("w:footer", twips(std::max(margins.bottom - kSlack, 0)));
        xml.attribute("w:gutter", 0).close();
        if (number != 0) xml.open("w:pgNumType").attribute("w:start", std::max(number, 0)).close();
        xml.close();
        return out;
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

    // Without pages, tables may be wider than the paper, which would cut them off.
    Micrometres paperWidth() const {
        if (options_.paged || options_.columnEdges.empty()) return options_.page.paper.width;
        const Micrometres wanted = options_.columnEdges.back() + options_.page.margins.right;
        return std::max(options_.page.paper.width, std::min(wanted, kMaxPaper));
    }

    // Adds the reference to a header or footer. `inherits` is whether an earlier section has this part: a
    // section without it would inherit that one.
    void addPart(XmlWriter& section, const char* reference, const char* root, std::vector<PlacedBand>& bands,
                 std::string_view backdrop, bool& inherits) {
        if (bands.empty() && backdrop.empty() && !inherits) return;
        inherits = true;
        std::string content;
        std::string shapes(backdrop);
        Micrometres top = bands.empty() ? 0 : bands.front().y;
        headerGrid_.beginPage(top);
        DocxLinks links;
        for (PlacedBand& placed : bands) {
            const std::span<const CellRow> rows = headerGrid_.place(placed.band, placed.x, placed.y);
            if (rows.empty()) continue;
            table_.append(
                content, rows, false, links,
                [&](std::string& out, Item& item, const DocxTextForm& form, const DocxTextFrame& frame) {
                    const auto* const text = std::get_if<TextItem>(&item.content);
                    appendParagraphs(out, item, countedFields(*text, pages_.size()), form, frame);
                });
            if (hasOwnPages()) appendShapes(shapes, rows, top);
        }
        table_.end(content);
        appendGap(content, 0, shapes);
        std::string part;
        XmlWriter xml(part);
        openWordPart(xml, root).content() += content;
        xml.close().lineEnd();
        // The pictures are the same in all parts; the links are known by their parts.
        const auto [known, isNew] = parts_.try_emplace(std::move(part), PagePart{headers_.size(), links});
        if (isNew) headers_.push_back(&*known);
        if (headers_.size() > kMostHeaders) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "the pages have more than " + std::to_string(kMostHeaders) +
                                  " different headers and footers; a DOCX document cannot hold them all");
        }
        section.open(reference).attribute("w:type", "default");
        section.attribute("r:id", "rIdPart", known->second.number + 1).close();
    }

    // The package.

    static bool isHeader(const std::string& part) { return part.find("<w:hdr ") < 100; }
    static std::string nameOf(const std::pair<const std::string, PagePart>& part) {
        return (isHeader(part.first) ? "header" : "footer") + std::to_string(part.second.number + 1) + ".xml";
    }

    void writePackage(const Spool& body) {
        ZipWriter zip(output_);
        zip.add("[Content_Types].xml", contentTypes());
        PackageRelations root;
        root.add("rId1", "officeDocument", "word/document.xml");
        root.add("rId2", std::string(kPackageNamespace) + "/relationships/metadata/core-properties",
                 "docProps/core.xml");
        zip.add("_rels/.rels", root.xml());
        zip.add("docProps/core.xml", coreProperties(options_.info));
        zip.add("word/styles.xml", table_.styles().part());
        zip.add("word/settings.xml", settings());
        PackageRelations& relations = links_.others();
        relations.add("rIdStyles", "styles", "styles.xml");
        relations.add("rIdSettings", "settings", "settings.xml");
        for (const auto* const part : headers_) {
            const std::string name = nameOf(*part);
            relations.add("rIdPart" + std::to_string(part->second.number + 1),
                          isHeader(part->first) ? "header" : "footer", name);
            zip.add("word/" + name, part->first);
            zip.add("word/_rels/" + name + ".rels", part->second.links.relations(table_.pictures()));
        }
        zip.add("word/_rels/document.xml.rels", links_.relations(table_.pictures()));
        const auto& all = table_.pictures().pictures();
        for (std::size_t i = 0; i < all.size(); ++i) {
            zip.addStored("word/media/" + pictureName(*all[i], i + 1), all[i]->bytes);
        }
        writeDocument(zip, body);
        zip.finish();
    }

    void writeDocument(ZipWriter& zip, const Spool& body) {
        std::string head;
        XmlWriter xml(head);
        openWordPart(xml, "w:document").open("w:body").lineEnd();
        DeflateStream first;
        first.append(head);
        DeflateStream rest;
        std::string block(256 * 1024, '\0');
        for (std::uint64_t at = 0; at < body.size();) {
            const std::size_t size = body.read(at, block.data(), block.size());
            rest.append({block.data(), size});
            at += size;
        }
        // The last paragraph, which must not start another page.
        std::string end;
        appendGap(end, 0);
        end += lastSection_ + "</w:body></w:document>\n";
        rest.append(end);
        zip.add("word/document.xml", std::move(first), std::move(rest));
    }

    std::string contentTypes() const {
        std::string part;
        XmlWriter xml(part);
        xml.declare().open("Types").attribute("xmlns", kPackageNamespace, "/content-types").lineEnd();
        const auto addDefault = [&](const char* extension, const char* type) {
            xml.open("Default").attribute("Extension", extension);
            xml.attribute("ContentType", type).close().lineEnd();
        };
        addDefault("rels", "application/vnd.openxmlformats-package.relationships+xml");
        addDefault("xml", "application/xml");
        addDefault("png", "image/png");
        addDefault("jpeg", "image/jpeg");
        const auto add = [&](std::string_view name, std::string_view type) {
            xml.open("Override").attribute("PartName", "/", name);
            xml.attribute("ContentType", "application/vnd.openxmlformats-", type, "+xml").close().lineEnd();
        };
        add("docProps/core.xml", "package.core-properties");
        add("word/document.xml", "officedocument.wordprocessingml.document.main");
        add("word/styles.xml", "officedocument.wordprocessingml.styles");
        add("word/settings.xml", "officedocument.wordprocessingml.settings");
        for (const auto* const header : headers_) {
            add("word/" + nameOf(*header), isHeader(header->first)
                                               ? "officedocument.wordprocessingml.header"
                                               : "officedocument.wordprocessingml.footer");
        }
        xml.close().lineEnd();
        return part;
    }

    // Without a mode of compatibility, word processors lay the document out as old versions did.
    std::string settings() const {
        std::string part;
        XmlWriter xml(part);
        xml.declare().open("w:settings").attribute("xmlns:w", kWordNamespace);
        xml.open("w:compat").open("w:compatSetting").attribute("w:name", "compatibilityMode");
        xml.attribute("w:uri", "http://schemas.microsoft.com/office/word").attribute("w:val", 15);
        xml.close().close().open("w:themeFontLang").attribute("w:val", "en-US");
        xml.attribute("w:eastAsia", table_.styles().eastAsianLanguage()).close();
        xml.close().lineEnd();
        return part;
    }

    SheetOptions options_;
    Spool& output_;
    CellGrid headerGrid_;
    DocxTable table_;
    TextStream stream_;
    DocxLinks links_;                // of the body
    std::vector<OpenPlace> places_;  // of each gap in the stream
    std::vector<PageHeaderFooter> pages_;
    std::vector<std::string> shapes_;  // overlays of each page
    Micrometres top_ = 0;              // of the next row on the current page
    bool hasHeader_ = false;           // of any section so far
    bool hasFooter_ = false;
    std::string lastSection_;
    std::map<std::string, PagePart> parts_;  // headers and footers, each stored once
    std::vector<const std::pair<const std::string, PagePart>*> headers_;
    PendingItems pending_;
    std::vector<PendingText> pendingTexts_;
    Micrometres headerHeight_ = 0;  // of the current page
    Part part_ = Part::None;
};

}  // namespace

std::unique_ptr<PageSink> makeDocxWriter(const SheetOptions& options, const ReportDefinition& report,
                                         Spool& output) {
    return std::make_unique<DocxWriter>(options, report, output);
}

}  // namespace qbsvrl6
