// The log's line about numbers that are ordered together with texts.
#ifndef QBSVR_QBSVRL6_BIND_MIXED_TEXTS_H
#define QBSVR_QBSVRL6_BIND_MIXED_TEXTS_H

#include <string>
#include <string_view>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/bind/sort_keys.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// Logs once per `use` in the template. `what`: "the sort by \"Amount\"". `owner` has the text: "row 3"; may be
// empty. `areTexts`: the numbers are texts too, which therefore are compared as texts.
void logMixedTexts(const Expression& use, std::string_view what, std::string_view owner,
                   std::u16string_view text, bool areTexts, TextPosition place = {});

// The same for a term of a sort.
void logMixedTerm(const Expression& term, const SortKeys::Mixed& mixed, std::string_view owner,
                  TextPosition place);

}  // namespace qbsvrl6

#endif
