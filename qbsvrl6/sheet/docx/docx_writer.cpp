// DOCX with real tables (ECMA-376 part 1, 17).
#include <algorithm>
#include <map>
#include <utility>

#include "qbsvrl6/sheet/document/word_sink.h"
#include "qbsvrl6/sheet/docx/docx_table.h"
#include "qbsvrl6/sheet/docx/docx_xml.h"
#include "qbsvrl6/sheet/package/package_pictures.h"
#include "qbsvrl6/sheet/package/zip.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

// Each is a file of the package, which has at most 65,535.
constexpr std::size_t kMostHeaders = 30'000;

// A paragraph of exactly this height. A page break is a property of the paragraph.
void appendSpacer(std::string& out, Micrometres height, std::string_view content = "",
                  bool breaksPage = false, std::string_view section = "") {
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

class DocxWriter final : public WordSink {
public:
    DocxWriter(const SheetOptions& options, const ReportDefinition& report, Spool& output)
        : WordSink(options, output), table_(report, grid(), gridLeft(), !hasOwnPages()) {}

private:
    struct PendingText {
        DocxTextForm form;
        std::string first, before, after;
    };
    // A header or footer.
    struct PagePart {
        std::size_t number = 0;
        DocxLinks links;
    };

    void appendGap(std::string& out, Micrometres height, std::string_view content, bool breaksPage) override {
        appendSpacer(out, height, content, breaksPage);
    }

    void endTable(std::string& out) override { table_.end(out); }

    void appendRows(std::string& out, const Band& band, std::span<const CellRow> rows,
                    bool areTitles) override {
        table_.append(
            out, rows, areTitles, links_,
            [&](std::string& to, Item& item, const DocxTextForm& form, const DocxTextFrame& frame) {
                appendText(to, item, form, frame);
            },
            &band);
    }

    void appendHeaderRows(std::string& out, std::span<const CellRow> rows) override {
        table_.append(out, rows, false, partLinks_,
                      [&](std::string& to, Item& item, const DocxTextForm& form, const DocxTextFrame& frame) {
                          const auto& text = std::get<TextItem>(item.content);
                          appendParagraphs(to, item, countedFields(text, pageCount()), form, frame);
                      });
    }

    void appendOverlays(std::string& out, const CellRow& row, Micrometres top) override {
        table_.appendOverlays(out, row, options().page.margins.left, top);
    }

    void appendText(std::string& out, Item& item, const DocxTextForm& form, const DocxTextFrame& frame) {
        if (!isPending(item)) return appendParagraphs(out, item, {}, form, frame);
        keepPending(std::move(item));
        pendingTexts_.push_back(
            {form, std::string(frame.first), std::string(frame.before), std::string(frame.after)});
    }

    void appendSettled(std::string& out, const Item& item, std::size_t number) override {
        const PendingText& text = pendingTexts_[number];
        appendParagraphs(out, item, {}, text.form, {text.first, text.before, text.after});
    }

    void close(PendingTexts& pending) override {
        closePages(pending);
        Spool body;
        moveText(body, pending);
        writePackage(body);
    }

    // The properties of a section are those of its last paragraph, which the next section begins with.
    void beginSections(std::span<const Section> sections, std::vector<std::string>& beginnings) override {
        for (const Section& section : sections) {
            const bool isFirst = section.firstPage == 0;
            if (!isFirst) appendSpacer(beginnings[section.firstPage], 0, {}, false, lastSection_);
            lastSection_ = makeSection(section.page, section.restarts ? section.number : 0, isFirst);
        }
        PageHeaderFooter nothing{0, options().page.paper, options().page.margins, {}, {}, {}};
        if (sections.empty()) lastSection_ = makeSection(nothing, 0, true);
    }

    // The background and watermark, which every page header of a paper has.
    const std::string& backdrop(const PageHeaderFooter& page) {
        const auto [known, isNew] = backdrops_.try_emplace(page.paperKind);
        if (!isNew) return known->second;
        const std::optional<Item> item = backdropOf(page);
        if (item) table_.appendBackdrop(known->second, *item);
        return known->second;
    }

    // The properties of a section that begins with this page; `number` is that of the page, or 0: it goes on.
    std::string makeSection(PageHeaderFooter& page, int number, bool isFirst) {
        std::string out;
        XmlWriter xml(out);
        xml.open("w:sectPr");
        addPart(xml, "w:headerReference", "w:hdr", page.header, backdrop(page), hasHeader_);
        addPart(xml, "w:footerReference", "w:ftr", page.footer, {}, hasFooter_);
        const bool startsPage = options().pageBreaks || isFirst;
        xml.open("w:type").attribute("w:val", startsPage ? "nextPage" : "continuous").close();
        const Micrometres width = page.paperKind == 0 ? paperWidth() : page.paper.width;
        xml.open("w:pgSz").attribute("w:w", twips(width)).attribute("w:h", twips(page.paper.height));
        if (width > page.paper.height) xml.attribute("w:orient", "landscape");
        xml.close().open("w:pgMar").attribute("w:top", twips(std::max(topMargin(page), 0)));
        xml.attribute("w:right", twips(std::max(page.margins.right, 0)));
        xml.attribute("w:bottom", twips(std::max(bottomMargin(page), 0)));
        // Tables are where they are on the report's own paper.
        xml.attribute("w:left", twips(std::max(options().page.margins.left, 0)));
        xml.attribute("w:header", twips(headerEdge(page))).attribute("w:footer", twips(footerEdge(page)));
        xml.attribute("w:gutter", 0).close();
        if (number != 0) xml.open("w:pgNumType").attribute("w:start", std::max(number, 0)).close();
        xml.close();
        return out;
    }

    // Adds the reference to a header or footer. `inherits` is whether an earlier section has this part: a
    // section without it would inherit that one.
    void addPart(XmlWriter& section, const char* reference, const char* root, std::vector<PlacedBand>& bands,
                 const std::string& backdrop, bool& inherits) {
        if (bands.empty() && backdrop.empty() && !inherits) return;
        inherits = true;
        std::string content;
        partLinks_ = {};
        appendPart(content, bands, backdrop);
        std::string part;
        XmlWriter xml(part);
        openWordPart(xml, root).content() += content;
        xml.close().lineEnd();
        // The pictures are the same in all parts; the links are known by their parts.
        const auto [known, isNew] =
            parts_.try_emplace(std::move(part), PagePart{headers_.size(), partLinks_});
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
        ZipWriter zip(output());
        zip.add("[Content_Types].xml", contentTypes());
        PackageRelations root;
        root.add("rId1", "officeDocument", "word/document.xml");
        root.add("rId2", std::string(kPackageNamespace) + "/relationships/metadata/core-properties",
                 "docProps/core.xml");
        zip.add("_rels/.rels", root.xml());
        zip.add("docProps/core.xml", coreProperties(options().info));
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
        addPictures(zip, "word/media/image", table_.pictures().pictures());
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
        appendSpacer(end, 0);
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

    DocxTable table_;
    DocxLinks links_;         // of the body
    DocxLinks partLinks_;     // of the header or footer that is being made
    bool hasHeader_ = false;  // of any section so far
    bool hasFooter_ = false;
    std::map<int, std::string> backdrops_;  // by the kind of paper
    std::string lastSection_;
    std::map<std::string, PagePart> parts_;  // headers and footers, each stored once
    std::vector<const std::pair<const std::string, PagePart>*> headers_;
    std::vector<PendingText> pendingTexts_;
};

}  // namespace

std::unique_ptr<PageSink> makeDocxWriter(const SheetOptions& options, const ReportDefinition& report,
                                         Spool& output) {
    return std::make_unique<DocxWriter>(options, report, output);
}

}  // namespace qbsvrl6
