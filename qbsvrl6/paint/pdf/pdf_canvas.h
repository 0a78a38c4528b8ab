// One page's content stream under construction.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_CANVAS_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_CANVAS_H

#include <memory>
#include <optional>
#include <set>
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

    // Drawing between the two calls has a role. `operators` open its marked content: "/Artifact BMC\n".
    void beginMarkedContent(std::string_view operators);
    void endMarkedContent(int levels = 1);
    // Of decoration, which screen readers skip.
    void beginDecoration() { beginMarkedContent("/Artifact BMC/Span<</ActualText()>>BDC\n"); }
    void endDecoration() { endMarkedContent(2); }

    // The page's annotations and resources.
    const std::vector<PdfLink>& links() const { return links_; }
    // Of the first box that is for a signature.
    const std::optional<Rect>& signature() const { return signature_; }
    const std::set<int>& usedPictures() const { return usedPictures_; }
    // In percent, over the whole document. The graphics state of an opacity is named "G" and this number.
    const std::set<int>& usedOpacities() const { return usedOpacities_; }

    void fill(const Rect& rect, Color color) override;
    void edge(Point from, Point to, const BorderLine& line) override;
    void line(Point from, Point to, const LineContent& line) override;
    void box(const Rect& rect, const BoxContent& box) override;
    void picture(const std::shared_ptr<const Picture>& picture, const Rect& rect) override;
    void path(const Drawing::Path& path, Point origin) override;
    void text(const TextRun& run) override;
    void bar(Point from, Direction direction, double length, double thickness, Color color) override;
    void link(const Rect& rect, std::u16string_view address) override;
    void beginClip(const Rect& rect) override;
    void endClip() override;
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

    ByteBuffer& shapes();
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

    std::vector<PdfLink> links_;
    std::optional<Rect> signature_;
    std::set<int> usedPictures_;
    std::set<int> usedOpacities_;
};

}  // namespace qbsvrl6

#endif
