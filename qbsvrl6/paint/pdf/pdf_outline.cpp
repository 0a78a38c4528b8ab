#include "qbsvrl6/paint/pdf/pdf_outline.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;

// An entry's neighbours, as object numbers; 0: none.
struct Node {
    int number = 0;
    int parent = 0;
    int previous = 0, next = 0;
    int first = 0, last = 0;
    int descendants = 0;
};

void addReference(ByteBuffer& out, std::string_view key, int number) {
    if (number != 0) out.add(key, ' ', std::int64_t{number}, " 0 R"sv);
}

// A page, and what is at the top of its window.
void addPlace(ByteBuffer& out, const PdfBookmark& bookmark) {
    out.add('[', std::int64_t{bookmark.page}, " 0 R/XYZ null "sv);
    appendNumber(out, bookmark.top, 2);
    out.append(" null]"sv);
}

}  // namespace

std::string PdfDestinations::nameOf(std::u16string_view link) {
    const std::string encoded = toUtf8(link.substr(1));
    std::string name;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        const bool isCode = encoded[i] == '%' && i + 2 < encoded.size() && hexValue(encoded[i + 1]) >= 0 &&
                            hexValue(encoded[i + 2]) >= 0;
        name +=
            isCode ? static_cast<char>(hexValue(encoded[i + 1]) * 16 + hexValue(encoded[i + 2])) : encoded[i];
        if (isCode) i += 2;
    }
    return *names_.insert(name).first;
}

std::string PdfDestinations::write(const std::vector<PdfBookmark>& bookmarks) const {
    if (names_.empty()) return {};
    std::map<std::string, const PdfBookmark*> known;
    for (const PdfBookmark& bookmark : bookmarks) {
        std::string name = toUtf8(bookmark.title);
        if (names_.contains(name)) known.emplace(std::move(name), &bookmark);
    }
    ByteBuffer out;
    out.append("/Dests<</Names["sv);
    for (const std::string& name : names_) {
        const auto place = known.find(name);
        if (place == known.end()) {
            constexpr std::size_t kShown = 80;
            logWarning("the link \"#" + name.substr(0, kShown) + "\" leads nowhere: no group has this value");
            continue;
        }
        appendByteString(out, name);
        addPlace(out, *place->second);
    }
    out.append("]>>"sv);
    return std::string(out.view());
}

int writeOutline(PdfFile& file, const std::vector<PdfBookmark>& bookmarks) {
    if (bookmarks.empty()) return 0;
    std::vector<Node> nodes(bookmarks.size() + 1);  // the root, then the bookmarks
    for (Node& node : nodes) node.number = file.reserve();
    // The path from the root to the newest entry, as indexes of nodes with their levels.
    struct Open {
        std::size_t index;
        int level;
    };
    std::vector<Open> path{{0, -1}};
    for (std::size_t i = 0; i < bookmarks.size(); ++i) {
        const int level = bookmarks[i].level < 0 ? 0 : bookmarks[i].level;
        while (path.back().level >= level) path.pop_back();
        Node& node = nodes[i + 1];
        Node& parent = nodes[path.back().index];
        node.parent = parent.number;
        node.previous = parent.last;
        if (parent.last != 0)
            nodes[static_cast<std::size_t>(parent.last - nodes[0].number)].next = node.number;
        if (parent.first == 0) parent.first = node.number;
        parent.last = node.number;
        for (const Open& above : path) ++nodes[above.index].descendants;
        path.push_back({i + 1, level});
    }
    ByteBuffer out;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const Node& node = nodes[i];
        out.clear();
        out.append("<<"sv);
        if (i == 0) {
            out.append("/Type/Outlines"sv);
        } else {
            const PdfBookmark& bookmark = bookmarks[i - 1];
            out.append("/Title"sv);
            appendTextString(out, bookmark.title);
            out.append("/Dest"sv);
            addPlace(out, bookmark);
        }
        addReference(out, "/Parent"sv, node.parent);
        addReference(out, "/Prev"sv, node.previous);
        addReference(out, "/Next"sv, node.next);
        addReference(out, "/First"sv, node.first);
        addReference(out, "/Last"sv, node.last);
        // The first level is open, the levels below it are closed: a negative count.
        if (i == 0) {
            std::int64_t shown = 0;
            for (std::size_t k = 1; k < nodes.size(); ++k) shown += nodes[k].parent == node.number ? 1 : 0;
            out.add("/Count "sv, shown);
        } else if (node.descendants > 0) {
            std::int64_t children = node.descendants;
            out.add("/Count "sv, -children);
        }
        out.append(">>"sv);
        file.writeObject(node.number, out.view());
    }
    return nodes[0].number;
}

}  // namespace qbsvrl6
