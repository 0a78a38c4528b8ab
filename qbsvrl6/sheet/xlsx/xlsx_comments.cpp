#include "qbsvrl6/sheet/xlsx/xlsx_comments.h"

#include "qbsvrl6/sheet/xlsx/xlsx_xml.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kMostBytes = 16u << 20;
constexpr std::size_t kMostUnits = 32'767;
constexpr int kFirstBox = 1'025;  // as programs number them

}  // namespace

bool XlsxComments::add(int column, std::int64_t row, std::u16string_view text) {
    if (commentElements_.size() > kMostBytes) return false;
    const std::u16string_view shown = text.substr(0, kMostUnits);
    XmlWriter comment(commentElements_);
    comment.open("comment")
        .attribute("ref", areaName({row, row, column, column}, ""))
        .attribute("authorId", 0);
    comment.open("text").open("t").attribute("xml:space", "preserve").text(Xstring{shown});
    comment.close().close().close().lineEnd();
    XmlWriter box(boxElements_);
    box.open("v:shape").attribute("id", "_x0000_s", kFirstBox + count_).attribute("type", "#_x0000_t202");
    box.attribute("style", "position:absolute;width:240pt;height:120pt;visibility:hidden");
    box.attribute("fillcolor", "#ffffe1").open("x:ClientData").attribute("ObjectType", "Note");
    box.element("x:Row", row).element("x:Column", column).close().close().lineEnd();
    ++count_;
    return true;
}

std::string XlsxComments::xml() const {
    std::string part;
    XmlWriter xml(part);
    xml.declare().open("comments").attribute("xmlns", kSpreadsheetNamespace).lineEnd();
    xml.open("authors").open("author").close().close().open("commentList").lineEnd();
    xml.content() += commentElements_;
    xml.close().close().lineEnd();
    return part;
}

std::string XlsxComments::boxes() const {
    std::string part;
    XmlWriter xml(part);
    xml.open("xml").attribute("xmlns:v", "urn:schemas-microsoft-com:vml");
    xml.attribute("xmlns:o", "urn:schemas-microsoft-com:office:office");
    xml.attribute("xmlns:x", "urn:schemas-microsoft-com:office:excel").lineEnd();
    xml.open("v:shapetype").attribute("id", "_x0000_t202").attribute("coordsize", "21600,21600");
    xml.attribute("o:spt", 202).attribute("path", "m,l,21600r21600,l21600,xe").close().lineEnd();
    xml.content() += boxElements_;
    xml.close().lineEnd();
    return part;
}

}  // namespace qbsvrl6
