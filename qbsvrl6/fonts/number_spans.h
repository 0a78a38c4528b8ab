// Numbers, dates, amounts and codes within a text, which a line break or a cut would turn into different
// ones.
#ifndef QBSVR_QBSVRL6_FONTS_NUMBER_SPANS_H
#define QBSVR_QBSVRL6_FONTS_NUMBER_SPANS_H

#include <cstddef>
#include <string_view>

namespace qbsvrl6 {

struct NumberSpan {
    std::size_t first = 0;
    std::size_t end = 0;

    bool isEmpty() const { return first == end; }
    std::size_t size() const { return end - first; }
};

// Finds the numbers of a text, one after the other. A number is a run of digits with its signs, separators,
// brackets, currency and percent signs. Letters that touch it, or that are joined to it by hyphens, slashes
// and the like, belong to it if the whole is no longer than a code ("12kg", "INV-2026-00418"). Web addresses
// contain no numbers.
class NumberFinder {
public:
    explicit NumberFinder(std::u16string_view text) : text_(text) {}

    // Empty after the last one.
    NumberSpan next();

private:
    bool isInAddress(std::size_t digit);

    std::u16string_view text_;
    std::size_t from_ = 0;
    std::size_t wordEnd_ = 0;  // of the last word that was examined
    bool isAddress_ = false;   // that word
};

// Whether the text is a single number and nothing else.
bool isLoneNumber(std::u16string_view text);

}  // namespace qbsvrl6

#endif
