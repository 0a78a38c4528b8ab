// The bytes of a font file. They are not a font, or a text in it is embedded in a PDF or rejected with
// EngineError.
#include <hb.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "qbsvrl6/fonts/font_face.h"
#include "qbsvrl6/paint/pdf/pdf_fonts.h"
#include "qbsvrl6/support/error.h"

using namespace qbsvrl6;

namespace {

constexpr std::u16string_view kText = u"Aag 1.5中文éﬁ\u0301";

GlyphRun runOf(const FontFace& face) {
    GlyphRun run;
    run.member.face = &face;
    run.unitCount = static_cast<std::uint32_t>(kText.size());
    for (std::uint32_t i = 0; i < kText.size(); ++i) {
        hb_codepoint_t glyph = 0;
        hb_font_get_nominal_glyph(face.font, kText[i], &glyph);
        run.glyphs.push_back({glyph, i, static_cast<float>(hb_font_get_glyph_h_advance(face.font, glyph))});
    }
    return run;
}

void embed(const FontFace& face) {
    lineMetricsOf(face);
    PdfFonts fonts(false);
    fonts.use(face).take(runOf(face), kText);
    Spool output;
    PdfFile file(output);
    try {
        const std::string dictionary = fonts.write(file);
        const int catalog = file.reserve();
        file.writeObject(catalog, dictionary);
        file.finish(catalog, catalog);
    } catch (const EngineError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0 || size > 65'536) return 0;
    static const int descriptor = ::memfd_create("font", MFD_CLOEXEC);
    if (::ftruncate(descriptor, 0) != 0 || ::pwrite(descriptor, bytes, size, 0) < 0) return 0;
    const auto face = openFontFace("/proc/self/fd/" + std::to_string(descriptor), 0);
    if (!face) return 0;
    embed(*face);
    // The engine never frees fonts; here there would be too many of them.
    hb_font_destroy(face->font);
    hb_face_destroy(face->face);
    ::munmap(const_cast<char*>(face->bytes.data()), face->bytes.size());
    return 0;
}
