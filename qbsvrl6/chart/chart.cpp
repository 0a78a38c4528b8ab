#include "qbsvrl6/chart/chart.h"

#include <cmath>
#include <limits>

#include "qbsvrl6/chart/axis.h"
#include "qbsvrl6/chart/chart_style.h"
#include "qbsvrl6/chart/pie.h"
#include "qbsvrl6/drawing/path_builder.h"

namespace qbsvrl6 {

namespace {

constexpr Color kGridLine{222, 226, 230};
constexpr double kValuePoints = 7.2;
constexpr double kLeastShrink = 0.65;  // of value labels that have little space
constexpr double kBarShare = 0.72;     // of a category's width
constexpr double kMarkRadius = kThin * 4;
constexpr double kUnbounded = 1e9;
constexpr double kPointRoom = 0.05;  // beyond the outermost points, of the range
constexpr double kValueRoom = 0.08;

using Anchor = ChartBuilder::Anchor;

// The kinds with axes.
class Plot {
public:
    Plot(ChartBuilder& builder, const ChartData& data)
        : builder_(builder), settings_(builder.settings()), data_(data) {}

    void paint() {
        std::vector<std::u16string> labels;
        for (const auto& series : data_.series) labels.push_back(series.label);
        builder_.addLegend(labels);
        plot_ = builder_.plot();
        paintPlot();
    }

private:
    std::size_t categoryCount() const {
        std::size_t count = data_.categories.size();
        for (const auto& series : data_.series) count = std::max(count, series.values.size());
        return count;
    }

    struct Range {
        double low = std::numeric_limits<double>::max();
        double high = std::numeric_limits<double>::lowest();
        void take(double value) {
            if (!std::isfinite(value)) return;
            low = std::min(low, value);
            high = std::max(high, value);
        }
        bool empty() const { return low > high; }
    };

    static Range withRoom(Range range, double below, double above) {
        const double extent = std::min(range.high - range.low, std::numeric_limits<double>::max());
        return {range.low - extent * below, range.high + extent * above};
    }

    // Points are not on the frame, but values that are never negative have no negative axis. Bubbles are inset
    // instead. Negative bars have space for their values below them.
    Range shownValues(const Range& range) const {
        switch (settings_.kind) {
            case ChartKind::Bubble:
                return range;
            case ChartKind::Bar:
                return withRoom(range, settings_.showValues && range.low < 0 ? kValueRoom : 0, 0);
            default: {
                const Range roomy = withRoom(range, kPointRoom, kPointRoom);
                return {range.low >= 0 ? std::max(roomy.low, 0.0) : roomy.low, roomy.high};
            }
        }
    }

    // With fewer ticks where the number format would make neighbours read the same.
    Axis readableAxis(const Range& range, int count, bool withZero) const {
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

    double widestOf(const std::vector<double>& ticks) const {
        double widest = 0;
        for (const double tick : ticks)
            widest = std::max(widest, builder_.text().width(builder_.text().number(tick), kLabelPoints));
        return widest;
    }

    void paintPlot() {
        Range xRange, yRange;
        for (const auto& series : data_.series) {
            for (const double value : series.values) yRange.take(value);
            for (const auto& point : series.points) {
                if (!std::isfinite(point.x) || !std::isfinite(point.y)) continue;
                xRange.take(point.x);
                yRange.take(point.y);
            }
        }
        yRange = yRange.empty() ? Range{0, 1} : shownValues(yRange);
        if (xRange.empty()) xRange = {0, 1};
        const double labelHeight = ChartText::lineHeight(kLabelPoints);
        const int yTicks = std::clamp(static_cast<int>(plot_.height() / (labelHeight * 2.2)), 2, 8);
        yAxis_ = readableAxis(yRange, yTicks, settings_.kind == ChartKind::Bar);
        reserveValueAxis();
        if (hasPoints(settings_.kind)) {
            reserveNumberAxis(xRange);
        } else {
            reserveCategoryAxis();
        }
        if (plot_.width() <= 0 || plot_.height() <= 0) return;
        if (settings_.kind == ChartKind::Bar) sizeBarLabels();
        paintValueAxis();
        hasPoints(settings_.kind) ? paintNumberAxis() : paintCategoryAxis();
        switch (settings_.kind) {
            case ChartKind::Bar:
                paintBars();
                break;
            case ChartKind::Line:
                paintLines();
                break;
            case ChartKind::ScatterLine:
                paintScatter();
                break;
            case ChartKind::Bubble:
                paintBubbles();
                break;
            case ChartKind::Pie:
                break;
        }
    }

    void reserveValueAxis() {
        const double labelHeight = ChartText::lineHeight(kLabelPoints);
        if (!settings_.yTitle.empty()) {
            builder_.addLabel(plot_.left + labelHeight * 0.75, (plot_.top + plot_.bottom - labelHeight) / 2,
                              Anchor::Middle, kLabelPoints,
                              builder_.text().fitted(settings_.yTitle, kLabelPoints, plot_.height()), false,
                              -90);
            plot_.left += labelHeight * 1.2;
        }
        plot_.left += widestOf(yAxis_.ticks) + kGap * 0.7;
        plot_.right -= kGap;
        plot_.top += labelHeight * (settings_.showValues ? 1 : 0.5);
        if (!settings_.xTitle.empty()) {
            builder_.addLabel((plot_.left + plot_.right) / 2, plot_.bottom - labelHeight * 0.25,
                              Anchor::Middle, kLabelPoints,
                              builder_.text().fitted(settings_.xTitle, kLabelPoints, plot_.width()));
            plot_.bottom -= labelHeight * 1.1;
        }
    }

    // With as many ticks as fit beside each other.
    void reserveNumberAxis(const Range& range) {
        int count = 6;
        double widest = 0;
        do {
            xAxis_ = readableAxis(range, count, false);
            widest = widestOf(xAxis_.ticks);
        } while (--count > 0 && widest * 1.3 * static_cast<double>(xAxis_.ticks.size()) > plot_.width());
        plot_.right -= std::max(
            builder_.text().width(builder_.text().number(xAxis_.high), kLabelPoints) / 2 - kGap, 0.0);
        plot_.bottom -= ChartText::lineHeight(kLabelPoints) * 1.3;
    }

    // Names that would overlap become a little smaller, or are broken into two lines. If that is not enough, only
    // every second, third ... name is shown, within the chart's edges.
    void reserveCategoryAxis() {
        const auto count = std::max<std::size_t>(categoryCount(), 1);
        const double step = plot_.width() / static_cast<double>(count);
        const double least = 4 * kLabelPoints * kMicrometresPerPoint;  // worth breaking for
        double widest = 0;
        for (const auto& name : data_.categories)
            widest = std::max(widest, builder_.text().width(name, kLabelPoints));
        double room = step - kGap * 0.5;
        categoryPoints_ = kLabelPoints * std::clamp(room / std::max(widest, 1.0), 0.85, 1.0);
        widest *= categoryPoints_ / kLabelPoints;
        if (widest > room && room < least) {
            const double shown = std::min(widest, std::max(plot_.width() / 4, 1.0));
            categoryStep_ = static_cast<std::size_t>(std::ceil((shown + kGap * 0.5) / std::max(step, 1.0)));
            room = step * static_cast<double>(categoryStep_) - kGap * 0.5;
            const double over = std::min(widest, room) / 2 - (plot_.left - kGap) - step / 2;
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
        plot_.bottom -= ChartText::lineHeight(kLabelPoints) * (static_cast<double>(lines) + 0.3);
    }

    // A value that is too large for the axis is at its end.
    static double placeOn(const Axis& axis, double value) {
        return std::clamp(axis.position(value), 0.0, 1.0);
    }
    // Bubbles on the first or the last tick are whole.
    double inset() const { return settings_.kind == ChartKind::Bubble ? largestRadius() : 0; }
    double largestRadius() const { return std::min(plot_.width(), plot_.height()) * 0.12; }
    double yOf(double value) const {
        return plot_.bottom - inset() - placeOn(yAxis_, value) * (plot_.height() - 2 * inset());
    }
    double xOf(double value) const {
        return plot_.left + inset() + placeOn(xAxis_, value) * (plot_.width() - 2 * inset());
    }

    void paintValueAxis() {
        for (const double tick : yAxis_.ticks) {
            const double y = yOf(tick);
            const bool base = tick == 0 || tick == yAxis_.low;
            builder_.add(PathBuilder()
                             .moveTo(plot_.left, y)
                             .lineTo(plot_.right, y)
                             .stroke(base ? kAxisLine : kGridLine, base ? kThin * 1.5 : kThin)
                             .take());
            builder_.addLabel(plot_.left - kGap * 0.6, y + ChartText::halfLetter(kLabelPoints), Anchor::End,
                              kLabelPoints, builder_.text().number(tick));
        }
    }

    void paintNumberAxis() {
        for (const double tick : xAxis_.ticks) {
            const double x = xOf(tick);
            builder_.add(
                PathBuilder().moveTo(x, plot_.top).lineTo(x, plot_.bottom).stroke(kGridLine, kThin).take());
            builder_.addLabel(x, plot_.bottom + ChartText::lineHeight(kLabelPoints) * 1.05, Anchor::Middle,
                              kLabelPoints, builder_.text().number(tick));
        }
    }

    void paintCategoryAxis() {
        const double height = ChartText::lineHeight(kLabelPoints);
        const double step = plot_.width() / static_cast<double>(std::max<std::size_t>(categoryCount(), 1));
        for (std::size_t i = 0; i < categoryLines_.size(); ++i) {
            const double x =
                plot_.left + (static_cast<double>(firstCategory_ + i * categoryStep_) + 0.5) * step;
            double y = plot_.bottom + height * 1.05;
            for (const auto& line : categoryLines_[i]) {
                builder_.addLabel(x, y, Anchor::Middle, categoryPoints_, line);
                y += height;
            }
        }
    }

    double categoryX(std::size_t category) const {
        const double step = plot_.width() / static_cast<double>(std::max<std::size_t>(categoryCount(), 1));
        return plot_.left + (static_cast<double>(category) + 0.5) * step;
    }

    // ---- Values

    void leaveLabelOut() { builder_.leaveOutLabels(settings_.showValues ? 1 : 0); }

    // Above the place, or below it.
    void valueLabel(double x, double y, double value, bool below = false) {
        const double away = below ? kGap * 0.4 + valuePoints_ * kMicrometresPerPoint * 0.8 : -kGap * 0.4;
        builder_.addLabel(x, y + away, Anchor::Middle, valuePoints_, builder_.text().number(value));
    }

    // Above the bar that ends at y, or below a negative one. Vertical labels of negative bars begin at the base,
    // where no names are.
    void barLabel(double x, double y, double base, double value) {
        if (valuePoints_ <= 0) return leaveLabelOut();
        if (!vertical_) return valueLabel(x, y, value, y > base);
        builder_.addLabel(x + ChartText::halfLetter(valuePoints_), std::min(y, base) - kGap * 0.4,
                          Anchor::Start, valuePoints_, builder_.text().number(value), false, -90);
    }

    static constexpr auto kFree = [](const Area&) { return false; };

    // Above a point, or below it where another label is there or `isTaken` says so; left out where both
    // places are taken.
    template <typename IsTaken>
    void pointLabel(double x, double y, double radius, double value, IsTaken isTaken) {
        if (valuePoints_ <= 0) return leaveLabelOut();
        const double half = builder_.text().width(builder_.text().number(value), valuePoints_) / 2;
        const double height = valuePoints_ * kMicrometresPerPoint;
        for (const bool below : {false, true}) {
            const double edge = below ? y + radius : y - radius;
            const double top = below ? edge + kGap * 0.4 : edge - height - kGap * 0.4;
            const Area frame{x - half, top, x + half, top + height};
            if (below && frame.bottom > plot_.bottom) break;
            const auto meets = [&frame](const Area& other) {
                return frame.left < other.right && other.left < frame.right && frame.top < other.bottom &&
                       other.top < frame.bottom;
            };
            if (std::any_of(labelled_.begin(), labelled_.end(), meets) || isTaken(frame)) continue;
            labelled_.push_back(frame);
            return valueLabel(x, edge, value, below);
        }
        leaveLabelOut();
    }

    double widestValue() const {
        double widest = 1;
        for (const auto& series : data_.series) {
            for (const double value : series.values) {
                if (std::isfinite(value))
                    widest =
                        std::max(widest, builder_.text().width(builder_.text().number(value), kValuePoints));
            }
        }
        return widest;
    }

    // Value labels become smaller if they have less than `room` beside each other, and are left out if they would
    // be too small to read.
    void sizeValueLabels(double room, double wanted) {
        const double share = std::min(room / wanted, 1.0);
        valuePoints_ = settings_.showValues && share >= kLeastShrink ? kValuePoints * share : 0;
    }

    // Labels that are wider than their bars are vertical, and take their length from the plot's height as
    // long as that leaves most of it.
    void sizeBarLabels() {
        const auto groups = static_cast<double>(categoryCount());
        const auto bars = static_cast<double>(data_.series.size());
        if (!settings_.showValues || groups == 0 || bars == 0) return;
        const double step = plot_.width() / groups;
        const double room = bars > 1 ? step * kBarShare / bars * 1.1 : step;
        const double widest = widestValue();
        sizeValueLabels(room, widest);
        if (valuePoints_ > 0 || widest > plot_.height() / 3) return;
        sizeValueLabels(room, kValuePoints * kMicrometresPerPoint);
        vertical_ = valuePoints_ > 0;
        if (vertical_) plot_.top += widest * valuePoints_ / kValuePoints;
    }

    void paintBars() {
        const auto groups = static_cast<double>(categoryCount());
        const auto bars = static_cast<double>(data_.series.size());
        if (groups == 0 || bars == 0) return;
        const double step = plot_.width() / groups;
        const double width = step * kBarShare / bars;
        const double base = yOf(std::clamp(0.0, yAxis_.low, yAxis_.high));
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (!std::isfinite(values[i])) continue;
                const double x =
                    plot_.left + (static_cast<double>(i) + 0.14) * step + static_cast<double>(s) * width;
                const double y = yOf(values[i]);
                builder_.add(PathBuilder()
                                 .rectangle(x, std::min(y, base), width * 0.94, std::abs(base - y))
                                 .fill(seriesColor(s))
                                 .take());
                barLabel(x + width * 0.47, y, base, values[i]);
            }
        }
    }

    // A line with a mark at each point; a value that isn't finite leaves a gap.
    template <typename XOf>
    void paintPolyline(std::size_t series, std::size_t count, XOf xAt, const std::vector<double>& ys) {
        PathBuilder line;
        bool drawing = false;
        for (std::size_t i = 0; i < count; ++i) {
            if (!std::isfinite(ys[i])) {
                drawing = false;
                continue;
            }
            drawing ? line.lineTo(xAt(i), yOf(ys[i])) : line.moveTo(xAt(i), yOf(ys[i]));
            drawing = true;
        }
        builder_.add(line.stroke(seriesColor(series), kThin * 3).take());
        for (std::size_t i = 0; i < count; ++i) {
            if (!std::isfinite(ys[i])) continue;
            builder_.add(
                PathBuilder().circle(xAt(i), yOf(ys[i]), kMarkRadius).fill(seriesColor(series)).take());
        }
    }

    // Whether the line of another series runs through the frame, which is about as wide as a category.
    bool meetsOtherLine(const Area& frame, std::size_t series, std::size_t category) const {
        const auto x = [this](std::size_t i) { return categoryX(i); };
        const std::size_t first = category > 0 ? category - 1 : 0;
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            for (std::size_t i = first; s != series && i <= category && i + 1 < values.size(); ++i) {
                if (!std::isfinite(values[i]) || !std::isfinite(values[i + 1])) continue;
                const double slope = (yOf(values[i + 1]) - yOf(values[i])) / (x(i + 1) - x(i));
                const double from = std::max(frame.left, x(i)), to = std::min(frame.right, x(i + 1));
                if (from > to) continue;
                const double start = yOf(values[i]) + (from - x(i)) * slope;
                const double end = yOf(values[i]) + (to - x(i)) * slope;
                if (std::min(start, end) < frame.bottom && std::max(start, end) > frame.top) return true;
            }
        }
        return false;
    }

    void paintLines() {
        const auto groups = static_cast<double>(categoryCount());
        if (groups == 0) return;
        sizeValueLabels(plot_.width() / groups, widestValue());
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            paintPolyline(
                s, values.size(), [&](std::size_t i) { return categoryX(i); }, values);
        }
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (!std::isfinite(values[i])) continue;
                pointLabel(categoryX(i), yOf(values[i]), kMarkRadius, values[i],
                           [&](const Area& frame) { return meetsOtherLine(frame, s, i); });
            }
        }
    }

    void paintScatter() {
        sizeValueLabels(kUnbounded, 1);
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& points = data_.series[s].points;
            std::vector<double> ys(points.size());
            std::transform(points.begin(), points.end(), ys.begin(), [](const ChartPoint& point) {
                return std::isfinite(point.x) ? point.y : std::numeric_limits<double>::quiet_NaN();
            });
            paintPolyline(
                s, points.size(), [&](std::size_t i) { return xOf(points[i].x); }, ys);
            for (std::size_t i = 0; i < points.size(); ++i) {
                if (std::isfinite(ys[i])) pointLabel(xOf(points[i].x), yOf(ys[i]), kMarkRadius, ys[i], kFree);
            }
        }
    }

    // The area of a bubble, not its radius, is in proportion to its size.
    void paintBubbles() {
        double largest = 0;
        for (const auto& series : data_.series) {
            for (const auto& point : series.points) {
                if (std::isfinite(point.size)) largest = std::max(largest, point.size);
            }
        }
        if (largest <= 0) return;
        sizeValueLabels(kUnbounded, 1);
        const double radius = largestRadius();
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            for (const auto& point : data_.series[s].points) {
                if (!std::isfinite(point.x) || !std::isfinite(point.y) || !(point.size > 0)) continue;
                const double r = radius * std::sqrt(std::min(point.size / largest, 1.0));
                builder_.add(PathBuilder()
                                 .circle(xOf(point.x), yOf(point.y), r)
                                 .fill(seriesColor(s), 0.65)
                                 .stroke(seriesColor(s), kThin)
                                 .take());
                pointLabel(xOf(point.x), yOf(point.y), r, point.size, kFree);
            }
        }
    }

    ChartBuilder& builder_;
    const ChartSettings& settings_;
    const ChartData& data_;
    Area plot_;  // what the axes leave of it, once they are reserved
    Axis xAxis_, yAxis_;
    double categoryPoints_ = kLabelPoints;
    std::size_t firstCategory_ = 0;  // that is named
    std::size_t categoryStep_ = 1;
    std::vector<std::vector<std::u16string>> categoryLines_;  // of each categoryStep_-th category
    std::vector<Area> labelled_;                              // the labels of points so far
    double valuePoints_ = 0;                                  // font size of value labels; 0: none
    bool vertical_ = false;                                   // value labels of bars
};

}  // namespace

Drawing drawChart(const ChartSettings& settings, const ChartData& data, Size box,
                  const std::u16string& fontFamily, std::size_t* labelsLeftOut) {
    ChartBuilder builder(settings, box, fontFamily);
    builder.addTitle();
    if (settings.kind == ChartKind::Pie) {
        paintPie(builder, data);
    } else {
        Plot(builder, data).paint();
    }
    if (labelsLeftOut != nullptr) *labelsLeftOut = builder.labelsLeftOut();
    return builder.take();
}

}  // namespace qbsvrl6
