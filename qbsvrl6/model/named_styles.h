// The named styles of a report with what they inherit.
#ifndef QBSVR_QBSVRL6_MODEL_NAMED_STYLES_H
#define QBSVR_QBSVRL6_MODEL_NAMED_STYLES_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Each style is put together once, when it is first asked for. Styles of the report win over inherited ones
// of the same name, also as parents of these. The report outlives the object and does not change.
class NamedStyles {
public:
    explicit NamedStyles(const ReportDefinition& report);

    // What the style and its parents set; null if there is no such style. A cycle of parents ends where it
    // closes.
    const Style* find(const std::u16string& name);
    // The report's font, then the named style with its parents, then `own`.
    ResolvedStyle resolve(const std::u16string& name, const Style& own);

private:
    struct Entry {
        const NamedStyle* style = nullptr;
        Style whole;
        enum { Unread, Visited, Known } state = Unread;
    };

    void read(Entry& entry);

    std::shared_ptr<const Inherited> inherited_;
    Style font_;
    std::unordered_map<std::u16string_view, Entry> entries_;
};

}  // namespace qbsvrl6

#endif
