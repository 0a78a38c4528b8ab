#include "qbsvrl6/paint/pdf/pdf_structure.h"

#include <algorithm>
#include <limits>
#include <map>
#include <unordered_map>
#include <utility>

#include "qbsvrl6/fonts/text_language.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;

constexpr int kMostRows = 2'000;  // of a body: a table may have several, so that one does not grow
constexpr std::uint32_t kOwnKey = std::numeric_limits<std::uint32_t>::max();  // of what is never continued

constexpr std::string_view kHeader = "/Artifact<</Type/Pagination/Subtype/Header>>BDC\n";
constexpr std::string_view kFooter = "/Artifact<</Type/Pagination/Subtype/Footer>>BDC\n";
constexpr std::string_view kRepeated = "/Artifact<</Type/Pagination>>BDC\n";
constexpr std::string_view kLayout = "/Artifact<</Type/Layout>>BDC\n";

bool isBlank(std::u16string_view text) {
    return text.find_first_not_of(u" \t\r\n\u00A0\u3000") == std::u16string_view::npos;
}

// Whether the item is read: other ones are decoration.
bool hasContent(const Item& item) {
    if (item.role.band == 0) return false;
    if (const auto* const text = std::get_if<TextItem>(&item.content)) {
        return text->pending || !text->link.empty() || (!text->lines.empty() && !isBlank(text->text));
    }
    if (const auto* const picture = std::get_if<PictureItem>(&item.content)) {
        return picture->picture != nullptr && !isBlank(picture->alternateText);
    }
    const auto* const drawing = std::get_if<DrawingItem>(&item.content);
    return drawing != nullptr && drawing->drawing != nullptr && !isBlank(drawing->alternateText);
}

Rect around(const Rect& a, const Rect& b) {
    const Micrometres x = std::min(a.x, b.x);
    const Micrometres y = std::min(a.y, b.y);
    return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

// Sorts parts as a person reads them: line by line, each from the left.
template <class Parts>
void sortForReading(Parts& parts) {
    const auto isHigher = [](const auto& a, const auto& b) { return a.box.y < b.box.y; };
    const auto isFurtherLeft = [](const auto& a, const auto& b) { return a.box.x < b.box.x; };
    std::stable_sort(parts.begin(), parts.end(), isHigher);
    for (auto start = parts.begin(); start != parts.end();) {
        const Micrometres middle = start->box.y + start->box.height / 2;
        const auto end =
            std::find_if(start + 1, parts.end(), [&](const auto& part) { return part.box.y > middle; });
        std::stable_sort(start, end, isFurtherLeft);
        start = end;
    }
}

// The language that a text has, for certain; null: it may be any.
const char* languageOf(const Item& item, std::u16string_view text) {
    switch (item.style->language) {
        case TextLanguage::Chinese:
            return "zh-CN";
        case TextLanguage::Japanese:
            return "ja";
        case TextLanguage::Korean:
            return "ko";
        case TextLanguage::Unknown:
            break;
    }
    constexpr char16_t kFirstOther = 0x590;  // Latin, Greek and Cyrillic come before it
    if (std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < kFirstOther; }))
        return nullptr;
    LanguageGuess guess;
    guess.see(text);
    return guess.name() == "en"sv ? nullptr : guess.name();
}

}  // namespace

PdfStructure::PdfStructure(PdfFile& file, const DocumentStructure& structure)
    : file_(file), structure_(structure), parents_(file), root_(file.reserve()), elements_(file, root_) {
    file.hurry();
}

void PdfStructure::beginPage(int page, Micrometres height) {
    page_ = page;
    pageHeight_ = height;
}

bool PdfStructure::isArtifact(const Band& band) const {
    return band.structure == 0 || band.kind == BandKind::BlankRow ||
           (band.repeated && band.kind != BandKind::GridTitle);
}

void PdfStructure::beginBand(PdfCanvas& canvas, const Band& band, Micrometres x, Micrometres y) {
    band_ = &band;
    x_ = x;
    y_ = y;
    marks_.assign(band.items.size(), {});
    placed_.assign(band.items.size(), nullptr);
    links_.clear();
    pending_.clear();
    firstLink_ = canvas.links().size();
    read_.clear();
    for (std::size_t i = 0; i < band.items.size(); ++i) {
        const auto* const text = std::get_if<TextItem>(&band.items[i].content);
        if (text != nullptr && text->pending) pending_.push_back(i);
        if (hasContent(band.items[i])) read_.push_back(i);
    }
    std::string_view artifact = band.kind == BandKind::PageHeader   ? kHeader
                                : band.kind == BandKind::PageFooter ? kFooter
                                                                    : kLayout;
    if (band.repeated) artifact = kRepeated;
    if (!read_.empty() && !isArtifact(band)) {
        Element& report = reportElement(structure_.band(band.structure).report);
        if (!placeSimpleRow(report, band.structure, band.columnGroup, read_)) placeRows(report, band, read_);
    }
    for (std::size_t i = 0; i < band.items.size(); ++i) {
        const auto* const text = std::get_if<TextItem>(&band.items[i].content);
        if (text != nullptr && !text->link.empty()) links_.push_back({placed_[i], text->text});
    }
    canvas.mark(marks_, artifact);
}

void PdfStructure::endBand(PdfCanvas& canvas) {
    for (std::size_t i = 0; i < marks_.size(); ++i) {
        if (placed_[i] == nullptr) continue;
        for (int content = marks_[i].firstContent; content < marks_[i].endContent; ++content) {
            placed_[i]->addContent(content, page_);
        }
    }
    lateContents_.clear();
    for (const std::size_t i : pending_) {
        LateContent& late = lateContents_.emplace_back();
        if (placed_[i] == nullptr) continue;
        late = {marks_[i].tag, canvas.reserveContent(marks_[i].element)};
        placed_[i]->addContent(late.content, page_);
    }
    addLinks(canvas);
    elements_.writeEnded();
    canvas.mark({}, kLayout);
}

// A link of a page header has an element of its own in the document.
void PdfStructure::addLinks(PdfCanvas& canvas) {
    for (std::size_t i = 0; i < links_.size() && firstLink_ + i < canvas.links().size(); ++i) {
        PdfLink& link = canvas.links()[firstLink_ + i];
        link.annotation = file_.reserve();
        link.contents = links_[i].contents.empty() ? link.address : links_[i].contents;
        Element* element = links_[i].element;
        if (element == nullptr) {
            Element& paragraph = elements_.open(elements_.document(), Kind::Leaf, kOwnKey, "P");
            element = &elements_.open(paragraph, Kind::Leaf, kOwnKey, "Link");
        }
        element->addObject(link.annotation, page_);
        link.element = element->number;
        if (links_[i].element == nullptr) elements_.closeLastChild(elements_.document());
    }
}

int PdfStructure::addField(int annotation) {
    Element& field = elements_.open(elements_.document(), Kind::Leaf, kOwnKey, "Form");
    field.addObject(annotation, page_);
    return field.number;
}

std::string PdfStructure::endPage(const PdfCanvas& canvas) {
    if (canvas.contentElements().empty()) return "/Tabs/S";
    ByteBuffer out;
    out.append('[');
    for (const int element : canvas.contentElements()) out.add(std::int64_t{element}, " 0 R "sv);
    out.append(']');
    const int elements = file_.reserve();
    file_.writeObject(elements, out.view());
    return "/StructParents " + std::to_string(parents_.add(elements)) + "/Tabs/S";
}

std::string PdfStructure::finish() {
    elements_.close(elements_.document());
    const int parents = parents_.finish();
    ByteBuffer out;
    out.append("<</Type/StructTreeRoot"sv);
    if (elements_.document().kidCount > 0) {
        out.add("/K["sv, std::int64_t{elements_.document().number}, " 0 R]"sv);
    }
    out.add("/ParentTree "sv, std::int64_t{parents}, " 0 R/ParentTreeNextKey "sv,
            std::int64_t{parents_.size()}, ">>"sv);
    file_.writeObject(root_, out.view());
    return "/StructTreeRoot " + std::to_string(root_) + " 0 R/MarkInfo<</Marked true>>";
}

// The roles of items.

// The role of the control of the band that shows the item; null: none does.
const ItemRole* PdfStructure::roleIn(std::uint32_t band, const Item& item) const {
    const ItemRole* role = &item.role;
    while (role->band != 0 && role->band != band) {
        role = &structure_.report(structure_.band(role->band).report).shownBy;
    }
    return role->band == 0 ? nullptr : role;
}

// The band of a sub-report in the band, which has the item, or shows it in turn.
std::uint32_t PdfStructure::nestedBand(std::uint32_t band, const Item& item) const {
    std::uint32_t inner = item.role.band;
    for (;;) {
        const std::uint32_t outer = structure_.report(structure_.band(inner).report).shownBy.band;
        if (outer == band) return inner;
        inner = outer;
    }
}

std::vector<PdfStructure::Part> PdfStructure::partsOf(std::uint32_t band, const Items& items) const {
    std::vector<Part> parts;
    std::unordered_map<std::uint32_t, std::size_t> byIndex;
    for (const std::size_t i : items) {
        const Item& item = band_->items[i];
        const ItemRole* const role = roleIn(band, item);
        if (role == nullptr) continue;
        const auto [known, isNew] = byIndex.emplace(role->index, parts.size());
        if (isNew) parts.push_back({*role, item.box, false, {}});
        Part& part = parts[known->second];
        part.box = around(part.box, item.box);
        part.isNested = part.isNested || role != &item.role;
        part.items.push_back(i);
    }
    return parts;
}

bool PdfStructure::isOfTable(std::uint32_t band) const {
    const DocumentStructure::BandEntry& entry = structure_.band(band);
    const bool inGrid = entry.kind == BandKind::GridTitle || entry.kind == BandKind::Row ||
                        entry.kind == BandKind::GroupHeader || entry.kind == BandKind::GroupFooter;
    return inGrid && structure_.report(entry.report).columns != nullptr;
}

// The elements around an item.

StructureElement& PdfStructure::reportElement(std::uint32_t report) {
    const ItemRole& shownBy = structure_.report(report).shownBy;
    if (shownBy.band == 0) return elements_.document();
    return elements_.find(containerOf(shownBy), Kind::Report, report, "Sect");
}

// The section or cell of an item.
StructureElement& PdfStructure::containerOf(const ItemRole& role) {
    Element& report = reportElement(structure_.band(role.band).report);
    if (isOfTable(role.band)) {
        if (Element* const row = rowOf(report, role.band, 0)) {
            if (row->children.empty()) addCells(*row, role.band, {});
            return cellOf(*row, role);
        }
    }
    return elements_.find(report, Kind::Band, role.band, {});
}

StructureElement& PdfStructure::tableOf(Element& report, std::uint32_t number, int columnGroup) {
    Element& table = elements_.find(report, Kind::Table, static_cast<std::uint32_t>(columnGroup), "Table");
    if (!table.positions.empty()) return table;
    for (const int group : *structure_.report(number).columns) {
        const bool isShown = group == DocumentStructure::kEveryGroup || group == columnGroup;
        table.positions.push_back(isShown ? table.columns++ : -1);
    }
    table.columns = std::max(table.columns, 1);
    return table;
}

// Null: the titles of columns that are repeated.
StructureElement* PdfStructure::rowOf(Element& report, std::uint32_t band, int columnGroup) {
    const DocumentStructure::BandEntry& entry = structure_.band(band);
    Element& table = tableOf(report, entry.report, columnGroup);
    bool isHead = entry.kind == BandKind::GridTitle;
    if (isHead && (table.kids.size() > 0 || !table.children.empty())) {
        Element* const head = elements_.findOpen(table, Kind::Head, 0);
        const bool isNextLevel =
            head != nullptr && !head->children.empty() && band > head->children.back()->key;
        if (isNextLevel) return &elements_.find(*head, Kind::Row, band, "TR");
        if (head != nullptr) return elements_.findOpen(*head, Kind::Row, band);
        if (band_->repeated) return nullptr;
        isHead = false;  // a group has its own
    }
    if (!isHead) {
        Element* const body = elements_.findOpen(table, Kind::Body, 0);
        if (body != nullptr && isCovered(table, band)) {
            Element* const row = elements_.findOpen(*body, Kind::Row, band);
            return row != nullptr ? row : &elements_.open(*body, Kind::Row, band, "TR");
        }
        table.covered.clear();
        if (body != nullptr && body->kidCount >= kMostRows) elements_.endChildren(table);
    }
    Element& section = isHead ? elements_.find(table, Kind::Head, 0, "THead")
                              : elements_.find(table, Kind::Body, 0, "TBody");
    return &elements_.find(section, Kind::Row, band, "TR");
}

// Whether a cell of a row above covers this one.
bool PdfStructure::isCovered(const Element& table, std::uint32_t band) {
    return std::any_of(table.covered.begin(), table.covered.end(),
                       [band](const Element::Covered& covered) { return covered.lastBand >= band; });
}

void PdfStructure::coverRows(Element& cell, std::uint32_t lastBand) {
    Element& table = *cell.parent->parent->parent;
    table.covered.resize(static_cast<std::size_t>(table.columns));
    for (int at = static_cast<int>(cell.key); at <= cell.lastPosition; ++at) {
        table.covered[static_cast<std::size_t>(at)] = {&cell, lastBand};
    }
}

// Each row has cells for all columns that no cell above covers, so that tables are regular. Controls of a
// group's section are cells across the columns that they cover; what overlaps is in one cell.
void PdfStructure::addCells(Element& row, std::uint32_t band, const std::vector<Part>& parts) {
    const Element& table = *row.parent->parent;
    const auto coveredBy = [&](int position) {
        const Element::Covered covered =
            table.covered.empty() ? Element::Covered() : table.covered[static_cast<std::size_t>(position)];
        return covered.lastBand >= band ? covered.cell : nullptr;
    };
    for (int i = 0; !table.covered.empty() && i < table.columns; ++i) {
        Element* const cell = coveredBy(i);
        if (cell != nullptr && cell->key == static_cast<std::uint32_t>(i)) ++cell->rows;
    }
    const DocumentStructure::BandEntry& entry = structure_.band(band);
    const bool isOfGroup = entry.kind != BandKind::Row && entry.kind != BandKind::GridTitle;
    int next = 0;
    const auto add = [&](int first, int last) {
        if (last < first) return;
        next = last + 1;
        while (first <= last && coveredBy(first) != nullptr) ++first;
        while (first <= last && coveredBy(last) != nullptr) --last;
        if (last < first) return;
        Element& cell = elements_.open(row, Kind::Cell, static_cast<std::uint32_t>(first), "TD");
        cell.lastPosition = last;
    };
    if (!isOfGroup && parts.empty()) {
        for (int i = 0; i < table.columns; ++i) add(i, i);
        return;
    }
    std::vector<std::pair<int, int>> spans;
    for (int i = 0; !isOfGroup && i < table.columns; ++i) spans.emplace_back(i, i);
    for (const Part& part : parts) {
        const ItemRole& role = part.role;
        std::pair<int, int> span{table.columns, -1};
        for (int column = std::max(role.column, 0); column <= role.lastColumn; ++column) {
            const int position = table.positions[static_cast<std::size_t>(column)];
            if (position < 0) continue;
            span = {std::min(span.first, position), position};
        }
        if (isOfGroup && span.second < 0) span = {0, table.columns - 1};
        if (span.second >= span.first) spans.push_back(span);
    }
    std::sort(spans.begin(), spans.end());
    for (std::size_t i = 0; i < spans.size();) {
        int last = spans[i].second;
        std::size_t end = i + 1;
        while (end < spans.size() && spans[end].first <= last) last = std::max(last, spans[end++].second);
        add(next, spans[i].first - 1);
        add(spans[i].first, last);
        i = end;
    }
    add(next, table.columns - 1);
}

StructureElement& PdfStructure::cellOf(Element& row, const ItemRole& role) {
    const std::vector<int>& positions = row.parent->parent->positions;
    int position = 0;
    for (int column = std::max(role.column, 0); column <= role.lastColumn; ++column) {
        position = positions[static_cast<std::size_t>(column)];
        if (position >= 0) break;
    }
    const auto after =
        std::upper_bound(row.children.begin(), row.children.end(), std::max(position, 0),
                         [](int value, const auto& cell) { return value < static_cast<int>(cell->key); });
    return after == row.children.begin() ? *row.children.front() : **(after - 1);
}

// Placing items.

// A row of plain cells, as nearly all are. Returns false for others.
bool PdfStructure::placeSimpleRow(Element& report, std::uint32_t band, int columnGroup, const Items& items) {
    const BandKind kind = structure_.band(band).kind;
    if ((kind != BandKind::Row && kind != BandKind::GridTitle) || !isOfTable(band)) return false;
    const auto isSimple = [&](std::size_t i) {
        const ItemRole& role = band_->items[i].role;
        return role.band == band && role.lastColumn <= role.column;
    };
    if (!std::all_of(items.begin(), items.end(), isSimple)) return false;
    Element* const row = rowOf(report, band, columnGroup);
    if (row == nullptr) return true;
    if (row->children.empty()) addCells(*row, band, {});
    for (const std::size_t i : items) placeInCell(cellOf(*row, band_->items[i].role), band, i);
    return true;
}

// A band of merged rows, or of a title with several levels, has an entry for each.
void PdfStructure::placeRows(Element& report, const Band& band, const Items& items) {
    const std::uint32_t number = structure_.band(band.structure).report;
    std::map<std::uint32_t, Items> rows;
    for (const std::size_t i : items) {
        const ItemRole* role = &band.items[i].role;
        while (structure_.band(role->band).report != number) {
            role = &structure_.report(structure_.band(role->band).report).shownBy;
        }
        rows[role->band].push_back(i);
    }
    for (const auto& [entry, ofRow] : rows) {
        if (!placeSimpleRow(report, entry, band.columnGroup, ofRow)) {
            placeBand(report, entry, band.columnGroup, ofRow);
        }
    }
}

void PdfStructure::placeBand(Element& report, std::uint32_t band, int columnGroup, const Items& items) {
    std::vector<Part> parts = partsOf(band, items);
    sortForReading(parts);
    if (!isOfTable(band)) {
        Element& section = elements_.find(report, Kind::Band, band, {});
        for (const Part& part : parts) placePart(section, band, part);
        return;
    }
    Element* const row = rowOf(report, band, columnGroup);
    if (row == nullptr) return;
    if (row->children.empty()) addCells(*row, band, parts);
    const BandKind kind = structure_.band(band).kind;
    const bool isRow = kind == BandKind::Row || kind == BandKind::GridTitle;
    for (const Part& part : parts) {
        Element& cell = cellOf(*row, part.role);
        if (isRow && !part.isNested) {
            placeInCell(cell, band, part.items.front());
        } else {
            placePart(cell, band, part);
        }
    }
}

// A text is the content of its cell; a figure is an element in it.
void PdfStructure::placeInCell(Element& cell, std::uint32_t band, std::size_t item) {
    const Item& shown = band_->items[item];
    if (shown.role.lastBand > band) coverRows(cell, shown.role.lastBand);
    if (!std::holds_alternative<TextItem>(shown.content)) {
        return placePart(cell, band, {shown.role, shown.box, false, {item}});
    }
    const DocumentStructure::BandEntry& entry = structure_.band(band);
    const bool isTitle = entry.kind == BandKind::GridTitle;
    if ((isTitle || shown.role.column < structure_.report(entry.report).rowHeads) && cell.tag != "TH") {
        cell.tag = "TH";
        cell.scope = isTitle ? "/Scope/Column"sv : "/Scope/Row"sv;
    }
    describeLanguage(cell, shown);
    placeItem(cell, item);
}

void PdfStructure::placePart(Element& container, std::uint32_t band, const Part& part) {
    if (!part.isNested) {
        const Item& item = band_->items[part.items.front()];
        Element* element = elements_.findOpen(container, Kind::Leaf, part.role.index);
        if (element == nullptr) {
            element = &elements_.open(container, Kind::Leaf, part.role.index, tagOf(band, item));
            describe(*element, item);
        }
        return placeItem(*element, part.items.front());
    }
    // The bands of a sub-report are in their order.
    Items items;
    for (std::size_t i = 0; i < part.items.size(); ++i) {
        const Item& item = band_->items[part.items[i]];
        if (item.role.band == band) continue;
        const std::uint32_t inner = nestedBand(band, item);
        items.push_back(part.items[i]);
        const bool goesOn = i + 1 < part.items.size() && band_->items[part.items[i + 1]].role.band != band &&
                            nestedBand(band, band_->items[part.items[i + 1]]) == inner;
        if (goesOn) continue;
        const std::uint32_t report = structure_.band(inner).report;
        Element& section = elements_.find(container, Kind::Report, report, "Sect");
        placeBand(section, inner, 0, items);
        items.clear();
    }
}

void PdfStructure::placeItem(Element& element, std::size_t item) {
    const auto* const text = std::get_if<TextItem>(&band_->items[item].content);
    const bool isLink = text != nullptr && !text->link.empty();
    Element& holder = isLink ? elements_.open(element, Kind::Leaf, kOwnKey, "Link") : element;
    marks_[item] = {holder.tag, holder.number};
    placed_[item] = &holder;
}

// Headings go down one level at a time.
std::string_view PdfStructure::tagOf(std::uint32_t band, const Item& item) {
    const auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr) return "Figure";
    const DocumentStructure::BandEntry& entry = structure_.band(band);
    if (entry.heading != item.role.index + 1 || entry.headingLevel == 0) return "P";
    static constexpr std::string_view kTags[] = {"H1", "H2", "H3", "H4", "H5", "H6"};
    lastHeading_ = std::min<int>(entry.headingLevel, lastHeading_ + 1);
    if (title_.empty()) title_ = text->text;
    return kTags[lastHeading_ - 1];
}

void PdfStructure::describe(Element& element, const Item& item) const {
    if (std::holds_alternative<TextItem>(item.content)) return describeLanguage(element, item);
    const auto* const picture = std::get_if<PictureItem>(&item.content);
    ByteBuffer out;
    out.append("/Alt"sv);
    appendTextString(
        out, picture != nullptr ? picture->alternateText : std::get<DrawingItem>(item.content).alternateText);
    out.append("/A<</O/Layout/Placement/Block/BBox["sv);
    const double left = x_ + item.box.x;
    const double top = pageHeight_ - (y_ + item.box.y);
    for (const double edge : {left, top - item.box.height, left + item.box.width, top}) {
        appendPoints(out, edge);
        out.append(' ');
    }
    out.append("]>>"sv);
    element.attributes = out.view();
}

void PdfStructure::describeLanguage(Element& element, const Item& item) const {
    const std::string_view text = "/Lang";
    const char* const language = languageOf(item, std::get<TextItem>(item.content).text);
    if (language == nullptr || std::string_view(language).substr(0, 2) == language_.substr(0, 2)) return;
    if (element.attributes.find(text) != std::string::npos) return;
    element.attributes += std::string(text) + "(" + language + ")";
}

}  // namespace qbsvrl6
