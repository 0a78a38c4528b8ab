#include "qbsvrl6/chart/chart.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

#include "format/numeric_format.h"
#include "qbsvrl6/chart/axis.h"
#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {

namespace {

constexpr Color kSeriesColors[] = {{46, 117, 182},  {237, 125, 49}, {84, 160, 80},  {192, 57, 72},
                                   {126, 96, 170},  {64, 165, 170}, {224, 178, 50}, {120, 90, 70},
                                   {214, 110, 160}, {110, 120, 130}};
constexpr Color kInk{64, 64, 64};
constexpr Color kGridLine{222, 226, 230};
constexpr Color kAxisLine{120, 128, 136};
constexpr double kTitlePoints = 11;
constexpr double kLabelPoints = 8;
constexpr double kThin = 150;
constexpr double kGap = 1'500;

using Anchor = Drawing::Label::Anchor;

double lineHeight(double points) { return points * kMicrometresPerPoint * 1.3; }

struct Frame {
    double left = 0, top = 0, right = 0, bottom = 0;
    double width() const { return std::max(right - left, 0.0); }
    double height() const { return std::max(bottom - top, 0.0); }
};

Color colorOf(std::size_t series) { return kSeriesColors[series % std::size(kSeriesColors)]; }

struct Slice {
    std::u16string label;
    double value = 0;
};

// One chart on its way onto paper: what remains of the box after title, legend and axes is the plot.
class Painter {
public:
    Painter(const ChartSettings& settings, const ChartData& data, Size box, const std::u16string& fontFamily)
        : settings_(settings),
          data_(data),
          fontFamily_(fontFamily),
          fonts_(resolveFont(fontFamily, false, false)),
          plot_{kGap, kGap, box.width - kGap, box.height - kGap} {}

    Drawing paint() {
        paintTitle();
        if (settings_.kind == ChartKind::Pie) {
            paintPie();
        } else {
            paintLegend(seriesLabels());
            paintPlot();
        }
        return std::move(drawing_);
    }

private:
    double textWidth(const std::u16string& text, double points) const {
        return shape(fonts_, text)->width / 1000.0 * points * kMicrometresPerPoint;
    }

    void label(double x, double y, Anchor anchor, double points, std::u16string text, bool bold = false,
               double rotation = 0) {
        if (text.empty()) return;
        drawing_.elements.emplace_back(
            Drawing::Label{x, y, anchor, rotation, points, bold, fontFamily_, std::move(text), kInk});
    }

    void add(Drawing::Path path) { drawing_.elements.emplace_back(std::move(path)); }

    std::u16string number(double value) const {
        return larkspur::FormatNumber(
            value, settings_.valueFormat.empty() ? u"#,##0.######" : settings_.valueFormat.c_str());
    }

    void paintTitle() {
        if (settings_.title.empty()) return;
        const double height = lineHeight(kTitlePoints);
        label((plot_.left + plot_.right) / 2, plot_.top + height * 0.75, Anchor::Middle, kTitlePoints,
              settings_.title, true);
        plot_.top += height + kGap / 2;
    }

    std::vector<std::u16string> seriesLabels() const {
        std::vector<std::u16string> labels;
        for (const auto& series : data_.series) labels.push_back(series.label);
        return labels;
    }

    // A row (or rows) of colour keys below the plot.
    void paintLegend(const std::vector<std::u16string>& labels) {
        const bool named =
            std::any_of(labels.begin(), labels.end(), [](const auto& text) { return !text.empty(); });
        if (!settings_.showLegend || !named) return;
        const double key = kLabelPoints * kMicrometresPerPoint * 0.8;
        const double height = lineHeight(kLabelPoints);
        struct Entry {
            double x, width;
            int row;
        };
        std::vector<Entry> entries;
        std::vector<double> rowWidths{0};
        for (const auto& text : labels) {
            const double width = key * 1.5 + textWidth(text, kLabelPoints) + kGap * 1.5;
            if (rowWidths.back() > 0 && rowWidths.back() + width > plot_.width()) rowWidths.push_back(0);
            entries.push_back({rowWidths.back(), width, static_cast<int>(rowWidths.size()) - 1});
            rowWidths.back() += width;
        }
        // A legend that would take more than a third of the plot loses its last rows.
        const auto rows = std::min(rowWidths.size(), static_cast<std::size_t>(plot_.height() / 3 / height));
        const double top = plot_.bottom - static_cast<double>(rows) * height;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const auto row = static_cast<std::size_t>(entries[i].row);
            if (row >= rows) break;
            const double x = plot_.left + (plot_.width() - rowWidths[row]) / 2 + entries[i].x + kGap * 0.75;
            const double y = top + static_cast<double>(row) * height;
            add(PathBuilder().rectangle(x, y + (height - key) / 2, key, key).fill(colorOf(i)).take());
            label(x + key * 1.5, y + height * 0.72, Anchor::Start, kLabelPoints, labels[i]);
        }
        plot_.bottom = top - kGap / 2;
    }

    // ---- Pie

    std::vector<Slice> slices() const {
        std::vector<Slice> result;
        if (data_.series.size() == 1 && data_.categories.size() > 1) {
            const auto& values = data_.series[0].values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                result.push_back(
                    {i < data_.categories.size() ? data_.categories[i] : std::u16string(), values[i]});
            }
            return result;
        }
        for (const auto& series : data_.series) {
            double sum = 0;
            for (const double value : series.values) sum += std::isfinite(value) ? value : 0;
            result.push_back({series.label, sum});
        }
        return result;
    }

    void paintPie() {
        const auto parts = slices();
        std::vector<std::u16string> labels;
        double total = 0;
        for (const auto& part : parts) {
            labels.push_back(part.label);
            if (part.value > 0 && std::isfinite(part.value)) total += part.value;
        }
        paintLegend(labels);
        const double x = (plot_.left + plot_.right) / 2;
        const double y = (plot_.top + plot_.bottom) / 2;
        const double room = lineHeight(kLabelPoints) * 1.2;
        const double radius = std::min(plot_.width(), plot_.height()) / 2 - room;
        if (!(total > 0) || !std::isfinite(total) || radius <= 0) return;
        double angle = 0;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const double value = parts[i].value;
            if (!(value > 0) || !std::isfinite(value)) continue;
            const double next = angle + value / total * 2 * std::numbers::pi;
            add(PathBuilder()
                    .wedge(x, y, radius, angle, next)
                    .fill(colorOf(i))
                    .stroke({255, 255, 255}, kThin * 2)
                    .take());
            const double middle = (angle + next) / 2;
            const double away = radius + room * 0.45;
            const std::u16string text =
                settings_.showValues ? number(value) : larkspur::FormatNumber(value / total, u"0.0%");
            const Anchor anchor = std::abs(std::sin(middle)) < 0.25 ? Anchor::Middle
                                  : std::sin(middle) > 0            ? Anchor::Start
                                                                    : Anchor::End;
            label(x + away * std::sin(middle),
                  y - away * std::cos(middle) + kLabelPoints * kMicrometresPerPoint * 0.35, anchor,
                  kLabelPoints, text);
            angle = next;
        }
    }

    // ---- Axes

    bool hasPoints() const {
        return settings_.kind == ChartKind::ScatterLine || settings_.kind == ChartKind::Bubble;
    }

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
        if (yRange.empty()) yRange = {0, 1};
        if (xRange.empty()) xRange = {0, 1};
        if (settings_.kind == ChartKind::Bubble) {
            // Room for the bubbles at the edges.
            const double dx = (xRange.high - xRange.low) * 0.08;
            const double dy = (yRange.high - yRange.low) * 0.08;
            xRange = {xRange.low - dx, xRange.high + dx};
            yRange = {yRange.low - dy, yRange.high + dy};
        }
        const double labelHeight = lineHeight(kLabelPoints);
        const int yTicks = std::clamp(static_cast<int>(plot_.height() / (labelHeight * 2.2)), 2, 8);
        yAxis_ = makeAxis(yRange.low, yRange.high, yTicks, settings_.kind == ChartKind::Bar);
        if (hasPoints()) xAxis_ = makeAxis(xRange.low, xRange.high, 6, false);
        reserveAxes();
        if (plot_.width() <= 0 || plot_.height() <= 0) return;
        paintValueAxis();
        hasPoints() ? paintNumberAxis() : paintCategoryAxis();
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

    void reserveAxes() {
        const double labelHeight = lineHeight(kLabelPoints);
        double widest = 0;
        for (const double tick : yAxis_.ticks)
            widest = std::max(widest, textWidth(number(tick), kLabelPoints));
        if (!settings_.yTitle.empty()) {
            label(plot_.left + labelHeight * 0.75, (plot_.top + plot_.bottom - labelHeight) / 2,
                  Anchor::Middle, kLabelPoints, settings_.yTitle, false, -90);
            plot_.left += labelHeight * 1.2;
        }
        if (!settings_.xTitle.empty()) {
            label((plot_.left + widest + plot_.right) / 2, plot_.bottom - labelHeight * 0.25, Anchor::Middle,
                  kLabelPoints, settings_.xTitle);
            plot_.bottom -= labelHeight * 1.1;
        }
        plot_.left += widest + kGap * 0.7;
        plot_.bottom -= labelHeight * 1.2;
        plot_.top += labelHeight * 0.5;
        plot_.right -= kGap;
    }

    double yOf(double value) const { return plot_.bottom - yAxis_.position(value) * plot_.height(); }
    double xOf(double value) const { return plot_.left + xAxis_.position(value) * plot_.width(); }

    void paintValueAxis() {
        for (const double tick : yAxis_.ticks) {
            const double y = yOf(tick);
            const bool base = tick == 0 || tick == yAxis_.low;
            add(PathBuilder()
                    .moveTo(plot_.left, y)
                    .lineTo(plot_.right, y)
                    .stroke(base ? kAxisLine : kGridLine, base ? kThin * 1.5 : kThin)
                    .take());
            label(plot_.left - kGap * 0.6, y + kLabelPoints * kMicrometresPerPoint * 0.35, Anchor::End,
                  kLabelPoints, number(tick));
        }
    }

    void paintNumberAxis() {
        for (const double tick : xAxis_.ticks) {
            const double x = xOf(tick);
            add(PathBuilder().moveTo(x, plot_.top).lineTo(x, plot_.bottom).stroke(kGridLine, kThin).take());
            label(x, plot_.bottom + lineHeight(kLabelPoints) * 0.95, Anchor::Middle, kLabelPoints,
                  number(tick));
        }
    }

    // Names that would run into each other are left out, every second, third ... one kept.
    void paintCategoryAxis() {
        const std::size_t count = categoryCount();
        if (count == 0) return;
        const double step = plot_.width() / static_cast<double>(count);
        double widest = 0;
        for (const auto& name : data_.categories) widest = std::max(widest, textWidth(name, kLabelPoints));
        const auto every = static_cast<std::size_t>(std::max(1.0, std::ceil((widest + kGap * 0.5) / step)));
        for (std::size_t i = 0; i < data_.categories.size(); i += every) {
            label(plot_.left + (static_cast<double>(i) + 0.5) * step,
                  plot_.bottom + lineHeight(kLabelPoints) * 0.95, Anchor::Middle, kLabelPoints,
                  data_.categories[i]);
        }
    }

    // ---- Values

    void valueLabel(double x, double y, double value) {
        if (settings_.showValues) label(x, y - kGap * 0.4, Anchor::Middle, kLabelPoints * 0.9, number(value));
    }

    void paintBars() {
        const auto groups = static_cast<double>(categoryCount());
        const auto bars = static_cast<double>(data_.series.size());
        if (groups == 0 || bars == 0) return;
        const double step = plot_.width() / groups;
        const double width = step * 0.72 / bars;
        const double base = yOf(std::clamp(0.0, yAxis_.low, yAxis_.high));
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (!std::isfinite(values[i])) continue;
                const double x =
                    plot_.left + (static_cast<double>(i) + 0.14) * step + static_cast<double>(s) * width;
                const double y = yOf(values[i]);
                add(PathBuilder()
                        .rectangle(x, std::min(y, base), width * 0.94, std::abs(base - y))
                        .fill(colorOf(s))
                        .take());
                valueLabel(x + width * 0.47, std::min(y, base), values[i]);
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
        add(line.stroke(colorOf(series), kThin * 3).take());
        for (std::size_t i = 0; i < count; ++i) {
            if (!std::isfinite(ys[i])) continue;
            add(PathBuilder().circle(xAt(i), yOf(ys[i]), kThin * 4).fill(colorOf(series)).take());
            valueLabel(xAt(i), yOf(ys[i]) - kThin * 4, ys[i]);
        }
    }

    void paintLines() {
        const auto groups = static_cast<double>(categoryCount());
        if (groups == 0) return;
        const double step = plot_.width() / groups;
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            paintPolyline(
                s, values.size(),
                [&](std::size_t i) { return plot_.left + (static_cast<double>(i) + 0.5) * step; }, values);
        }
    }

    void paintScatter() {
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& points = data_.series[s].points;
            std::vector<double> ys(points.size());
            std::transform(points.begin(), points.end(), ys.begin(), [](const ChartPoint& point) {
                return std::isfinite(point.x) ? point.y : std::numeric_limits<double>::quiet_NaN();
            });
            paintPolyline(
                s, points.size(), [&](std::size_t i) { return xOf(points[i].x); }, ys);
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
        const double radius = std::min(plot_.width(), plot_.height()) * 0.09;
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            for (const auto& point : data_.series[s].points) {
                if (!std::isfinite(point.x) || !std::isfinite(point.y) || !(point.size > 0)) continue;
                const double r = radius * std::sqrt(std::min(point.size / largest, 1.0));
                add(PathBuilder()
                        .circle(xOf(point.x), yOf(point.y), r)
                        .fill(colorOf(s), 0.65)
                        .stroke(colorOf(s), kThin)
                        .take());
                valueLabel(xOf(point.x), yOf(point.y) - r, point.size);
            }
        }
    }

    const ChartSettings& settings_;
    const ChartData& data_;
    const std::u16string& fontFamily_;
    const FontSet& fonts_;
    Frame plot_;
    Axis xAxis_, yAxis_;
    Drawing drawing_;
};

}  // namespace

Drawing drawChart(const ChartSettings& settings, const ChartData& data, Size box,
                  const std::u16string& fontFamily) {
    return Painter(settings, data, box, fontFamily).paint();
}

}  // namespace qbsvrl6
