// The structure tree of a tagged PDF: what a screen reader follows instead of the pages.
//
// The tree is made while pages are painted. An element is written when nothing can be added to it any more:
// a row when the next one begins, a table when its report goes on. What is open is a path from the document
// to the current row, so memory use does not grow with the number of rows.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_STRUCTURE_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_STRUCTURE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/items/structure.h"
#include "qbsvrl6/paint/pdf/number_tree.h"
#include "qbsvrl6/paint/pdf/pdf_canvas.h"
#include "qbsvrl6/paint/pdf/pdf_file.h"
#include "qbsvrl6/paint/pdf/structure_elements.h"

namespace qbsvrl6 {

class PdfStructure {
public:
    // Content that is drawn when the document ends. Without a number, it is an artifact.
    struct LateContent {
        std::string_view tag;
        int content = -1;
    };

    PdfStructure(PdfFile& file, const DocumentStructure& structure);

    // The language of the document: texts in another one have their own. Empty: not known yet.
    void setLanguage(std::string_view language) { language_ = language; }

    void beginPage(int page, Micrometres height);
    // Before a band is painted: finds the elements of its items and has the canvas mark them.
    void beginBand(PdfCanvas& canvas, const Band& band, Micrometres x, Micrometres y);
    // After it was painted.
    void endBand(PdfCanvas& canvas);
    // The marks of the pending texts of the last band, in their order.
    const std::vector<LateContent>& lateContents() const { return lateContents_; }
    // Returns the entries of the page's dictionary.
    std::string endPage(const PdfCanvas& canvas);

    // After the page has ended: the key of an annotation that an element holds.
    int keyOf(int element) { return parents_.add(element); }
    // Adds an element for a field of the page, and returns it.
    int addField(int annotation);

    // The text of the first heading; empty: there is none.
    const std::u16string& title() const { return title_; }
    // Writes the rest of the tree and returns the entries of the catalog.
    std::string finish();

private:
    using Element = StructureElement;
    using Kind = StructureElement::Kind;
    using Items = std::vector<std::size_t>;
    // What one control of a band shows: its item, or those of its sub-report.
    struct Part {
        ItemRole role;
        Rect box;
        bool isNested = false;
        Items items;
    };
    struct Link {
        Element* element = nullptr;  // null: the item is an artifact
        std::u16string contents;
    };

    bool isArtifact(const Band& band) const;
    const ItemRole* roleIn(std::uint32_t band, const Item& item) const;
    std::uint32_t nestedBand(std::uint32_t band, const Item& item) const;
    std::vector<Part> partsOf(std::uint32_t band, const Items& items) const;
    bool isOfTable(std::uint32_t band) const;

    Element& reportElement(std::uint32_t report);
    Element& containerOf(const ItemRole& role);
    Element& tableOf(Element& report, std::uint32_t number, int columnGroup);
    Element* rowOf(Element& report, std::uint32_t band, int columnGroup);
    void addCells(Element& row, std::uint32_t band, const std::vector<Part>& parts);
    static bool isCovered(const Element& table, std::uint32_t band);
    static void coverRows(Element& cell, std::uint32_t lastBand);
    static Element& cellOf(Element& row, const ItemRole& role);

    void placeRows(Element& report, const Band& band, const Items& items);
    void placeBand(Element& report, std::uint32_t band, int columnGroup, const Items& items);
    bool placeSimpleRow(Element& report, std::uint32_t band, int columnGroup, const Items& items);
    void placePart(Element& container, std::uint32_t band, const Part& part);
    void placeInCell(Element& cell, std::uint32_t band, std::size_t item);
    void placeItem(Element& element, std::size_t item);
    void describe(Element& element, const Item& item) const;
    void describeLanguage(Element& element, const Item& item) const;
    std::string_view tagOf(std::uint32_t band, const Item& item);
    void addLinks(PdfCanvas& canvas);

    PdfFile& file_;
    const DocumentStructure& structure_;
    NumberTree parents_;
    int root_;
    StructureElements elements_;
    std::string language_;
    int lastHeading_ = 0;
    std::u16string title_;

    int page_ = 0;
    Micrometres pageHeight_ = 0;

    // Of the current band.
    const Band* band_ = nullptr;
    Micrometres x_ = 0, y_ = 0;
    std::vector<ItemMark> marks_;
    std::vector<Element*> placed_;  // of each item; null: it is an artifact
    std::vector<Link> links_;       // of each item that has one
    Items read_;                    // those that are not decoration
    Items pending_;
    std::size_t firstLink_ = 0;  // of the band, among those of the page
    std::vector<LateContent> lateContents_;
};

}  // namespace qbsvrl6

#endif
