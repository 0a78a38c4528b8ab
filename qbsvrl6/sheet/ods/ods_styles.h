// The automatic styles of an ODS spreadsheet: those of cells, rows and columns.
#ifndef QBSVR_QBSVRL6_SHEET_ODS_ODS_STYLES_H
#define QBSVR_QBSVRL6_SHEET_ODS_ODS_STYLES_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_style.h"
#include "qbsvrl6/sheet/ods/ods_formats.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

// A length in an attribute value: "12.3mm".
struct OdsLength {
    Micrometres length;
    void appendTo(std::string& out) const;
};

// A colour in an attribute value: "#1f3a5f".
struct OdsColor {
    Color color;
    void appendTo(std::string& out) const;
};

// Opens the root element of a part with the namespaces of all.
XmlWriter& openOdsPart(XmlWriter& xml, std::string_view root);

// Appends the font, size and emphasis of a text.
void writeTextProperties(XmlWriter& xml, const CellStyle& style);

class OdsStyles {
public:
    // The numbers of the styles "co", "ro" and "gr", from 1.
    int columnStyle(Micrometres width) { return numberOf(columns_, width); }
    int rowStyle(Micrometres height, bool breaksPage) { return numberOf(rows_, {height, breaksPage}); }
    int lineStyle(const LineContent& line);

    OdsFormats& formats() { return formats_; }

    // The styles as XML; those of cells are "ce1" for the first one.
    std::string xml(const std::vector<const CellStyle*>& cells);

private:
    template <class Key>
    static int numberOf(std::map<Key, int>& known, const Key& key) {
        return known.try_emplace(key, static_cast<int>(known.size()) + 1).first->second;
    }
    void writeCellStyle(XmlWriter& xml, const CellStyle& style, std::size_t number);

    std::map<Micrometres, int> columns_;
    std::map<std::pair<Micrometres, bool>, int> rows_;
    std::map<std::string, int> lines_;  // by their properties
    OdsFormats formats_;
};

}  // namespace qbsvrl6

#endif
