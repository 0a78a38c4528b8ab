#include "qbsvrl6/bind/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "common/errors.h"
#include "format/boolean_format.h"
#include "format/date_time.h"
#include "qbsvrl6/bind/dates.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kBlockUnits = 4096;

template <typename T>
int sign(const T& left, const T& right) {
    return left < right ? -1 : (right < left ? 1 : 0);
}

}  // namespace

char16_t* TextArena::allocate(std::size_t units) {
    if (units > limits::kTextUnits) {
        throw EngineError(ErrorCode::LimitExceeded, "an expression makes a text of " + std::to_string(units) +
                                                        " characters, more than " +
                                                        std::to_string(limits::kTextUnits));
    }
    while (current_ < blocks_.size() && blocks_[current_].size - used_ < units) {
        ++current_;
        used_ = 0;
    }
    if (current_ == blocks_.size()) {
        const std::size_t size = std::max(units, kBlockUnits);
        blocks_.push_back({std::make_unique_for_overwrite<char16_t[]>(size), size});
        used_ = 0;
    }
    char16_t* const start = blocks_[current_].units.get() + used_;
    used_ += units;
    return start;
}

std::u16string_view TextArena::copy(std::u16string_view text) {
    char16_t* const units = allocate(text.size());
    std::copy(text.begin(), text.end(), units);
    return {units, text.size()};
}

// Blocks of the usual size are reused; longer ones are freed, so that one long text does not keep its memory
// allocated.
void TextArena::freeLongBlocks(std::size_t first) {
    const auto from = blocks_.begin() + static_cast<std::ptrdiff_t>(first);
    blocks_.erase(
        std::remove_if(from, blocks_.end(), [](const Block& block) { return block.size > kBlockUnits; }),
        blocks_.end());
}

Value makeNumber(const Number& number) {
    return number.isFinite() ? Value{ValueType::Number, false, number, 0, {}} : Value();
}
Value makeBoolean(bool boolean) { return {ValueType::Boolean, boolean, {}, 0, {}}; }
Value makeDate(std::int64_t seconds) { return {ValueType::Date, false, {}, seconds, {}}; }
Value makeText(std::u16string_view text) { return {ValueType::Text, false, {}, 0, text}; }

bool parseBoolean(std::u16string_view text, bool& boolean) {
    text = trimmed(text);
    boolean = equalsIgnoringCase(text, u"true") || text == larkspur::GetLocalTrueText();
    return boolean || equalsIgnoringCase(text, u"false") || text == larkspur::GetLocalFalseText();
}

const Number* numberOf(const Value& value, Number& room) {
    switch (value.type) {
        case ValueType::Number:
            return &value.number;
        case ValueType::Boolean:
            room = value.boolean ? 1 : 0;
            return &room;
        case ValueType::Text:
            return parseNumber(value.text, room) ? &room : nullptr;
        default:
            return nullptr;
    }
}

bool toNumber(const Value& value, Number& number) {
    const Number* const read = numberOf(value, number);
    if (read == nullptr) return false;
    number = *read;
    return true;
}

bool toNumber(const Value& value, double& number) {
    Number read;
    if (!toNumber(value, read)) return false;
    number = read.toDouble();
    return true;
}

bool toDate(const Value& value, std::int64_t& seconds) {
    if (value.type == ValueType::Date) {
        seconds = value.date;
        return true;
    }
    return value.type == ValueType::Text && parseDate(value.text, seconds);
}

bool toBoolean(const Value& value) {
    switch (value.type) {
        case ValueType::Boolean:
            return value.boolean;
        case ValueType::Number:
            return !value.number.isZero();
        case ValueType::Text: {
            bool boolean = false;
            Number number;
            if (parseBoolean(value.text, boolean)) return boolean;
            return parseNumber(value.text, number) && !number.isZero();
        }
        default:
            return false;
    }
}

Number asShown(const Number& number) {
    constexpr int kPlaces = 9;
    return number.decimal() != nullptr ? number : number.rounded(kPlaces);
}

std::u16string_view toText(const Value& value, TextArena& arena) {
    switch (value.type) {
        case ValueType::Null:
            return {};
        case ValueType::Boolean:
            return value.boolean ? larkspur::GetLocalTrueText() : larkspur::GetLocalFalseText();
        case ValueType::Text:
            return value.text;
        case ValueType::Number: {
            if (!value.text.empty()) return value.text;
            const Number shown = asShown(value.number);
            if (const Decimal* const decimal = shown.decimal()) {
                std::array<char16_t, Decimal::kLongestText> digits;
                const char16_t* const end = decimal->write(digits.data());
                return arena.copy({digits.data(), static_cast<std::size_t>(end - digits.data())});
            }
            std::array<char, 32> digits;  // with an exponent: no others of the many digits would be true
            char* const end =
                std::to_chars(digits.data(), digits.data() + digits.size(), value.number.toDouble()).ptr;
            return arena.copy(std::u16string(digits.data(), end));
        }
        case ValueType::Date: {
            if (!value.text.empty()) return value.text;
            larkspur::ClkDateTime date;
            date.m_Time = value.date;
            try {
                return arena.copy(date.Format(isWholeDay(value.date) ? u"%Y-%m-%d" : u"%Y-%m-%d %H:%M:%S"));
            } catch (const larkspur::ClkException&) {
                return {};  // the year is out of range
            }
        }
    }
    return {};
}

int compareValues(const Value& left, const Value& right, TextArena& arena, bool* isMixed) {
    if (left.isNull() || right.isNull()) {
        const Value& other = left.isNull() ? right : left;
        const bool empty = other.isNull() || (other.type == ValueType::Text && other.text.empty());
        return empty ? 0 : (left.isNull() ? -1 : 1);
    }
    if (left.type == ValueType::Text && right.type == ValueType::Text) return sign(left.text, right.text);
    if (left.type == ValueType::Date || right.type == ValueType::Date) {
        std::int64_t a = 0;
        std::int64_t b = 0;
        if (toDate(left, a) && toDate(right, b)) return sign(a, b);
    } else if (left.type == ValueType::Boolean || right.type == ValueType::Boolean) {
        bool boolean = false;
        const Value& other = left.type == ValueType::Boolean ? right : left;
        if (other.type != ValueType::Text || parseBoolean(other.text, boolean)) {
            return static_cast<int>(toBoolean(left)) - static_cast<int>(toBoolean(right));
        }
    } else {
        Number leftRoom;
        Number rightRoom;
        const Number* const a = numberOf(left, leftRoom);
        const Number* const b = numberOf(right, rightRoom);
        if (a != nullptr && b != nullptr) return compare(*a, *b);
    }
    if (isMixed != nullptr) *isMixed = true;
    return sign(toText(left, arena), toText(right, arena));
}

std::u16string distinctKey(const Value& value) {
    if (value.isNull()) return distinctKey(makeText({}));
    std::u16string key(1, static_cast<char16_t>(value.type));
    const auto appendBytes = [&key](const auto& number) {
        char16_t units[sizeof(number) / sizeof(char16_t)];
        std::memcpy(units, &number, sizeof(number));
        key.append(units, std::size(units));
    };
    switch (value.type) {
        case ValueType::Null:
            break;
        case ValueType::Boolean:
            key += value.boolean ? u'1' : u'0';
            break;
        case ValueType::Number:
            value.number.appendKey(key);
            break;
        case ValueType::Date:
            appendBytes(value.date);
            break;
        case ValueType::Text:
            key += value.text;
            break;
    }
    return key;
}

}  // namespace qbsvrl6
