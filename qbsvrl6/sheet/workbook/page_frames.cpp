#include "qbsvrl6/sheet/workbook/page_frames.h"

#include <algorithm>

namespace qbsvrl6 {

namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Length of the number at `start`, 0 where there is none.
std::size_t numberLength(std::u16string_view text, std::size_t start) {
    std::size_t end = start;
    while (end < text.size() && isDigit(text[end])) ++end;
    return end - start;
}

bool reads(std::u16string_view digits, int number) {
    const std::string expected = std::to_string(number);
    return std::equal(digits.begin(), digits.end(), expected.begin(), expected.end(),
                      [](char16_t a, char b) { return a == static_cast<char16_t>(b); });
}

bool sameContent(const Item& a, int pageA, const Item& b, int pageB) {
    if (a.box != b.box || a.style != b.style || a.content.index() != b.content.index()) return false;
    if (const auto* text = std::get_if<TextItem>(&a.content)) {
        const auto& other = std::get<TextItem>(b.content);
        return text->fontSize == other.fontSize && text->color == other.color && text->link == other.link &&
               findNumbers(text->text, pageA, other.text, pageB, 0);
    }
    if (const auto* picture = std::get_if<PictureItem>(&a.content)) {
        return picture->picture == std::get<PictureItem>(b.content).picture;
    }
    if (const auto* drawing = std::get_if<DrawingItem>(&a.content)) {
        return drawing->drawing == std::get<DrawingItem>(b.content).drawing;
    }
    return true;  // lines and boxes of the template
}

bool sameBands(const std::vector<PlacedBand>& a, int pageA, const std::vector<PlacedBand>& b, int pageB) {
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [&](const PlacedBand& one, const PlacedBand& other) {
            return one.x == other.x && one.y == other.y && one.band.height == other.band.height &&
                   std::equal(one.band.items.begin(), one.band.items.end(), other.band.items.begin(),
                              other.band.items.end(), [&](const Item& item, const Item& otherItem) {
                                  return sameContent(item, pageA, otherItem, pageB);
                              });
        });
}

}  // namespace

std::optional<std::vector<NumberField>> findNumbers(std::u16string_view text, int page,
                                                    std::u16string_view other, int otherPage, int pageCount) {
    std::vector<NumberField> fields;
    NumberField count{NumberField::Kind::PageCount, 0, 0};
    std::size_t i = 0;
    std::size_t k = 0;
    while (i < text.size() && k < other.size()) {
        const std::size_t length = numberLength(text, i);
        const std::size_t otherLength = numberLength(other, k);
        if (length == 0 || otherLength == 0) {
            if (text[i] != other[k]) return std::nullopt;
            ++i;
            ++k;
            continue;
        }
        const std::u16string_view number = text.substr(i, length);
        const std::u16string_view otherNumber = other.substr(k, otherLength);
        if (page != otherPage && reads(number, page) && reads(otherNumber, otherPage)) {
            fields.push_back({NumberField::Kind::Page, i, length});
        } else if (number != otherNumber) {
            return std::nullopt;
        } else if (reads(number, pageCount)) {
            count.start = i;
            count.length = length;
        }
        i += length;
        k += otherLength;
    }
    if (i < text.size() || k < other.size()) return std::nullopt;
    if (count.length > 0) fields.push_back(count);
    std::sort(fields.begin(), fields.end(),
              [](const NumberField& a, const NumberField& b) { return a.start < b.start; });
    return fields;
}

bool sameFrame(const PageFrame& a, int pageA, const PageFrame& b, int pageB) {
    return sameBands(a.header, pageA, b.header, pageB) && sameBands(a.footer, pageA, b.footer, pageB);
}

}  // namespace qbsvrl6
