// The pictures of a document as files of its package.
#ifndef QBSVR_QBSVRL6_SHEET_PACKAGE_PACKAGE_PICTURES_H
#define QBSVR_QBSVRL6_SHEET_PACKAGE_PACKAGE_PICTURES_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/picture/picture.h"
#include "qbsvrl6/sheet/package/zip.h"

namespace qbsvrl6 {

// "Pictures/1.png" for the start "Pictures/".
std::string pictureFile(std::string_view start, std::uint64_t number, const Picture& picture);

// Adds pictures, numbered from 1.
void addPictures(ZipWriter& zip, std::string_view start,
                 const std::vector<std::shared_ptr<const Picture>>& pictures);

}  // namespace qbsvrl6

#endif
