#include "qbsvrl6/model/named_styles.h"

#include <algorithm>
#include <vector>

#include "qbsvrl6/model/inheritance.h"

namespace qbsvrl6 {

namespace {

// The entry of a style, which is made for an inherited one when it is first asked for; null if there is none.
template <class Entries>
auto* entryOf(Entries& entries, const Inherited* inherited, const std::u16string& name) {
    using Entry = typename Entries::mapped_type;
    const auto found = name.empty() ? entries.end() : entries.find(name);
    if (found != entries.end()) return &found->second;
    const NamedStyle* const style = inherited == nullptr || name.empty() ? nullptr : inherited->style(name);
    return style == nullptr ? nullptr : &entries.emplace(style->name, Entry{style, {}, {}}).first->second;
}

}  // namespace

NamedStyles::NamedStyles(const ReportDefinition& report) : inherited_(report.inherited) {
    for (const NamedStyle& style : report.styles) entries_.emplace(style.name, Entry{&style, {}, {}});
    if (inherited_) font_ = inherited_->font();
    overlay(font_, report.font);
}

const Style* NamedStyles::find(const std::u16string& name) {
    Entry* const entry = entryOf(entries_, inherited_.get(), name);
    if (entry == nullptr) return nullptr;
    if (entry->state != Entry::Known) read(*entry);
    return &entry->whole;
}

// In a loop from the outermost parent down: parents may be nested deeper than calls.
void NamedStyles::read(Entry& entry) {
    std::vector<Entry*> chain;  // from the style up to its outermost parent
    const auto parentOf = [this](const Entry& child) {
        return entryOf(entries_, inherited_.get(), child.style->parent);
    };
    Entry* at = &entry;
    for (; at != nullptr && at->state == Entry::Unread; at = parentOf(*at)) {
        at->state = Entry::Visited;
        chain.push_back(at);
    }
    Style whole;
    if (at != nullptr && at->state == Entry::Known) whole = at->whole;
    if (at != nullptr && at->state == Entry::Visited) {
        // A cycle, whose styles all inherit from each other: one round more before they are known.
        const auto first = std::find(chain.begin(), chain.end(), at);
        for (auto style = chain.end(); style != first;) overlay(whole, (*--style)->style->style);
    }
    for (auto style = chain.rbegin(); style != chain.rend(); ++style) {
        overlay(whole, (*style)->style->style);
        (*style)->whole = whole;
        (*style)->state = Entry::Known;
    }
}

ResolvedStyle NamedStyles::resolve(const std::u16string& name, const Style& own) {
    ResolvedStyle resolved;
    applyStyle(resolved, font_);
    if (const Style* const named = find(name)) applyStyle(resolved, *named);
    applyStyle(resolved, own);
    return resolved;
}

}  // namespace qbsvrl6
