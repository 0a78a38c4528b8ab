#include "qbsvrl6/bind/sort_keys.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The first two bytes of a value's key. The exponent of a number is added to its base.
constexpr int kNothing = 0x0100;
constexpr int kFalse = 0x0200;
constexpr int kTrue = 0x0201;
constexpr int kNegative = 0x3000;
constexpr int kZero = 0x4000;
constexpr int kPositive = 0x5000;
constexpr int kDate = 0x6000;
constexpr int kText = 0x7000;

void appendTag(int tag, std::string& key) {
    key += static_cast<char>(tag >> 8);
    key += static_cast<char>(tag & 0xFF);
}

void invert(std::string& key, std::size_t from) {
    for (std::size_t i = from; i < key.size(); ++i) key[i] = static_cast<char>(~key[i]);
}

// A number as 0.ddd * 10^exponent.
struct Digits {
    bool isNegative = false;
    int exponent = 0;
    std::array<char, 64> digits{};
    std::size_t count = 0;  // without trailing zeros; 0 for zero
};

void trimZeros(Digits& digits) {
    while (digits.count > 0 && digits.digits[digits.count - 1] == '0') --digits.count;
}

Digits digitsOf(const Decimal& decimal) {
    Digits result;
    std::array<char, Decimal::kLongestText> text{};
    const char* at = text.data();
    const char* const end = decimal.write(text.data());
    result.isNegative = *at == '-';
    if (result.isNegative) ++at;
    bool isFraction = false;
    for (; at != end; ++at) {
        if (*at == '.') {
            isFraction = true;
        } else if (result.count > 0 || *at != '0') {
            result.digits[result.count++] = *at;
            if (!isFraction) ++result.exponent;
        } else if (isFraction) {
            --result.exponent;
        }
    }
    trimZeros(result);
    return result;
}

// The shortest decimal that reads back as the double.
Digits digitsOf(double number) {
    Digits result;
    std::array<char, 64> text{};
    const char* const end =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::scientific).ptr;
    const char* at = text.data();
    result.isNegative = *at == '-';
    if (result.isNegative) ++at;
    for (; at != end && *at != 'e'; ++at) {
        if (*at != '.') result.digits[result.count++] = *at;
    }
    if (at != end && *++at == '+') ++at;
    std::from_chars(at, end, result.exponent);
    ++result.exponent;
    trimZeros(result);
    return result;
}

// Two digits per byte, from 1; then 0.
void appendNumber(const Number& number, std::string& key) {
    const Decimal* const decimal = number.decimal();
    const Digits digits = decimal != nullptr ? digitsOf(*decimal) : digitsOf(number.toDouble());
    if (digits.count == 0) return appendTag(kZero, key);
    appendTag(digits.isNegative ? kNegative - digits.exponent : kPositive + digits.exponent, key);
    const std::size_t start = key.size();
    for (std::size_t i = 0; i < digits.count; i += 2) {
        const int second = i + 1 < digits.count ? digits.digits[i + 1] - '0' : 0;
        key += static_cast<char>((digits.digits[i] - '0') * 10 + second + 1);
    }
    key += '\0';
    if (digits.isNegative) invert(key, start);
}

void appendDate(std::int64_t seconds, std::string& key) {
    appendTag(kDate, key);
    const std::uint64_t shifted = static_cast<std::uint64_t>(seconds) ^ (std::uint64_t{1} << 63);
    for (int shift = 56; shift >= 0; shift -= 8) key += static_cast<char>(shifted >> shift);
}

// UTF-8, which compares as code points, with each byte increased by 1; then 0.
void appendCodePoints(std::u16string_view text, std::string& key) {
    const auto byte = [&key](char32_t bits) { key += static_cast<char>(bits + 1); };
    for (std::size_t index = 0; index < text.size();) {
        const char32_t c = nextCharacter(text, index);
        if (c < 0x80) {
            byte(c);
            continue;
        }
        if (c < 0x800) {
            byte(0xC0 | c >> 6);
        } else {
            if (c < 0x10000) {
                byte(0xE0 | c >> 12);
            } else {
                byte(0xF0 | c >> 18);
                byte(0x80 | (c >> 12 & 0x3F));
            }
            byte(0x80 | (c >> 6 & 0x3F));
        }
        byte(0x80 | (c & 0x3F));
    }
    key += '\0';
}

constexpr std::size_t kStartBytes = sizeof(std::uint64_t);

}  // namespace

SortKeys::SortKeys(std::size_t items, std::span<const SortTerm> terms, const ValueOf& valueOf) {
    for (const SortTerm& term : terms) {
        Term& made = terms_.emplace_back();
        made.descending = term.descending;
        if (term.collation.empty()) continue;
        made.collation.emplace(term.collation);
        made.texts = Texts::AsTexts;
    }
    checkLeft(&Budget::dataBytes, items * sizeof(Entry), "sorted rows");
    entries_.reserve(items);
    readAll(items, valueOf);
}

// Starts again when a term turns out to have a text that is not a number.
void SortKeys::readAll(std::size_t items, const ValueOf& valueOf) {
    constexpr std::size_t kRoundsPerCheck = 1024;
    for (std::size_t item = 0; item < items; ++item) {
        goOn();
        key_.clear();
        const auto isRead = [&](std::size_t term) { return append(terms_[term], valueOf(term, item)); };
        std::size_t term = 0;
        while (term < terms_.size() && isRead(term)) ++term;
        if (term < terms_.size()) {
            terms_[term].texts = Texts::AsTexts;
            terms_[term].firstText = item;
            terms_[term].text = valueOf(term, item).text;
            entries_.clear();
            restStarts_.clear();
            rests_.clear();
            return readAll(items, valueOf);
        }
        close(item);
        if (item % kRoundsPerCheck == 0) {
            checkLeft(
                &Budget::dataBytes,
                items * sizeof(Entry) + restStarts_.capacity() * sizeof(std::uint64_t) + rests_.capacity(),
                "sorted rows");
        }
    }
}

// Returns false for a text that is not a number where texts are compared as numbers.
bool SortKeys::append(Term& term, const Value& value) {
    const std::size_t start = key_.size();
    switch (value.type) {
        case ValueType::Null:
            appendTag(kNothing, key_);
            break;
        case ValueType::Boolean:
            appendTag(value.boolean ? kTrue : kFalse, key_);
            break;
        case ValueType::Number:
            term.hasNumbers = true;
            appendNumber(value.number, key_);
            break;
        case ValueType::Date:
            appendDate(value.date, key_);
            break;
        case ValueType::Text: {
            Number number;
            if (value.text.empty()) {
                appendTag(kNothing, key_);
            } else if (term.texts == Texts::AsTexts) {
                appendText(term, value.text);
            } else if (toNumber(value, number)) {
                term.hasTextsOfNumbers = true;
                appendNumber(number, key_);
            } else {
                return false;
            }
            break;
        }
    }
    if (term.descending) invert(key_, start);
    return true;
}

void SortKeys::appendText(Term& term, std::u16string_view text) {
    appendTag(kText, key_);
    if (term.collation) {
        term.collation->appendKey(text, key_);
    } else {
        appendCodePoints(text, key_);
    }
}

// No key is the beginning of another one, so a start that is filled with zeros decides as the key itself
// does.
void SortKeys::close(std::size_t item) {
    Entry entry;
    entry.item = static_cast<std::uint32_t>(item);
    for (std::size_t i = 0; i < kStartBytes; ++i) {
        const unsigned char byte = i < key_.size() ? static_cast<unsigned char>(key_[i]) : 0;
        entry.start = entry.start << 8 | byte;
    }
    entries_.push_back(entry);
    if (key_.size() > kStartBytes && restStarts_.empty()) restStarts_.assign(item, 0);
    if (key_.size() > kStartBytes || !restStarts_.empty()) restStarts_.push_back(rests_.size());
    if (key_.size() > kStartBytes) rests_.append(key_, kStartBytes);
}

std::string_view SortKeys::restOf(std::uint32_t item) const {
    if (item >= restStarts_.size()) return {};
    const std::size_t end = item + 1 < restStarts_.size() ? restStarts_[item + 1] : rests_.size();
    return std::string_view(rests_).substr(restStarts_[item], end - restStarts_[item]);
}

bool SortKeys::isBefore(const Entry& left, const Entry& right) const {
    if (left.start != right.start) return left.start < right.start;
    if (const int order = restOf(left.item).compare(restOf(right.item)); order != 0) return order < 0;
    return left.item < right.item;
}

std::vector<SortKeys::Mixed> SortKeys::mixedTerms() const {
    std::vector<Mixed> mixed;
    for (std::size_t i = 0; i < terms_.size(); ++i) {
        const Term& term = terms_[i];
        if (!term.firstText || (!term.hasNumbers && !term.hasTextsOfNumbers)) continue;
        mixed.push_back({i, *term.firstText, term.text, term.hasTextsOfNumbers});
    }
    return mixed;
}

void SortKeys::sort(std::size_t first, std::size_t end) {
    constexpr std::size_t kRoundsPerCheck = 4096;
    std::size_t rounds = 0;
    std::sort(entries_.begin() + static_cast<std::ptrdiff_t>(first),
              entries_.begin() + static_cast<std::ptrdiff_t>(end),
              [&](const Entry& left, const Entry& right) {
                  if (++rounds % kRoundsPerCheck == 0) checkTime();
                  return isBefore(left, right);
              });
}

}  // namespace qbsvrl6
