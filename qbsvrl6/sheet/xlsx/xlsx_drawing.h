// Pictures, drawings and slanted lines on top of the cells of a worksheet.
#ifndef QBSVR_QBSVRL6_SHEET_XLSX_XLSX_DRAWING_H
#define QBSVR_QBSVRL6_SHEET_XLSX_XLSX_DRAWING_H

#include <cstdint>
#include <optional>
#include <string>

#include "qbsvrl6/sheet/grid/cell_grid.h"
#include "qbsvrl6/sheet/package/zip.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

// The drawing part of one sheet. Each object is anchored at the upper left corner of its cell and has a fixed
// size.
class XlsxDrawing {
public:
    // `row` counts from 0 in the sheet. `relation` is the name of the relation of a picture or native chart; all
    // other overlays have none.
    void add(const Overlay& overlay, std::int64_t row, std::string_view relation);

    bool isEmpty() const { return objects_ == 0; }
    // Writes the part, xl/drawings/drawingN.xml. The drawing is then empty.
    void writeTo(ZipWriter& zip, const std::string& name);

private:
    void addPicture(const Item& item, const PictureItem& picture, std::string_view relation);
    void addChart(Size size, std::string_view relation, std::u16string_view alternateText);
    void addDrawing(const Drawing& drawing, Size size, std::u16string_view alternateText);
    void addLine(const LineContent& line, Size size);
    void addPath(const Drawing::Path& path, Size size);
    void addLabel(const Drawing::Label& label);
    // Writes the number and name of an object; leaves its tag open.
    XmlWriter& openProperties(std::string_view name);

    void compress();

    std::optional<DeflateStream> compressed_;  // the beginning of a large part, whose rest is anchorElements_
    std::string anchorElements_;
    XmlWriter anchors_{anchorElements_};
    int objects_ = 0;
};

}  // namespace qbsvrl6

#endif
