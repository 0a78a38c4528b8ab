// The bytes of a font file. They are not a font, or a text in it is embedded in a PDF or rejected with
// EngineError.
#include <hb.h>

#include <cstdint>
#include <string_view>

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
    PdfFonts fonts({});
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
    if (size > 65'536) return 0;
    const auto face = readFontFace("fuzz", 0, {reinterpret_cast<const char*>(bytes), size});
    if (face) embed(*face);
    return 0;
}
