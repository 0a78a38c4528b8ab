#include "qbsvrl6/bind/sort_terms.h"

#include <algorithm>
#include <optional>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

namespace {

[[noreturn]] void fail(std::u16string_view text, std::size_t column, const char* message) {
    constexpr std::size_t kShown = 200;
    throw EngineError(ErrorCode::BadExpression,
                      "bad sort \"" + toUtf8(text.substr(0, kShown)) + "\", column " +
                          std::to_string(column) + ": " + message,
                      {"", {0, static_cast<int>(column)}});
}

// Index of the comma that ends the term at `start`, or the size of the text.
std::size_t termEnd(std::u16string_view text, std::size_t start) {
    char16_t close = 0;  // of the quotes or brackets that are open
    int parentheses = 0;
    for (std::size_t i = start; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (close != 0) {
            if (unit == close) close = 0;
        } else if (unit == u'\'' || unit == u'"' || unit == u'`') {
            close = unit;
        } else if (unit == u'[') {
            close = u']';
        } else if (unit == u'(') {
            ++parentheses;
        } else if (unit == u')') {
            --parentheses;
        } else if (unit == u',' && parentheses <= 0) {
            return i;
        }
    }
    return text.size();
}

// The last word of the text, if something is before it.
std::u16string_view lastWord(std::u16string_view text) {
    const auto isSpace = [](char16_t unit) { return isWhiteSpace(unit); };
    const auto space = std::find_if(text.rbegin(), text.rend(), isSpace);
    if (space == text.rend()) return {};
    return text.substr(text.size() - static_cast<std::size_t>(space - text.rbegin()));
}

void removeLast(std::u16string_view& text, std::size_t units) {
    text = trimmed(text.substr(0, text.size() - units));
}

bool isCollation(std::u16string_view name) {
    constexpr std::u16string_view kOthers = u"@=-_;";
    return std::all_of(name.begin(), name.end(), [&](char16_t unit) {
        return isLatinLetter(unit) || isDigit(unit) || kOthers.find(unit) != std::u16string_view::npos;
    });
}

// Takes "asc", "desc" and "collate name", in any order, from the end of the term.
std::u16string_view takeDirections(std::u16string_view rest, SortTerm& term) {
    std::optional<bool> descending;
    while (true) {
        const std::u16string_view word = lastWord(rest);
        if (!descending && (equalsIgnoringCase(word, u"asc") || equalsIgnoringCase(word, u"desc"))) {
            descending = term.descending = equalsIgnoringCase(word, u"desc");
            removeLast(rest, word.size());
            continue;
        }
        std::u16string_view before = rest;
        removeLast(before, word.size());
        const std::u16string_view collate = lastWord(before);
        if (!term.collation.empty() || !equalsIgnoringCase(collate, u"collate") || !isCollation(word))
            return rest;
        term.collation = toUtf8(word);
        removeLast(before, collate.size());
        rest = before;
    }
}

}  // namespace

std::vector<SortTerm> parseSortTerms(std::u16string_view text) {
    std::vector<SortTerm> terms;
    if (trimmed(text).empty()) return terms;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = termEnd(text, start);
        SortTerm& term = terms.emplace_back();
        if (terms.size() > limits::kSortTerms) fail(text, start + 1, "there are too many terms");
        const std::u16string_view rest = takeDirections(trimmed(text.substr(start, end - start)), term);
        if (rest.empty()) fail(text, start + 1, "a term of the sort is missing");
        try {
            term.expression = Expression::parse(rest);
        } catch (const EngineError& error) {
            SourcePlace place = error.place();
            place.position.column += static_cast<int>(rest.data() - text.data());
            throw EngineError(error.code(), error.what(), place);
        }
        start = end + 1;
    }
    return terms;
}

}  // namespace qbsvrl6
