#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/fonts/text_language.h"
#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/paint/band_painter.h"
#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/paint/pdf/pdf_attachments.h"
#include "qbsvrl6/paint/pdf/pdf_canvas.h"
#include "qbsvrl6/paint/pdf/pdf_file.h"
#include "qbsvrl6/paint/pdf/pdf_fonts.h"
#include "qbsvrl6/paint/pdf/pdf_metadata.h"
#include "qbsvrl6/paint/pdf/pdf_outline.h"
#include "qbsvrl6/paint/pdf/pdf_pictures.h"
#include "qbsvrl6/paint/pdf/pdf_structure.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/paint/pdf/srgb_profile.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;

// Pages form a tree, so that a reader finds one of thousands in a few steps.
constexpr std::size_t kFanOut = 64;

std::string reference(int number) { return std::to_string(number) + " 0 R"; }

// The numbers that pages show, where they are not those of the sheets.
class PageLabels {
public:
    void add(int shownNumber) {
        if (shownNumber != next_) ranges_ += std::to_string(pages_) + labelFrom(shownNumber);
        next_ = shownNumber + 1;
        ++pages_;
    }
    // Of the catalog.
    std::string entry() const {
        if (ranges_.empty()) return {};
        const bool startsAtOne = !ranges_.starts_with("0<<");
        return "/PageLabels<</Nums[" + (startsAtOne ? "0" + labelFrom(1) : std::string()) + ranges_ + "]>>";
    }

private:
    static std::string labelFrom(int number) {
        return "<</S/D" + (number > 1 ? "/St " + std::to_string(number) : std::string()) + ">>";
    }

    std::string ranges_;
    int next_ = 1;
    int pages_ = 0;
};

std::string viewerPreferences(const PdfSettings& settings, bool hasTitle) {
    static constexpr std::string_view kDuplex[] = {"", "/Duplex/Simplex", "/Duplex/DuplexFlipLongEdge",
                                                   "/Duplex/DuplexFlipShortEdge"};
    std::string entries = hasTitle ? "/DisplayDocTitle true" : "";
    entries += kDuplex[static_cast<std::size_t>(settings.duplex)];
    if (settings.unscaled) entries += "/PrintScaling/None";
    return entries.empty() ? entries : "/ViewerPreferences<<" + entries + ">>";
}

class PdfWriter : public PageSink {
public:
    PdfWriter(const PdfOptions& options, Spool& output)
        : options_(options),
          output_(output),
          file_(output, part() == 1 ? PdfFile::Version::Pdf14 : PdfFile::Version::Pdf17),
          fonts_({options.embedWholeFonts, part() == 1}),
          pictures_(file_, options.standard),
          canvas_(fonts_, pictures_, part() != 1) {
        options_.info = plainInfo(options.info);
        catalog_ = file_.reserve();
        root_ = file_.reserve();
        resources_ = file_.reserve();
        if (options.protection.isSet()) {
            file_.encrypt(std::make_shared<const PdfEncryption>(options.protection));
        }
        if (options.structure != nullptr) {
            tags_.emplace(file_, *options.structure);
            tags_->setLanguage(toUtf8(options_.info.language));
        }
        if (!options.signature) return;
        signer_.emplace(*options.signature);
        signature_ = file_.reserve();
        signatureField_ = file_.reserve();
    }

    void beginPage(const PageInfo& page) override {
        page_ = {};
        page_.paper = page.paper;
        page_.number = file_.reserve();
        labels_.add(page.shownNumber);
        canvas_.begin(page.paper.height);
        if (tags_) tags_->beginPage(page_.number, page.paper.height);
        const auto& background = page.background != nullptr ? page.background : options_.background;
        if (background == nullptr && options_.watermark.text.empty()) return;
        canvas_.beginDecoration();
        if (background != nullptr) canvas_.picture(background, {0, 0, page.paper.width, page.paper.height});
        paintWatermark(canvas_, options_.watermark, page.paper);
        canvas_.endDecoration();
    }

    void band(Band&& band, Micrometres x, Micrometres y) override {
        if (!band.bookmark.empty() && !band.repeated) {
            const double top = (page_.paper.height - y) / kMicrometresPerPoint;
            bookmarks_.push_back({band.bookmark, band.groupLevel, page_.number, top});
        }
        guessLanguage(band);
        if (tags_) tags_->beginBand(canvas_, band, x, y);
        paintBand(canvas_, std::move(band), x, y, page_.pending);
        if (!tags_) return;
        tags_->endBand(canvas_);
        const std::vector<PdfStructure::LateContent>& late = tags_->lateContents();
        page_.lateContents.insert(page_.lateContents.end(), late.begin(), late.end());
    }

    void endPage() override {
        const int content = file_.reserve();
        writeContent(content);
        std::string contents = reference(content);
        if (!page_.pending.empty()) {
            // Texts that are known at the end go into a second stream, so the page can be written now.
            const int late = file_.reserve();
            contents = "[" + contents + " " + reference(late) + "]";
            for (PendingItem& item : page_.pending) {
                latePlaces_.push_back({item.x, item.y});
                lateItems_.add(std::move(item.item));
            }
            lateContents_.insert(lateContents_.end(), page_.lateContents.begin(), page_.lateContents.end());
            latePages_.push_back({late, page_.paper.height, lateItems_.size()});
        }
        writePage(contents);
        if (options_.info.language.empty() && leaves_.size() == 1) settleLanguage();
    }

    void finish(PendingTexts& pending) override {
        if (leaves_.empty()) {  // readers reject a document without pages
            beginPage({1, PageSetup().paper, {}});
            endPage();
        }
        writeLatePages(pending);
        writePageTree();
        writeResources();
        const int outline = writeOutline(file_, bookmarks_);
        if (options_.info.language.empty()) options_.info.language = toUtf16(language_.name());
        if (options_.accessible) nameDocument();
        writeCatalog(outline);
        const int info = file_.reserve();
        file_.writeObject(info, infoDictionary(options_.info));
        std::uint64_t signatureAt = 0;
        if (signer_) signatureAt = file_.writePlainObject(signature_, signer_->dictionary());
        file_.finish(catalog_, info);
        if (signer_) signer_->sign(output_, signatureAt);
    }

private:
    struct OpenPage {
        int number = 0;
        Size paper;
        std::vector<PendingItem> pending;
        std::vector<PdfStructure::LateContent> lateContents;  // of the pending items, with tags
    };
    struct LatePage {
        int content = 0;
        Micrometres paperHeight = 0;
        std::size_t end = 0;  // of its items
    };
    struct Point {
        Micrometres x = 0, y = 0;
    };
    // A node of the page tree, complete or open.
    struct TreeNode {
        int number = 0;
        std::vector<int> children;
        std::size_t pages = 0;
    };

    int part() const { return partOf(options_.standard); }

    void guessLanguage(const Band& band) {
        if (!options_.info.language.empty()) return;
        for (const Item& item : band.items) {
            if (const auto* text = std::get_if<TextItem>(&item.content)) language_.see(text->text);
        }
    }

    // Texts in another language than the document name theirs, so it is settled after the first page.
    void settleLanguage() {
        if (!tags_) return;
        options_.info.language = toUtf16(language_.name());
        tags_->setLanguage(language_.name());
    }

    // Accessible documents have a title.
    void nameDocument() {
        DocumentInfo& info = options_.info;
        if (info.title.empty()) info.title = tags_->title();
        info = plainInfo(info);
        if (!info.title.empty()) return;
        throw EngineError(ErrorCode::NotSupported,
                          "PDF/UA needs a title, and neither <Info> nor a heading has one");
    }

    void writeLatePages(PendingTexts& pending) {
        std::size_t next = 0;
        for (const LatePage& page : latePages_) {
            canvas_.begin(page.paperHeight);
            for (; next < page.end; ++next) {
                PendingItem item{lateItems_.item(next), latePlaces_[next].x, latePlaces_[next].y};
                pending.settle(item.item);
                if (tags_) canvas_.markReserved(lateContents_[next].tag, lateContents_[next].content);
                paintText(canvas_, item);
                canvas_.endItem();
            }
            writeContent(page.content);
        }
    }

    // The marks of a tagged page repeat themselves: the best compression would take twice the time for a tenth.
    void writeContent(int number) {
        file_.writeStream(number, "", canvas_.end(), false, tags_ ? Compression::Speed : Compression::Size);
    }

    void writePage(const std::string& contents) {
        if (leaves_.empty() || leaves_.back().children.size() == kFanOut)
            leaves_.push_back({file_.reserve(), {}, 0});
        leaves_.back().children.push_back(page_.number);
        ++leaves_.back().pages;
        ByteBuffer out;
        out.add("<</Type/Page/Parent "sv, std::int64_t{leaves_.back().number}, " 0 R/MediaBox[0 0 "sv);
        appendPoints(out, page_.paper.width);
        out.append(' ');
        appendPoints(out, page_.paper.height);
        out.add("]/Contents "sv, std::string_view(contents));
        if (canvas_.usedPictures().empty()) {
            out.add("/Resources "sv, std::int64_t{resources_}, " 0 R"sv);
        } else {
            out.add("/Resources<</Font "sv, std::int64_t{fontResources()}, " 0 R/ExtGState "sv,
                    std::int64_t{stateResources()}, " 0 R/XObject<<"sv);
            for (const int picture : canvas_.usedPictures()) {
                out.add("/I"sv, std::int64_t{picture}, ' ', std::int64_t{picture}, " 0 R"sv);
            }
            out.append(">>>>"sv);
        }
        if (tags_) out.append(std::string_view(tags_->endPage(canvas_)));
        addAnnotations(out);
        out.append(">>"sv);
        file_.writeObject(page_.number, out.view());
    }

    // The field of the signature is where the report has a box for it, or else it has no size, on the first
    // page.
    bool showsSignature() const {
        if (!signer_ || hasSignatureField_) return false;
        return canvas_.signature() || !options_.signature->hasBox;
    }

    void writeSignatureField(const Rect& rect, int page) {
        hasSignatureField_ = true;
        const int appearance = file_.reserve();
        ByteBuffer out;
        out.append("/Type/XObject/Subtype/Form/Resources<<>>/BBox[0 0 "sv);
        appendPoints(out, rect.width);
        out.append(' ');
        appendPoints(out, rect.height);
        out.append(']');
        file_.writeStream(appearance, out.view(), "");
        constexpr std::int64_t kPrintedAndLocked = 4 + 128;
        out.clear();
        out.add("<</Type/Annot/Subtype/Widget/FT/Sig/T(Signature)/F "sv, kPrintedAndLocked);
        addRect(out, rect);
        if (page != 0) out.add("/P "sv, std::int64_t{page}, " 0 R"sv);
        if (page != 0 && tags_) {
            const int element = tags_->addField(signatureField_);
            out.add("/TU(Signature)/StructParent "sv, std::int64_t{tags_->keyOf(element)});
        }
        out.add("/V "sv, std::int64_t{signature_}, " 0 R/AP<</N "sv, std::int64_t{appearance}, " 0 R>>>>"sv);
        file_.writeObject(signatureField_, out.view());
    }

    // Its edges on the page, in points.
    void addRect(ByteBuffer& out, const Rect& rect) const {
        const double height = page_.paper.height;
        out.append("/Rect["sv);
        for (const double edge :
             {0.0 + rect.x, height - rect.bottom(), 0.0 + rect.right(), height - rect.y}) {
            appendPoints(out, edge);
            out.append(' ');
        }
        out.append(']');
    }

    void addAnnotations(ByteBuffer& page) {
        const bool hasSignature = showsSignature();
        if (canvas_.links().empty() && !hasSignature) return;
        page.append("/Annots["sv);
        if (hasSignature) {
            writeSignatureField(canvas_.signature().value_or(Rect{}), page_.number);
            page.add(std::int64_t{signatureField_}, " 0 R "sv);
        }
        ByteBuffer out;
        for (const PdfLink& link : canvas_.links()) {
            out.clear();
            out.append("<</Type/Annot/Subtype/Link/F 4/Border[0 0 0]"sv);
            addRect(out, link.rect);
            const bool isInner = link.address.starts_with(u'#');
            out.append(isInner ? "/A<</S/GoTo/D"sv : "/A<</S/URI/URI"sv);
            appendByteString(out, isInner ? destinations_.nameOf(link.address) : toUtf8(link.address));
            out.append(">>"sv);
            if (tags_) {
                out.add("/StructParent "sv, std::int64_t{tags_->keyOf(link.element)}, "/Contents"sv);
                appendTextString(out, link.contents);
            }
            out.append(">>"sv);
            const int number = tags_ ? link.annotation : file_.reserve();
            file_.writeObject(number, out.view());
            page.add(std::int64_t{number}, " 0 R "sv);
        }
        page.append("]"sv);
    }

    int fontResources() {
        if (fontDictionary_ == 0) fontDictionary_ = file_.reserve();
        return fontDictionary_;
    }
    int stateResources() {
        if (stateDictionary_ == 0) stateDictionary_ = file_.reserve();
        return stateDictionary_;
    }

    void writePageTree() {
        std::vector<TreeNode> level = std::move(leaves_);
        while (level.size() > 1) {
            const bool last = level.size() <= kFanOut;
            std::vector<TreeNode> above;
            for (std::size_t start = 0; start < level.size(); start += kFanOut) {
                TreeNode& parent = above.emplace_back();
                parent.number = last ? root_ : file_.reserve();
                for (std::size_t i = start; i < std::min(start + kFanOut, level.size()); ++i) {
                    parent.children.push_back(level[i].number);
                    parent.pages += level[i].pages;
                    writeTreeNode(level[i], parent.number);
                }
            }
            level = std::move(above);
        }
        // The root holds a single leaf, or none.
        TreeNode root;
        if (level.size() == 1 && level.front().number == root_) {
            root = std::move(level.front());
        } else if (level.size() == 1) {
            root = {root_, {level.front().number}, level.front().pages};
            writeTreeNode(level.front(), root_);
        }
        root.number = root_;
        writeTreeNode(root, 0);
    }

    void writeTreeNode(const TreeNode& node, int parent) {
        ByteBuffer out;
        out.add("<</Type/Pages/Count "sv, static_cast<std::int64_t>(node.pages));
        if (parent != 0) out.add("/Parent "sv, std::int64_t{parent}, " 0 R"sv);
        out.append("/Kids["sv);
        for (const int child : node.children) out.add(std::int64_t{child}, " 0 R "sv);
        out.append("]>>"sv);
        file_.writeObject(node.number, out.view());
    }

    void writeResources() {
        file_.writeObject(fontResources(), fonts_.write(file_));
        std::string states = "<<";
        for (const int percent : canvas_.usedOpacities()) {
            ByteBuffer value;
            appendNumber(value, percent / 100.0, 2);
            states += "/G" + std::to_string(percent) + "<</ca " + std::string(value.view()) + ">>";
        }
        file_.writeObject(stateResources(), states + ">>");
        file_.writeObject(resources_, "<</Font " + reference(fontResources()) + "/ExtGState " +
                                          reference(stateResources()) + ">>");
    }

    void writeCatalog(int outline) {
        ByteBuffer language;
        appendTextString(language, options_.info.language);
        std::string body =
            "<</Type/Catalog/Pages " + reference(root_) + "/Lang" + std::string(language.view());
        if (outline != 0) body += "/Outlines " + reference(outline) + "/PageMode/UseOutlines";
        if (tags_) body += tags_->finish();
        body += viewerPreferences(options_.settings, !options_.info.title.empty());
        body += labels_.entry();
        if (options_.protection.isSet()) {  // its encryption came after 1.7
            body += "/Extensions<</ADBE<</BaseVersion/1.7/ExtensionLevel 8>>>>";
        }
        if (signer_) {
            if (!hasSignatureField_) writeSignatureField({}, 0);
            body += "/AcroForm<</SigFlags 3/Fields[" + reference(signatureField_) + "]>>";
        }
        std::string names = destinations_.write(bookmarks_);
        if (options_.attachments != nullptr) {
            const PdfAttachmentEntries files = writeAttachments(file_, *options_.attachments);
            body += files.catalog;
            names += files.names;
        }
        if (!names.empty()) body += "/Names<<" + names + ">>";
        if (options_.standard != PdfStandard::None || options_.accessible || !options_.metadata.empty())
            body += standardEntries();
        file_.writeObject(catalog_, body + ">>");
    }

    const Attachment* invoice() const {
        if (options_.attachments == nullptr) return nullptr;
        for (const PdfAttachment& file : *options_.attachments) {
            if (!file.settings.invoiceProfile.empty()) return &file.settings;
        }
        return nullptr;
    }

    // The metadata can be read without software for PDF, so it is not compressed. The colours are those of
    // sRGB on any device.
    std::string standardEntries() {
        const int metadata = file_.reserve();
        file_.writeStream(
            metadata, "/Type/Metadata/Subtype/XML",
            xmpPacket(options_.info, {options_.standard, options_.accessible, invoice(), &options_.metadata}),
            true);
        if (options_.standard == PdfStandard::None) return "/Metadata " + reference(metadata);
        const int profile = file_.reserve();
        file_.writeStream(profile, "/N 3", srgbProfile());
        const std::string name = "(sRGB IEC61966-2.1)";
        return "/Metadata " + reference(metadata) +
               "/OutputIntents[<</Type/OutputIntent/S/GTS_PDFA1/OutputConditionIdentifier" + name + "/Info" +
               name + "/DestOutputProfile " + reference(profile) + ">>]";
    }

    PdfOptions options_;
    Spool& output_;
    PdfFile file_;
    PdfFonts fonts_;
    PdfPictures pictures_;
    PdfCanvas canvas_;
    std::optional<PdfStructure> tags_;  // none: the document has no tags
    LanguageGuess language_;
    PageLabels labels_;
    std::optional<PdfSigner> signer_;
    int signature_ = 0, signatureField_ = 0;
    bool hasSignatureField_ = false;
    int catalog_ = 0, root_ = 0, resources_ = 0;
    int fontDictionary_ = 0, stateDictionary_ = 0;
    OpenPage page_;
    std::vector<LatePage> latePages_;
    PendingItems lateItems_;
    std::vector<Point> latePlaces_;                        // of the bands of the items
    std::vector<PdfStructure::LateContent> lateContents_;  // of the items, with tags
    std::vector<TreeNode> leaves_;
    std::vector<PdfBookmark> bookmarks_;
    PdfDestinations destinations_;
};

}  // namespace

std::unique_ptr<PageSink> makePdfWriter(const PdfOptions& options, Spool& output) {
    return std::make_unique<PdfWriter>(options, output);
}

}  // namespace qbsvrl6
