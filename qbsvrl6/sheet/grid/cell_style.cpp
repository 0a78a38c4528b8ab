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
    const auto isLineEnd = [](char16_t unit) { return unit <= u'\r' && (unit == u'\n' || unit == u'\r'); };
    return text->lines.size() > 1 || std::any_of(text->text.begin(), text->text.end(), isLineEnd);
}

StyleTable::Source StyleTable::sourceOf(const Cell& cell, const SheetFormat& format) {
    const bool isStyled = cell.item != nullptr && cell.item->style != nullptr;
    const TextItem* const text = cell.item == nullptr ? nullptr : std::get_if<TextItem>(&cell.item->content);
    Source source;
    source.style = isStyled ? cell.item->style : &kDefaultStyle;
    source.fontSize = text != nullptr ? text->fontSize : source.style->fontSize;
    const bool hasColor = text != nullptr && text->color && !(format.isNumber && text->value.formatHasColors);
    source.color = hasColor ? *text->color : source.style->color;
    source.background = cell.background;
    source.border = cell.border;
    source.wraps = text != nullptr && !format.isNumber && (format.wraps || wraps(*cell.item));
    // Pictures and drawings contain their padding.
    source.isPadded = cell.item == nullptr || text != nullptr;
    source.format = format;
    return source;
}

CellStyle StyleTable::styleOf(const Source& source) {
    const ResolvedStyle& resolved = *source.style;
    CellStyle style;
    style.fontFamily = resolved.fontFamily;
    style.fontSize = source.fontSize;
    style.bold = resolved.bold;
    style.italic = resolved.italic;
    style.underline = resolved.underline;
    style.color = source.color;
    style.background = source.background;
    style.border = source.border;
    style.rotation = resolved.rotation;
    style.indent = source.format.indent;
    style.lineSpacing = resolved.lineSpacing;
    style.verticalAlign = VerticalAlign::Top;
    if (source.isPadded) {
        style.align = resolved.align;
        style.verticalAlign = source.format.verticalAlign.value_or(resolved.verticalAlign);
        style.padding = resolved.padding;
    }
    style.wraps = source.wraps;
    style.isNumber = source.format.isNumber;
    style.numberFormat = source.format.numberFormat;
    return style;
}

int StyleTable::idOf(const Cell& cell, const SheetFormat& format) {
    Source source = sourceOf(cell, format);
    std::size_t slot = reinterpret_cast<std::uintptr_t>(source.style) + (source.wraps ? 1 : 0);
    mixHash(slot,
            static_cast<std::size_t>(cell.column) + (cell.background ? packed(*cell.background) << 16 : 0));
    auto& [recent, older] = answers_[slot >> 57];
    static_assert(std::tuple_size_v<decltype(answers_)> == 128);
    for (const Answer* answer : {&recent, &older}) {
        if (answer->id >= 0 && answer->source == source) return answer->id;
    }
    const auto [entry, isNew] = ids_.try_emplace(styleOf(source), static_cast<int>(styles_.size()));
    if (isNew) styles_.push_back(&entry->first);
    source.format.numberFormat = entry->first.numberFormat;  // which lives as long as the table
    older = std::exchange(recent, {source, entry->second});
    return recent.id;
}

}  // namespace qbsvrl6
