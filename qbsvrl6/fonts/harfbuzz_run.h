// Shapes runs of one face with HarfBuzz.
#ifndef QBSVR_QBSVRL6_FONTS_HARFBUZZ_RUN_H
#define QBSVR_QBSVRL6_FONTS_HARFBUZZ_RUN_H

#include <hb.h>

#include <cstddef>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {

// A thread's objects for shaping with HarfBuzz. It has its own plans: HarfBuzz would also keep plans with a
// face that are incomplete because memory ran out.
class RunShaper {
public:
    RunShaper();

    // Shapes the units [first, first + count) of a line in one face, with the rest of the line as context,
    // and appends the glyphs. Control characters must have been replaced. An unknown language counts as
    // Chinese.
    void shape(const FontFace& face, std::u16string_view line, std::size_t first, std::size_t count,
               hb_direction_t direction, std::vector<Glyph>& glyphs,
               TextLanguage language = TextLanguage::Unknown);

private:
    struct BufferDeleter {
        void operator()(hb_buffer_t* buffer) const { hb_buffer_destroy(buffer); }
    };
    struct PlanDeleter {
        void operator()(hb_shape_plan_t* plan) const { hb_shape_plan_destroy(plan); }
    };
    struct PlanKey {
        hb_face_t* face = nullptr;
        hb_segment_properties_t properties = HB_SEGMENT_PROPERTIES_DEFAULT;
        bool operator==(const PlanKey& other) const;
    };
    struct PlanKeyHash {
        std::size_t operator()(const PlanKey& key) const;
    };
    using PlanPtr = std::unique_ptr<hb_shape_plan_t, PlanDeleter>;

    hb_shape_plan_t* plan(hb_face_t* face, const hb_segment_properties_t& properties);

    std::unique_ptr<hb_buffer_t, BufferDeleter> buffer_;
    std::unordered_map<PlanKey, PlanPtr, PlanKeyHash> plans_;
};

}  // namespace qbsvrl6

#endif
