// Filters the links of texts before any sink receives them: they come from data, and the readers of documents
// follow them.
#ifndef QBSVR_QBSVRL6_LAYOUT_LINKS_H
#define QBSVR_QBSVRL6_LAYOUT_LINKS_H

#include <string>
#include <string_view>

#include "qbsvrl6/layout/layout_options.h"

namespace qbsvrl6 {

struct CheckedLink {
    std::u16string address;         // as it is written in documents; empty: none
    const char* refusal = nullptr;  // the cause if it is rejected, for the log; null: it is not
};

// Allows http:, https:, mailto: and tel:, places in the document ("#totals") and relative addresses. All
// other links could start a program or reveal the reader's identity: other schemes, even disguised ones,
// network shares, and control characters. Characters that are not valid in addresses are written like "%20";
// an address that is then too long for the format is rejected, never cut.
CheckedLink checkLink(std::u16string_view address, const LinkRules& rules);

}  // namespace qbsvrl6

#endif
