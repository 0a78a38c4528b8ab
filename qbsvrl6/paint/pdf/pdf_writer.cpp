#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/paint/band_painter.h"
#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/paint/pdf/pdf_canvas.h"
#include "qbsvrl6/paint/pdf/pdf_file.h"
#include "qbsvrl6/paint/pdf/pdf_fonts.h"
#include "qbsvrl6/paint/pdf/pdf_outline.h"
#include "qbsvrl6/paint/pdf/pdf_pictures.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;

// Pages form a tree, so that a reader finds one of thousands in a few steps.
constexpr std::size_t kFanOut = 64;

std::string reference(int number) { return std::to_string(number) + " 0 R"; }

class PdfWriter : public PageSink {
public:
    PdfWriter(const PdfOptions& options, Spool& output)
        : options_(options),
          file_(output),
          fonts_(options.embedWholeFonts),
          pictures_(file_),
          canvas_(fonts_, pictures_) {
        catalog_ = file_.reserve();
        root_ = file_.reserve();
        resources_ = file_.reserve();
    }

    void beginPage(const PageInfo& page) override {
        page_ = {};
        page_.paper = page.paper;
        page_.number = file_.reserve();
        canvas_.begin(page.paper.height);
        if (options_.background == nullptr && options_.watermark.text.empty()) return;
        canvas_.beginDecoration();
        if (options_.background != nullptr) {
            canvas_.picture(options_.background, {0, 0, page.paper.width, page.paper.height});
        }
        paintWatermark(canvas_, options_.watermark, page.paper);
        canvas_.endDecoration();
    }

    void band(Band&& band, Micrometres x, Micrometres y) override {
        if (!band.bookmark.empty() && !band.repeated) {
            const double top = (page_.paper.height - y) / kMicrometresPerPoint;
            bookmarks_.push_back({band.bookmark, band.groupLevel, page_.number, top});
        }
        paintBand(canvas_, std::move(band), x, y, page_.pending);
    }

    void endPage() override {
        const int content = file_.reserve();
        file_.writeStream(content, "", canvas_.end());
        std::string contents = reference(content);
        if (!page_.pending.empty()) {
            // Texts that are known at the end go into a second stream, so the page can be written now.
            const int late = file_.reserve();
            contents = "[" + contents + " " + reference(late) + "]";
            for (PendingItem& item : page_.pending) {
                latePlaces_.push_back({item.x, item.y});
                lateItems_.add(std::move(item.item));
            }
            latePages_.push_back({late, page_.paper.height, lateItems_.size()});
        }
        writePage(contents);
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
        writeCatalog(outline);
        file_.finish(catalog_, writeInfo());
    }

private:
    struct OpenPage {
        int number = 0;
        Size paper;
        std::vector<PendingItem> pending;
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

    void writeLatePages(PendingTexts& pending) {
        std::size_t next = 0;
        for (const LatePage& page : latePages_) {
            canvas_.begin(page.paperHeight);
            for (; next < page.end; ++next) {
                PendingItem item{lateItems_.item(next), latePlaces_[next].x, latePlaces_[next].y};
                pending.settle(item.item);
                paintText(canvas_, item);
            }
            file_.writeStream(page.content, "", canvas_.end());
        }
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
        if (!canvas_.usedPictures().empty()) {
            out.add("/Resources<</Font "sv, std::int64_t{fontResources()}, " 0 R/ExtGState "sv,
                    std::int64_t{stateResources()}, " 0 R/XObject<<"sv);
            for (const int picture : canvas_.usedPictures()) {
                out.add("/I"sv, std::int64_t{picture}, ' ', std::int64_t{picture}, " 0 R"sv);
            }
            out.append(">>>>"sv);
        }
        addLinks(out);
        out.append(">>"sv);
        file_.writeObject(page_.number, out.view());
    }

    void addLinks(ByteBuffer& out) {
        if (canvas_.links().empty()) return;
        out.append("/Annots["sv);
        for (const PdfLink& link : canvas_.links()) {
            out.append("<</Type/Annot/Subtype/Link/Border[0 0 0]/Rect["sv);
            const double height = page_.paper.height;
            for (const double edge : {0.0 + link.rect.x, height - link.rect.bottom(), 0.0 + link.rect.right(),
                                      height - link.rect.y}) {
                appendPoints(out, edge);
                out.append(' ');
            }
            out.append("]/A<</S/URI/URI"sv);
            appendByteString(out, toUtf8(link.address));
            out.append(">>>>"sv);
        }
        out.append("]"sv);
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
        if (parent != 0) {
            out.add("/Parent "sv, std::int64_t{parent}, " 0 R"sv);
        } else {
            out.add("/Resources "sv, std::int64_t{resources_}, " 0 R"sv);
        }
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
        std::string body = "<</Type/Catalog/Pages " + reference(root_) + "/Lang(zh-CN)";
        if (outline != 0) body += "/Outlines " + reference(outline) + "/PageMode/UseOutlines";
        if (!options_.info.title.empty()) body += "/ViewerPreferences<</DisplayDocTitle true>>";
        file_.writeObject(catalog_, body + ">>");
    }

    int writeInfo() {
        ByteBuffer out;
        out.append("<<"sv);
        const auto entry = [&](std::string_view key, const std::u16string& text) {
            if (text.empty()) return;
            out.append(key);
            appendTextString(out, text);
        };
        entry("/Title"sv, options_.info.title);
        entry("/Author"sv, options_.info.author);
        entry("/Subject"sv, options_.info.subject);
        entry("/Keywords"sv, options_.info.keywords);
        entry("/Producer"sv, u"qbsvrl6");
        out.append(">>"sv);
        const int number = file_.reserve();
        file_.writeObject(number, out.view());
        return number;
    }

    PdfOptions options_;
    PdfFile file_;
    PdfFonts fonts_;
    PdfPictures pictures_;
    PdfCanvas canvas_;
    int catalog_ = 0, root_ = 0, resources_ = 0;
    int fontDictionary_ = 0, stateDictionary_ = 0;
    OpenPage page_;
    std::vector<LatePage> latePages_;
    PendingItems lateItems_;
    std::vector<Point> latePlaces_;  // of the bands of the items
    std::vector<TreeNode> leaves_;
    std::vector<PdfBookmark> bookmarks_;
};

}  // namespace

std::unique_ptr<PageSink> makePdfWriter(const PdfOptions& options, Spool& output) {
    return std::make_unique<PdfWriter>(options, output);
}

}  // namespace qbsvrl6
