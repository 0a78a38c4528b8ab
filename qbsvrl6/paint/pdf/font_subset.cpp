#include "qbsvrl6/paint/pdf/font_subset.h"

#include <hb-subset.h>
#include <hb.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>

#include "qbsvrl6/paint/compressor.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/hash.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/repetition.h"

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

struct PlainFont {
    std::string bytes;  // empty: the subsetter has failed
    std::vector<std::uint32_t> newGlyphs;
};

PlainFont cutDown(const FontFace& face, const std::vector<std::uint32_t>& glyphs, bool keepNumbers) {
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
    PlainFont font;
    if (cut == nullptr) return font;
    font.bytes = fileOf(cut.get(), face.cff);
    const hb_map_t* numbers = hb_subset_plan_old_to_new_glyph_mapping(plan.get());
    for (const std::uint32_t glyph : glyphs) {
        const hb_codepoint_t number = hb_map_get(numbers, glyph);
        font.newGlyphs.push_back(number == HB_MAP_VALUE_INVALID ? 0 : number);
    }
    return font;
}

struct FontKey {
    const FontFace* face = nullptr;
    bool keepsNumbers = false;
    std::vector<std::uint32_t> glyphs = {};  // empty: all

    bool operator==(const FontKey&) const = default;

    std::size_t hash() const {
        std::size_t hash = std::hash<const FontFace*>()(face) + keepsNumbers;
        for (const std::uint32_t glyph : glyphs) mixHash(hash, glyph);
        return hash;
    }
};

// The fonts embedded last, for all threads.
class KeptFonts {
public:
    KeptFonts(std::size_t most, std::size_t mostBytes) : most_(most), mostBytes_(mostBytes) {}

    // Null if it is not kept. `isAgain`: it was asked for before, not long ago.
    std::shared_ptr<const EmbeddedFont> find(const FontKey& key, bool& isAgain) {
        const std::size_t hash = key.hash();
        const std::lock_guard lock(mutex_);
        isAgain = asked_.isAgain(hash);
        const auto found = std::find_if(kept_.begin(), kept_.end(), [&](const Kept& kept) {
            return kept.hash == hash && kept.key == key;
        });
        if (found == kept_.end()) return nullptr;
        std::rotate(kept_.begin(), found, found + 1);
        return kept_.front().font;
    }

    void keep(FontKey key, std::shared_ptr<const EmbeddedFont> font) {
        const std::size_t hash = key.hash();
        const std::lock_guard lock(mutex_);
        bytes_ += font->bytes.size();
        kept_.insert(kept_.begin(), {hash, std::move(key), std::move(font)});
        while ((bytes_ > mostBytes_ || kept_.size() > most_) && kept_.size() > 1) {
            bytes_ -= kept_.back().font->bytes.size();
            kept_.pop_back();
        }
    }

private:
    struct Kept {
        std::size_t hash = 0;
        FontKey key;
        std::shared_ptr<const EmbeddedFont> font;
    };

    const std::size_t most_, mostBytes_;
    std::mutex mutex_;
    Repetition asked_;
    std::vector<Kept> kept_;  // the latest first
    std::size_t bytes_ = 0;
};

std::shared_ptr<const EmbeddedFont> compressed(const std::string& bytes,
                                               std::vector<std::uint32_t> newGlyphs) {
    return std::make_shared<const EmbeddedFont>(
        EmbeddedFont{std::string(compress(bytes)), bytes.size(), std::move(newGlyphs)});
}

}  // namespace

// The fonts that are kept are never destroyed: threads may still write while the process ends.

std::shared_ptr<const EmbeddedFont> subsetFont(const FontFace& face, const std::vector<std::uint32_t>& glyphs,
                                               bool keepNumbers) {
    static KeptFonts& fonts = *new KeptFonts(32, 2 << 20);
    FontKey key{&face, keepNumbers, glyphs};
    bool isAgain = false;
    if (auto kept = fonts.find(key, isAgain)) return kept;
    const MemoryAtHand memory;  // the subsetter frees what it never allocated
    PlainFont plain = withEnoughMemory([&] { return cutDown(face, glyphs, keepNumbers); });
    if (plain.bytes.empty()) {
        logWarning("font " + face.file + " can't be cut down and is embedded whole");
        return compressed(wholeFontBytes(face), glyphs);
    }
    auto font = compressed(plain.bytes, std::move(plain.newGlyphs));
    if (isAgain) fonts.keep(std::move(key), font);
    return font;
}

std::shared_ptr<const EmbeddedFont> wholeFont(const FontFace& face) {
    static KeptFonts& fonts = *new KeptFonts(100, 64 << 20);
    static std::mutex& making = *new std::mutex;  // by one thread, while the others wait for it
    const std::lock_guard lock(making);
    bool isAgain = false;
    if (auto kept = fonts.find({&face}, isAgain)) return kept;
    auto font = compressed(wholeFontBytes(face), {});
    fonts.keep({&face}, font);
    return font;
}

}  // namespace qbsvrl6
