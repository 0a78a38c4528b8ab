#include "qbsvrl6/paint/pdf/pdf_canvas.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "qbsvrl6/paint/pdf/on_white.h"

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;

constexpr double kItalicSlant = 0.2126;  // twelve degrees
constexpr int kBoldStroke = 30;          // the stroke of a synthetic bold is this part of the font size
constexpr double kCircle = 0.5523;       // control points of a quarter circle

// Of the operators that show a string, "(codes)Tj" and "[(codes)number(codes)]TJ".
constexpr std::string_view kEndOfString = ")Tj\n";
constexpr std::string_view kEndOfArray = ")]TJ\n";
constexpr std::size_t kBytesPerGlyph = 40, kBytesAround = 80;
constexpr int kMostGlyphs = 4'000;  // readers limit the length of strings and arrays

// Whether the next glyph's distance from where the widths put it, in 1/1000 em, is visible.
bool isNoticeable(float lead) { return lead > 0.5f || lead < -0.5f; }

// Moves the next glyph within an array.
char* putMove(char* to, float& lead) {
    const auto distance = static_cast<std::int64_t>(std::lround(std::clamp(lead, -1e6f, 1e6f)));
    *to++ = ')';
    to = std::to_chars(to, to + 12, -distance).ptr;
    *to++ = '(';
    lead -= static_cast<float>(distance);
    return to;
}

}  // namespace

void PdfCanvas::begin(Micrometres pageHeight) {
    pageHeight_ = toUnits(pageHeight);
    page_.clear();
    page_.append("q .01 0 0 .01 0 0 cm\n"sv);
    textState_ = {};
    shapeState_ = {};
    links_.clear();
    signature_.reset();
    usedPictures_.clear();
    contentElements_.clear();
    marks_ = false;
}

std::string_view PdfCanvas::end() {
    nextLayer();
    page_.append("Q"sv);
    return page_.view();
}

void PdfCanvas::nextLayer() {
    flushFill();
    flushEdges();
    closeMark(shapes_, shapesOpen_);
    closeMark(text_, textOpen_);
    if (shapes_.size() > 0) page_.add("q\n"sv, shapes_.view(), "Q\n"sv);
    if (text_.size() > 0) page_.add("BT\n"sv, text_.view(), "ET\n"sv);
    shapes_.clear();
    text_.clear();
    // The shapes of the next layer start with the state that the texts leave.
    shapeState_ = {textState_.color, textState_.boldColor, textState_.boldWidth, false};
    lineX_ = lineY_ = 0;
    linePlain_ = true;
}

void PdfCanvas::beginMarkedContent(std::string_view operators) {
    nextLayer();
    marks_ = false;
    page_.append(operators);
}

void PdfCanvas::endMarkedContent(int levels) {
    nextLayer();
    while (--levels > 0) page_.append("EMC "sv);
    page_.append("EMC\n"sv);
}

void PdfCanvas::mark(std::span<ItemMark> items, std::string_view artifact) {
    if (artifact != artifact_ || !marks_) nextLayer();
    marks_ = true;
    itemMarks_ = items;
    itemMark_ = nullptr;
    artifact_ = artifact;
}

void PdfCanvas::markReserved(std::string_view tag, int content) {
    mark({}, "/Artifact BMC\n");
    if (content < 0) return;
    reservedMark_ = {tag, 0, content, content};
    itemMark_ = &reservedMark_;
}

int PdfCanvas::reserveContent(int element) {
    contentElements_.push_back(element);
    return static_cast<int>(contentElements_.size()) - 1;
}

void PdfCanvas::beginItem(std::size_t index) {
    if (!marks_ || index >= itemMarks_.size() || itemMarks_[index].element == 0) return;
    itemMark_ = &itemMarks_[index];
    itemMark_->firstContent = itemMark_->endContent = static_cast<int>(contentElements_.size());
}

void PdfCanvas::endItem() {
    if (itemMark_ == nullptr) return;
    if (itemMark_ == &reservedMark_ && reservedMark_.endContent == reservedMark_.firstContent) {
        openMark(text_, textOpen_, true);  // its element has been written
    }
    if (shapesOpen_ == Open::Content) closeMark(shapes_, shapesOpen_);
    if (textOpen_ == Open::Content) closeMark(text_, textOpen_);
    itemMark_ = nullptr;
}

// Opens marked content of the current item, or an artifact, unless it is open.
void PdfCanvas::openMark(ByteBuffer& out, Open& open, bool isContent) {
    if (!marks_) return;
    const bool isReserved = itemMark_ == &reservedMark_;
    isContent = isContent && itemMark_ != nullptr;
    if (open == Open::Content && isContent) return;
    if (isContent && isReserved && reservedMark_.endContent > reservedMark_.firstContent) isContent = false;
    if (open == Open::Artifact && !isContent) return;
    closeMark(out, open);
    open = isContent ? Open::Content : Open::Artifact;
    if (!isContent) return out.append(artifact_);
    const int content = isReserved ? reservedMark_.firstContent : reserveContent(itemMark_->element);
    itemMark_->endContent = content + 1;
    out.add('/', itemMark_->tag, "<</MCID "sv, std::int64_t{content}, ">>BDC\n"sv);
}

void PdfCanvas::closeMark(ByteBuffer& out, Open& open) {
    if (open != Open::Nothing) out.append("EMC\n"sv);
    open = Open::Nothing;
}

// Shapes.

ByteBuffer& PdfCanvas::shapes(bool isContent) {
    flushFill();
    if (clip_ && !shapesClipped_) {
        shapesClipped_ = true;
        closeMark(shapes_, shapesOpen_);
        shapeStateOutside_ = shapeState_;
        openClip(shapes_);
    }
    openMark(shapes_, shapesOpen_, isContent);
    return shapes_;
}

void PdfCanvas::openClip(ByteBuffer& out) {
    const std::int64_t left = unitsX(clip_->x);
    const std::int64_t bottom = unitsY(clip_->bottom());
    out.add("q "sv, left, ' ', bottom, ' ', unitsX(clip_->right()) - left, ' ', unitsY(clip_->y) - bottom,
            " re W n\n"sv);
}

void PdfCanvas::beginClip(const Rect& rect) { clip_ = rect; }

void PdfCanvas::endClip() {
    if (shapesClipped_) {
        flushFill();
        closeMark(shapes_, shapesOpen_);
        shapes_.append("Q\n"sv);
        shapeState_ = shapeStateOutside_;
    }
    if (textClipped_) {
        closeMark(text_, textOpen_);
        text_.append("ET Q BT\n"sv);
        textState_ = textStateOutside_;
        lineX_ = lineY_ = 0;
        linePlain_ = true;
    }
    shapesClipped_ = textClipped_ = false;
    clip_.reset();
}

void PdfCanvas::setFill(Color color) {
    if (shapeState_.fill == color) return;
    appendFillColor(shapes_, color);
    shapeState_.fill = color;
}

void PdfCanvas::setStroke(Color color, std::int64_t width, bool dashed) {
    if (shapeState_.stroke != color) appendStrokeColor(shapes_, color);
    if (shapeState_.width != width) shapes_.add(width, " w\n"sv);
    if (shapeState_.dashed != dashed) shapes_.append(dashed ? "[300 200]0 d\n"sv : "[]0 d\n"sv);
    shapeState_.stroke = color;
    shapeState_.width = width;
    shapeState_.dashed = dashed;
}

void PdfCanvas::appendPoint(Point point) { shapes_.add(unitsX(point.x), ' ', unitsY(point.y), ' '); }

void PdfCanvas::fill(const Rect& rect, Color color) {
    const PendingFill next{unitsX(rect.x), unitsY(rect.y), unitsX(rect.right()), unitsY(rect.bottom()),
                           color};
    // Adjacent cells of the same colour become one area, without a seam.
    if (pendingFill_ && !clip_ && pendingFill_->color == color && pendingFill_->right == next.left &&
        pendingFill_->top == next.top && pendingFill_->bottom == next.bottom) {
        pendingFill_->right = next.right;
        return;
    }
    shapes();
    pendingFill_ = next;
}

void PdfCanvas::flushFill() {
    if (!pendingFill_) return;
    openMark(shapes_, shapesOpen_, false);
    const PendingFill& area = *pendingFill_;
    setFill(area.color);
    shapes_.add(area.left, ' ', area.bottom, ' ', area.right - area.left, ' ', area.top - area.bottom,
                " re f\n"sv);
    pendingFill_.reset();
}

void PdfCanvas::border(const Rect& box, const Border& border) {
    if (std::max({border.left.width, border.top.width, border.right.width, border.bottom.width}) <= 0) return;
    const auto [left, right] = std::minmax({unitsX(box.x), unitsX(box.right())});
    const auto [bottom, top] = std::minmax({unitsY(box.bottom()), unitsY(box.y)});
    const auto add = [&](bool vertical, std::int64_t at, std::int64_t from, std::int64_t to,
                         const BorderLine& line) {
        if (line.width <= 0) return;
        edges_.add({vertical, at, from, to, std::max<std::int64_t>(toUnits(line.width), 1), line.color});
    };
    add(true, left, bottom, top, border.left);
    add(false, top, left, right, border.top);
    add(true, right, bottom, top, border.right);
    add(false, bottom, left, right, border.bottom);
}

void PdfCanvas::flushEdges() {
    if (edges_.empty()) return;
    openMark(shapes_, shapesOpen_, false);
    shapes_.append("2 J\n"sv);  // square ends, so that corners are filled
    bool open = false;
    const auto add = [&](const EdgeCollector::Line& line) {
        const bool same =
            shapeState_.stroke == line.color && shapeState_.width == line.width && !shapeState_.dashed;
        if (open && !same) shapes_.append("S\n"sv);
        setStroke(line.color, line.width, false);
        open = true;
        if (line.vertical) {
            shapes_.add(line.at, ' ', line.from, " m "sv, line.at, ' ', line.to, " l\n"sv);
        } else {
            shapes_.add(line.from, ' ', line.at, " m "sv, line.to, ' ', line.at, " l\n"sv);
        }
    };
    for (const EdgeCollector::Line& line : edges_.horizontal()) add(line);
    for (const EdgeCollector::Line& line : edges_.vertical()) add(line);
    shapes_.append("S\n"sv);
    edges_.clear();
}

void PdfCanvas::line(Point from, Point to, const LineContent& line) {
    if (line.width <= 0) return;
    shapes();
    setStroke(line.color, std::max<std::int64_t>(toUnits(line.width), 1), line.dashed);
    appendPoint(from);
    shapes_.append("m "sv);
    appendPoint(to);
    shapes_.append("l S\n"sv);
}

void PdfCanvas::box(const Rect& rect, const BoxContent& box) {
    if (box.isSignature && !signature_) signature_ = rect;
    const bool stroked = box.line.width > 0;
    if (!stroked && !box.fill) return;
    shapes();
    if (box.fill) setFill(*box.fill);
    if (stroked) setStroke(box.line.color, std::max<std::int64_t>(toUnits(box.line.width), 1), false);
    const Micrometres radius = std::min({box.cornerRadius, rect.width / 2, rect.height / 2});
    if (radius > 0) {
        appendRoundedRect(rect, radius);
    } else {
        const std::int64_t left = unitsX(rect.x);
        const std::int64_t bottom = unitsY(rect.bottom());
        shapes_.add(left, ' ', bottom, ' ', unitsX(rect.right()) - left, ' ', unitsY(rect.y) - bottom,
                    " re "sv);
    }
    shapes_.append(box.fill && stroked ? "B\n"sv : box.fill ? "f\n"sv : "S\n"sv);
}

void PdfCanvas::appendRoundedRect(const Rect& rect, Micrometres radius) {
    const double r = radius;
    const double c = r * (1 - kCircle);  // distance of a control point from the corner
    const double left = rect.x, top = rect.y, right = rect.right(), bottom = rect.bottom();
    const auto corner = [&](Point control1, Point control2, Point end) {
        appendPoint(control1);
        appendPoint(control2);
        appendPoint(end);
        shapes_.append("c "sv);
    };
    const auto lineTo = [&](Point point, std::string_view operation) {
        appendPoint(point);
        shapes_.append(operation);
    };
    lineTo({left + r, top}, "m "sv);
    lineTo({right - r, top}, "l "sv);
    corner({right - c, top}, {right, top + c}, {right, top + r});
    lineTo({right, bottom - r}, "l "sv);
    corner({right, bottom - c}, {right - c, bottom}, {right - r, bottom});
    lineTo({left + r, bottom}, "l "sv);
    corner({left + c, bottom}, {left, bottom - c}, {left, bottom - r});
    lineTo({left, top + r}, "l "sv);
    corner({left, top + c}, {left + c, top}, {left + r, top});
    shapes_.append("h "sv);
}

void PdfCanvas::picture(const std::shared_ptr<const Picture>& picture, const Rect& rect) {
    const int number = pictures_.use(*picture);
    if (number == 0) return;
    usedPictures_.insert(number);
    const std::int64_t left = unitsX(rect.x);
    const std::int64_t bottom = unitsY(rect.bottom());
    shapes(true).add("q "sv, unitsX(rect.right()) - left, " 0 0 "sv, unitsY(rect.y) - bottom, ' ', left, ' ',
                     bottom, " cm/I"sv, std::int64_t{number}, " Do Q\n"sv);
}

void PdfCanvas::path(const Drawing::Path& path, Point origin) {
    const bool stroked = path.stroke && path.strokeWidth > 0;
    if (!stroked && !path.fill) return;
    shapes(true);
    const int opacity = static_cast<int>(std::lround(std::clamp(path.fillOpacity, 0.0, 1.0) * 100));
    const bool transparent = transparent_ && path.fill && opacity < 100;
    const ShapeState outside = shapeState_;
    if (transparent) {
        usedOpacities_.insert(opacity);
        shapes_.add("q/G"sv, std::int64_t{opacity}, " gs\n"sv);
    }
    if (path.fill) setFill(transparent_ ? *path.fill : onWhite(*path.fill, opacity * 255 / 100));
    if (stroked) {
        setStroke(*path.stroke, std::max<std::int64_t>(toUnits(path.strokeWidth), 1), false);
    }
    forEachStep(path, [&](char command, const auto& points) {
        for (const Drawing::Path::Point& point : points)
            appendPoint({origin.x + point.x, origin.y + point.y});
        shapes_.append(command == 'M'   ? "m\n"sv
                       : command == 'L' ? "l\n"sv
                       : command == 'C' ? "c\n"sv
                                        : "h\n"sv);
    });
    shapes_.append(path.fill && stroked ? "B\n"sv : path.fill ? "f\n"sv : "S\n"sv);
    if (transparent) {
        shapes_.append("Q\n"sv);
        shapeState_ = outside;
    }
}

void PdfCanvas::bar(Point from, Direction direction, double length, double thickness, Color color) {
    shapes();
    setFill(color);
    const Point along{direction.x * length, direction.y * length};
    const Point across{-direction.y * thickness, direction.x * thickness};
    const Point corners[] = {from,
                             {from.x + along.x, from.y + along.y},
                             {from.x + along.x + across.x, from.y + along.y + across.y},
                             {from.x + across.x, from.y + across.y}};
    appendPoint(corners[0]);
    shapes_.append("m "sv);
    for (int i = 1; i < 4; ++i) {
        appendPoint(corners[i]);
        shapes_.append("l "sv);
    }
    shapes_.append("f\n"sv);
}

void PdfCanvas::link(const Rect& rect, std::u16string_view address) {
    links_.push_back({rect, std::u16string(address), 0, {}, 0});
}

// Texts.

void PdfCanvas::openTextClip() {
    textClipped_ = true;
    closeMark(text_, textOpen_);
    textStateOutside_ = textState_;
    text_.append("ET "sv);
    openClip(text_);
    text_.append("BT\n"sv);
    lineX_ = lineY_ = 0;
    linePlain_ = true;
}

void PdfCanvas::setTextState(const PdfFont& font, const TextRun& run, bool bold) {
    const std::int64_t size =
        run.fontSize == textState_.fontSize ? textState_.size : std::llround(run.fontSize * kUnitsPerPoint);
    textState_.fontSize = run.fontSize;
    if (textState_.font != &font || textState_.size != size) {
        text_.add("/F"sv, std::int64_t{font.resource()}, ' ', size, " Tf\n"sv);
        textState_.font = &font;
        textState_.size = size;
    }
    if (textState_.color != run.color) {
        appendFillColor(text_, run.color);
        textState_.color = run.color;
    }
    if (textState_.bold != bold) {
        text_.append(bold ? "2 Tr\n"sv : "0 Tr\n"sv);
        textState_.bold = bold;
    }
    if (bold && textState_.boldColor != run.color) {
        appendStrokeColor(text_, run.color);
        textState_.boldColor = run.color;
    }
    if (bold && textState_.boldWidth != size / kBoldStroke) {
        textState_.boldWidth = size / kBoldStroke;
        text_.add(textState_.boldWidth, " w\n"sv);
    }
    const double spacing = run.letterSpacing * static_cast<double>(size) / 1000;
    if (textState_.letterSpacing != spacing) {
        appendNumber(text_, spacing, 1);
        text_.append(" Tc\n"sv);
        textState_.letterSpacing = spacing;
    }
}

void PdfCanvas::moveTo(Point origin, Direction direction, bool italic) {
    const std::int64_t x = unitsX(origin.x);
    const std::int64_t y = unitsY(origin.y);
    const bool plain = direction.isUnrotated() && !italic;
    if (plain && linePlain_) {
        text_.add(x - lineX_, ' ', y - lineY_, " Td"sv);
    } else {
        // The axes of the text: along its direction, and up, with the slant.
        const double slant = italic ? kItalicSlant : 0;
        const double a = direction.x;
        const double b = -direction.y;
        constexpr int kDecimals = 5;
        for (const double entry : {a, b, slant * a - b, slant * b + a}) {
            appendNumber(text_, entry, kDecimals);
            text_.append(' ');
        }
        text_.add(x, ' ', y, " Tm"sv);
        linePlain_ = plain;
    }
    lineX_ = x;
    lineY_ = y;
}

void PdfCanvas::text(const TextRun& run) {
    constexpr double kSmallest = 0.01;
    if (run.shaped.runs.empty() || !(run.fontSize >= kSmallest)) return;
    if (clip_ && !textClipped_) openTextClip();
    openMark(text_, textOpen_, true);
    double along = 0;  // 1/1000 em from the text's start
    bool wasItalic = false;
    for (const GlyphRun& part : run.shaped.runs) {
        PdfFont& font = fonts_.use(*part.member.face);
        setTextState(font, run, part.member.syntheticBold);
        const bool isFirst = &part == &run.shaped.runs.front();
        const bool isLast = &part == &run.shaped.runs.back();
        const bool italic = part.member.syntheticItalic;
        if (isFirst || italic != wasItalic) {
            const double distance = along / 1000 * run.fontSize * kMicrometresPerPoint;
            moveTo({run.origin.x + distance * run.direction.x, run.origin.y + distance * run.direction.y},
                   run.direction, italic);
            wasItalic = italic;
        }
        if (!showPlain(font, part, run, isLast)) {
            // The string of a longer text would be beyond the limits of readers.
            constexpr std::uint32_t kMostUnits = 16'000;
            const bool reads = font.take(part, run.text) || part.unitCount > kMostUnits;
            if (!reads) {
                text_.append("/Span<</ActualText"sv);
                appendTextString(
                    text_,
                    run.text.substr(std::min<std::size_t>(part.firstUnit, run.text.size()), part.unitCount));
                text_.append(">>BDC\n"sv);
            }
            show(font, part, run, isLast);
            if (!reads) text_.append("EMC\n"sv);
        }
        if (isLast) break;
        for (const Glyph& glyph : part.glyphs) {
            const bool blank = glyph.cluster < run.text.size() && run.text[glyph.cluster] == u' ';
            along += glyph.advance + run.letterSpacing + (blank ? run.wordSpacing : 0.0f);
        }
    }
}

void PdfCanvas::showMissingGlyph(const PdfFont& font) {
    fonts_.useMissingGlyph();
    text_.add("/F"sv, std::int64_t{MissingGlyph::kResource}, ' ', textState_.size, " Tf("sv,
              MissingGlyph::kCode, ")Tj/F"sv, std::int64_t{font.resource()}, ' ', textState_.size, " Tf\n"sv);
}

// Writes a run like show(), if it has a glyph per character, in the order of the text, as nearly all texts.
// Otherwise returns false; nothing has been written then.
bool PdfCanvas::showPlain(PdfFont& font, const GlyphRun& glyphs, const TextRun& run, bool isLast) {
    const std::size_t count = glyphs.glyphs.size();
    const bool isPlain = count == glyphs.unitCount && count < static_cast<std::size_t>(kMostGlyphs) &&
                         run.wordSpacing == 0 && glyphs.firstUnit + count <= run.text.size();
    if (!isPlain) return false;
    char* to = text_.room(count * kBytesPerGlyph + kBytesAround);
    *to++ = '(';
    float lead = 0;  // as in show()
    bool moved = false;
    for (std::size_t i = 0; i < count; ++i) {
        const Glyph& glyph = glyphs.glyphs[i];
        const std::size_t unit = glyphs.firstUnit + i;
        if (glyph.cluster != unit || glyph.yOffset != 0) return false;
        const PdfFont::Code* const code = font.take(glyph.id, run.text[unit]);
        if (code == nullptr) return false;
        lead += glyph.xOffset;
        if (isNoticeable(lead)) {
            to = putMove(to, lead);
            moved = true;
        }
        std::memcpy(to, code->bytes, sizeof code->bytes);
        to += code->byteCount;
        lead += glyph.advance - code->width - glyph.xOffset;
    }
    if (!isLast && isNoticeable(lead)) {
        to = putMove(to, lead);
        moved = true;
    }
    const std::string_view end = moved ? kEndOfArray : kEndOfString;
    const std::size_t start = text_.size();
    text_.commit(std::copy(end.begin(), end.end(), to));
    if (moved) text_.insert(start, '[');
    return true;
}

// Writes an array if glyphs are not where their widths put them.
void PdfCanvas::show(const PdfFont& font, const GlyphRun& glyphs, const TextRun& run, bool isLast) {
    const bool spaced = run.wordSpacing != 0;
    std::size_t start = text_.size();
    char* to = text_.room(glyphs.glyphs.size() * kBytesPerGlyph + kBytesAround);
    bool moved = false;  // an array was begun
    int shown = 0;       // by the operator
    float rise = 0;
    float lead = 0;  // the next glyph's distance to the right of where the widths put it
    const auto add = [&](std::string_view text) {
        std::memcpy(to, text.data(), text.size());
        to += text.size();
    };
    const auto move = [&] {
        to = putMove(to, lead);
        moved = true;
    };
    const auto finish = [&] {
        add(moved ? kEndOfArray : kEndOfString);
        text_.commit(to);
        if (moved) text_.insert(start, '[');
    };
    const auto begin = [&] {
        start = text_.size();
        to = text_.room(glyphs.glyphs.size() * kBytesPerGlyph + kBytesAround);
        moved = false;
        shown = 0;
        *to++ = '(';
    };
    *to++ = '(';
    for (const Glyph& glyph : glyphs.glyphs) {
        if (glyph.yOffset != rise) {
            finish();
            rise = glyph.yOffset;
            appendNumber(text_, rise * static_cast<float>(textState_.size) / 1000, 1);
            text_.append(" Ts"sv);
            begin();
        } else if (++shown == kMostGlyphs) {
            finish();
            begin();
        }
        const PdfFont::Code& code = font.code(glyph.id);
        lead += glyph.xOffset;
        if (isNoticeable(lead)) move();
        if (code.code == 0) {
            finish();
            showMissingGlyph(font);
            begin();
        } else {
            std::memcpy(to, code.bytes, sizeof code.bytes);
            to += code.byteCount;
        }
        lead += glyph.advance - code.width - glyph.xOffset;
        if (spaced && glyph.cluster < run.text.size() && run.text[glyph.cluster] == u' ')
            lead += run.wordSpacing;
    }
    if (!isLast && isNoticeable(lead)) move();
    finish();
    if (rise != 0) text_.append("0 Ts\n"sv);
}

}  // namespace qbsvrl6
