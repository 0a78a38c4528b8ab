#include "qbsvrl6/sheet/workbook/print_setup.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace qbsvrl6 {

namespace {

// The longest header or footer, including its codes.
constexpr std::size_t kMaxUnits = 255;

constexpr Micrometres kUsualHeaderMargin = 7'500;

enum class Third { Left, Middle, Right };

bool hasPageNumber(const Item& item) {
    const auto* text = std::get_if<TextItem>(&item.content);
    return text != nullptr && !text->pageFields.empty();
}

bool isDecoration(const Item& item) {
    return std::holds_alternative<LineItem>(item.content) || std::holds_alternative<BoxItem>(item.content);
}

// The third of the page that contains the point to which the text is aligned.
Third thirdOf(const Item& item, Micrometres page) {
    const HorizontalAlign align = item.style == nullptr ? HorizontalAlign::Left : item.style->align;
    const double at = align == HorizontalAlign::Right    ? item.box.right()
                      : align == HorizontalAlign::Center ? item.box.x + item.box.width / 2.0
                                                         : item.box.x;
    if (3 * at < page) return Third::Left;
    return 3 * at <= 2.0 * page ? Third::Middle : Third::Right;
}

// "&9&"SimSun,Bold"": the name follows the size, so that a digit of the text cannot become part of it.
void appendFont(std::u16string& out, const Item& item) {
    const auto& text = std::get<TextItem>(item.content);
    out += u'&';
    for (const char digit : std::to_string(std::lround(std::clamp(text.fontSize, 1.0, 409.0)))) {
        out += static_cast<char16_t>(digit);
    }
    out += u"&\"";
    std::u16string_view family;
    if (item.style != nullptr) family = item.style->fontFamily;
    const bool isSafe = !family.empty() && family.find_first_of(u"\",&") == family.npos;
    out += isSafe ? family : u"-";
    const bool bold = item.style != nullptr && item.style->bold;
    const bool italic = item.style != nullptr && item.style->italic;
    out += bold && italic ? u",Bold Italic\"" : bold ? u",Bold\"" : italic ? u",Italic\"" : u",Regular\"";
}

void appendLiteral(std::u16string& out, std::u16string_view text) {
    // After a page number, a sign would begin a calculation.
    const bool followsField = out.ends_with(u"&P") || out.ends_with(u"&N");
    if (followsField && (text.starts_with(u'+') || text.starts_with(u'-'))) out += u' ';
    for (const char16_t unit : text) {
        out += unit;
        if (unit == u'&') out += unit;
    }
}

void appendText(std::u16string& out, const TextItem& item) {
    const std::u16string_view text = item.text;
    std::size_t from = 0;
    for (const PageField& field : item.pageFields) {
        appendLiteral(out, text.substr(from, field.start - from));
        out += field.kind == PageField::Kind::Number ? u"&P" : u"&N";
        from = field.end();
    }
    appendLiteral(out, text.substr(from));
}

std::u16string codeOf(std::vector<const Item*> items, Micrometres page) {
    std::stable_sort(items.begin(), items.end(), [](const Item* a, const Item* b) {
        return a->box.y != b->box.y ? a->box.y < b->box.y : a->box.x < b->box.x;
    });
    std::array<std::u16string, 3> thirds = {u"&L", u"&C", u"&R"};
    std::array<const Item*, 3> last{};
    for (const Item* const item : items) {
        const auto third = static_cast<std::size_t>(thirdOf(*item, page));
        if (last[third] != nullptr) thirds[third] += item->box.y < last[third]->box.bottom() ? u' ' : u'\n';
        appendFont(thirds[third], *item);
        appendText(thirds[third], std::get<TextItem>(item->content));
        last[third] = item;
    }
    std::u16string code;
    for (std::size_t i = 0; i < thirds.size(); ++i) {
        if (last[i] != nullptr) code += thirds[i];
    }
    return code;
}

}  // namespace

void PageNumberCode::takeFrom(Band& band, Micrometres page) {
    std::vector<const Item*> items;
    for (const Item& item : band.items) {
        if (hasPageNumber(item)) items.push_back(&item);
    }
    if (items.empty() || !text_.empty()) return;
    std::u16string code = codeOf(items, page);
    if (code.size() > kMaxUnits) return;
    text_ = std::move(code);
    height_ = band.height;
    std::erase_if(band.items, hasPageNumber);
    // A line above or below the page number is dropped as well.
    if (std::all_of(band.items.begin(), band.items.end(), isDecoration)) band.items.clear();
}

Edges PrintSetup::margins() const {
    Edges margins = page.margins;
    margins.top += header.height();
    margins.bottom += footer.height();
    return margins;
}

Micrometres PrintSetup::headerMargin() const {
    return header.text().empty() ? std::min(page.margins.top, kUsualHeaderMargin) : page.margins.top;
}

Micrometres PrintSetup::footerMargin() const {
    return footer.text().empty() ? std::min(page.margins.bottom, kUsualHeaderMargin) : page.margins.bottom;
}

int PrintSetup::paperNumber() const {
    struct Known {
        int number;
        Micrometres shortSide, longSide;
    };
    constexpr std::array kPapers = {
        Known{9, 210'000, 297'000},  Known{8, 297'000, 420'000},  Known{11, 148'000, 210'000},
        Known{12, 257'000, 364'000}, Known{13, 182'000, 257'000}, Known{1, 215'900, 279'400},
        Known{5, 215'900, 355'600},
    };
    const auto [shortSide, longSide] = std::minmax(page.paper.width, page.paper.height);
    for (const Known& known : kPapers) {
        if (std::abs(known.shortSide - shortSide) <= kMicrometresPerMillimetre &&
            std::abs(known.longSide - longSide) <= kMicrometresPerMillimetre) {
            return known.number;
        }
    }
    return 0;
}

int PrintSetup::scale() const {
    constexpr int kAlmostAll = 94;  // percent of the paper; LibreOffice's columns are up to 5.9 % too wide
    if (!paged) return 100;
    std::int64_t total = 1;
    for (const Micrometres width : columnWidths) total += width;
    const std::int64_t printable = std::max(page.paper.width - page.margins.left - page.margins.right, 1);
    return static_cast<int>(std::clamp<std::int64_t>(kAlmostAll * printable / total, 10, 100));
}

std::vector<int> PrintSetup::columnPixels() const {
    constexpr double kPixelsPerMicrometre = 96 / 25400.0;
    constexpr std::int64_t kWidest = 255 * kPixelsPerDigit;
    std::vector<int> pixels;
    double edge = 0;
    std::int64_t last = 0;
    for (const Micrometres width : columnWidths) {
        edge += width * kPixelsPerMicrometre;
        pixels.push_back(static_cast<int>(std::clamp<std::int64_t>(std::llround(edge) - last, 1, kWidest)));
        last = std::llround(edge);
    }
    return pixels;
}

}  // namespace qbsvrl6
