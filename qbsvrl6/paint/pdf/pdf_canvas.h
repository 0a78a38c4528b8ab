// One page's content stream under construction.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_CANVAS_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_CANVAS_H

#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/paint/canvas.h"
#include "qbsvrl6/paint/pdf/edge_collector.h"
#include "qbsvrl6/paint/pdf/pdf_fonts.h"
#include "qbsvrl6/paint/pdf/pdf_pictures.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"

namespace qbsvrl6 {

struct PdfLink {
    Rect rect;
    std::u16string address;
    // In a document with tags: the annotation's object, what it shows, and the element that holds it.
    int annotation = 0;
    std::u16string contents;
    int element = 0;
};

// How the content of an item is marked. `element` is the object of the structure element that it belongs to.
struct ItemMark {
    std::string_view tag;
    int element = 0;  // 0: it is an artifact
    // Set by the canvas: the numbers of its marked content on the page; none if it draws nothing.
    int firstContent = 0, endContent = 0;
};

// The texts of a layer are written after its shapes, so they are painted on top. They form one text object:
// readers get them in the order of drawing, and moving to the next text takes few bytes.
class PdfCanvas : public Canvas {
public:
    // `transparent`: whether the document may have opacities; otherwise colours are mixed with white.
    PdfCanvas(PdfFonts& fonts, PdfPictures& pictures, bool transparent = true)
        : fonts_(fonts), pictures_(pictures), transparent_(transparent) {}

    void begin(Micrometres pageHeight);
    // The whole stream, valid until the next begin().
    std::string_view end();

    // From now on, all drawing is marked: as an artifact, or with the marks of the band's items, until the
    // next call. `artifact` opens an artifact: "/Artifact BMC\n".
    void mark(std::span<ItemMark> items, std::string_view artifact);
    // Drawing until the next call is content with a number that was reserved on an earlier page.
    void markReserved(std::string_view tag, int content);
    // The number of content that is drawn later.
    int reserveContent(int element);
    // The elements of the page's marked content, by its numbers.
    const std::vector<int>& contentElements() const { return contentElements_; }

    // Drawing between the two calls has a role. `operators` open its marked content: "/Artifact BMC\n".
    void beginMarkedContent(std::string_view operators);
    void endMarkedContent(int levels = 1);
    // Of decoration, which screen readers skip.
    void beginDecoration() { beginMarkedContent("/Artifact BMC/Span<</ActualText()>>BDC\n"); }
    void endDecoration() { endMarkedContent(2); }

    // The page's annotations and resources.
    std::vector<PdfLink>& links() { return links_; }
    // Of the first box that is for a signature.
    const std::optional<Rect>& signature() const { return signature_; }
    const std::set<int>& usedPictures() const { return usedPictures_; }
    // In percent, over the whole document. The graphics state of an opacity is named "G" and this number.
    const std::set<int>& usedOpacities() const { return usedOpacities_; }

    void fill(const Rect& rect, Color color) override;
    void border(const Rect& box, const Border& border) override;
    void line(Point from, Point to, const LineContent& line) override;
    void box(const Rect& rect, const BoxContent& box) override;
    void picture(const std::shared_ptr<const Picture>& picture, const Rect& rect) override;
    void path(const Drawing::Path& path, Point origin) override;
    void text(const TextRun& run) override;
    void bar(Point from, Direction direction, double length, double thickness, Color color) override;
    void link(const Rect& rect, std::u16string_view address) override;
    void beginClip(const Rect& rect) override;
    void endClip() override;
    void beginItem(std::size_t index) override;
    void endItem() override;
    void nextLayer() override;

private:
    struct ShapeState {
        Color fill;
        Color stroke;
        std::int64_t width = -1;
        bool dashed = false;
    };
    struct TextState {
        const PdfFont* font = nullptr;
        double fontSize = 0;  // points
        std::int64_t size = 0;
        Color color;
        bool bold = false;
        Color boldColor;
        std::int64_t boldWidth = -1;
        double letterSpacing = 0;
    };
    struct PendingFill {
        std::int64_t left = 0, top = 0, right = 0, bottom = 0;
        Color color;
    };

    std::int64_t unitsX(double x) const { return toUnits(x); }
    std::int64_t unitsY(double y) const { return pageHeight_ - toUnits(y); }

    // The marked content that is open in a buffer.
    enum class Open : std::uint8_t { Nothing, Artifact, Content };

    ByteBuffer& shapes(bool isContent = false);
    void openMark(ByteBuffer& out, Open& open, bool isContent);
    static void closeMark(ByteBuffer& out, Open& open);
    void flushFill();
    void flushEdges();
    void openClip(ByteBuffer& out);
    void setFill(Color color);
    void setStroke(Color color, std::int64_t width, bool dashed);
    void appendPoint(Point point);
    void appendRoundedRect(const Rect& rect, Micrometres radius);

    void openTextClip();
    void setTextState(const PdfFont& font, const TextRun& run, bool bold);
    void moveTo(Point origin, Direction direction, bool italic);
    void showMissingGlyph(const PdfFont& font);
    bool showPlain(PdfFont& font, const GlyphRun& glyphs, const TextRun& run, bool isLast);
    void show(const PdfFont& font, const GlyphRun& glyphs, const TextRun& run, bool isLast);

    PdfFonts& fonts_;
    PdfPictures& pictures_;
    bool transparent_;
    std::int64_t pageHeight_ = 0;
    ByteBuffer page_, shapes_, text_;
    EdgeCollector edges_;
    std::optional<PendingFill> pendingFill_;
    ShapeState shapeState_;
    TextState textState_;
    // Where the current text line starts, and whether its matrix has neither rotation nor slant.
    std::int64_t lineX_ = 0, lineY_ = 0;
    bool linePlain_ = true;

    std::optional<Rect> clip_;
    bool shapesClipped_ = false, textClipped_ = false;
    ShapeState shapeStateOutside_;
    TextState textStateOutside_;

    bool marks_ = false;
    std::span<ItemMark> itemMarks_;
    ItemMark* itemMark_ = nullptr;  // of the current item; null: its drawing is an artifact
    ItemMark reservedMark_;
    std::string_view artifact_;
    Open shapesOpen_ = Open::Nothing, textOpen_ = Open::Nothing;
    std::vector<int> contentElements_;

    std::vector<PdfLink> links_;
    std::optional<Rect> signature_;
    std::set<int> usedPictures_;
    std::set<int> usedOpacities_;
};

}  // namespace qbsvrl6

#endif
