// The checksum that a PDF has of its attached files (RFC 1321). It protects nothing.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_MD5_H
#define QBSVR_QBSVRL6_PAINT_PDF_MD5_H

#include <string>
#include <string_view>

namespace qbsvrl6 {

std::string md5(std::string_view bytes);  // 16 bytes

}  // namespace qbsvrl6

#endif
