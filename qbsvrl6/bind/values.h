// Operations on values: conversions, comparison, and an arena for the texts that they make.
#ifndef QBSVR_QBSVRL6_BIND_VALUES_H
#define QBSVR_QBSVRL6_BIND_VALUES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/bind/date_text.h"
#include "qbsvrl6/bind/number_text.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

// Owns the texts that an evaluation makes, until `reset`. Raises EngineError(LimitExceeded) for a text of
// more than limits::kTextUnits.
class TextArena {
public:
    struct Mark {
        std::size_t block = 0;
        std::size_t used = 0;
    };

    std::u16string_view copy(std::u16string_view text);
    char16_t* allocate(std::size_t units);
    Mark mark() const { return {current_, used_}; }
    // Frees the texts made since the mark.
    void release(Mark mark) {
        if (blocks_.size() > mark.block + 1) freeLongBlocks(mark.block + 1);
        current_ = mark.block;
        used_ = mark.used;
        ++generation_;
    }
    void reset() { release({}); }
    // A text that was made under another generation may have been freed.
    std::uint64_t generation() const { return generation_; }

private:
    struct Block {
        std::unique_ptr<char16_t[]> units;
        std::size_t size = 0;
    };
    void freeLongBlocks(std::size_t first);

    std::vector<Block> blocks_;
    std::size_t current_ = 0;
    std::size_t used_ = 0;
    std::uint64_t generation_ = 0;
};

Value makeNumber(const Number& number);  // null if it isn't finite
Value makeBoolean(bool boolean);
Value makeDate(std::int64_t seconds);
Value makeText(std::u16string_view text);

// "true" or "false" in any case, or the local words for them.
[[nodiscard]] bool parseBoolean(std::u16string_view text, bool& boolean);

// The number that the value reads as, in the value itself or in `room`; null if there is none. In that case
// the other functions return false and leave their result unchanged.
[[nodiscard]] const Number* numberOf(const Value& value, Number& room);
[[nodiscard]] bool toNumber(const Value& value, Number& number);
[[nodiscard]] bool toNumber(const Value& value, double& number);  // the nearest
[[nodiscard]] bool toDate(const Value& value, std::int64_t& seconds);
// True for true, numbers other than 0, and texts that read as either.
[[nodiscard]] bool toBoolean(const Value& value);
// A number as it is shown without a format. Further places of a double are errors of the calculation.
Number asShown(const Number& number);
// The value as it is shown without a format. The result is part of the value's own text, in the arena, or
// static.
std::u16string_view toText(const Value& value, TextArena& arena);

// Negative, zero or positive. Null equals null and the empty text, and sorts first. Numbers, dates and
// booleans compare with a text that reads as one; all other values compare as text, unit by unit. `isMixed`
// becomes true if a text does not read as what the other value is.
[[nodiscard]] int compareValues(const Value& left, const Value& right, TextArena& arena,
                                bool* isMixed = nullptr);

// Values have the same key if their types and values are the same; nothing has that of the empty text.
std::u16string distinctKey(const Value& value);

}  // namespace qbsvrl6

#endif
