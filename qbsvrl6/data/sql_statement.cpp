#include "qbsvrl6/data/sql_statement.h"

#include <algorithm>

#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

bool isPartOfName(char16_t unit) {
    return isLatinLetter(unit) || isDigit(unit) || unit == u'_' || unit >= 0x80;
}

// The length of the text, quoted name or comment at the start; 0 if there is none.
std::size_t lengthOfQuoted(std::u16string_view rest) {
    const auto upTo = [&](std::u16string_view end, std::size_t from) {
        const std::size_t found = rest.find(end, from);
        return found == std::u16string_view::npos ? rest.size() : found + end.size();
    };
    switch (rest.front()) {
        case u'\'':
        case u'"':
        case u'`':
            return upTo(rest.substr(0, 1), 1);  // a doubled quote is the start of the next text
        case u'-':
            return rest.starts_with(u"--") ? upTo(u"\n", 2) : 0;
        case u'/':
            return rest.starts_with(u"/*") ? upTo(u"*/", 2) : 0;
        default:
            return 0;
    }
}

}  // namespace

SqlStatement placeholdersFor(std::u16string_view statement) {
    SqlStatement result;
    while (!statement.empty()) {
        std::size_t length = lengthOfQuoted(statement);
        if (length == 0) length = statement.starts_with(u"::") ? 2 : 1;
        const bool isName = length == 1 && statement.front() == u':';
        const auto end = std::find_if_not(statement.begin() + 1, statement.end(), isPartOfName);
        const std::u16string name(statement.begin() + 1, isName ? end : statement.begin() + 1);
        if (name.empty()) {
            result.text += statement.substr(0, length);
            statement.remove_prefix(length);
            continue;
        }
        const auto known = std::find(result.names.begin(), result.names.end(), name);
        result.uses.push_back(static_cast<std::size_t>(known - result.names.begin()));
        if (known == result.names.end()) result.names.push_back(name);
        result.text += u'?';
        statement.remove_prefix(1 + name.size());
    }
    return result;
}

}  // namespace qbsvrl6
