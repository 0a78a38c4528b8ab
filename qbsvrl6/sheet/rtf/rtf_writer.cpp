// RTF with real tables.
#include <algorithm>
#include <map>
#include <utility>

#include "qbsvrl6/sheet/document/word_sink.h"
#include "qbsvrl6/sheet/rtf/rtf_table.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

// A paragraph of exactly this height, which ends the table before it. A page break is a property of the
// paragraph: after a break character, some word processors lose the height of the next paragraph.
void appendSpacer(std::string& out, Micrometres height, std::string_view content = "",
                  std::string_view properties = "") {
    out += "\\pard\\plain";
    out += properties;
    appendCommand(out, "\\fs2\\sl-", std::max(twips(height), 20));
    out += "\\slmult0";
    out += content;
    out += "\\par\n";
}

class RtfWriter final : public WordSink {
public:
    RtfWriter(const SheetOptions& options, Spool& output)
        : WordSink(options, output), table_(grid(), gridLeft(), !hasOwnPages()) {}

private:
    void appendGap(std::string& out, Micrometres height, std::string_view content, bool breaksPage) override {
        appendSpacer(out, height, content, breaksPage ? "\\pagebb" : "");
    }

    void appendRows(std::string& out, const Band&, std::span<const CellRow> rows, bool areTitles) override {
        table_.append(out, rows, areTitles && !options().paged, [&](std::string& to, Item& item) {
            if (isPending(item)) {
                keepPending(std::move(item));
            } else {
                appendItemText(to, item);
            }
        });
    }

    void appendHeaderRows(std::string& out, std::span<const CellRow> rows) override {
        table_.append(out, rows, false, [&](std::string& to, Item& item) {
            appendItemText(to, item, countedFields(std::get<TextItem>(item.content), pageCount()));
        });
    }

    void appendOverlays(std::string& out, const CellRow& row, Micrometres top) override {
        table_.appendOverlays(out, row, options().page.margins.left, top);
    }

    void appendSettled(std::string& out, const Item& item, std::size_t) override {
        appendItemText(out, item);
    }

    // The head of the file, with its tables of fonts and colours, is written after the pages.
    void close(PendingTexts& pending) override {
        closePages(pending);
        std::string& head = output().end();
        head += "{\\rtf1\\ansi\\ansicpg1252\\uc1\\deff0\n";
        table_.styles().appendTables(head);
        appendInfo(head);
        appendPaper(head);
        moveText(output(), pending);
        // The last paragraph, which must not start another page.
        output().append("\\pard\\plain\\fs2\\sl-20\\slmult0\n}\n");
    }

    void beginSections(std::span<const Section> sections, std::vector<std::string>& beginnings) override {
        const bool breaksPages = options().pageBreaks;
        for (const Section& section : sections) {
            std::string& out = beginnings[section.firstPage];
            const bool isFirst = section.firstPage == 0;
            if (!isFirst) {
                appendSpacer(out, 0);
                out += breaksPages ? "\\sect" : "\\sect\\sbknone";
            }
            out += breaksPages || isFirst ? "\\sectd\\sbkpage" : "\\sectd\\sbknone";
            if (section.restarts) appendCommand(out, "\\pgnrestart\\pgnstarts", section.number);
            appendSection(out, section.page, backdrop(section.page, sections.size()));
            // Where a section begins with a table, some word processors do not begin a page.
            if (!isFirst && breaksPages) appendSpacer(out, 0);
        }
    }

    // The background and watermark, which every section of a paper repeats.
    const std::string& backdrop(const PageHeaderFooter& page, std::size_t sections) {
        constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // in all sections
        const auto [known, isNew] = backdrops_.try_emplace(page.paperKind);
        if (!isNew) return known->second;
        const std::optional<Item> item = backdropOf(page);
        if (!item) return known->second;
        if (2 * std::get<PictureItem>(item->content).picture->bytes.size() > kMostBytes / sections) {
            logWarning("the background is left out of the document, which would hold it " +
                       std::to_string(sections) + " times");
            return known->second;
        }
        table_.appendBackdrop(known->second, *item);
        return known->second;
    }

    void appendSection(std::string& out, PageHeaderFooter& page, const std::string& backdrop) {
        appendCommand(out, "\\headery", twips(headerEdge(page)));
        appendCommand(out, "\\footery", twips(footerEdge(page)));
        appendCommand(out, "\\margtsxn", twips(topMargin(page)));
        appendCommand(out, "\\margbsxn", twips(std::max(bottomMargin(page), 0)));
        if (page.paperKind != 0) appendPaperOf(out, page);
        out += '\n';
        addPart(out, "{\\header\n", page.header, backdrop, hasHeader_);
        addPart(out, "{\\footer\n", page.footer, {}, hasFooter_);
    }

    // Tables are where they are on the report's own paper, which has its own left margin.
    void appendPaperOf(std::string& out, const PageHeaderFooter& page) const {
        appendCommand(out, "\\pgwsxn", twips(page.paper.width));
        appendCommand(out, "\\pghsxn", twips(page.paper.height));
        if (page.paper.width > page.paper.height) out += "\\lndscpsxn";
        appendCommand(out, "\\marglsxn", twips(options().page.margins.left));
        appendCommand(out, "\\margrsxn", twips(page.margins.right));
    }

    // `inherits` is whether an earlier section has this part: a section without it would inherit that one.
    void addPart(std::string& out, const char* start, std::vector<PlacedBand>& bands,
                 const std::string& backdrop, bool& inherits) {
        if (bands.empty() && backdrop.empty() && !inherits) return;
        inherits = true;
        out += start;
        appendPart(out, bands, backdrop);
        out += "}\n";
    }

    void appendInfo(std::string& out) const {
        out += "{\\info";
        const auto add = [&](const char* start, const std::u16string& text) {
            if (text.empty()) return;
            out += start;
            appendRtf(out, text);
            out += '}';
        };
        add("{\\title ", options().info.title);
        add("{\\subject ", options().info.subject);
        add("{\\author ", options().info.author);
        add("{\\keywords ", options().info.keywords);
        out += "}\n";
    }

    void appendPaper(std::string& out) const {
        const PageSetup& page = options().page;
        appendCommand(out, "\\paperw", twips(paperWidth()));
        appendCommand(out, "\\paperh", twips(page.paper.height));
        if (paperWidth() > page.paper.height) out += "\\landscape";
        appendCommand(out, "\\margl", twips(page.margins.left));
        appendCommand(out, "\\margr", twips(page.margins.right));
        appendCommand(out, "\\margt", twips(page.margins.top));
        appendCommand(out, "\\margb", twips(page.margins.bottom));
        out += "\n";
    }

    RtfTable table_;
    std::map<int, std::string> backdrops_;  // by the kind of paper
    bool hasHeader_ = false;                // of any section so far
    bool hasFooter_ = false;
};

}  // namespace

std::unique_ptr<PageSink> makeRtfWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<RtfWriter>(options, output);
}

}  // namespace qbsvrl6
