#include "qbsvrl6/sheet/xls/xls_styles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_map>

#include "qbsvrl6/sheet/workbook/sheet_value.h"
#include "qbsvrl6/sheet/xls/biff.h"

namespace qbsvrl6 {

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;

constexpr std::size_t kFirstColor = 8;
constexpr std::size_t kColors = 56;
constexpr u32 kAutomaticLine = 64;
constexpr u32 kAutomaticText = 0x7FFF;
constexpr u16 kFirstFormat = 164;  // those before are built in

class Palette {
public:
    u32 indexOf(const Color& color) {
        const auto known = std::find(colors_.begin(), colors_.end(), color);
        if (known != colors_.end()) return indexAt(known);
        if (colors_.size() < kColors) {
            colors_.push_back(color);
            return indexAt(colors_.end() - 1);
        }
        return indexAt(std::min_element(colors_.begin(), colors_.end(), [&](const Color& a, const Color& b) {
            return distance(a, color) < distance(b, color);
        }));
    }

    void write(std::string& out) const {
        BiffRecord record(out, biff::kPalette);
        record.put(static_cast<u16>(kColors));
        for (std::size_t i = 0; i < kColors; ++i) {
            const Color color = i < colors_.size() ? colors_[i] : Color{};
            record.put(color.red, color.green, color.blue, u8{0});
        }
    }

private:
    u32 indexAt(std::vector<Color>::const_iterator place) const {
        return static_cast<u32>(kFirstColor + static_cast<std::size_t>(place - colors_.begin()));
    }
    // The eye distinguishes greens best, blues worst.
    static int distance(const Color& a, const Color& b) {
        const int red = a.red - b.red;
        const int green = a.green - b.green;
        const int blue = a.blue - b.blue;
        return 3 * red * red + 6 * green * green + blue * blue;
    }

    std::vector<Color> colors_;
};

// FONT records, each stored once. The format has no font number 4.
class Fonts {
public:
    Fonts() {
        for (int i = 0; i < 4; ++i) records_ += plainFont();
        count_ = 4;
    }
    u16 numberOf(const CellStyle& style, Palette& palette) {
        std::string record;
        const bool isBlack = style.color == Color{};
        append(record, style.fontFamily, std::clamp(style.fontSize, 1.0, 409.0),
               static_cast<u16>(isBlack ? kAutomaticText : palette.indexOf(style.color)), style);
        const auto [entry, isNew] = numbers_.try_emplace(record, static_cast<u16>(count_ + 1));
        if (isNew) {
            records_ += record;
            ++count_;
        }
        return entry->second;
    }
    const std::string& records() const { return records_; }

private:
    static std::string plainFont() {
        std::string record;
        append(record, u"Arial", 10, kAutomaticText, {});
        return record;
    }
    // FONT:
    //   u16 height in 1/20 point | u16 flags (2: italic) | u16 colour | u16 weight | u16 raised or lowered
    //   u8 underline | u8 family | u8 character set | u8 unused
    //   u8 length of the name | u8 two bytes per unit | name
    static void append(std::string& out, std::u16string_view name, double points, u16 color,
                       const CellStyle& style) {
        const std::u16string_view shortName = name.substr(0, 31);
        BiffRecord(out, biff::kFont)
            .put(static_cast<u16>(std::lround(points * 20)), static_cast<u16>(style.italic ? 2 : 0), color,
                 static_cast<u16>(style.bold ? 700 : 400), u16{0}, static_cast<u8>(style.underline ? 1 : 0),
                 u8{0}, u8{1}, u8{0}, static_cast<u8>(shortName.size()), u8{1})
            .utf16(shortName);
    }

    std::unordered_map<std::string, u16> numbers_;
    std::string records_;
    int count_ = 0;
};

class Formats {
public:
    u16 numberOf(const std::u16string& format) {
        if (format.empty()) return 0;
        const auto [entry, isNew] =
            numbers_.try_emplace(format, static_cast<u16>(kFirstFormat + numbers_.size()));
        if (isNew) {
            const std::u16string_view text = std::u16string_view(format).substr(0, 255);
            // FORMAT: u16 number | u16 length | u8 two bytes per unit | code
            BiffRecord(records_, biff::kFormat)
                .put(entry->second, static_cast<u16>(text.size()), u8{1})
                .utf16(text);
        }
        return entry->second;
    }
    const std::string& records() const { return records_; }

private:
    std::unordered_map<std::u16string, u16> numbers_;
    std::string records_;
};

u32 lineStyle(const BorderLine& line) {
    constexpr u32 kDashed = 3;
    constexpr u32 kMediumDashed = 8;
    const LineWeight weight = lineWeight(line.width);
    if (line.dashed && weight != LineWeight::None)
        return weight < LineWeight::Medium ? kDashed : kMediumDashed;
    switch (weight) {
        case LineWeight::None:
            return 0;
        case LineWeight::Hair:
            return 7;
        case LineWeight::Thin:
            return 1;
        case LineWeight::Medium:
            return 2;
        case LineWeight::Thick:
            return 5;
    }
    return 0;
}

// XF:
//   u16 font | u16 format | u16 protection and parent | u8 alignment | u8 rotation | u8 indent | u8 groups in use
//   u32  left, right, top, bottom style (4 bits each); left, right colour (7 bits each)
//   u32  top, bottom, diagonal colour (7 bits each); diagonal style (4); one bit; fill pattern (6)
//   u16  fill colour, its background colour (7 bits each)
void appendCellXf(std::string& out, const CellStyle& style, u16 font, u16 format, Palette& palette) {
    constexpr std::array<u32, 4> kAligns = {1, 2, 3, 5};
    const u32 horizontal = kAligns[static_cast<std::size_t>(style.align)];
    const auto vertical = static_cast<u32>(style.verticalAlign);
    const auto color = [&](const BorderLine& line) {
        return line.width > 0 ? palette.indexOf(line.color) : 0;
    };
    const Border& border = style.border;
    const u32 styles = lineStyle(border.left) | lineStyle(border.right) << 4 | lineStyle(border.top) << 8 |
                       lineStyle(border.bottom) << 12;
    const u32 solid = style.background ? 1 : 0;
    const u32 fill = style.background ? palette.indexOf(*style.background) : kAutomaticLine;
    // One after the other: their order is that of the palette.
    const u32 left = color(border.left);
    const u32 right = color(border.right);
    const u32 top = color(border.top);
    const u32 bottom = color(border.bottom);
    BiffRecord(out, biff::kXf)
        .put(font, format, u16{1}, static_cast<u8>(horizontal | (style.wraps ? 8u : 0u) | vertical << 4),
             static_cast<u8>(rotationNumber(style.rotation)),
             static_cast<u8>((style.isNumber ? 0x10 : 0) | style.indent), u8{0xFC},
             styles | left << 16 | right << 23, top | bottom << 7 | solid << 26,
             static_cast<u16>(fill | 65u << 7));
}

void appendPlainXf(std::string& out, bool isStyle) {
    BiffRecord(out, biff::kXf)
        .put(u16{0}, u16{0}, static_cast<u16>(isStyle ? 0xFFF5 : 1), u8{0x20}, u8{0}, u8{0},
             static_cast<u8>(isStyle ? 0xF4 : 0), u32{0}, u32{0}, u16{0x20C0});
}

}  // namespace

void writeXlsStyles(std::string& out, const std::vector<const CellStyle*>& styles) {
    Palette palette;
    Fonts fonts;
    Formats formats;
    std::string cellFormats;
    for (int i = 0; i < kXlsPlainStyle; ++i) appendPlainXf(cellFormats, true);
    appendPlainXf(cellFormats, false);
    const std::size_t count = std::min<std::size_t>(styles.size(), kXlsMaxStyles);
    for (std::size_t i = 0; i < count; ++i) {
        const u16 font = fonts.numberOf(*styles[i], palette);
        appendCellXf(cellFormats, *styles[i], font, formats.numberOf(styles[i]->numberFormat), palette);
    }
    out += fonts.records();
    out += formats.records();
    out += cellFormats;
    BiffRecord(out, biff::kStyle).put(u16{0x8000}, u8{0}, u8{0xFF});
    palette.write(out);
}

}  // namespace qbsvrl6
