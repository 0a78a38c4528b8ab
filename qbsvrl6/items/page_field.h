// Page numbers in texts.
#ifndef QBSVR_QBSVRL6_ITEMS_PAGE_FIELD_H
#define QBSVR_QBSVRL6_ITEMS_PAGE_FIELD_H

#include <cstddef>
#include <cstdint>

namespace qbsvrl6 {

// A span of a text that shows the page number or the page count in plain digits. A program that counts pages
// itself, such as a word processor, replaces it with a field.
struct PageField {
    enum class Kind : std::uint8_t { Number, Count } kind = Kind::Number;
    std::size_t start = 0;  // in UTF-16 units of the text
    std::size_t length = 0;
    int value = 0;

    std::size_t end() const { return start + length; }
};

}  // namespace qbsvrl6

#endif
