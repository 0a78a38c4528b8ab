#include <linebreak.h>

#include <algorithm>
#include <mutex>

#include "qbsvrl6/fonts/bidi.h"
#include "qbsvrl6/fonts/number_spans.h"
#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {

namespace {

constexpr char kInsideNumber = 100;  // in addition to libunibreak's marks: no break allowed

bool isBlank(char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\u3000'; }

std::size_t withoutBlanksAtEnd(std::u16string_view text, std::size_t first, std::size_t end) {
    while (end > first && isBlank(text[end - 1])) --end;
    return end;
}

bool hasLineEnd(std::u16string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char16_t unit) { return unit == u'\r' || unit == u'\n'; });
}

// Of the whole text: a single line may lack the letters that imply it.
TextLanguage languageOf(const FontSet& fonts, std::u16string_view text) {
    return fonts.isLanguageGiven ? fonts.language : languageOfText(text);
}

Micrometres toWidth(float thousandths, double fontSize) {
    constexpr double kWidest = 2e9;
    const double width = static_cast<double>(thousandths) * fontSize * kMicrometresPerPoint / 1000.0;
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): lround costs a call for each width
    return static_cast<Micrometres>(std::clamp(width, 0.0, kWidest) + 0.5);
}

class LineBreaker {
public:
    LineBreaker(const FontSet& fonts, double fontSize, std::u16string_view text, Micrometres width,
                Numbers numbers)
        : fonts_(fonts),
          fontSize_(fontSize),
          text_(text),
          width_(width),
          numbers_(numbers),
          language_(languageOf(fonts, text)) {}

    std::vector<TextLine> run() {
        for (std::size_t first = 0; first < text_.size();) {
            const std::size_t end = std::min(text_.find_first_of(u"\r\n", first), text_.size());
            addParagraph(first, end);
            const bool pair = end + 1 < text_.size() && text_[end] == u'\r' && text_[end + 1] == u'\n';
            first = end + (pair ? 2 : 1);
        }
        return std::move(lines_);
    }

private:
    // A long paragraph is broken part by part, so that its lines take up most of the memory. The last line of
    // a part may continue in the next one.
    void addParagraph(std::size_t first, std::size_t end) {
        constexpr std::size_t kPart = 1u << 14;
        paragraph_ = text_.substr(first, end - first);
        while (width_ >= 1 && end - first > kPart) {
            const std::size_t known = lines_.size();
            addPart(first, first + kPart);
            const bool several = lines_.size() > known + 1;
            const std::size_t last = lines_.back().firstUnit;
            lines_.pop_back();
            if (!several) break;
            first = last;
        }
        addPart(first, end);
        lines_.back().endsParagraph = true;
        direction_ = BaseDirection::FirstStrong;
    }

    void addPart(std::size_t first, std::size_t end) {
        ShapedTextPtr whole = shapeStretch(first, end);
        if (width_ < 1 || toWidth(whole->width, fontSize_) <= width_) {
            addLine(first, end, std::move(whole));
            return;
        }
        const bool undecided = direction_ == BaseDirection::FirstStrong;
        if (undecided && mayRunRightToLeft(text_.substr(first, end - first))) {
            direction_ = directionOf(paragraph_);
        }
        first_ = first;
        findBreaks(end - first);
        measure(end - first, *whole);
        breakPart();
    }

    ShapedTextPtr shapeStretch(std::size_t first, std::size_t end) const {
        return shape(fonts_, text_.substr(first, withoutBlanksAtEnd(text_, first, end) - first), direction_,
                     language_);
    }

    void addLine(std::size_t first, std::size_t end, ShapedTextPtr shaped) {
        TextLine& line = lines_.emplace_back();
        line.firstUnit = static_cast<std::uint32_t>(first);
        line.unitCount = static_cast<std::uint32_t>(withoutBlanksAtEnd(text_, first, end) - first);
        line.width = toWidth(shaped->width, fontSize_);
        line.shaped = std::move(shaped);
    }

    void findBreaks(std::size_t count) {
        static std::once_flag once;
        std::call_once(once, init_linebreak);
        breaks_.resize(count);
        set_linebreaks_utf16(reinterpret_cast<const utf16_t*>(text_.data() + first_), count, "zh",
                             breaks_.data());
        if (numbers_ == Numbers::Cut) return;
        NumberFinder numbers(text_.substr(first_, count));
        for (NumberSpan number = numbers.next(); !number.isEmpty(); number = numbers.next()) {
            std::fill_n(breaks_.begin() + static_cast<std::ptrdiff_t>(number.first), number.size() - 1,
                        kInsideNumber);
        }
    }

    void measure(std::size_t count, const ShapedText& shaped) {
        advances_.assign(count, -1.0f);
        for (const GlyphRun& run : shaped.runs) {
            for (const Glyph& glyph : run.glyphs) {
                float& advance = advances_[glyph.cluster];
                advance = std::max(advance, 0.0f) + glyph.advance;
            }
        }
    }

    bool startsCluster(std::size_t unit) const { return unit >= advances_.size() || advances_[unit] >= 0; }

    void breakPart() {
        const float limit = static_cast<float>((width_ + 0.5) * 1000.0 / (fontSize_ * kMicrometresPerPoint));
        const std::size_t count = advances_.size();
        for (std::size_t start = 0; start < count;) {
            const std::size_t end = lineEnd(start, limit);
            addLine(first_ + start, first_ + end, shapeStretch(first_ + start, first_ + end));
            start = end;
            // Spaces at the break belong to neither line.
            while (start < count && isBlank(text_[first_ + start])) ++start;
        }
    }

    bool mayCutBefore(std::size_t unit) const {
        return startsCluster(unit) && breaks_[unit - 1] != kInsideNumber;
    }

    // The end of the line that starts here: the last break opportunity that fits, or else a position between
    // characters, after at least one. A number that is wider than the line has a line to itself.
    std::size_t lineEnd(std::size_t start, float limit) const {
        float width = 0;
        std::size_t opportunity = start;
        std::size_t fitting = start;
        for (std::size_t i = start; i < advances_.size(); ++i) {
            if (i > start && mayCutBefore(i)) fitting = i;
            width += std::max(advances_[i], 0.0f);
            const bool hangs = isBlank(text_[first_ + i]);  // spaces at a line's end need no width
            if (width > limit && !hangs && fitting > start)
                return opportunity > start ? opportunity : fitting;
            if (breaks_[i] == LINEBREAK_ALLOWBREAK || breaks_[i] == LINEBREAK_MUSTBREAK) opportunity = i + 1;
        }
        return advances_.size();
    }

    const FontSet& fonts_;
    double fontSize_;
    std::u16string_view text_;
    Micrometres width_;
    Numbers numbers_;
    TextLanguage language_;
    std::vector<TextLine> lines_;

    std::u16string_view paragraph_;
    BaseDirection direction_ = BaseDirection::FirstStrong;  // of the paragraph, set when it matters

    // The current part: its start, the mark after each of its units (libunibreak's, or kInsideNumber), and
    // the width that each unit adds to its line (a cluster's glyphs count at its first unit; its other units
    // are negative).
    std::size_t first_ = 0;
    std::vector<char> breaks_;
    std::vector<float> advances_;
};

}  // namespace

std::vector<TextLine> breakLines(const FontSet& fonts, double fontSize, std::u16string_view text,
                                 Micrometres width, Numbers numbers) {
    return LineBreaker(fonts, fontSize, text, width, numbers).run();
}

std::optional<TextLine> onlyLine(const FontSet& fonts, double fontSize, std::u16string_view text,
                                 Micrometres width) {
    constexpr std::size_t kLongest = 128;
    if (text.empty() || text.size() > kLongest || hasLineEnd(text)) return std::nullopt;
    const std::u16string_view line = text.substr(0, withoutBlanksAtEnd(text, 0, text.size()));
    TextLine only{0, static_cast<std::uint32_t>(line.size()), nullptr, 0, true};
    only.shaped = shape(fonts, line, BaseDirection::FirstStrong, languageOf(fonts, text));
    only.width = toWidth(only.shaped->width, fontSize);
    if (only.width > width) return std::nullopt;
    return only;
}

Micrometres lineWidth(const FontSet& fonts, double fontSize, std::u16string_view text) {
    return toWidth(widthOf(fonts, text), fontSize);
}

bool fitsOneLine(const FontSet& fonts, double fontSize, std::u16string_view text, Micrometres width) {
    if (text.empty() || hasLineEnd(text)) return false;
    const std::u16string_view line = text.substr(0, withoutBlanksAtEnd(text, 0, text.size()));
    return lineWidth(fonts, fontSize, line) <= width;
}

}  // namespace qbsvrl6
