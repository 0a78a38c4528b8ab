#include "qbsvrl6/template/hidden_controls.h"

#include <cstdint>
#include <string>

#include "qbsvrl6/model/beside_paper.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

std::string nameOf(const Control& control) {
    return control.name.empty() ? "the control" : "control \"" + toUtf8(control.name) + '"';
}

class Checker {
public:
    explicit Checker(const ReportDefinition& report) : page_(report.page), isShrunk_(shrinks(report)) {}

    void check(const SectionPtr& section, bool ofGroup = false) {
        if (!section) return;
        for (const auto& control : section->controls.items) {
            const bool followsColumn = !control->column.empty();
            const bool isFree = !followsColumn && !(ofGroup && isShrunk_);
            const char* const reason = isFree && isBesidePaper(*control, page_) ? "is beside the paper"
                                       : isBelow(*control, *section)
                                           ? "is below its section, which cannot grow"
                                           : nullptr;
            if (reason == nullptr) continue;
            found_ = true;
            logWarning(nameOf(*control) + ' ' + reason + ": it does not show; move it", control->position);
        }
    }

    bool found() const { return found_; }

private:
    // Whether the groups' sections become smaller together with a grid that is too wide.
    static bool shrinks(const ReportDefinition& report) {
        if (!report.grid || report.grid->adapt != ColumnAdapt::ShrinkToFit) return false;
        std::int64_t width = std::int64_t{report.page.margins.left} + report.page.margins.right;
        for (const auto& column : report.grid->columns) width += column->width;
        return width > report.page.paper.width;
    }

    static bool isBelow(const Control& control, const Section& section) {
        return !section.canGrow && section.height > 0 && control.box.y >= section.height &&
               control.box.height > 0;
    }

    const PageSetup& page_;
    const bool isShrunk_;
    bool found_ = false;
};

}  // namespace

bool warnOfHiddenControls(const ReportDefinition& report) {
    Checker checker(report);
    checker.check(report.pageHeader);
    for (const SectionPtr& section : report.reportHeaders) checker.check(section);
    if (report.grid) {
        checker.check(report.grid->header, true);
        checker.check(report.grid->footer, true);
        for (const auto& group : report.grid->groups) {
            checker.check(group->header, true);
            checker.check(group->footer, true);
        }
    }
    for (const SectionPtr& section : report.reportFooters) checker.check(section);
    checker.check(report.pageFooter);
    return checker.found();
}

}  // namespace qbsvrl6
