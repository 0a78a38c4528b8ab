#include "qbsvrl6/fonts/catalogue.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cstdlib>

#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The full configuration of a machine is some forty files of rules for desktops, which take several times
// longer to read than the list of fonts. The table of aliases resolves names here, so the directories are
// enough.
constexpr const char* kDirectories =
    "<?xml version=\"1.0\"?><fontconfig>"
    "<dir>/usr/share/fonts</dir><dir>/usr/local/share/fonts</dir>"
    "<dir prefix=\"xdg\">fonts</dir><dir>~/.fonts</dir>"
    "<cachedir>/var/cache/fontconfig</cachedir><cachedir>/usr/lib/fontconfig/cache</cachedir>"
    "<cachedir prefix=\"xdg\">fontconfig</cachedir></fontconfig>";

std::string textOf(FcPattern* pattern, const char* object, int n = 0) {
    FcChar8* text = nullptr;
    if (FcPatternGetString(pattern, object, n, &text) != FcResultMatch) return {};
    return reinterpret_cast<const char*>(text);
}

int numberOf(FcPattern* pattern, const char* object, int fallback) {
    int number = fallback;
    return FcPatternGetInteger(pattern, object, 0, &number) == FcResultMatch ? number : fallback;
}

bool flagOf(FcPattern* pattern, const char* object) {
    FcBool flag = FcFalse;
    return FcPatternGetBool(pattern, object, 0, &flag) == FcResultMatch && flag == FcTrue;
}

// Files with fixed TrueType or CFF outlines; named instances of variable fonts are left out, since
// their outlines depend on settings that painting does not have.
bool isUsable(FcPattern* pattern) {
    const std::string format = textOf(pattern, FC_FONTFORMAT);
    if (format != "TrueType" && format != "CFF") return false;
    const std::string file = textOf(pattern, FC_FILE);
    const bool compressed = file.ends_with(".woff") || file.ends_with(".woff2") || file.ends_with(".pcf.gz");
    return !compressed && numberOf(pattern, FC_INDEX, 0) <= 0xFFFF && !flagOf(pattern, FC_VARIABLE) &&
           !flagOf(pattern, FC_COLOR);
}

InstalledFace describe(FcPattern* pattern) {
    constexpr int kBoldFrom = FC_WEIGHT_DEMIBOLD;
    InstalledFace face;
    face.file = textOf(pattern, FC_FILE);
    face.index = numberOf(pattern, FC_INDEX, 0);
    face.family = textOf(pattern, FC_FAMILY);
    const int weight = numberOf(pattern, FC_WEIGHT, FC_WEIGHT_REGULAR);
    face.bold = weight >= kBoldFrom;
    face.italic = numberOf(pattern, FC_SLANT, FC_SLANT_ROMAN) != FC_SLANT_ROMAN;
    face.rank = std::abs(weight - (face.bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR)) +
                2 * std::abs(numberOf(pattern, FC_WIDTH, FC_WIDTH_NORMAL) - FC_WIDTH_NORMAL);
    face.pattern = pattern;
    return face;
}

FcConfig* loadFonts() {
    FcConfig* config = FcConfigCreate();
    if (config != nullptr) {
        const bool parsed = FcConfigParseAndLoadFromMemory(
                                config, reinterpret_cast<const FcChar8*>(kDirectories), FcTrue) != FcFalse;
        if (parsed && FcConfigBuildFonts(config) != FcFalse) {
            const FcFontSet* fonts = FcConfigGetFonts(config, FcSetSystem);
            if (fonts != nullptr && fonts->nfont > 0) return config;
        }
        FcConfigDestroy(config);
    }
    return FcInitLoadConfigAndFonts();  // fonts in directories that only the configuration names
}

// A wrong slant is worse than a wrong weight: bold is easily synthesized.
int mismatch(const InstalledFace& face, bool bold, bool italic) {
    return (face.italic != italic ? (face.italic ? 4000 : 2000) : 0) + (face.bold != bold ? 1000 : 0) +
           face.rank;
}

}  // namespace

FontCatalogue::FontCatalogue() {
    FcConfig* config = loadFonts();
    config_ = config;
    const FcFontSet* fonts = config != nullptr ? FcConfigGetFonts(config, FcSetSystem) : nullptr;
    if (fonts == nullptr) return;
    for (int i = 0; i < fonts->nfont; ++i) {
        if (isUsable(fonts->fonts[i])) faces_.push_back(describe(fonts->fonts[i]));
    }
    // Sorted, so that equal machines choose equal fonts.
    std::sort(faces_.begin(), faces_.end(), [](const InstalledFace& a, const InstalledFace& b) {
        return a.file != b.file ? a.file < b.file : a.index < b.index;
    });
    for (std::size_t i = 0; i < faces_.size(); ++i) {
        auto* pattern = static_cast<FcPattern*>(faces_[i].pattern);
        for (int n = 0;; ++n) {
            const std::string family = textOf(pattern, FC_FAMILY, n);
            if (family.empty()) break;
            byFamily_[foldFamily(toUtf16(family))].push_back(i);
        }
    }
}

const InstalledFace* FontCatalogue::find(std::string_view foldedFamily, bool bold, bool italic) const {
    const auto found = byFamily_.find(std::string(foldedFamily));
    if (found == byFamily_.end()) return nullptr;
    const auto best =
        std::min_element(found->second.begin(), found->second.end(), [&](std::size_t a, std::size_t b) {
            return mismatch(faces_[a], bold, italic) < mismatch(faces_[b], bold, italic);
        });
    return &faces_[*best];
}

const InstalledFace* FontCatalogue::covering(char32_t character, bool bold, bool italic) const {
    const InstalledFace* best = nullptr;
    for (const InstalledFace& face : faces_) {
        FcCharSet* characters = nullptr;
        auto* pattern = static_cast<FcPattern*>(face.pattern);
        if (FcPatternGetCharSet(pattern, FC_CHARSET, 0, &characters) != FcResultMatch) continue;
        if (FcCharSetHasChar(characters, character) == FcFalse) continue;
        if (best == nullptr || mismatch(face, bold, italic) < mismatch(*best, bold, italic)) best = &face;
    }
    return best;
}

}  // namespace qbsvrl6
