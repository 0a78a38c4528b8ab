#include "qbsvrl6/fonts/harfbuzz_run.h"

#include <new>

#include "qbsvrl6/support/enough_memory.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kKeptPlans = 256;

// HarfBuzz makes tables for the whole process when it first needs them; if memory runs out then, they stay
// empty. So they are made while the library is loaded, which fails without memory.
[[maybe_unused]] const bool kProcessTables = [] {
    hb_font_destroy(hb_font_create(hb_face_get_empty()));
    hb_buffer_destroy(hb_buffer_create());
    return true;
}();

// Scripts that are mixed within a word share one set of rules: the form of a digit or a quotation mark must
// not depend on whether a letter or an ideograph is next to it.
bool sharesLatinRules(hb_script_t script) {
    switch (script) {
        case HB_SCRIPT_INVALID:
        case HB_SCRIPT_COMMON:
        case HB_SCRIPT_INHERITED:
        case HB_SCRIPT_HAN:
        case HB_SCRIPT_HIRAGANA:
        case HB_SCRIPT_KATAKANA:
        case HB_SCRIPT_BOPOMOFO:
            return true;
        default:
            return false;
    }
}

hb_language_t languageNamed(const char* name) {
    const hb_language_t language = hb_language_from_string(name, -1);
    if (language == HB_LANGUAGE_INVALID) throw std::bad_alloc();
    return language;
}

hb_language_t libraryLanguage(TextLanguage language) {
    static const hb_language_t chinese = languageNamed("zh-hans");
    static const hb_language_t japanese = languageNamed("ja");
    static const hb_language_t korean = languageNamed("ko");
    switch (language) {
        case TextLanguage::Japanese:
            return japanese;
        case TextLanguage::Korean:
            return korean;
        default:
            return chinese;
    }
}

}  // namespace

bool RunShaper::PlanKey::operator==(const PlanKey& other) const {
    return face == other.face && hb_segment_properties_equal(&properties, &other.properties) != 0;
}

std::size_t RunShaper::PlanKeyHash::operator()(const PlanKey& key) const {
    return (reinterpret_cast<std::size_t>(key.face) >> 4) * 31 + hb_segment_properties_hash(&key.properties);
}

RunShaper::RunShaper() : buffer_(hb_buffer_create()) {
    if (hb_buffer_allocation_successful(buffer_.get()) == 0) throw std::bad_alloc();
}

hb_shape_plan_t* RunShaper::plan(hb_face_t* face, const hb_segment_properties_t& properties) {
    const auto known = plans_.find({face, properties});
    if (known != plans_.end()) return known->second.get();
    PlanPtr made = withEnoughMemory(
        [&] { return PlanPtr(hb_shape_plan_create(face, &properties, nullptr, 0, nullptr)); });
    if (plans_.size() >= kKeptPlans) plans_.clear();
    return plans_.emplace(PlanKey{face, properties}, std::move(made)).first->second.get();
}

void RunShaper::shape(const FontFace& face, std::u16string_view line, std::size_t first, std::size_t count,
                      hb_direction_t direction, std::vector<Glyph>& glyphs, TextLanguage language) {
    hb_buffer_t* const buffer = buffer_.get();
    const hb_language_t known = libraryLanguage(language);
    withEnoughMemory([&] {
        hb_buffer_clear_contents(buffer);
        hb_buffer_add_utf16(buffer, reinterpret_cast<const std::uint16_t*>(line.data()),
                            static_cast<int>(line.size()), static_cast<unsigned>(first),
                            static_cast<int>(count));
        hb_buffer_set_language(buffer, known);
        hb_buffer_guess_segment_properties(buffer);
        hb_buffer_set_direction(buffer, direction);
        if (sharesLatinRules(hb_buffer_get_script(buffer))) hb_buffer_set_script(buffer, HB_SCRIPT_LATIN);
        hb_segment_properties_t properties;
        hb_buffer_get_segment_properties(buffer, &properties);
        return hb_shape_plan_execute(plan(face.face, properties), face.font, buffer, nullptr, 0);
    });
    unsigned glyphCount = 0;
    const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer, &glyphCount);
    const hb_glyph_position_t* positions = hb_buffer_get_glyph_positions(buffer, &glyphCount);
    const float scale = 1000.0f / static_cast<float>(face.unitsPerEm);
    glyphs.reserve(glyphs.size() + glyphCount);
    for (unsigned i = 0; i < glyphCount; ++i) {
        glyphs.push_back({infos[i].codepoint, infos[i].cluster,
                          static_cast<float>(positions[i].x_advance) * scale,
                          static_cast<float>(positions[i].x_offset) * scale,
                          static_cast<float>(positions[i].y_offset) * scale});
    }
}

}  // namespace qbsvrl6
