// Characters in attributes that the parser accepts although XML does not.
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

// Each "<" in an attribute and each "&" that does not begin an entity, at most `most`. The parser must have
// accepted `xml`.
std::vector<RawCharacter> findRawCharacters(std::string_view xml, std::size_t most);

}  // namespace qbsvrl6

#endif
