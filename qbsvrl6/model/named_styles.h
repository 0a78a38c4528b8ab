// The named styles of a report with what they inherit.
#ifndef QBSVR_QBSVRL6_MODEL_NAMED_STYLES_H
#define QBSVR_QBSVRL6_MODEL_NAMED_STYLES_H

#include <string>
#include <string_view>
#include <unordered_map>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Each style is put together once, when it is first asked for. The report outlives the object and does not
// change.
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

    const ReportDefinition& report_;
    std::unordered_map<std::u16string_view, Entry> entries_;
};

}  // namespace qbsvrl6

#endif
