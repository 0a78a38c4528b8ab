#include "qbsvrl6/paint/pdf/font_subset.h"

#include <hb-subset.h>
#include <hb.h>

#include <algorithm>
#include <list>
#include <memory>
#include <mutex>

#include "qbsvrl6/paint/compressor.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

template <auto destroy>
struct Destroyer {
    template <class T>
    void operator()(T* object) const {
        destroy(object);
    }
};
using FacePtr = std::unique_ptr<hb_face_t, Destroyer<hb_face_destroy>>;
using BlobPtr = std::unique_ptr<hb_blob_t, Destroyer<hb_blob_destroy>>;
using InputPtr = std::unique_ptr<hb_subset_input_t, Destroyer<hb_subset_input_destroy>>;
using PlanPtr = std::unique_ptr<hb_subset_plan_t, Destroyer<hb_subset_plan_destroy>>;

constexpr hb_tag_t kCff = HB_TAG('C', 'F', 'F', ' ');

// The tables needed to draw glyphs by number.
constexpr hb_tag_t kTables[] = {
    kCff,
    HB_TAG('g', 'l', 'y', 'f'),
    HB_TAG('l', 'o', 'c', 'a'),
    HB_TAG('h', 'e', 'a', 'd'),
    HB_TAG('m', 'a', 'x', 'p'),
    HB_TAG('h', 'h', 'e', 'a'),
    HB_TAG('h', 'm', 't', 'x'),
    HB_TAG('c', 'v', 't', ' '),
    HB_TAG('f', 'p', 'g', 'm'),
    HB_TAG('p', 'r', 'e', 'p'),
};

hb_blob_t* referenceNeededTable(hb_face_t*, hb_tag_t tag, void* source) {
    for (const hb_tag_t needed : kTables) {
        if (tag == needed) return hb_face_reference_table(static_cast<hb_face_t*>(source), tag);
    }
    return hb_blob_get_empty();
}

std::string bytesOf(hb_blob_t* blob) {
    const BlobPtr owner(blob);
    unsigned length = 0;
    const char* data = hb_blob_get_data(blob, &length);
    return {data, length};
}

// The part of a face that a PDF embeds: the CFF table alone, or the whole file.
std::string fileOf(hb_face_t* face, bool cff) {
    return bytesOf(cff ? hb_face_reference_table(face, kCff) : hb_face_reference_blob(face));
}

std::string wholeFontBytes(const FontFace& face) {
    return withEnoughMemory([&] {
        if (face.cff) return fileOf(face.face, true);
        const FacePtr builder(hb_face_builder_create());
        for (const hb_tag_t tag : kTables) {
            const BlobPtr table(hb_face_reference_table(face.face, tag));
            if (hb_blob_get_length(table.get()) > 0) {
                hb_face_builder_add_table(builder.get(), tag, table.get());
            }
        }
        return fileOf(builder.get(), false);
    });
}

// Empty if the subsetter fails.
EmbeddedFont cutDown(const FontFace& face, const std::vector<std::uint32_t>& glyphs, bool keepNumbers) {
    // The subsetter adds glyphs that any table refers to, and searches the whole character map for them.
    // Without that map and the layout tables, it takes a third of the time.
    const FacePtr bare(hb_face_create_for_tables(referenceNeededTable, face.face, nullptr));
    hb_face_set_upem(bare.get(), face.unitsPerEm);
    const InputPtr input(hb_subset_input_create_or_fail());
    if (input == nullptr) return {};
    hb_set_t* wanted = hb_subset_input_glyph_set(input.get());
    for (const std::uint32_t glyph : glyphs) hb_set_add(wanted, glyph);
    // Finding subroutines pays off in whole fonts only: a subset is just as small without them, and made
    // faster.
    unsigned flags =
        HB_SUBSET_FLAGS_NO_HINTING | HB_SUBSET_FLAGS_NOTDEF_OUTLINE | HB_SUBSET_FLAGS_DESUBROUTINIZE;
    if (keepNumbers) flags |= HB_SUBSET_FLAGS_RETAIN_GIDS;
    hb_subset_input_set_flags(input.get(), flags);
    const PlanPtr plan(hb_subset_plan_create_or_fail(bare.get(), input.get()));
    const FacePtr cut(plan != nullptr ? hb_subset_plan_execute_or_fail(plan.get()) : nullptr);
    EmbeddedFont font;
    if (cut == nullptr) return font;
    font.bytes = fileOf(cut.get(), face.cff);
    const hb_map_t* numbers = hb_subset_plan_old_to_new_glyph_mapping(plan.get());
    for (const std::uint32_t glyph : glyphs) {
        const hb_codepoint_t number = hb_map_get(numbers, glyph);
        font.newGlyphs.push_back(number == HB_MAP_VALUE_INVALID ? 0 : number);
    }
    return font;
}

constexpr std::size_t kKeptFontBytes = 64 << 20;

// The fonts embedded last, for all threads.
class WholeFonts {
public:
    std::shared_ptr<const CompressedFont> find(const FontFace& face) {
        const std::lock_guard lock(mutex_);
        const auto found =
            std::find_if(kept_.begin(), kept_.end(), [&](const Kept& k) { return k.face == &face; });
        if (found != kept_.end()) {
            kept_.splice(kept_.begin(), kept_, found);
            return found->font;
        }
        const std::string plain = wholeFontBytes(face);
        auto font = std::make_shared<CompressedFont>();
        font->bytes = compress(plain);
        font->plainSize = plain.size();
        bytes_ += font->bytes.size();
        kept_.push_front({&face, font});
        while (bytes_ > kKeptFontBytes && kept_.size() > 1) {
            bytes_ -= kept_.back().font->bytes.size();
            kept_.pop_back();
        }
        return font;
    }

private:
    struct Kept {
        const FontFace* face = nullptr;
        std::shared_ptr<const CompressedFont> font;
    };

    std::mutex mutex_;
    std::list<Kept> kept_;  // the latest first
    std::size_t bytes_ = 0;
};

}  // namespace

EmbeddedFont subsetFont(const FontFace& face, const std::vector<std::uint32_t>& glyphs, bool keepNumbers) {
    const MemoryAtHand memory;  // the subsetter frees what it never allocated
    EmbeddedFont font = withEnoughMemory([&] { return cutDown(face, glyphs, keepNumbers); });
    if (!font.bytes.empty()) return font;
    logWarning("font " + face.file + " can't be cut down and is embedded whole");
    return {wholeFontBytes(face), glyphs};
}

std::shared_ptr<const CompressedFont> compressedWholeFont(const FontFace& face) {
    // Never destroyed: threads may still write while the process ends.
    static WholeFonts& fonts = *new WholeFonts;
    return fonts.find(face);
}

}  // namespace qbsvrl6
