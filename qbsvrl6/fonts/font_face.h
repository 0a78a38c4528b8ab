// Opening font files.
#ifndef QBSVR_QBSVRL6_FONTS_FONT_FACE_H
#define QBSVR_QBSVRL6_FONTS_FONT_FACE_H

#include <memory>
#include <string>
#include <string_view>

#include "qbsvrl6/fonts/font_library.h"

namespace qbsvrl6 {

// Maps the file and reads the properties of the face. The file stays mapped: faces live as long as the
// process. Returns null if the file can't be read or has no such face. Raises MachineError or std::bad_alloc
// if descriptors or memory run out.
std::unique_ptr<const FontFace> openFontFace(const std::string& file, int index);

// Reads a face from the bytes of a font file, which must outlive it. Returns null if they have no such face.
std::unique_ptr<const FontFace> readFontFace(const std::string& file, int index, std::string_view bytes);

// A face for machines without fonts: it has no file, only widths by the class of a character. That is enough
// for documents that readers draw with their own fonts.
std::unique_ptr<const FontFace> makeBuiltInFace();

// The vertical metrics of lines in the face, in ems.
struct LineMetrics {
    double ascent = 0;
    double descent = 0;
    double lineHeight = 0;
};
LineMetrics lineMetricsOf(const FontFace& face);

}  // namespace qbsvrl6

#endif
