#include "qbsvrl6/paint/raster/glyph_masks.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <memory>
#include <unordered_map>

#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/hash.h"

namespace qbsvrl6 {

namespace {

constexpr int kSteps = 4;                     // positions inside a pixel
constexpr double kLargestEm = 4000;           // pixels; no page shows more of a letter
constexpr std::size_t kKeptBytes = 16 << 20;  // of masks, in one thread
constexpr double kItalicSlant = 0.2126;
constexpr double kBoldPart = 30;  // a synthetic bold is wider by 1/30 em

struct LibraryDeleter {
    void operator()(FT_Library library) const { FT_Done_FreeType(library); }
};
struct FaceDeleter {
    void operator()(FT_Face face) const { FT_Done_Face(face); }
};
using LibraryPtr = std::unique_ptr<FT_LibraryRec_, LibraryDeleter>;
using FacePtr = std::unique_ptr<FT_FaceRec_, FaceDeleter>;

struct Key {
    const FontFace* face = nullptr;
    std::uint32_t glyph = 0;
    std::int32_t size = 0;  // 1/64 pixel
    std::int32_t directionX = 0, directionY = 0;
    std::uint8_t stepX = 0, stepY = 0;
    bool bold = false, italic = false;
    bool operator==(const Key&) const = default;
};

struct KeyHash {
    std::size_t operator()(const Key& key) const {
        std::size_t hash = reinterpret_cast<std::size_t>(key.face) >> 4;
        mixHash(hash, key.glyph | (static_cast<std::size_t>(key.size) << 32));
        mixHash(hash,
                static_cast<std::size_t>(key.directionX) * 31 + static_cast<std::size_t>(key.directionY));
        mixHash(hash, static_cast<std::size_t>(key.stepX * 64 + key.stepY * 4 + key.bold * 2 + key.italic));
        return hash ^ (hash >> 32);
    }
};

FT_Fixed toFixed(double value) { return static_cast<FT_Fixed>(std::lround(value * 65536)); }

class MaskCache {
public:
    const GlyphMask& find(const Key& key) {
        const auto found = masks_.find(key);
        if (found != masks_.end()) return found->second;
        GlyphMask mask = withEnoughMemory([&] {
            // FreeType continues without the parts that failed.
            try {
                GlyphMask drawn = draw(key);
                if (errno == ENOMEM) forgetFaces();
                return drawn;
            } catch (...) {
                forgetFaces();
                throw;
            }
        });
        bytes_ += mask.coverage.size() + sizeof(GlyphMask);
        if (bytes_ > kKeptBytes) {
            masks_.clear();
            bytes_ = mask.coverage.size();
        }
        return masks_.emplace(key, std::move(mask)).first->second;
    }

private:
    FT_Face open(const FontFace& face) {
        if (library_ == nullptr) {
            FT_Library library = nullptr;
            if (FT_Init_FreeType(&library) != 0) return nullptr;
            library_.reset(library);
        }
        const auto [place, isNew] = faces_.try_emplace(&face);
        if (isNew) {
            FT_Face opened = nullptr;
            const auto* bytes = reinterpret_cast<const FT_Byte*>(face.bytes.data());
            if (FT_New_Memory_Face(library_.get(), bytes, static_cast<FT_Long>(face.bytes.size()), face.index,
                                   &opened) == 0) {
                place->second.reset(opened);
            }
        }
        return place->second.get();
    }

    void forgetFaces() {
        faces_.clear();
        library_.reset();
    }

    GlyphMask draw(const Key& key) {
        FT_Face face = open(*key.face);
        if (face == nullptr || FT_Set_Char_Size(face, key.size, key.size, 72, 72) != 0) return {};
        const bool unrotated = key.directionY == 0 && key.directionX > 0;
        // In unrotated text, hinting moves horizontal strokes to whole rows of pixels; widths do not change.
        const FT_Int32 hints = unrotated && !key.italic ? FT_LOAD_TARGET_LIGHT : FT_LOAD_NO_HINTING;
        if (FT_Load_Glyph(face, key.glyph, FT_LOAD_NO_BITMAP | hints) != 0) return {};
        FT_GlyphSlot slot = face->glyph;
        if (slot->format != FT_GLYPH_FORMAT_OUTLINE) return {};
        FT_Outline& outline = slot->outline;
        if (key.bold) FT_Outline_Embolden(&outline, static_cast<FT_Pos>(key.size / kBoldPart));
        if (key.italic) {
            const FT_Matrix slant{toFixed(1), toFixed(kItalicSlant), 0, toFixed(1)};
            FT_Outline_Transform(&outline, &slant);
        }
        if (!unrotated) {
            const FT_Matrix turn{key.directionX, key.directionY, -key.directionY, key.directionX};
            FT_Outline_Transform(&outline, &turn);
        }
        FT_Outline_Translate(&outline, key.stepX * 64 / kSteps, -(key.stepY * 64 / kSteps));
        return render(slot);
    }

    static GlyphMask render(FT_GlyphSlot slot) {
        GlyphMask mask;
        if (FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0) return mask;
        const FT_Bitmap& bitmap = slot->bitmap;
        mask.left = slot->bitmap_left;
        mask.top = slot->bitmap_top;
        mask.width = static_cast<int>(bitmap.width);
        mask.height = static_cast<int>(bitmap.rows);
        mask.coverage.resize(static_cast<std::size_t>(bitmap.width) * bitmap.rows);
        for (unsigned row = 0; row < bitmap.rows; ++row) {
            const unsigned char* from = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
            std::copy(from, from + bitmap.width, mask.coverage.data() + std::size_t{row} * bitmap.width);
        }
        return mask;
    }

    LibraryPtr library_;
    std::unordered_map<const FontFace*, FacePtr> faces_;  // destroyed before the library
    std::unordered_map<Key, GlyphMask, KeyHash> masks_;
    std::size_t bytes_ = 0;
};

std::uint8_t stepOf(double fraction) {
    return static_cast<std::uint8_t>(std::clamp(static_cast<int>(fraction * kSteps), 0, kSteps - 1));
}

}  // namespace

const GlyphMask& glyphMask(const GlyphStyle& style, std::uint32_t glyph, double fractionX, double fractionY) {
    requireDrawable(*style.member->face);
    thread_local MaskCache cache;
    Key key;
    key.face = style.member->face;
    key.glyph = glyph;
    key.size = static_cast<std::int32_t>(std::lround(std::clamp(style.pixelsPerEm, 0.0, kLargestEm) * 64));
    key.directionX = static_cast<std::int32_t>(toFixed(style.directionX));
    key.directionY = static_cast<std::int32_t>(toFixed(style.directionY));
    key.stepX = stepOf(fractionX);
    key.stepY = stepOf(fractionY);
    key.bold = style.member->syntheticBold;
    key.italic = style.member->syntheticItalic;
    return cache.find(key);
}

}  // namespace qbsvrl6
