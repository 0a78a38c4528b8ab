// Pictures and lines in XLS workbooks: nested drawing records ([MS-ODRAW]).
#ifndef QBSVR_QBSVRL6_SHEET_XLS_ESCHER_H
#define QBSVR_QBSVRL6_SHEET_XLS_ESCHER_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/sheet/workbook/drawing_picture.h"

namespace qbsvrl6 {

inline constexpr std::uint32_t kShapesPerCluster = 1024;

// Shapes are numbered in clusters. Each sheet with pictures has its own clusters; its frame is the first
// shape.
struct EscherSheet {
    int number = 1;                  // of the sheet, from 1
    std::uint32_t firstCluster = 1;  // from 1
    std::uint32_t shapes = 1;        // including the frame

    std::uint32_t clusters() const { return (shapes + kShapesPerCluster - 1) / kShapesPerCluster; }
    std::uint32_t shapeId(std::uint32_t shape) const { return firstCluster * kShapesPerCluster + shape; }
};

// One picture of a sheet: `number` is that of the shape, from 1, and `picture` that of the picture in the
// workbook's list, from 1. `anchor` is 16 bytes: u16 column, offset in it, row, offset in it, for both
// corners.
std::string escherPicture(const EscherSheet& sheet, std::uint32_t number, std::uint32_t picture,
                          const PictureCut& cut, std::string_view anchor);

// A slanted line, with the same parameters.
std::string escherLine(const EscherSheet& sheet, std::uint32_t number, const LineContent& line,
                       std::string_view anchor);

// The records that precede the shapes of a sheet; those of the shapes are `shapeBytes` long in total.
std::string escherFrame(const EscherSheet& sheet, std::size_t shapeBytes);

// The workbook's list of pictures.
std::string escherWorkbook(const std::vector<EscherSheet>& sheets,
                           const std::vector<std::shared_ptr<const Picture>>& pictures);

}  // namespace qbsvrl6

#endif
