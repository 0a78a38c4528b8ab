// The pictures of one PDF, each stored once.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_PICTURES_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_PICTURES_H

#include <cstdint>
#include <map>

#include "qbsvrl6/model/pdf_settings.h"
#include "qbsvrl6/paint/pdf/pdf_file.h"
#include "qbsvrl6/picture/picture.h"
#include "qbsvrl6/picture/pixels.h"

namespace qbsvrl6 {

class PdfPictures {
public:
    // The standard decides which forms the pictures keep.
    PdfPictures(PdfFile& file, PdfStandard standard) : file_(file), standard_(standard) {}

    // The number of the picture's object, written on first use; 0 if the picture can't be read, which is
    // logged once.
    int use(const Picture& picture);

private:
    int write(const Picture& picture);
    int writeJpeg(const Picture& picture);
    int writePng(const Picture& picture);
    int writePixels(Pixels&& pixels);

    PdfFile& file_;
    PdfStandard standard_;
    std::map<std::uint64_t, int> written_;  // by Picture::id
};

}  // namespace qbsvrl6

#endif
