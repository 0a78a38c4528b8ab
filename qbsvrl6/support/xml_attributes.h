// The positions of attributes in the text of XML, which its parser does not store.
#ifndef QBSVR_QBSVRL6_SUPPORT_XML_ATTRIBUTES_H
#define QBSVR_QBSVRL6_SUPPORT_XML_ATTRIBUTES_H

#include <cstddef>
#include <string_view>

namespace qbsvrl6 {

// Where the name of an attribute begins in the tag that begins at `tag`, after `skip` others of this name;
// `tag` if there is none. The text must be well-formed.
std::size_t findAttribute(std::string_view text, std::size_t tag, std::string_view name, int skip = 0);

}  // namespace qbsvrl6

#endif
