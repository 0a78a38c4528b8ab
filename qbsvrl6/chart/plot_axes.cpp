#include "qbsvrl6/chart/plot_axes.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qbsvrl6/drawing/path_builder.h"

namespace qbsvrl6 {

namespace {

constexpr Color kGridLine{222, 226, 230};
constexpr double kPointRoom = 0.05;  // beyond the outermost points, as a share of the range
constexpr double kValueRoom = 0.08;

using Anchor = ChartBuilder::Anchor;

double placeOn(const Axis& axis, double value) { return std::clamp(axis.position(value), 0.0, 1.0); }

}  // namespace

struct PlotAxes::Range {
    double low = std::numeric_limits<double>::max();
    double high = std::numeric_limits<double>::lowest();

    void take(double value) {
        if (!std::isfinite(value)) return;
        low = std::min(low, value);
        high = std::max(high, value);
    }
    bool empty() const { return low > high; }
    Range withRoom(double below, double above) const {
        const double extent = std::min(high - low, std::numeric_limits<double>::max());
        return {low - extent * below, high + extent * above};
    }
};

PlotAxes::PlotAxes(ChartBuilder& builder, const ChartData& data)
    : builder_(builder),
      settings_(builder.settings()),
      data_(data),
      categoryCount_(data.categories.size()),
      area_(builder.plot()) {
    for (const auto& series : data.series) categoryCount_ = std::max(categoryCount_, series.values.size());
}

void PlotAxes::reserve() {
    Range xRange, yRange;
    for (const auto& series : data_.series) {
        for (const double value : series.values) yRange.take(value);
        for (const auto& point : series.points) {
            if (!std::isfinite(point.x) || !std::isfinite(point.y)) continue;
            xRange.take(point.x);
            yRange.take(point.y);
        }
    }
    reserveValueAxis(yRange.empty() ? Range{0, 1} : shownValues(yRange));
    if (hasPoints(settings_.kind)) {
        reserveNumberAxis(xRange.empty() ? Range{0, 1} : xRange);
    } else {
        reserveCategoryAxis();
    }
}

// Widens the range so that no point is on the frame, except that values which are never negative have no
// negative axis. Bubbles are inset instead. Negative bars have space for their values below them.
PlotAxes::Range PlotAxes::shownValues(const Range& range) const {
    switch (settings_.kind) {
        case ChartKind::Bubble:
            return range;
        case ChartKind::Bar:
            return range.withRoom(settings_.showValues && range.low < 0 ? kValueRoom : 0, 0);
        default: {
            const Range roomy = range.withRoom(kPointRoom, kPointRoom);
            return {range.low >= 0 ? std::max(roomy.low, 0.0) : roomy.low, roomy.high};
        }
    }
}

// Uses fewer ticks if the number format would show neighbouring ones alike.
Axis PlotAxes::readableAxis(const Range& range, int count, bool withZero) const {
    Axis axis = makeAxis(range.low, range.high, count, withZero);
    const auto alike = [this](double a, double b) {
        return builder_.text().number(a) == builder_.text().number(b);
    };
    while (--count > 0 &&
           std::adjacent_find(axis.ticks.begin(), axis.ticks.end(), alike) != axis.ticks.end()) {
        axis = makeAxis(range.low, range.high, count, withZero);
    }
    return axis;
}

double PlotAxes::widestOf(const std::vector<double>& ticks) const {
    double widest = 0;
    for (const double tick : ticks)
        widest = std::max(widest, builder_.text().width(builder_.text().number(tick), kLabelPoints));
    return widest;
}

void PlotAxes::reserveValueAxis(const Range& range) {
    const double labelHeight = ChartText::lineHeight(kLabelPoints);
    const int ticks = std::clamp(static_cast<int>(area_.height() / (labelHeight * 2.2)), 2, 8);
    yAxis_ = readableAxis(range, ticks, settings_.kind == ChartKind::Bar);
    if (!settings_.yTitle.empty()) {
        builder_.addLabel(area_.left + labelHeight * 0.75, (area_.top + area_.bottom - labelHeight) / 2,
                          Anchor::Middle, kLabelPoints,
                          builder_.text().fitted(settings_.yTitle, kLabelPoints, area_.height()), false, -90);
        area_.left += labelHeight * 1.2;
    }
    area_.left += widestOf(yAxis_.ticks) + kGap * 0.7;
    area_.right -= kGap;
    area_.top += labelHeight * (settings_.showValues ? 1 : 0.5);
    if (!settings_.xTitle.empty()) {
        builder_.addLabel((area_.left + area_.right) / 2, area_.bottom - labelHeight * 0.25, Anchor::Middle,
                          kLabelPoints,
                          builder_.text().fitted(settings_.xTitle, kLabelPoints, area_.width()));
        area_.bottom -= labelHeight * 1.1;
    }
}

// Uses as many ticks as fit side by side.
void PlotAxes::reserveNumberAxis(const Range& range) {
    int count = 6;
    double widest = 0;
    do {
        xAxis_ = readableAxis(range, count, false);
        widest = widestOf(xAxis_.ticks);
    } while (--count > 0 && widest * 1.3 * static_cast<double>(xAxis_.ticks.size()) > area_.width());
    area_.right -=
        std::max(builder_.text().width(builder_.text().number(xAxis_.high), kLabelPoints) / 2 - kGap, 0.0);
    area_.bottom -= ChartText::lineHeight(kLabelPoints) * 1.3;
}

// Names that would overlap become a little smaller, or are broken into two lines. If that is not enough, only
// every second, third ... name is shown, within the chart's edges.
void PlotAxes::reserveCategoryAxis() {
    const auto count = std::max<std::size_t>(categoryCount_, 1);
    const double step = categoryWidth();
    const double least = 4 * kLabelPoints * kMicrometresPerPoint;  // worth breaking for
    double widest = 0;
    for (const auto& name : data_.categories)
        widest = std::max(widest, builder_.text().width(name, kLabelPoints));
    double room = step - kGap * 0.5;
    categoryPoints_ = kLabelPoints * std::clamp(room / std::max(widest, 1.0), 0.85, 1.0);
    widest *= categoryPoints_ / kLabelPoints;
    if (widest > room && room < least) {
        const double shown = std::min(widest, std::max(area_.width() / 4, 1.0));
        categoryStep_ = static_cast<std::size_t>(std::ceil((shown + kGap * 0.5) / std::max(step, 1.0)));
        room = step * static_cast<double>(categoryStep_) - kGap * 0.5;
        const double over = std::min(widest, room) / 2 - (area_.left - kGap) - step / 2;
        firstCategory_ = static_cast<std::size_t>(std::ceil(std::max(over, 0.0) / std::max(step, 1.0)));
    }
    std::size_t lines = 1;
    for (std::size_t i = firstCategory_; i < data_.categories.size(); i += categoryStep_) {
        const double spaceAfter = (static_cast<double>(count - i) - 0.5) * step + kGap;
        categoryLines_.push_back(
            categoryStep_ > 1 ? std::vector{builder_.text().fitted(data_.categories[i], categoryPoints_,
                                                                   std::min(room, 2 * spaceAfter))}
                              : builder_.text().twoLines(data_.categories[i], categoryPoints_, room));
        lines = std::max(lines, categoryLines_.back().size());
    }
    area_.bottom -= ChartText::lineHeight(kLabelPoints) * (static_cast<double>(lines) + 0.3);
}

double PlotAxes::categoryWidth() const {
    return area_.width() / static_cast<double>(std::max<std::size_t>(categoryCount_, 1));
}

double PlotAxes::categoryX(std::size_t category) const {
    return area_.left + (static_cast<double>(category) + 0.5) * categoryWidth();
}

// Keeps bubbles on the first and the last tick inside the area.
double PlotAxes::inset() const { return settings_.kind == ChartKind::Bubble ? largestRadius() : 0; }

double PlotAxes::largestRadius() const { return std::min(area_.width(), area_.height()) * 0.12; }

double PlotAxes::yOf(double value) const {
    return area_.bottom - inset() - placeOn(yAxis_, value) * (area_.height() - 2 * inset());
}

double PlotAxes::xOf(double value) const {
    return area_.left + inset() + placeOn(xAxis_, value) * (area_.width() - 2 * inset());
}

double PlotAxes::baseY() const { return yOf(std::clamp(0.0, yAxis_.low, yAxis_.high)); }

void PlotAxes::paint() const {
    paintValueAxis();
    if (hasPoints(settings_.kind)) {
        paintNumberAxis();
    } else {
        paintCategoryAxis();
    }
}

void PlotAxes::paintValueAxis() const {
    for (const double tick : yAxis_.ticks) {
        const double y = yOf(tick);
        const bool base = tick == 0 || tick == yAxis_.low;
        builder_.add(PathBuilder()
                         .moveTo(area_.left, y)
                         .lineTo(area_.right, y)
                         .stroke(base ? kAxisLine : kGridLine, base ? kThin * 1.5 : kThin)
                         .take());
        builder_.addLabel(area_.left - kGap * 0.6, y + ChartText::halfLetter(kLabelPoints), Anchor::End,
                          kLabelPoints, builder_.text().number(tick));
    }
}

void PlotAxes::paintNumberAxis() const {
    for (const double tick : xAxis_.ticks) {
        const double x = xOf(tick);
        builder_.add(
            PathBuilder().moveTo(x, area_.top).lineTo(x, area_.bottom).stroke(kGridLine, kThin).take());
        builder_.addLabel(x, area_.bottom + ChartText::lineHeight(kLabelPoints) * 1.05, Anchor::Middle,
                          kLabelPoints, builder_.text().number(tick));
    }
}

void PlotAxes::paintCategoryAxis() const {
    const double height = ChartText::lineHeight(kLabelPoints);
    for (std::size_t i = 0; i < categoryLines_.size(); ++i) {
        const double x = categoryX(firstCategory_ + i * categoryStep_);
        double y = area_.bottom + height * 1.05;
        for (const auto& line : categoryLines_[i]) {
            builder_.addLabel(x, y, Anchor::Middle, categoryPoints_, line);
            y += height;
        }
    }
}

}  // namespace qbsvrl6
