// What the parser has read: compact values, which become nodes when their object or array is first accessed.
#ifndef QBSVR_JSON_INTERNAL_PARSED_TEXT_H
#define QBSVR_JSON_INTERNAL_PARSED_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <list>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "json/internal/arena.h"
#include "json/internal/shared_name.h"
#include "json/json_tree.h"

namespace larkspur::json_internal {

struct ValueList;

// A value without its node. It owns nothing.
struct Value {
    static constexpr std::uint32_t kMostNames = 1u << 30;

    Value(ClkJsonKind valueKind, std::uint32_t nameIndex)
        : children(nullptr),
          size(0),
          kind(static_cast<unsigned int>(valueKind) & 3),
          name(nameIndex & (kMostNames - 1)) {}
    Value(ClkJsonKind valueKind, std::uint32_t nameIndex, const lkchar* units, std::size_t n)
        : Value(valueKind, nameIndex) {
        text = units;
        size = Size(n);
    }

    static std::uint32_t Size(std::size_t n) {
        if (n > std::numeric_limits<std::uint32_t>::max()) throw std::length_error("larkspur: JSON value");
        return static_cast<std::uint32_t>(n);
    }

    ClkJsonKind Kind() const { return static_cast<ClkJsonKind>(kind); }

    union {
        const lkchar* text;         // of an atom
        const ValueList* children;  // of an object or array
    };
    std::uint32_t size;  // of the text, or of the list
    std::uint32_t kind : 2;
    std::uint32_t name : 30;  // index in the parsed text; 0 in arrays
};

class ParsedText;

// The children of an object, in the order of their names and without duplicates, or of an array. The values
// follow in memory.
struct ValueList {
    ParsedText* source;
    std::size_t size;

    const Value* begin() const { return reinterpret_cast<const Value*>(this + 1); }
    const Value* end() const { return begin() + size; }
};

// The values of one text, with their names and texts. Exists while objects or arrays in the tree still have
// values instead of nodes.
class ParsedText {
public:
    explicit ParsedText(NameList& names) : m_NameList(names) {}
    ParsedText(const ParsedText&) = delete;
    ParsedText& operator=(const ParsedText&) = delete;

    // Copies [begin, end), which ends before or at `bufferEnd`.
    const lkchar* AddText(const lkchar* begin, const lkchar* end, const lkchar* bufferEnd) {
        constexpr std::ptrdiff_t kBlock = 16;  // units; most texts are shorter
        const auto n = static_cast<std::size_t>(end - begin);
        lkchar* const copy = m_Memory.Room<lkchar>(n + kBlock);
        if (end - begin <= kBlock && bufferEnd - begin >= kBlock) {
            std::memcpy(copy, begin, kBlock * sizeof(lkchar));
        } else {
            std::copy(begin, end, copy);
        }
        m_Memory.Take<lkchar>(n);
        return copy;
    }

    // Room for a text of up to n units, which is added by TakeText.
    lkchar* TextRoom(std::size_t n) { return m_Memory.Room<lkchar>(n); }
    void TakeText(std::size_t n) { m_Memory.Take<lkchar>(n); }

    std::uint32_t AddName(const lkchar* text, std::size_t n) {
        if (m_Names.size() == Value::kMostNames) throw std::length_error("larkspur: JSON names");
        m_Names.emplace_back(m_NameList, text, n);
        return static_cast<std::uint32_t>(m_Names.size() - 1);
    }
    const NameRef& Name(std::uint32_t index) const { return m_Names[index]; }

    // A list of n values, at(0) to at(n - 1).
    template <class At>
    const ValueList* AddList(std::size_t n, At at) {
        static_assert(sizeof(Value) == sizeof(Cell) && sizeof(ValueList) == sizeof(Cell));
        Cell* const cells = m_Memory.Room<Cell>(n + 1);
        m_Memory.Take<Cell>(n + 1);
        for (std::size_t i = 0; i < n; ++i) ::new (cells + 1 + i) Value(at(i));
        return ::new (cells) ValueList{this, n};
    }

private:
    // A value or the head of a list.
    struct alignas(Value) Cell {
        std::byte bytes[sizeof(Value)];
    };

    NameList& m_NameList;
    Arena m_Memory;
    std::vector<NameRef> m_Names;

    friend class ParsedTexts;
    std::size_t m_Users = 0;  // objects and arrays in the tree
    std::list<ParsedText>::iterator m_Place;
};

// The parsed texts of a tree.
class ParsedTexts {
public:
    ParsedText& Add(NameList& names) {
        m_Unused.clear();
        m_Unused.emplace_front(names);
        m_Unused.front().m_Place = m_Unused.begin();
        return m_Unused.front();
    }

    void AddUser(ParsedText& text) noexcept {
        if (text.m_Users++ == 0) m_Used.splice(m_Used.begin(), m_Unused, text.m_Place);
    }

    // A text without users exists until the next one is added: other readers of the tree may be writing it.
    void RemoveUser(ParsedText& text) noexcept {
        if (--text.m_Users == 0) m_Unused.splice(m_Unused.begin(), m_Used, text.m_Place);
    }

    void Clear() noexcept {
        m_Unused.clear();
        m_Used.clear();
    }

private:
    std::list<ParsedText> m_Used;
    std::list<ParsedText> m_Unused;
};

}  // namespace larkspur::json_internal

#endif
