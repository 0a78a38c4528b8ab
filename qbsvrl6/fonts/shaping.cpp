#include "qbsvrl6/fonts/shaping.h"

#include <hb.h>

#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>

#include "qbsvrl6/fonts/bidi.h"
#include "qbsvrl6/fonts/character_table.h"
#include "qbsvrl6/fonts/harfbuzz_run.h"
#include "qbsvrl6/support/hash.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// One slot per hash value, in which the newest text replaces the older one. Reports repeat titles, units and
// names, mostly soon; with more different texts than this, shaping again is as fast as looking up.
struct CachedText {
    const FontSet* fonts = nullptr;
    BaseDirection base = BaseDirection::FirstStrong;
    TextLanguage language = TextLanguage::Unknown;
    std::u16string text;
    std::shared_ptr<ShapedText> shaped;
};
constexpr std::size_t kCachedTexts = 2048;      // a power of two
constexpr std::size_t kCachedTextLength = 128;  // longer ones are rarely repeated

// Glyphs reserved at the start of a run. Cells are short, and reserving for the rest of the line would be
// quadratic in text that often changes its font.
constexpr std::size_t kLikelyRun = 32;

// Tables of font sets per thread. Their size depends on how many different characters occur.
constexpr std::size_t kKeptTables = 64;

struct ShapingState {
    std::unordered_map<const FontSet*, std::unique_ptr<CharacterTable>> tables;
    const FontSet* lastFonts = nullptr;
    CharacterTable* lastTable = nullptr;
    std::vector<std::unique_ptr<CachedText>> cache{kCachedTexts};
    RunShaper runs;
    std::u16string cleaned;

    CharacterTable& table(const FontSet& fonts) {
        if (lastFonts != &fonts) {
            lastFonts = nullptr;
            if (tables.size() >= kKeptTables && tables.count(&fonts) == 0) tables.clear();
            std::unique_ptr<CharacterTable>& place = tables[&fonts];
            if (place == nullptr) place = std::make_unique<CharacterTable>(fonts);
            lastTable = place.get();
            lastFonts = &fonts;
        }
        return *lastTable;
    }

    CachedText& slot(const FontSet& fonts, std::u16string_view text) {
        std::size_t hash = reinterpret_cast<std::size_t>(&fonts) >> 4;
        for (const char16_t unit : text) mixHash(hash, unit);
        std::unique_ptr<CachedText>& slot = cache[(hash >> 40) & (kCachedTexts - 1)];
        if (slot == nullptr) slot = std::make_unique<CachedText>();
        return *slot;
    }
};

ShapingState& shapingState() {
    thread_local ShapingState state;
    return state;
}

// Looks up each character of a line in the thread's tables and passes it to `place`, with its effect on the
// previous one. Returns false if the text needs HarfBuzz.
template <typename Place>
bool walkPlain(const FontSet& fonts, std::u16string_view text, ShapingState& state, Place place) {
    using Kind = PlainCharacter::Kind;
    static constexpr PairEffect kNoEffect;
    CharacterTable& table = state.table(fonts);
    bool afterAscii = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const PlainCharacter& character = table.character(text[i], state.runs);
        if (character.kind == Kind::Complex) return false;
        const bool ascii = character.kind == Kind::Ascii;
        const PairEffect& effect =
            ascii && afterAscii ? table.pair(text[i - 1], text[i], state.runs) : kNoEffect;
        if (effect.kind == PairEffect::Kind::Complex) return false;
        afterAscii = ascii;
        place(i, character, effect);
    }
    return true;
}

// Shapes a line from the thread's tables into the memory of `spare`, which may be null. Returns null if the text
// needs HarfBuzz.
std::shared_ptr<ShapedText> shapePlain(const FontSet& fonts, std::u16string_view text, ShapingState& state,
                                       std::shared_ptr<ShapedText> spare) {
    const std::shared_ptr<ShapedText> shaped = spare ? std::move(spare) : std::make_shared<ShapedText>();
    std::vector<GlyphRun>& runs = shaped->runs;
    std::size_t runCount = 0;
    GlyphRun* run = nullptr;
    std::uint16_t member = 0;
    double width = 0;
    const auto place = [&](std::size_t i, const PlainCharacter& character, const PairEffect& effect) {
        if (run == nullptr || character.member != member) {
            run = runCount < runs.size() ? &runs[runCount] : &runs.emplace_back();
            ++runCount;
            run->unitCount = 0;
            run->glyphs.clear();
            member = character.member;
            run->member = *fonts.member(member);
            run->firstUnit = static_cast<std::uint32_t>(i);
            run->glyphs.reserve(std::min(text.size() - i, kLikelyRun));
        }
        if (effect.firstAdvance != 0) {  // in the same run: characters of different fonts have no effect
            run->glyphs.back().advance += effect.firstAdvance;
            width += effect.firstAdvance;
        }
        const float advance = character.advance + effect.secondAdvance;
        width += advance;
        run->glyphs.push_back(
            {character.glyph, static_cast<std::uint32_t>(i), advance, effect.secondOffset, 0});
        ++run->unitCount;
    };
    if (!walkPlain(fonts, text, state, place)) return nullptr;
    runs.resize(runCount);
    shaped->width = static_cast<float>(width);
    return shaped;
}

bool isControl(char16_t unit) { return unit < u' ' || unit == 0x7F; }

// Spaces, punctuation, marks and joiners use the font of the preceding character in right-to-left text.
bool isNeutral(char32_t c) { return c < U'0' || (c > U'9' && c < U'A') || (c >= 0x2000 && c <= 0x206F); }

// Soft hyphens, byte order marks within texts and similar characters, which fonts need not have.
bool isInvisible(char32_t c) {
    return c == 0xAD || c == 0x200B || (c >= 0x2060 && c <= 0x2064) || c == 0xFEFF;
}

bool joinsBefore(char32_t c) {
    return (c >= 0x300 && c <= 0x36F) || c == 0x200C || c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F) ||
           (c >= 0xE0100 && c <= 0xE01EF) || (c >= 0x20D0 && c <= 0x20FF) || c == 0x3099 || c == 0x309A ||
           isInvisible(c);
}

bool hasGlyph(const FontFace& face, char32_t character) {
    hb_codepoint_t glyph = 0;
    return hb_font_get_nominal_glyph(face.font, character, &glyph) != 0;
}

// Splits the line where the font or the direction changes, and shapes each part.
std::shared_ptr<ShapedText> shapeByHarfBuzz(const FontSet& fonts, std::u16string_view text,
                                            BaseDirection base, TextLanguage language, ShapingState& state) {
    if (language == TextLanguage::Unknown) language = languageOfText(text);
    state.cleaned.assign(text);
    for (char16_t& unit : state.cleaned) {
        if (isControl(unit)) unit = u' ';
    }
    const std::u16string_view line = state.cleaned;
    std::vector<std::uint8_t> levels;  // empty: all from left to right
    if (base == BaseDirection::RightToLeft || mayRunRightToLeft(line)) levels = embeddingLevels(line, base);
    auto shaped = std::make_shared<ShapedText>();
    std::vector<std::uint8_t> levelsOfRuns;
    for (std::size_t i = 0; i < line.size();) {
        const std::size_t start = i;
        const char32_t character = nextCharacter(line, i);
        const std::uint8_t level = levels.empty() ? std::uint8_t{0} : levels[start];
        const bool begins = shaped->runs.empty() || level != levelsOfRuns.back();
        // Right-to-left words stay in one run with the spaces between them.
        const bool stays =
            !begins && (joinsBefore(character) || (level % 2 == 1 && isNeutral(character) &&
                                                   hasGlyph(*shaped->runs.back().member.face, character)));
        if (!stays) {
            const FontSet::Member& member = fonts.memberFor(character);
            if (begins || member.face != shaped->runs.back().member.face) {
                GlyphRun& run = shaped->runs.emplace_back();
                run.member = member;
                run.firstUnit = static_cast<std::uint32_t>(start);
                levelsOfRuns.push_back(level);
            }
        }
        shaped->runs.back().unitCount += static_cast<std::uint32_t>(i - start);
    }
    double width = 0;
    for (std::size_t i = 0; i < shaped->runs.size(); ++i) {
        GlyphRun& run = shaped->runs[i];
        const hb_direction_t direction = levelsOfRuns[i] % 2 == 1 ? HB_DIRECTION_RTL : HB_DIRECTION_LTR;
        state.runs.shape(*run.member.face, line, run.firstUnit, run.unitCount, direction, run.glyphs,
                         language);
        for (const Glyph& glyph : run.glyphs) width += glyph.advance;
    }
    if (!levels.empty()) toVisualOrder(shaped->runs, std::move(levelsOfRuns));
    shaped->width = static_cast<float>(width);
    return shaped;
}

}  // namespace

ShapedTextPtr shape(const FontSet& fonts, std::u16string_view text, BaseDirection base,
                    TextLanguage language) {
    ShapingState& state = shapingState();
    if (language == TextLanguage::Unknown) language = fonts.language;
    const auto shapeNow = [&](std::shared_ptr<ShapedText> spare = nullptr) {
        // In a right-to-left paragraph, the words of a Latin line run from right to left. The tables hold
        // Chinese forms only.
        if (base != BaseDirection::RightToLeft &&
            (language == TextLanguage::Unknown || language == TextLanguage::Chinese)) {
            if (auto plain = shapePlain(fonts, text, state, std::move(spare))) return plain;
        }
        return shapeByHarfBuzz(fonts, text, base, language, state);
    };
    if (text.size() > kCachedTextLength) return ShapedTextPtr(shapeNow());
    CachedText& slot = state.slot(fonts, text);
    if (slot.fonts == &fonts && slot.base == base && slot.language == language && slot.text == text)
        return slot.shaped;
    slot.fonts = nullptr;  // the slot is empty if an allocation fails
    slot.text.assign(text);
    const bool isSpare = slot.shaped.use_count() == 1;  // texts are not passed to other threads
    slot.shaped = shapeNow(isSpare ? std::move(slot.shaped) : nullptr);
    slot.fonts = &fonts;
    slot.base = base;
    slot.language = language;
    return slot.shaped;
}

float widthOf(const FontSet& fonts, std::u16string_view text) {
    double width = 0;
    const auto add = [&width](std::size_t, const PlainCharacter& character, const PairEffect& effect) {
        width += effect.firstAdvance;
        width += character.advance + effect.secondAdvance;
    };
    if (walkPlain(fonts, text, shapingState(), add)) return static_cast<float>(width);
    return shape(fonts, text)->width;
}

}  // namespace qbsvrl6
