// The links of texts, filtered before any sink sees them: data names them, and whoever opens the document
// follows them.
#ifndef QBSVR_QBSVRL6_LAYOUT_LINKS_H
#define QBSVR_QBSVRL6_LAYOUT_LINKS_H

#include <string>
#include <string_view>

#include "qbsvrl6/layout/layout_options.h"

namespace qbsvrl6 {

struct CheckedLink {
    std::u16string address;         // as documents write it; empty: none
    const char* refusal = nullptr;  // why there is none, for the log; null: nothing is refused
};

// Allowed are http:, https:, mailto: and tel:, places in the document ("#totals") and relative addresses.
// Everything else could start a program or leak the reader's name: other schemes however they are hidden,
// shares of another machine, control characters. What no address can hold is written as "%20"; an address
// that is then too long for the format is refused, never cut.
CheckedLink checkLink(std::u16string_view address, const LinkRules& rules);

}  // namespace qbsvrl6

#endif
