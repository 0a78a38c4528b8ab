#include "qbsvrl6/model/report.h"

#include <algorithm>
#include <type_traits>

namespace qbsvrl6 {

namespace {

ControlContent cloneContent(const ControlContent& source) {
    return std::visit(
        [](const auto& content) -> ControlContent {
            if constexpr (std::is_same_v<std::decay_t<decltype(content)>, SubReportContent>) {
                SubReportContent copy;
                copy.report = std::make_unique<Report>();
                copy.report->definition = cloneDefinition(content.report->definition);
                copy.parameters = content.parameters;
                return copy;
            } else {
                return content;
            }
        },
        source);
}

SectionPtr cloneIfAny(const SectionPtr& source) { return source ? cloneSection(*source) : nullptr; }

std::vector<SectionPtr> cloneSections(const std::vector<SectionPtr>& source) {
    std::vector<SectionPtr> copies;
    copies.reserve(source.size());
    for (const SectionPtr& section : source) copies.push_back(cloneSection(*section));
    return copies;
}

std::unique_ptr<Group> cloneGroup(const Group& source) {
    auto copy = std::make_unique<Group>();
    copy->name = source.name;
    copy->by = source.by;
    copy->header = cloneIfAny(source.header);
    copy->footer = cloneIfAny(source.footer);
    copy->repeatHeader = source.repeatHeader;
    copy->keepTogether = source.keepTogether;
    copy->newPage = source.newPage;
    copy->restartPageNumber = source.restartPageNumber;
    copy->minimumRows = source.minimumRows;
    return copy;
}

std::unique_ptr<Column> cloneColumn(const Column& source) {
    auto copy = std::make_unique<Column>();
    copy->name = source.name;
    copy->width = source.width;
    copy->title = cloneControl(source.title);
    copy->content = cloneControl(source.content);
    return copy;
}

std::unique_ptr<DetailGrid> cloneGrid(const DetailGrid& source) {
    auto copy = std::make_unique<DetailGrid>();
    copy->recordset = source.recordset;
    copy->filter = source.filter;
    for (const auto& column : source.columns) copy->columns.push_back(cloneColumn(*column));
    copy->titleHeight = source.titleHeight;
    copy->repeatTitle = source.repeatTitle;
    copy->rowHeight = source.rowHeight;
    copy->rowCanGrow = source.rowCanGrow;
    copy->alternateBackground = source.alternateBackground;
    for (const auto& group : source.groups) copy->groups.push_back(cloneGroup(*group));
    copy->adapt = source.adapt;
    copy->fixedColumns = source.fixedColumns;
    copy->fillBlankRows = source.fillBlankRows;
    copy->centered = source.centered;
    return copy;
}

void addControls(const SectionPtr& section, std::vector<Control*>& controls) {
    if (!section) return;
    for (const auto& control : section->controls.items) controls.push_back(control.get());
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

Control cloneControl(const Control& source) {
    return {source.name,       source.box,         source.column,
            source.toColumn,   source.styleName,   source.style,
            source.conditions, source.visibleWhen, cloneContent(source.content),
            source.place};
}

SectionPtr cloneSection(const Section& source) {
    auto copy = std::make_unique<Section>();
    copy->name = source.name;
    copy->height = source.height;
    copy->canGrow = source.canGrow;
    copy->canShrink = source.canShrink;
    copy->keepTogether = source.keepTogether;
    copy->newPageBefore = source.newPageBefore;
    copy->newPageAfter = source.newPageAfter;
    copy->background = source.background;
    copy->visibleWhen = source.visibleWhen;
    for (const auto& control : source.controls.items) {
        copy->controls.items.push_back(std::make_unique<Control>(cloneControl(*control)));
    }
    return copy;
}

ReportDefinition cloneDefinition(const ReportDefinition& source) {
    ReportDefinition copy;
    copy.info = source.info;
    copy.page = source.page;
    copy.imageResolution = source.imageResolution;
    copy.font = source.font;
    copy.styles = source.styles;
    copy.parameters = source.parameters;
    copy.fields = source.fields;
    copy.data = source.data;
    copy.backgroundPicture = source.backgroundPicture;
    copy.watermark = source.watermark;
    copy.printer = source.printer;
    copy.pageHeader = cloneIfAny(source.pageHeader);
    copy.pageFooter = cloneIfAny(source.pageFooter);
    copy.reportHeaders = cloneSections(source.reportHeaders);
    copy.reportFooters = cloneSections(source.reportFooters);
    if (source.grid) copy.grid = cloneGrid(*source.grid);
    copy.places = source.places;
    return copy;
}

std::vector<SubjectPlace> ReportDefinition::placesOf(std::u16string_view text, TextUse use) const {
    std::vector<SubjectPlace> found;
    if (places) found = places->of(text, use);
    if (found.empty()) found.emplace_back();
    return found;
}

ResolvedStyle resolveStyle(const ReportDefinition& report, const std::u16string& styleName,
                           const Style& own) {
    // From the named style up to its outermost parent.
    std::vector<const NamedStyle*> chain;
    const std::u16string* name = &styleName;
    while (!name->empty()) {
        const auto found = std::find_if(report.styles.begin(), report.styles.end(),
                                        [&](const NamedStyle& style) { return style.name == *name; });
        if (found == report.styles.end()) break;
        if (std::find(chain.begin(), chain.end(), &*found) != chain.end()) break;
        chain.push_back(&*found);
        name = &found->parent;
    }
    ResolvedStyle resolved;
    applyStyle(resolved, report.font);
    for (auto style = chain.rbegin(); style != chain.rend(); ++style) applyStyle(resolved, (*style)->style);
    applyStyle(resolved, own);
    return resolved;
}

std::vector<Control*> allControls(ReportDefinition& report) {
    std::vector<Control*> controls;
    for (const SectionPtr& section : report.reportHeaders) addControls(section, controls);
    addControls(report.pageHeader, controls);
    if (report.grid) {
        for (const auto& column : report.grid->columns) controls.push_back(&column->title);
        for (const auto& column : report.grid->columns) controls.push_back(&column->content);
        for (const auto& group : report.grid->groups) {
            addControls(group->header, controls);
            addControls(group->footer, controls);
        }
    }
    for (const SectionPtr& section : report.reportFooters) addControls(section, controls);
    addControls(report.pageFooter, controls);
    return controls;
}

}  // namespace qbsvrl6
