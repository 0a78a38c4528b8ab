#include "qbsvrl6/fonts/bidi.h"

#include <fribidi.h>

#include <algorithm>

#include "qbsvrl6/support/lazy_library.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The functions of FriBidi that are used.
struct FriBidi {
    LazyLibrary library{"libfribidi.so.0", "libfribidi0"};
    QBSVR_LAZY_FUNCTION(library, fribidi_get_bidi_types);
    QBSVR_LAZY_FUNCTION(library, fribidi_get_bracket_types);
    QBSVR_LAZY_FUNCTION(library, fribidi_get_par_direction);
    QBSVR_LAZY_FUNCTION(library, fribidi_get_par_embedding_levels_ex);
};

const FriBidi& friBidi() {
    static const FriBidi library;
    return library;
}

// The characters of a text for FriBidi, with the position of each.
struct Characters {
    explicit Characters(std::u16string_view text) {
        codes.reserve(text.size());
        starts.reserve(text.size());
        for (std::size_t i = 0; i < text.size();) {
            starts.push_back(i);
            codes.push_back(nextCharacter(text, i));
        }
        types.resize(codes.size());
        friBidi().fribidi_get_bidi_types(codes.data(), count(), types.data());
    }

    FriBidiStrIndex count() const { return static_cast<FriBidiStrIndex>(codes.size()); }

    std::vector<FriBidiChar> codes;
    std::vector<std::size_t> starts;
    std::vector<FriBidiCharType> types;
};

}  // namespace

bool mayRunRightToLeft(std::u16string_view text) {
    return std::any_of(text.begin(), text.end(), [](char16_t unit) {
        if (unit < 0x590) return false;
        return unit <= 0x8FF || unit == 0x200F || unit == 0x202B || unit == 0x202E || unit == 0x2067 ||
               (unit >= 0xFB1D && unit <= 0xFDFF) || (unit >= 0xFE70 && unit <= 0xFEFC) || unit == 0xD802 ||
               unit == 0xD803 || unit == 0xD83A || unit == 0xD83B;  // U+10800.., U+1E800..
    });
}

BaseDirection directionOf(std::u16string_view paragraph) {
    if (!mayRunRightToLeft(paragraph)) return BaseDirection::LeftToRight;
    const Characters characters(paragraph);
    const bool rightToLeft =
        friBidi().fribidi_get_par_direction(characters.types.data(), characters.count()) == FRIBIDI_PAR_RTL;
    return rightToLeft ? BaseDirection::RightToLeft : BaseDirection::LeftToRight;
}

std::vector<std::uint8_t> embeddingLevels(std::u16string_view line, BaseDirection base) {
    const Characters characters(line);
    const FriBidiStrIndex count = characters.count();
    std::vector<FriBidiBracketType> brackets(characters.codes.size());
    friBidi().fribidi_get_bracket_types(characters.codes.data(), count, characters.types.data(),
                                        brackets.data());
    FriBidiParType direction = FRIBIDI_PAR_ON;
    if (base == BaseDirection::LeftToRight) direction = FRIBIDI_PAR_LTR;
    if (base == BaseDirection::RightToLeft) direction = FRIBIDI_PAR_RTL;
    std::vector<FriBidiLevel> levels(characters.codes.size());
    if (friBidi().fribidi_get_par_embedding_levels_ex(characters.types.data(), brackets.data(), count,
                                                      &direction, levels.data()) == 0) {
        throw std::bad_alloc();
    }
    std::vector<std::uint8_t> ofUnits(line.size());
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const std::size_t end = i + 1 < levels.size() ? characters.starts[i + 1] : line.size();
        for (std::size_t unit = characters.starts[i]; unit < end; ++unit) {
            ofUnits[unit] = static_cast<std::uint8_t>(std::max<int>(levels[i], 0));
        }
    }
    return ofUnits;
}

// From the highest level down to the lowest odd one, reverses each sequence of runs at that level or a higher
// one.
void toVisualOrder(std::vector<GlyphRun>& runs, std::vector<std::uint8_t> levels) {
    if (levels.empty()) return;
    for (int level = *std::max_element(levels.begin(), levels.end()); level > 0; --level) {
        for (std::size_t first = 0; first < runs.size();) {
            std::size_t end = first;
            while (end < runs.size() && levels[end] >= level) ++end;
            const auto from = static_cast<std::ptrdiff_t>(first);
            const auto to = static_cast<std::ptrdiff_t>(end);
            std::reverse(runs.begin() + from, runs.begin() + to);
            std::reverse(levels.begin() + from, levels.begin() + to);
            first = end + 1;
        }
    }
}

}  // namespace qbsvrl6
