#include "qbsvrl6/layout/cross_grid.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "qbsvrl6/model/named_styles.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

std::u16string isTotalOf(std::size_t level) {
    return CrossColumns::totalOf() + u" = " + toUtf16(std::to_string(level));
}

class Builder {
public:
    Builder(const ReportDefinition& report, const CrossTableQuery& query)
        : cross_(*report.grid->cross), query_(query), axis_(query.columns()), styles_(report) {
        grid_ = std::make_unique<DetailGrid>();
        const DetailGrid& own = *report.grid;
        grid_->titleHeight = own.titleHeight;
        grid_->repeatTitle = own.repeatTitle;
        grid_->rowHeight = own.rowHeight;
        grid_->rowCanGrow = own.rowCanGrow;
        grid_->alternateBackground = own.alternateBackground;
        grid_->adapt = own.adapt;
        grid_->centered = own.centered;
        grid_->fixedColumns = static_cast<int>(cross_.rows.size());
        hasMeasureTitles_ = std::any_of(cross_.cells.begin(), cross_.cells.end(),
                                        [](const CrossCell& cell) { return !cell.title.empty(); });
    }

    std::unique_ptr<const DetailGrid> build() {
        for (std::size_t level = 0; level < cross_.rows.size(); ++level) addTitleColumn(level);
        for (std::size_t line = 0; line < axis_.lines.size(); ++line) {
            for (std::size_t measure = 0; measure < cross_.cells.size(); ++measure) addColumn(line, measure);
        }
        return std::move(grid_);
    }

private:
    using SpanPtr = std::shared_ptr<const TitleSpan>;

    static void setText(Control& control, std::u16string text, const std::u16string& style) {
        TextContent content;
        content.text = std::move(text);
        control.content = std::move(content);
        control.styleName = style;
    }

    static void addCondition(Control& control, std::u16string when, const std::u16string& style) {
        if (!style.empty()) control.conditions.push_back({std::move(when), style});
    }

    // The styles of the first levels of rows, which apply to all cells of a key.
    void addRowConditions(Control& control, std::size_t levels) {
        for (std::size_t level = 0; level < levels; ++level) {
            const std::vector<ConditionalStyle>& conditions = cross_.rows[level].conditions;
            for (std::size_t i = 0; i < conditions.size(); ++i)
                addCondition(control, CrossColumns::rowHolds(level, i), conditions[i].style);
        }
    }

    // The titles of the keys of a row level. The title of a total covers those of the levels inside.
    void addTitleColumn(std::size_t level) {
        const CrossLevel& own = cross_.rows[level];
        auto column = std::make_unique<Column>();
        column->name = CrossColumns::title(level);
        column->width = own.width;
        setText(column->title, own.heading, own.headingStyleName);
        setText(column->content, u'[' + CrossColumns::title(level) + u']', own.styleName);
        addCondition(column->content, isTotalOf(level), own.totalStyleName);
        addRowConditions(column->content, level + 1);
        if (level + 1 < cross_.rows.size()) {
            column->mergeBy = CrossColumns::key(level);
            column->span = static_cast<int>(cross_.rows.size() - level);
            column->spanWhen = isTotalOf(level);
        }
        grid_->columns.push_back(std::move(column));
    }

    static std::shared_ptr<TitleSpan> makeSpan(const std::u16string& title, const CrossLevel& level,
                                               std::size_t levels) {
        auto span = std::make_shared<TitleSpan>();
        setText(span->title, literalText(title), level.styleName);
        span->height = level.height;
        span->levels = static_cast<int>(levels);
        return span;
    }

    // The titles above a column of this line: those of the keys around it and, above titles of measures, its
    // own.
    std::vector<SpanPtr> titlesOf(const CrossLine& line) {
        std::vector<SpanPtr> titles;
        if (line.totalOf >= 0 && hasMeasureTitles_) {
            const auto level = static_cast<std::size_t>(line.totalOf);
            SpanPtr& total = totalSpans_[line.node];
            if (!total) {
                const auto span = makeSpan(axis_.nodes[line.node].totalTitle, cross_.columns[level],
                                           cross_.columns.size() - level);
                overlayNamed(span->title.style, cross_.columns[level].totalStyleName);
                total = span;
            }
            titles.push_back(total);
        }
        std::uint32_t node = line.node;
        if (line.totalOf < 0 && !hasMeasureTitles_ && node != 0) node = axis_.nodes[node].parent;
        for (; axis_.nodes[node].level >= 0; node = axis_.nodes[node].parent) {
            const CrossLevel& level = cross_.columns[static_cast<std::size_t>(axis_.nodes[node].level)];
            SpanPtr& span = keySpans_[node];
            if (!span) span = makeSpan(axis_.nodes[node].title, level, 1);
            titles.push_back(span);
        }
        std::reverse(titles.begin(), titles.end());
        return titles;
    }

    void setTitle(Column& column, const CrossLine& line, const CrossCell& cell) {
        column.titleSpans = titlesOf(line);
        const CrossNode& node = axis_.nodes[line.node];
        if (hasMeasureTitles_) {
            setText(column.title, cell.title, cell.titleStyleName);
        } else if (line.totalOf >= 0) {
            const CrossLevel& level = cross_.columns[static_cast<std::size_t>(line.totalOf)];
            setText(column.title, literalText(node.totalTitle), level.styleName);
            overlayNamed(column.title.style, level.totalStyleName);
        } else if (node.level >= 0) {
            setText(column.title, literalText(node.title),
                    cross_.columns[static_cast<std::size_t>(node.level)].styleName);
        }
    }

    // A column is folded into the totals of all levels around it.
    int outlineOf(const CrossLine& line) const {
        const std::size_t levels =
            line.totalOf < 0 ? cross_.columns.size() : static_cast<std::size_t>(line.totalOf);
        const auto hasTotal = [](const CrossLevel& level) { return !level.total.empty(); };
        return static_cast<int>(std::count_if(
            cross_.columns.begin(), cross_.columns.begin() + static_cast<std::ptrdiff_t>(levels), hasTotal));
    }

    void overlayNamed(Style& style, const std::u16string& name) {
        if (const Style* const named = styles_.find(name)) overlay(style, *named);
    }

    // A column of a measure. Styles of the column are its own, those of rows and cells are conditional.
    void addColumn(std::size_t line, std::size_t measure) {
        const CrossLine& at = axis_.lines[line];
        const CrossCell& cell = cross_.cells[measure];
        const std::size_t value = line * cross_.cells.size() + measure;
        auto column = std::make_unique<Column>();
        column->name = CrossColumns::value(value);
        column->width = cell.width;
        setTitle(*column, at, cell);
        column->outline = outlineOf(at);
        Control& content = column->content;
        const std::u16string format = cell.format.empty() ? u"" : u':' + cell.format;
        setText(content, u'[' + CrossColumns::value(value) + format + u']', cell.styleName);
        content.style = cell.style;
        if (at.totalOf >= 0)
            overlayNamed(content.style, cross_.columns[static_cast<std::size_t>(at.totalOf)].totalStyleName);
        for (std::size_t level = 0; level < cross_.columns.size(); ++level) {
            const std::vector<ConditionalStyle>& conditions = cross_.columns[level].conditions;
            for (std::size_t i = 0; i < conditions.size(); ++i) {
                if (query_.columnHolds(line, level, i)) overlayNamed(content.style, conditions[i].style);
            }
        }
        for (std::size_t level = 0; level < cross_.rows.size(); ++level)
            addCondition(content, isTotalOf(level), cross_.rows[level].totalStyleName);
        addRowConditions(content, cross_.rows.size());
        for (std::size_t i = 0; i < cell.conditions.size(); ++i) {
            addCondition(content, CrossColumns::cellHolds(value, i), cell.conditions[i].style);
        }
        grid_->columns.push_back(std::move(column));
    }

    const CrossTable& cross_;
    const CrossTableQuery& query_;
    const CrossAxis& axis_;
    NamedStyles styles_;
    std::unique_ptr<DetailGrid> grid_;
    bool hasMeasureTitles_ = false;
    std::map<std::uint32_t, SpanPtr> keySpans_, totalSpans_;  // of column nodes
};

}  // namespace

std::unique_ptr<const DetailGrid> crossGrid(const ReportDefinition& report, const CrossTableQuery& query) {
    return Builder(report, query).build();
}

}  // namespace qbsvrl6
