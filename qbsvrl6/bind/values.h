// What expressions do with values: conversions, comparison, and room for the texts that they make.
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

// Owns the texts that evaluating makes until `reset`. Raises EngineError(LimitExceeded) for a text beyond
// limits::kTextUnits.
class TextArena {
public:
    struct Mark {
        std::size_t block = 0;
        std::size_t used = 0;
    };

    std::u16string_view copy(std::u16string_view text);
    char16_t* allocate(std::size_t units);
    Mark mark() const { return {current_, used_}; }
    // Gives back what was made since the mark.
    void release(Mark mark);
    void reset() { release({}); }

private:
    struct Block {
        std::unique_ptr<char16_t[]> units;
        std::size_t size = 0;
    };
    std::vector<Block> blocks_;
    std::size_t current_ = 0;
    std::size_t used_ = 0;
};

Value makeNumber(const Number& number);  // null for what isn't finite
Value makeBoolean(bool boolean);
Value makeDate(std::int64_t seconds);
Value makeText(std::u16string_view text);

// "true" or "false" in any case, or the local words for them.
[[nodiscard]] bool parseBoolean(std::u16string_view text, bool& boolean);

// The number that the value reads as, in the value or in `room`; null if there is none. The others give false
// then, and leave their result unchanged.
[[nodiscard]] const Number* numberOf(const Value& value, Number& room);
[[nodiscard]] bool toNumber(const Value& value, Number& number);
[[nodiscard]] bool toNumber(const Value& value, double& number);  // the nearest
[[nodiscard]] bool toDate(const Value& value, std::int64_t& seconds);
// True for true, numbers other than 0, and texts that read as either.
[[nodiscard]] bool toBoolean(const Value& value);
// As shown without a format. The result lives in the value's own text, in the arena or for ever.
std::u16string_view toText(const Value& value, TextArena& arena);

// Below, at or above zero. Null equals null and the empty text and comes first; numbers, dates and booleans
// compare with a text that reads as one; all else compares as text, unit by unit.
[[nodiscard]] int compareValues(const Value& left, const Value& right, TextArena& arena);

}  // namespace qbsvrl6

#endif
