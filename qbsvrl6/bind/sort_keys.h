// Keys of values that order items, such as rows, by several terms.
#ifndef QBSVR_QBSVRL6_BIND_SORT_KEYS_H
#define QBSVR_QBSVRL6_BIND_SORT_KEYS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/bind/sort_terms.h"
#include "qbsvrl6/support/collation.h"

namespace qbsvrl6 {

// The order of values: nothing (null and the empty text), false, true, numbers, dates, texts. Numbers compare
// exactly. Texts compare as numbers if all texts of the term read as numbers, as those of XML do; otherwise
// by code point or by the term's collation, which also makes texts of digits compare as texts. "desc"
// reverses all of it. Items with equal keys keep their order.
//
// Each value is read once and becomes bytes that compare as the values do, so that a comparison reads no
// value. An item takes 16 bytes, 8 more if any key is longer than 8 bytes, and the rest of its key; all of it
// is freed with the object and must fit into what the budget of the export has left for data.
class SortKeys {
public:
    // `valueOf` returns the value of a term for an item; its text lives until the next call.
    using ValueOf = std::function<Value(std::size_t term, std::size_t item)>;

    SortKeys(std::size_t items, std::span<const SortTerm> terms, const ValueOf& valueOf);

    // Sorts the items at these positions. At first, each item is at its own.
    void sort(std::size_t first, std::size_t end);
    std::size_t itemAt(std::size_t position) const { return entries_[position].item; }
    std::size_t size() const { return entries_.size(); }
    // A term whose values are numbers and texts that do not read as numbers.
    struct Mixed {
        std::size_t term = 0;
        std::size_t item = 0;  // the first such text
        std::u16string text;
        bool comparesTextsOnly = false;  // otherwise numbers come before texts
    };
    // Without the terms that sort by a language.
    std::vector<Mixed> mixedTerms() const;

private:
    struct Entry {
        std::uint64_t start = 0;  // the first bytes of the key
        std::uint32_t item = 0;
    };
    enum class Texts : std::uint8_t { AsNumbers, AsTexts };
    struct Term {
        bool descending = false;
        Texts texts = Texts::AsNumbers;
        bool hasNumbers = false;
        bool hasTextsOfNumbers = false;  // before the first other text
        std::optional<std::size_t> firstText;
        std::u16string text;  // the first one
        std::optional<Collation> collation;
    };

    void readAll(std::size_t items, const ValueOf& valueOf);
    bool append(Term& term, const Value& value);
    void appendText(Term& term, std::u16string_view text);
    void close(std::size_t item);
    std::string_view restOf(std::uint32_t item) const;
    bool isBefore(const Entry& left, const Entry& right) const;

    std::vector<Term> terms_;
    std::vector<Entry> entries_;
    std::vector<std::uint64_t> restStarts_;  // by item; empty as long as no key is longer than a start
    std::string rests_;
    std::string key_;  // of the current item
};

}  // namespace qbsvrl6

#endif
