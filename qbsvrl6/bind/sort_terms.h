// The text of `sort`: "Region, Amount desc, Name collate pinyin".
#ifndef QBSVR_QBSVRL6_BIND_SORT_TERMS_H
#define QBSVR_QBSVRL6_BIND_SORT_TERMS_H

#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/bind/expression.h"

namespace qbsvrl6 {

struct SortTerm {
    Expression expression;
    bool descending = false;
    std::string collation;  // of texts; empty: by code point
};

// Terms are separated by commas, and each is an expression that may be followed by "asc" or "desc" and by
// "collate" with a name. None for a blank text. Raises EngineError(BadExpression) with the column in the
// whole text.
std::vector<SortTerm> parseSortTerms(std::u16string_view text);

}  // namespace qbsvrl6

#endif
