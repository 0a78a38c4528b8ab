// What the parser accepts in attributes although XML does not.
#ifndef QBSVR_QBSVRL6_TEMPLATE_RAW_CHARACTERS_H
#define QBSVR_QBSVRL6_TEMPLATE_RAW_CHARACTERS_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

struct RawCharacter {
    char character = '<';  // or '&'
    std::size_t offset = 0;
};

// Each "<" in an attribute, and each "&" that begins no entity, up to `most` of them. The text is that of a
// document which the parser has accepted.
std::vector<RawCharacter> findRawCharacters(std::string_view xml, std::size_t most);

}  // namespace qbsvrl6

#endif
