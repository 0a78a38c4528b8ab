// Pictures and lines in old workbooks: drawing records inside of drawing records ([MS-ODRAW]).
#ifndef QBSVR_QBSVRL6_SHEET_XLS_ESCHER_H
#define QBSVR_QBSVRL6_SHEET_XLS_ESCHER_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

// Shapes are numbered in clusters of 1024; each sheet with pictures has clusters of its own, its frame being
// the first shape.
struct EscherSheet {
    int number = 1;                  // of the sheet, from 1
    std::uint32_t firstCluster = 1;  // from 1
    std::uint32_t shapes = 1;        // with the frame

    std::uint32_t clusters() const { return (shapes + 1023) / 1024; }
    std::uint32_t shapeId(std::uint32_t shape) const { return (firstCluster << 10) + shape; }
};

// One picture of a sheet: `shape` counts from 1, `picture` is its number in the workbook's list, from 1, and
// `anchor` 16 bytes: column, part of it, row, part of it, for both corners.
std::string escherPicture(const EscherSheet& sheet, std::uint32_t shape, std::uint32_t picture,
                          std::string_view anchor);

// A slanted line in the same way.
std::string escherLine(const EscherSheet& sheet, std::uint32_t shape, const LineContent& line,
                       std::string_view anchor);

// What stands ahead of a sheet's shapes, whose records are `shapeBytes` long together.
std::string escherFrame(const EscherSheet& sheet, std::size_t shapeBytes);

// The workbook's list of pictures.
std::string escherWorkbook(const std::vector<EscherSheet>& sheets,
                           const std::vector<std::shared_ptr<const Picture>>& pictures);

}  // namespace qbsvrl6

#endif
