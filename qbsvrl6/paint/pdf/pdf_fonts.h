// The fonts of one PDF: the used glyphs, the texts that they represent, and the font objects.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_FONTS_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_FONTS_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/paint/pdf/cff_charset.h"
#include "qbsvrl6/paint/pdf/pdf_file.h"
#include "qbsvrl6/support/sparse_table.h"

namespace qbsvrl6 {

struct PdfFontRules {
    bool embedWhole = false;
    bool listCids = false;  // of the glyphs in each subset, as PDF/A-1 requires
};

// What is drawn for a character that no font has: a box, which is the only glyph of a font of its own. The
// glyph for such characters that fonts have has no place in a document that keeps its text.
struct MissingGlyph {
    static constexpr int kResource = 0;  // its font is named "F0"
    static constexpr char kCode = 1;
    static constexpr float kAdvance = 600;  // 1/1000 em
    static void writeFont(PdfFile& file, int number);
};

// A face as a composite font with codes of two bytes: the CIDs of a CFF font, or its glyph numbers if it has
// none; for a TrueType font, numbers in the order of use, with a map to the glyphs.
class PdfFont {
public:
    PdfFont(const FontFace& face, int resource);

    struct Code {
        std::uint32_t glyph = 0;
        std::uint16_t code = 0;      // 0: a character that no font has, drawn by MissingGlyph
        float width = 0;             // 1/1000 em
        char16_t firstUnit = 0;      // of the text that it represents
        std::uint8_t unitCount = 0;  // 0: none
        std::uint8_t byteCount = 2;
        char bytes[4] = {};  // the code inside a literal string, escaped
        std::u16string text;
    };

    // Assigns codes to the glyphs of the run. Returns whether the texts of the codes add up to the run's
    // text; if not, the text must be written with the glyphs.
    bool take(const GlyphRun& run, std::u16string_view text);

    // The same for a glyph that represents one character, which is not the first of several: its code, or null if
    // the code has another text.
    const Code* take(std::uint32_t glyph, char16_t unit) {
        Code& code = codeOf(glyph);
        const bool known = code.unitCount == 1 && code.firstUnit == unit;
        return known || (code.code != 0 && assignText(code, {&unit, 1})) ? &code : nullptr;
    }

    // Of a glyph of a run that was taken.
    const Code& code(std::uint32_t glyph) const { return codes_[indexes_.used(glyph)]; }

    int resource() const { return resource_; }  // its name is "F" and this number
    const FontFace& face() const { return face_; }

    // Writes the font's objects; `number` is that of the font itself.
    void write(PdfFile& file, int number, const PdfFontRules& rules) const;

private:
    Code& codeOf(std::uint32_t glyph) {
        const std::uint16_t& index = indexes_[glyph];
        if (index == 0 && glyph != 0) addCode(glyph);
        return codes_[index];
    }
    void addCode(std::uint32_t glyph);
    // Gives the code this text unless it already has one. Returns whether the code now has this text.
    static bool assignText(Code& code, std::u16string_view text);
    std::string widths(const std::vector<const Code*>& codes) const;
    std::map<std::uint32_t, char32_t> charactersOf(const std::vector<const Code*>& codes) const;
    std::string toUnicode(const std::vector<const Code*>& codes) const;
    // A CFF font whose glyphs have names is addressed by glyph numbers, so they must not change.
    bool keepsNumbers() const { return face_.cff && !charset_.isCidKeyed(); }
    std::vector<std::uint32_t> writeFontFile(PdfFile& file, int number,
                                             const std::vector<std::uint32_t>& glyphs, bool whole) const;
    std::string descriptor(const std::string& name, int fontFile, int cidSet) const;
    std::string cidSet(const std::vector<const Code*>& codes) const;

    const FontFace& face_;
    int resource_;
    CffCharset charset_;
    SparseTable<std::uint16_t, 64> indexes_;  // by glyph, in codes_; 0: not used yet
    std::vector<Code> codes_;                 // from 1 on
    ByteBuffer literal_;                      // of the code that is added
};

class PdfFonts {
public:
    explicit PdfFonts(const PdfFontRules& rules) : rules_(rules) {}

    PdfFont& use(const FontFace& face) {
        if (last_ == nullptr || &last_->face() != &face) last_ = &find(face);
        return *last_;
    }

    // The page has a MissingGlyph.
    void useMissingGlyph() { hasMissingGlyph_ = true; }

    // Writes all fonts and returns the dictionary that names them.
    std::string write(PdfFile& file) const;

private:
    PdfFont& find(const FontFace& face);

    PdfFontRules rules_;
    bool hasMissingGlyph_ = false;
    std::vector<std::unique_ptr<PdfFont>> fonts_;
    PdfFont* last_ = nullptr;
};

}  // namespace qbsvrl6

#endif
