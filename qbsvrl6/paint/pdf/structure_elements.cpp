#include "qbsvrl6/paint/pdf/structure_elements.h"

#include <algorithm>
#include <utility>

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;
using Kind = StructureElement::Kind;

// Whether the children go on beside one another: a page break may divide all cells of a row.
bool goOnTogether(Kind parent) { return parent == Kind::Row || parent == Kind::Cell || parent == Kind::Band; }

void describeCell(ByteBuffer& out, const StructureElement& cell) {
    const int columns = cell.lastPosition - static_cast<int>(cell.key) + 1;
    if (cell.scope.empty() && columns == 1 && cell.rows == 1) return;
    out.add("/A<</O/Table"sv, cell.scope);
    if (columns > 1) out.add("/ColSpan "sv, std::int64_t{columns});
    if (cell.rows > 1) out.add("/RowSpan "sv, std::int64_t{cell.rows});
    out.append(">>"sv);
}

}  // namespace

void StructureElement::addKid(std::string_view kid) {
    kids.append(kid);
    ++kidCount;
}

void StructureElement::addContent(int content, int ofPage) {
    if (page == 0) page = ofPage;
    ++kidCount;
    if (page == ofPage) return kids.add(std::int64_t{content}, ' ');
    kids.add("<</Type/MCR/Pg "sv, std::int64_t{ofPage}, " 0 R/MCID "sv, std::int64_t{content}, ">>"sv);
}

void StructureElement::addObject(int object, int ofPage) {
    addKid("<</Type/OBJR/Pg " + std::to_string(ofPage) + " 0 R/Obj " + std::to_string(object) + " 0 R>>");
}

StructureElements::StructureElements(PdfFile& file, int root) : file_(file), root_(root) {
    document_.tag = "Document";
    document_.number = file_.reserve();
}

StructureElement& StructureElements::open(StructureElement& parent, Kind kind, std::uint32_t key,
                                          std::string_view tag) {
    std::unique_ptr<StructureElement> element;
    if (spare_.empty()) {
        element = std::make_unique<StructureElement>();
    } else {
        element = std::move(spare_.back());
        spare_.pop_back();
    }
    element->kind = kind;
    element->key = key;
    element->tag = tag;
    element->parent = &parent;
    element->number = kind == Kind::Band ? parent.number : file_.reserve();
    parent.children.push_back(std::move(element));
    return *parent.children.back();
}

StructureElement* StructureElements::findOpen(StructureElement& parent, Kind kind, std::uint32_t key) {
    // They are usually asked for in their order.
    const auto is = [&](const auto& child) {
        return child->kind == kind && child->key == key && !child->isEnded;
    };
    std::vector<std::unique_ptr<StructureElement>>& children = parent.children;
    if (++parent.lastFound < children.size() && is(children[parent.lastFound]))
        return children[parent.lastFound].get();
    const auto found = std::find_if(children.begin(), children.end(), is);
    parent.lastFound = static_cast<std::size_t>(found - children.begin());
    return found == children.end() ? nullptr : found->get();
}

StructureElement& StructureElements::find(StructureElement& parent, Kind kind, std::uint32_t key,
                                          std::string_view tag) {
    if (StructureElement* const known = findOpen(parent, kind, key)) return *known;
    // The tables of a grid that continues on further pages grow in turn.
    const auto isTable = [](const auto& child) { return child->kind == Kind::Table && !child->isEnded; };
    const bool isBeside =
        kind == Kind::Table && std::any_of(parent.children.begin(), parent.children.end(), isTable);
    if (!goOnTogether(parent.kind) && !isBeside) endChildren(parent);
    return open(parent, kind, key, tag);
}

void StructureElements::endChildren(StructureElement& element) {
    if (element.children.empty()) return;
    for (auto& child : element.children) child->isEnded = true;
    for (StructureElement* above = &element; above != nullptr; above = above->parent) above->hasEnded = true;
}

void StructureElements::writeEnded(StructureElement& element) {
    if (!element.hasEnded) return;
    element.hasEnded = false;
    std::size_t kept = 0;
    for (auto& child : element.children) {
        if (child->isEnded) {
            close(*child);
            recycle(std::move(child));
        } else {
            writeEnded(*child);
            std::swap(element.children[kept++], child);
        }
    }
    element.children.resize(kept);
}

void StructureElements::closeLastChild(StructureElement& element) {
    close(*element.children.back());
    recycle(std::move(element.children.back()));
    element.children.pop_back();
}

// Rows need as many elements as those before them.
void StructureElements::recycle(std::unique_ptr<StructureElement> element) {
    constexpr std::size_t kMostSpare = 1'000;
    if (spare_.size() >= kMostSpare) return;
    element->page = element->kidCount = element->columns = element->lastPosition = 0;
    element->rows = 1;
    element->scope = "";
    element->covered.clear();
    element->lastFound = 0;
    element->isEnded = element->hasEnded = false;
    element->kids.clear();
    element->attributes.clear();
    element->positions.clear();
    spare_.push_back(std::move(element));
}

void StructureElements::close(StructureElement& element) {
    // A table without rows has a title, which is its only row.
    if (element.kind == Kind::Table && !element.children.empty() &&
        element.children.back()->kind == Kind::Head) {
        element.children.back()->tag = "TBody";
    }
    for (auto& child : element.children) {
        close(*child);
        recycle(std::move(child));
    }
    element.children.clear();
    if (element.kind == Kind::Band) return;
    if (element.kids.size() == 0 && element.kind != Kind::Cell) return;
    write(element);
    StructureElement* holder = element.parent;
    while (holder != nullptr && holder->kind == Kind::Band) holder = holder->parent;
    if (holder == nullptr) return;
    holder->kids.add(std::int64_t{element.number}, " 0 R "sv);
    ++holder->kidCount;
}

void StructureElements::write(const StructureElement& element) {
    ByteBuffer& out = file_.beginObject(element.number);
    out.add("<</S/"sv, element.tag, "/P "sv,
            std::int64_t{element.parent == nullptr ? root_ : element.parent->number}, " 0 R"sv);
    if (element.page != 0) out.add("/Pg "sv, std::int64_t{element.page}, " 0 R"sv);
    const std::string_view kids = element.kids.view();
    if (element.kidCount == 1) {
        const bool isNumber = kids.back() == ' ';
        out.add("/K "sv, kids.substr(0, kids.size() - (isNumber ? 1 : 0)));
    } else if (element.kidCount > 1) {
        out.add("/K["sv, kids, ']');
    }
    if (element.kind == Kind::Cell) describeCell(out, element);
    out.add(std::string_view(element.attributes), ">>"sv);
    file_.endObject();
}

}  // namespace qbsvrl6
