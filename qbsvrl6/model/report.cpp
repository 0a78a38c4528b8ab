#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

namespace {

void addControls(SectionPtr& section, std::vector<Control*>& controls) {
    if (!section) return;
    for (auto& control : section->controls.items) controls.push_back(control.get());
}

}  // namespace

ControlKind Control::kind() const {
    switch (content.index()) {
        case 0:
            return ControlKind::Text;
        case 1:
            return ControlKind::Line;
        case 2:
            return ControlKind::Box;
        case 3:
            return ControlKind::Picture;
        case 4:
            return ControlKind::Barcode;
        case 5:
            return ControlKind::Chart;
        default:
            return ControlKind::SubReport;
    }
}

std::vector<TextPosition> ReportDefinition::placesOf(std::u16string_view text, TextUse use) const {
    std::vector<TextPosition> found;
    if (places) found = places->of(text, use);
    if (found.empty()) found.emplace_back();
    return found;
}

std::vector<Control*> allControls(ReportDefinition& report) {
    std::vector<Control*> controls;
    for (SectionPtr& section : report.reportHeaders) addControls(section, controls);
    addControls(report.pageHeader, controls);
    if (report.grid) {
        if (report.grid->labels) {
            for (auto& control : report.grid->labels->label.controls.items) controls.push_back(control.get());
        }
        for (auto& column : report.grid->columns) controls.push_back(&column->title);
        for (auto& column : report.grid->columns) controls.push_back(&column->content);
        addControls(report.grid->header, controls);
        for (auto& group : report.grid->groups) {
            addControls(group->header, controls);
            addControls(group->footer, controls);
        }
        addControls(report.grid->footer, controls);
    }
    for (SectionPtr& section : report.reportFooters) addControls(section, controls);
    addControls(report.pageFooter, controls);
    for (NamedPage& page : report.namedPages) {
        addControls(page.header, controls);
        addControls(page.footer, controls);
    }
    return controls;
}

}  // namespace qbsvrl6
