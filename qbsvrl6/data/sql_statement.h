// Parameters by name for databases that know them by position only.
#ifndef QBSVR_QBSVRL6_DATA_SQL_STATEMENT_H
#define QBSVR_QBSVRL6_DATA_SQL_STATEMENT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

struct SqlStatement {
    std::u16string text;                // with "?" in place of ":Name"
    std::vector<std::u16string> names;  // in the order of their first use, without repeats
    std::vector<std::size_t> uses;      // per "?", its index in `names`
};

// A name is letters, digits and "_". Texts, quoted names, comments, "::" and ":=" have no parameters.
SqlStatement placeholdersFor(std::u16string_view statement);

}  // namespace qbsvrl6

#endif
