// The part of a CFF table that maps each glyph to its character identifier (CID).
#ifndef QBSVR_QBSVRL6_PAINT_PDF_CFF_CHARSET_H
#define QBSVR_QBSVRL6_PAINT_PDF_CFF_CHARSET_H

#include <cstdint>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

class CffCharset {
public:
    // Reads the charset of a complete "CFF " table. A malformed table counts as a font that isn't CID-keyed.
    static CffCharset read(std::string_view table, unsigned glyphCount);

    // Whether glyphs have CIDs; otherwise they have names, and a PDF uses glyph numbers.
    bool isCidKeyed() const { return cidKeyed_; }
    std::uint32_t cidOf(std::uint32_t glyph) const;

private:
    struct Range {
        std::uint32_t firstGlyph = 0;
        std::uint32_t count = 0;
        std::uint32_t firstCid = 0;
    };

    bool cidKeyed_ = false;
    std::vector<Range> ranges_;  // by ascending glyph
};

}  // namespace qbsvrl6

#endif
