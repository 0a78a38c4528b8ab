#include "qbsvrl6/bind/mixed_texts.h"

#include <cstdint>

#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

void logMixedTexts(const Expression& use, std::string_view what, std::string_view owner,
                   std::u16string_view text, bool areTexts, TextPosition place) {
    constexpr std::size_t kShown = 80;
    if (!isNewWarning("mixed " + std::to_string(reinterpret_cast<std::uintptr_t>(&use)))) return;
    std::string message(what);
    message += " finds numbers and texts";
    message += owner.empty() ? ", such as " : ": " + std::string(owner) + " has the text ";
    message += '"' + toUtf8(text.substr(0, kShown)) + "\"; ";
    message += areTexts ? "texts of digits are compared as texts" : "numbers come before texts";
    logWarning(message, place);
}

void logMixedTerm(const Expression& term, const SortKeys::Mixed& mixed, std::string_view owner,
                  TextPosition place) {
    const BoundName* const name = term.loneName();
    const std::string what = name == nullptr ? "term " + std::to_string(mixed.term + 1) + " of the sort"
                                             : "the sort by \"" + toUtf8(name->name) + '"';
    logMixedTexts(term, what, owner, mixed.text, mixed.comparesTextsOnly, place);
}

}  // namespace qbsvrl6
