// The open elements of a structure tree, and how they are written.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_STRUCTURE_ELEMENTS_H
#define QBSVR_QBSVRL6_PAINT_PDF_STRUCTURE_ELEMENTS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/paint/pdf/pdf_file.h"

namespace qbsvrl6 {

// An element that is open: it may get more content or children.
struct StructureElement {
    enum class Kind : std::uint8_t { Report, Band, Table, Head, Body, Row, Cell, Leaf };

    Kind kind = Kind::Report;
    std::uint32_t key = 0;  // among those of its kind in its parent
    std::string_view tag;   // "TD"; a band has none: its children are those of its parent
    int number = 0;         // of its object; of a band: that of its parent
    StructureElement* parent = nullptr;
    int page = 0;  // the object of the page of its first content
    ByteBuffer kids;
    int kidCount = 0;
    std::string attributes;
    std::vector<std::unique_ptr<StructureElement>> children;  // open ones, in the order of reading

    std::size_t lastFound = 0;  // index of a child

    bool isEnded = false;   // it is written after the band: items of the band may be in it
    bool hasEnded = false;  // an element in it is ended

    // Of a table.
    std::vector<int> positions;  // of its columns, by their numbers; -1: in another table
    int columns = 0;
    // The cell that covers rows down to that of this entry, by positions. Its row stays open until then.
    struct Covered {
        StructureElement* cell = nullptr;
        std::uint32_t lastBand = 0;
    };
    std::vector<Covered> covered;  // empty: none
    // Of a cell.
    int lastPosition = 0;  // its last column. Its first one is its key
    int rows = 1;
    std::string_view scope = "";  // of a head: "/Scope/Row"

    void addContent(int content, int ofPage);
    // An annotation of the page.
    void addObject(int object, int ofPage);
    void addKid(std::string_view kid);
};

class StructureElements {
public:
    using Kind = StructureElement::Kind;

    // `root` is the object that holds the document.
    StructureElements(PdfFile& file, int root);

    StructureElement& document() { return document_; }
    // A new child.
    StructureElement& open(StructureElement& parent, Kind kind, std::uint32_t key, std::string_view tag);
    // The child that has not ended, or a new one. A new child ends those before it, except in cells and sections: their
    // children go on until they end themselves.
    StructureElement& find(StructureElement& parent, Kind kind, std::uint32_t key, std::string_view tag);
    // Null: it is not open.
    static StructureElement* findOpen(StructureElement& parent, Kind kind, std::uint32_t key);
    void endChildren(StructureElement& element);
    // Writes the ended elements. References to them become invalid.
    void writeEnded() { writeEnded(document_); }
    // Writes the element and all that is open in it. An element without content is left out, except a cell.
    void close(StructureElement& element);
    void closeLastChild(StructureElement& element);

private:
    void writeEnded(StructureElement& element);
    void recycle(std::unique_ptr<StructureElement> element);
    void write(const StructureElement& element);

    PdfFile& file_;
    int root_;
    StructureElement document_;
    std::vector<std::unique_ptr<StructureElement>> spare_;
};

}  // namespace qbsvrl6

#endif
