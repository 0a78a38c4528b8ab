#include "qbsvrl6/layout/report_walk.h"

#include <algorithm>
#include <limits>
#include <span>
#include <utility>

#include "qbsvrl6/support/budget.h"

namespace qbsvrl6 {

namespace {

constexpr Micrometres kLowestBlankRow = 1'000;
constexpr int kOfTitle = -1;       // in place of a group's level
constexpr int kOfFooters = 1'000;  // the same; ends with any group
constexpr int kNoRowCount = std::numeric_limits<int>::max();

}  // namespace

void ReportWalk::walk(LayoutContext& context, ReportInstance instance, Flow& flow) {
    const auto walk = std::make_shared<ReportWalk>(context, std::move(instance));
    walk->flow_ = &flow;
    walk->walkReport();
    walk->flow_ = nullptr;
}

ReportWalk::ReportWalk(LayoutContext& context, ReportInstance instance)
    : context_(context),
      instance_(std::move(instance)),
      builder_(context, instance_),
      view_(*instance_.view),
      hasPapers_(!instance_.plan.papers.empty() && !instance_.isSubReport) {
    if (!instance_.plan.grid) return;
    const std::vector<PlannedGroup>& groups = instance_.plan.grid->groups;
    const auto hides = [](const PlannedGroup& group) { return !group.group->showRows; };
    const auto hiding = std::find_if(groups.begin(), groups.end(), hides);
    shownLevels_ = static_cast<std::size_t>(hiding - groups.begin()) + (hiding == groups.end() ? 0 : 1);
}

void ReportWalk::walkReport() {
    ReportPlan& plan = instance_.plan;
    const std::size_t last = view_.rowCount() > 0 ? view_.rowCount() - 1 : 0;
    // Nothing is gained by moving the first section of a document to the next page.
    const bool mayMove = instance_.isSubReport || plan.reportHeaders.size() > 1;
    for (PlannedSection& section : plan.reportHeaders) {
        const bool isLast = &section == &plan.reportHeaders.back();
        const bool leads = plan.grid && mayMove && isLast && section.slices.empty();
        if (leads) rowKeeps_.push_back({flow_->beginKeep(), kOfTitle, 1});
        addSection(section, BandKind::ReportHeader, builder_.reportPosition(0));
    }
    if (plan.grid && instance_.crossView) {
        const auto cross = std::make_shared<ReportWalk>(
            context_,
            ReportInstance{plan, instance_.crossView, instance_.isSubReport, nullptr, instance_.structure});
        cross->flow_ = flow_;
        cross->countsRows_ = false;
        cross->rowKeeps_ = std::move(rowKeeps_);
        cross->walkGrid();
        cross->flow_ = nullptr;
    } else if (plan.grid) {
        walkGrid();
    }
    for (PlannedSection& section : plan.reportFooters) {
        addSection(section, BandKind::ReportFooter, builder_.reportPosition(last));
    }
}

void ReportWalk::add(BandDraft&& draft) {
    goOn();
    draft.owner = shared_from_this();
    draft.hiddenRows = std::exchange(hiddenRows_, {});
    draft.countsRows = countsRows_;
    draft.band.sheet = std::exchange(sheet_, {});
    if (draft.band.outline == 0) draft.band.outline = outlineOf(draft.band.kind, draft.band.groupLevel);
    if (hasPapers_) flow_->usePaper(paper_);
    flow_->add(std::move(draft));
}

// A group without header and footer would disappear when it is folded.
int ReportWalk::foldsAround(int level) const {
    const std::vector<PlannedGroup>& groups = instance_.plan.grid->groups;
    return static_cast<int>(
        std::count_if(groups.begin(), groups.begin() + level,
                      [](const PlannedGroup& group) { return group.header || group.footer; }));
}

// When a group is folded, its footer remains, or its header if it has no footer.
int ReportWalk::outlineOf(BandKind kind, int level) const {
    switch (kind) {
        case BandKind::GroupHeader:
            return level < 0
                       ? 0
                       : foldsAround(groupAt(static_cast<std::size_t>(level)).footer ? level + 1 : level);
        case BandKind::GroupFooter:
            return level < 0 ? 0 : foldsAround(level);
        case BandKind::Row:
            return foldsAround(view_.groupCount());
        default:
            return 0;
    }
}

std::optional<BandDraft> ReportWalk::build(PlannedSection& section, BandKind kind, const Position& position,
                                           const SectionSlice* slice) {
    const bool ofGroup = kind == BandKind::GroupHeader || kind == BandKind::GroupFooter;
    return ofGroup ? builder_.groupSection(section, kind, position, slice)
                   : builder_.section(section, kind, position, slice);
}

void ReportWalk::addSection(PlannedSection& section, BandKind kind, const Position& position) {
    if (!builder_.isVisible(section.visible, position)) return;  // nor does it turn the page
    const PageSide side = section.section->startOn;
    if (section.section->newPageBefore || side != PageSide::Any) flow_->startPage();
    if (side != PageSide::Any) flow_->startOn(side);
    const int around = paper_;
    if (section.paper != kOwnPaper) paper_ = section.paper;
    if (hasPapers_) flow_->usePaper(paper_);
    if (section.slices.empty()) {
        std::optional<BandDraft> draft = build(section, kind, position, nullptr);
        if (draft) add(std::move(*draft));
    } else {
        addSlices(section, kind, position);
    }
    if (section.section->newPageAfter) flow_->startPage();
    paper_ = around;
}

// The paper of the groups up to this level.
void ReportWalk::usePaperOf(int level) {
    paper_ = kOwnPaper;
    for (; level >= 0 && paper_ == kOwnPaper; --level)
        paper_ = groupAt(static_cast<std::size_t>(level)).paper;
}

void ReportWalk::addSlices(PlannedSection& section, BandKind kind, const Position& position) {
    const bool ofGroup = kind == BandKind::GroupHeader || kind == BandKind::GroupFooter;
    const Micrometres left = ofGroup ? instance_.plan.grid->geometry.x : 0;
    std::uint64_t lead = 0;
    for (std::size_t i = 0; i < section.slices.size(); ++i) {
        const SectionSlice& slice = section.slices[i];
        if (slice.isSubReport) {
            PlannedControl& control = section.controls[slice.controls.front()];
            const ItemRole role = builder_.roleOfSlice(kind, section, slice.controls.front(), position);
            addSubReport(control, role, kind, left + control.box.x, position,
                         section.section->canShrink ? 0 : slice.height,
                         lead != 0 ? std::exchange(lead, 0) : flow_->beginKeep());
            continue;
        }
        // What is above a sub-report, and its own headers, stay with its first row.
        if (i + 1 < section.slices.size()) lead = flow_->beginKeep();
        std::optional<BandDraft> draft = build(section, kind, position, &slice);
        if (draft) add(std::move(*draft));
    }
}

// Walks a sub-report that is alone at its height, band by band. The rest of its designed height remains
// empty.
void ReportWalk::addSubReport(PlannedControl& control, const ItemRole& role, BandKind kind, Micrometres left,
                              const Position& position, Micrometres height, std::uint64_t lead) {
    const int level = position.scope.kind == ScopeKind::Group ? position.scope.level : -1;
    // What a footer has to follow stays with the first row of the sub-report, not with all of it.
    std::vector<std::uint64_t> leads{lead};
    if (kind == BandKind::GroupFooter) {
        for (const RowKeep& keep : rowKeeps_) leads.push_back(keep.keep);
    }
    InnerFlow flow(*flow_, left, std::move(leads), outlineOf(kind, level));
    std::optional<ReportInstance> instance = builder_.subReport(control, position, role);
    if (instance) ReportWalk::walk(context_, std::move(*instance), flow);
    if (flow.height >= height) return;
    BandDraft blank;
    blank.band.kind = BandKind::ReportHeader;
    blank.band.width = control.box.width;
    blank.band.height = height - static_cast<Micrometres>(flow.height);
    blank.mayBreak = true;
    flow.add(std::move(blank));
}

void ReportWalk::walkGrid() {
    const PlannedGrid& grid = *instance_.plan.grid;
    if (hasPapers_) flow_->usePaper(paper_);
    if (grid.labels) return walkLabels();
    flow_->beginDetailColumns();
    const int passes = grid.geometry.columnGroupsInTurn ? grid.geometry.columnGroups : 1;
    for (int pass = 0; pass < passes; ++pass) {
        if (passes > 1) builder_.activeColumnGroup = pass;
        if (pass > 0) flow_->startPage();
        walkRows();
    }
    builder_.activeColumnGroup = kEveryColumnGroup;
    flow_->endDetailColumns();
}

// Where there are no pages, sheets are as high as the paper, so that labels are next to the same ones.
void ReportWalk::walkLabels() {
    const PlannedLabels& planned = *instance_.plan.grid->labels;
    LabelRows labels(view_, planned);
    const auto columns = static_cast<std::size_t>(planned.columns);
    bool isFirst = true;
    RowRange passed;
    while (!labels.isDone()) {
        std::size_t lines = linesOfSheet(!isFirst);
        if (instance_.isSubReport && planned.labels->down) {
            lines = (labels.count() + columns - 1) / columns;
            checkLeft(&Budget::dataBytes, lines * columns * sizeof(LabelSheet::value_type),
                      "the labels of a sub-report");
        }
        const std::size_t start = isFirst ? labels.start(lines * columns) : 0;
        const LabelSheet sheet = labels.nextSheet(lines, start);
        passed = {passed.end, labels.passed()};
        addLabels(sheet, lines, passed);
        if (&view_ == context_.watched) Spending::current()->progress().rows = labels.row() + 1;
        isFirst = false;
    }
}

// The lines that the rest of the page, or a new one, has room for.
std::size_t ReportWalk::linesOfSheet(bool isNew) const {
    const PlannedLabels& planned = *instance_.plan.grid->labels;
    const std::int64_t gap = std::max<Micrometres>(planned.labels->rowGap, 0);
    const std::int64_t step = std::max<std::int64_t>(planned.label.height + gap, kLowestBlankRow);
    std::int64_t room = 0;
    if (context_.options.paged && !instance_.isSubReport) {
        room = isNew ? flow_->takePage() : flow_->room();
        if (room < planned.label.height) room = flow_->takePage();
    } else {
        const PageSetup& page = instance_.plan.report->page;
        room = std::int64_t{page.paper.height} - page.margins.top - page.margins.bottom;
        for (const auto* const part : {&instance_.plan.pageHeader, &instance_.plan.pageFooter}) {
            if (*part) room -= (*part)->height;
        }
    }
    return static_cast<std::size_t>(std::max<std::int64_t>((room + gap) / step, 1));
}

// The rows without labels before, between and after those of the sheet belong to its page as well: the last
// line counts all that were passed.
void ReportWalk::addLabels(const LabelSheet& sheet, std::size_t lines, const RowRange& passed) {
    const PlannedLabels& planned = *instance_.plan.grid->labels;
    const auto columns = static_cast<std::size_t>(planned.columns);
    for (std::size_t line = 0; line * columns < sheet.size(); ++line) {
        const std::span places(sheet.data() + line * columns, columns);
        RowRange starting{view_.rowCount(), 0};
        for (const std::optional<LabelPlace>& place : places) {
            if (!place || !place->isFirst) continue;
            starting = {std::min(starting.first, place->row), std::max(starting.end, place->row + 1)};
        }
        if ((line + 1) * columns >= sheet.size() && passed.end > passed.first) {
            starting = {std::min(starting.first, passed.first), std::max(starting.end, passed.end)};
        }
        const bool isLast = line + 1 == lines && context_.options.paged;
        BandDraft band =
            builder_.labels(places, isLast ? 0 : std::max<Micrometres>(planned.labels->rowGap, 0));
        const bool countsRows = starting.end > starting.first;
        if (countsRows) hiddenRows_ = starting;
        countsRows_ = countsRows;
        add(std::move(band));
        countsRows_ = true;
    }
}

// The last report header and the title stay with the row below them, a group's header with its first rows, a
// group's last row with its footer. A group without rows counts as one.
void ReportWalk::walkRows() {
    PlannedGrid& grid = *instance_.plan.grid;
    if (!showsTitlesInGroups()) addTitle(kOfTitle);
    if (grid.header) {
        rowKeeps_.push_back({flow_->beginKeep(), kOfTitle, 1});
        addSection(*grid.header, BandKind::GroupHeader, builder_.reportPosition(0));
    }
    for (std::size_t row = 0; row < view_.rowCount();) row = walkRow(row);
    const std::size_t last = view_.rowCount() > 0 ? view_.rowCount() - 1 : 0;
    if (view_.rowCount() > 0) closeGroups(0, last);
    if (grid.grid->fillBlankRows) fillPage();
    if (grid.footer) addSection(*grid.footer, BandKind::GroupFooter, builder_.reportPosition(last));
    endRowKeeps(kOfTitle);
}

// The title stays with the row below it.
void ReportWalk::addTitle(int level) {
    if (instance_.plan.grid->titles.empty()) return;
    rowKeeps_.push_back({flow_->beginKeep(), level, 1});
    BandDraft title = builder_.title();
    title.band.outline = foldsAround(level + 1);
    add(std::move(title));
}

bool ReportWalk::showsTitlesInGroups() const {
    const std::vector<PlannedGroup>& groups = instance_.plan.grid->groups;
    return std::any_of(groups.begin(), groups.begin() + static_cast<std::ptrdiff_t>(shownLevels_),
                       [](const PlannedGroup& group) { return group.group->showTitle; });
}

std::size_t ReportWalk::walkRow(std::size_t row) {
    const bool hides = hidesRows();
    const RowRange rows = hides                         ? view_.group(static_cast<int>(shownLevels_) - 1, row)
                          : instance_.plan.grid->merges ? builder_.mergedRows(row)
                                                        : RowRange{row, row + 1};
    const int groups = view_.groupCount();
    if (&view_ == context_.watched) Spending::current()->progress().rows = row + 1;
    const int starting = view_.startingLevel(row);
    if (starting < groups) {
        if (row > 0) {
            closeGroups(starting, row - 1);
            endRowKeeps(starting);
        }
        openGroups(starting, row);
    }
    if (isFollowedByFooter(rows.end - 1)) rowKeeps_.push_back({flow_->beginKeep(), kOfFooters, kNoRowCount});
    if (hides) return rows.end;
    if (builder_.staysWithNext(rows.end - 1)) {
        rowKeeps_.push_back({flow_->beginKeep(), kOfFooters, static_cast<int>(rows.end - rows.first) + 1});
    }
    const bool first = row == 0 || starting < groups;
    add(builtRows(rows, first ? std::nullopt : std::optional(row - 1)));
    for (std::size_t counted = rows.first; counted < rows.end; ++counted) countRow();
    return rows.end;
}

BandDraft ReportWalk::builtRows(RowRange rows, std::optional<std::size_t> previous) {
    return rows.end - rows.first == 1 ? builder_.row(rows.first, previous)
                                      : builder_.mergedRows(rows, previous);
}

void ReportWalk::openGroups(int from, std::size_t row) {
    std::vector<PlannedGroup>& groups = instance_.plan.grid->groups;
    const auto starting = groups.begin() + from;
    const auto shownEnd = groups.begin() + static_cast<std::ptrdiff_t>(shownLevels_);
    const bool newNumbers = std::any_of(
        starting, shownEnd, [](const PlannedGroup& group) { return group.group->restartPageNumber; });
    const bool newPage = newNumbers || std::any_of(starting, shownEnd, [](const PlannedGroup& group) {
                             return group.group->newPage;
                         });
    if (row > 0 && newPage) flow_->startPage();
    if (row > 0 && newNumbers) flow_->startPageNumbers();
    togetherKeeps_.resize(groups.size());
    for (std::size_t level = static_cast<std::size_t>(from); level < shownLevels_; ++level) {
        PlannedGroup& group = groups[level];
        if (!group.group->showRows) {
            const RowRange rows = view_.group(static_cast<int>(level), row);
            const bool isWaiting = hiddenRows_.end > hiddenRows_.first;  // of groups without a band
            hiddenRows_ = {isWaiting ? hiddenRows_.first : rows.first, rows.end};
        }
        if (group.group->keepTogether) togetherKeeps_[level] = flow_->beginKeep();
        const auto ownLevel = static_cast<int>(level);
        if (hasPapers_) usePaperOf(ownLevel);
        if (group.sheet) {
            EvaluatedText name;
            view_.evaluateText(*group.sheet, builder_.groupPosition(ownLevel, row), name);
            // A group without a name has a sheet as well.
            sheet_ = name.text.empty() ? u" " : std::move(name.text);
        }
        if (group.header && group.group->minimumRows > 0)
            rowKeeps_.push_back({flow_->beginKeep(), ownLevel, group.group->minimumRows});
        if (group.header)
            addSection(*group.header, BandKind::GroupHeader, builder_.groupPosition(ownLevel, row));
        if (group.group->showTitle) addTitle(ownLevel);
    }
}

// Innermost first.
void ReportWalk::closeGroups(int from, std::size_t row) {
    std::vector<PlannedGroup>& groups = instance_.plan.grid->groups;
    for (std::size_t level = shownLevels_; level-- > static_cast<std::size_t>(from);) {
        PlannedGroup& group = groups[level];
        if (hasPapers_) usePaperOf(static_cast<int>(level));
        if (group.footer) {
            addSection(*group.footer, BandKind::GroupFooter,
                       builder_.groupPosition(static_cast<int>(level), row));
        }
        if (group.group->keepTogether) flow_->endKeep(togetherKeeps_[level]);
        if (!group.group->showRows) countRow();
    }
    if (hasPapers_) usePaperOf(from - 1);
}

bool ReportWalk::isFollowedByFooter(std::size_t row) const {
    const std::vector<PlannedGroup>& groups = instance_.plan.grid->groups;
    const bool last = row + 1 == view_.rowCount();
    if (last && instance_.plan.grid->footer) return true;
    const int closing = last ? 0 : view_.startingLevel(row + 1);
    const auto shown = static_cast<std::ptrdiff_t>(shownLevels_);
    return std::any_of(groups.begin() + std::min<std::ptrdiff_t>(closing, shown), groups.begin() + shown,
                       [](const PlannedGroup& group) { return group.footer.has_value(); });
}

void ReportWalk::countRow() {
    std::erase_if(rowKeeps_, [this](RowKeep& keep) {
        if (--keep.rowsLeft > 0) return false;
        flow_->endKeep(keep.keep);
        return true;
    });
}

void ReportWalk::endRowKeeps(int fromLevel) {
    std::erase_if(rowKeeps_, [&](const RowKeep& keep) {
        if (keep.level < fromLevel) return false;
        flow_->endKeep(keep.keep);
        return true;
    });
}

// Adds blank rows down to the footers of the grid and the report, or to the end of the page if these do not
// fit.
void ReportWalk::fillPage() {
    ReportPlan& plan = instance_.plan;
    const Micrometres height = std::max(plan.grid->rowHeight, kLowestBlankRow);
    Micrometres room = flow_->room();
    Micrometres footers = 0;
    const std::size_t last = view_.rowCount() > 0 ? view_.rowCount() - 1 : 0;
    const auto count = [&](PlannedSection& section, BandKind kind) {
        const auto draft = builder_.section(section, kind, builder_.reportPosition(last));
        if (draft && footers < room) footers += draft->band.height;
    };
    if (plan.grid->footer) count(*plan.grid->footer, BandKind::GroupFooter);
    for (PlannedSection& section : plan.reportFooters) count(section, BandKind::ReportFooter);
    if (footers <= room) room -= footers;
    for (std::size_t number = 1; room >= height; room -= height) add(builder_.blankRow(height, number++));
}

std::vector<BandDraft> ReportWalk::repeats(const BandDraft& lead) {
    std::vector<BandDraft> bands;
    const BandKind kind = lead.band.kind;
    const bool inGrid = kind == BandKind::Row || kind == BandKind::BlankRow ||
                        kind == BandKind::GroupHeader || kind == BandKind::GroupFooter;
    if (!inGrid) return bands;
    PlannedGrid& grid = *instance_.plan.grid;
    const bool repeatsTitle = grid.grid->repeatTitle && !grid.titles.empty();
    if (repeatsTitle && !showsTitlesInGroups()) bands.push_back(builder_.title());
    int levels = 0;
    if (kind == BandKind::Row) levels = view_.groupCount();
    if (kind == BandKind::GroupHeader) levels = lead.band.groupLevel;
    if (kind == BandKind::GroupFooter) levels = lead.band.groupLevel + 1;
    for (int level = 0; level < levels; ++level) {
        PlannedGroup& group = grid.groups[static_cast<std::size_t>(level)];
        if (group.group->repeatHeader && group.header) {
            // It shows the values of its first occurrence.
            const std::size_t first = view_.group(level, lead.row).first;
            auto header = builder_.groupSection(*group.header, BandKind::GroupHeader,
                                                builder_.groupPosition(level, first));
            if (header) bands.push_back(std::move(*header));
        }
        if (repeatsTitle && group.group->showTitle) bands.push_back(builder_.title());
    }
    for (BandDraft& band : bands) {
        band.band.repeated = true;
        band.band.bookmark.clear();
        band.owner = shared_from_this();
    }
    return bands;
}

BandDraft ReportWalk::revealed(const BandDraft& row) {
    const std::size_t rows = std::max<std::size_t>(row.rowTops.size(), 1);
    BandDraft draft = builtRows({row.row, row.row + rows}, std::nullopt);
    draft.owner = shared_from_this();
    return draft;
}

}  // namespace qbsvrl6
