#include "qbsvrl6/paint/pdf/cff_charset.h"

#include <algorithm>

namespace qbsvrl6 {

// A CFF table: header (its size is the third byte), an INDEX of font names, an INDEX of top dictionaries, and
// more. INDEX: a count of 16 bits, then, where it isn't 0, the size of an offset (1 to 4), count + 1 offsets
// from 1, and the data. A dictionary: operands, each followed by its operator. Charset: a format byte, then
// for the glyphs from 1 on: 0, a CID each; 1 and 2, ranges of a first CID and the number of CIDs that follow
// it, in one or two bytes.

namespace {

class Reader {
public:
    Reader(std::string_view bytes, std::size_t at) : bytes_(bytes), at_(at) {}

    // Bytes after the end read as 0.
    std::uint32_t number(int width) {
        std::uint32_t value = 0;
        while (width-- > 0) {
            value = (value << 8) | (at_ < bytes_.size() ? static_cast<unsigned char>(bytes_[at_]) : 0u);
            ++at_;
        }
        return value;
    }
    bool atEnd() const { return at_ >= bytes_.size(); }
    std::size_t at() const { return at_; }

private:
    std::string_view bytes_;
    std::size_t at_;
};

struct Index {
    std::size_t end = 0;
    std::string_view first;  // its first object
};

Index readIndex(std::string_view table, std::size_t at) {
    Reader reader(table, at);
    const std::uint32_t count = reader.number(2);
    if (count == 0) return {at + 2, {}};
    const int width = static_cast<int>(reader.number(1));
    if (width < 1 || width > 4) return {table.size(), {}};
    const std::size_t data =
        reader.at() + (static_cast<std::size_t>(count) + 1) * static_cast<std::size_t>(width) - 1;
    const std::uint32_t start = reader.number(width);
    const std::uint32_t next = reader.number(width);
    Reader last(table, data + 1 - static_cast<std::size_t>(width));
    const std::size_t end = data + last.number(width);
    if (next < start || data + next > table.size()) return {table.size(), {}};
    return {end, table.substr(data + start, next - start)};
}

struct TopDictionary {
    bool cidKeyed = false;
    std::size_t charset = 0;
};

TopDictionary readTopDictionary(std::string_view bytes) {
    constexpr std::uint32_t kCharset = 15;
    constexpr std::uint32_t kEscape = 12;
    constexpr std::uint32_t kRos = 30;
    TopDictionary top;
    std::int64_t operand = 0;
    Reader reader(bytes, 0);
    while (!reader.atEnd()) {
        const std::uint32_t b = reader.number(1);
        if (b == kEscape) {
            if (reader.number(1) == kRos) top.cidKeyed = true;
        } else if (b <= 21) {
            if (b == kCharset && operand > 0) top.charset = static_cast<std::size_t>(operand);
        } else if (b == 28) {
            operand = reader.number(2);
        } else if (b == 29) {
            operand = reader.number(4);
        } else if (b == 30) {  // a real number: two digits per byte, to the first F
            for (std::uint32_t pair = 0; !reader.atEnd();) {
                pair = reader.number(1);
                if ((pair & 0xF) == 0xF || (pair >> 4) == 0xF) break;
            }
        } else if (b >= 32 && b <= 246) {
            operand = static_cast<std::int64_t>(b) - 139;
        } else if (b >= 247 && b <= 250) {
            operand = (b - 247) * 256 + reader.number(1) + 108;
        } else if (b >= 251 && b <= 254) {
            operand = -static_cast<std::int64_t>(b - 251) * 256 - reader.number(1) - 108;
        }
    }
    return top;
}

}  // namespace

CffCharset CffCharset::read(std::string_view table, unsigned glyphCount) {
    CffCharset charset;
    Reader header(table, 2);
    const Index names = readIndex(table, header.number(1));
    const TopDictionary top = readTopDictionary(readIndex(table, names.end).first);
    charset.cidKeyed_ = top.cidKeyed;
    constexpr std::size_t kLastPredefined = 2;  // these are for fonts whose glyphs have names
    if (!top.cidKeyed || top.charset <= kLastPredefined) return charset;
    Reader reader(table, top.charset);
    const std::uint32_t format = reader.number(1);
    for (std::uint32_t glyph = 1; glyph < glyphCount && !reader.atEnd();) {
        const std::uint32_t cid = reader.number(2);
        const std::uint32_t more = format == 0 ? 0 : reader.number(format == 1 ? 1 : 2);
        const std::uint32_t count = std::min(more + 1, glyphCount - glyph);
        charset.ranges_.push_back({glyph, count, cid});
        glyph += count;
    }
    return charset;
}

std::uint32_t CffCharset::cidOf(std::uint32_t glyph) const {
    if (!cidKeyed_) return glyph;
    const auto next =
        std::upper_bound(ranges_.begin(), ranges_.end(), glyph,
                         [](std::uint32_t g, const Range& range) { return g < range.firstGlyph; });
    if (next == ranges_.begin()) return 0;
    const Range& range = *(next - 1);
    const std::uint32_t offset = glyph - range.firstGlyph;
    return offset < range.count ? range.firstCid + offset : 0;
}

}  // namespace qbsvrl6
