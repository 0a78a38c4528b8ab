#include "qbsvrl6/model/named_styles.h"

#include <algorithm>
#include <vector>

#include "qbsvrl6/model/inheritance.h"

namespace qbsvrl6 {

NamedStyles::NamedStyles(const ReportDefinition& report) : inherited_(report.inherited) {
    const auto add = [this](const std::vector<NamedStyle>& styles) {
        for (const NamedStyle& style : styles) entries_.emplace(style.name, Entry{&style, {}, {}});
    };
    add(report.styles);
    if (inherited_) {
        add(inherited_->styles);
        font_ = inherited_->font;
    }
    overlay(font_, report.font);
}

const Style* NamedStyles::find(const std::u16string& name) {
    const auto found = name.empty() ? entries_.end() : entries_.find(name);
    if (found == entries_.end()) return nullptr;
    if (found->second.state != Entry::Known) read(found->second);
    return &found->second.whole;
}

// In a loop from the outermost parent down: parents may be nested deeper than calls.
void NamedStyles::read(Entry& entry) {
    std::vector<Entry*> chain;  // from the style up to its outermost parent
    const auto parentOf = [this](const Entry& child) {
        const auto found = entries_.find(child.style->parent);
        return child.style->parent.empty() || found == entries_.end() ? nullptr : &found->second;
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
