#include "qbsvrl6/sheet/grid/cell_style.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "qbsvrl6/support/hash.h"

namespace qbsvrl6 {

namespace {

const ResolvedStyle kDefaultStyle;

std::size_t packed(const Color& color) {
    return static_cast<std::size_t>(color.red) << 16 | static_cast<std::size_t>(color.green) << 8 |
           color.blue;
}

void mixLine(std::size_t& hash, const BorderLine& line) {
    mixHash(hash,
            static_cast<std::size_t>(line.width) << 25 | (line.dashed ? 1u << 24 : 0u) | packed(line.color));
}

}  // namespace

std::size_t CellStyleHash::operator()(const CellStyle& style) const {
    std::size_t hash = std::hash<std::u16string>()(style.fontFamily);
    mixHash(hash, std::hash<double>()(style.fontSize));
    mixHash(hash, (style.bold ? 1u : 0u) | (style.italic ? 2u : 0u) | (style.underline ? 4u : 0u) |
                      (style.wraps ? 8u : 0u) | (style.isNumber ? 16u : 0u));
    mixHash(hash, packed(style.color));
    mixHash(hash, style.background ? packed(*style.background) : SIZE_MAX);
    mixLine(hash, style.border.left);
    mixLine(hash, style.border.top);
    mixLine(hash, style.border.right);
    mixLine(hash, style.border.bottom);
    mixHash(hash, static_cast<std::size_t>(style.align) * 8 + static_cast<std::size_t>(style.verticalAlign));
    mixHash(hash, static_cast<std::size_t>(style.rotation) * 16 + static_cast<std::size_t>(style.indent));
    mixHash(hash, std::hash<std::u16string>()(style.numberFormat));
    return hash;
}

bool wraps(const Item& item) {
    const auto* text = std::get_if<TextItem>(&item.content);
    if (text == nullptr) return false;
    return text->lines.size() > 1 || std::any_of(text->text.begin(), text->text.end(), [](char16_t unit) {
               return unit == u'\n' || unit == u'\r';
           });
}

int StyleTable::idOf(const Cell& cell, const SheetLook& look) {
    const ResolvedStyle* resolved = &kDefaultStyle;
    const TextItem* text = nullptr;
    if (cell.item != nullptr) {
        if (cell.item->style != nullptr) resolved = cell.item->style;
        text = std::get_if<TextItem>(&cell.item->content);
    }
    const double fontSize = text != nullptr ? text->fontSize : resolved->fontSize;
    const Color color = text != nullptr && text->color ? *text->color : resolved->color;
    const bool isWrapped = text != nullptr && !look.isNumber && wraps(*cell.item);
    // Pictures and drawings have their places in themselves.
    const bool isPadded = cell.item == nullptr || text != nullptr;

    std::size_t slot = reinterpret_cast<std::uintptr_t>(resolved) + (isWrapped ? 1 : 0);
    mixHash(slot,
            static_cast<std::size_t>(cell.column) + (cell.background ? packed(*cell.background) << 16 : 0));
    Answer& answer = answers_[slot >> 56];
    static_assert(std::tuple_size_v<decltype(answers_)> == 256);
    const Key& known = answer.key;
    if (answer.id >= 0 && known.style == resolved && known.fontSize == fontSize && known.color == color &&
        known.background == cell.background && known.border == cell.border && known.wraps == isWrapped &&
        known.isPadded == isPadded && known.isNumber == look.isNumber && known.indent == look.indent &&
        known.verticalAlign == look.verticalAlign && known.numberFormat == look.numberFormat) {
        return answer.id;
    }
    CellStyle style;
    style.fontFamily = resolved->fontFamily;
    style.fontSize = fontSize;
    style.bold = resolved->bold;
    style.italic = resolved->italic;
    style.underline = resolved->underline;
    style.color = color;
    style.background = cell.background;
    style.border = cell.border;
    style.rotation = resolved->rotation;
    style.indent = look.indent;
    style.lineSpacing = resolved->lineSpacing;
    style.verticalAlign = VerticalAlign::Top;
    if (isPadded) {
        style.align = resolved->align;
        style.verticalAlign = look.verticalAlign.value_or(resolved->verticalAlign);
        style.padding = resolved->padding;
    }
    style.wraps = isWrapped;
    style.isNumber = look.isNumber;
    style.numberFormat = look.numberFormat;
    answer.id = idOf(std::move(style));
    answer.key = {resolved,
                  fontSize,
                  color,
                  cell.background,
                  cell.border,
                  isWrapped,
                  isPadded,
                  look.isNumber,
                  look.indent,
                  look.verticalAlign,
                  std::u16string(look.numberFormat)};
    return answer.id;
}

int StyleTable::idOf(CellStyle style) {
    const auto [entry, isNew] = ids_.try_emplace(std::move(style), static_cast<int>(styles_.size()));
    if (isNew) styles_.push_back(&entry->first);
    return entry->second;
}

}  // namespace qbsvrl6
