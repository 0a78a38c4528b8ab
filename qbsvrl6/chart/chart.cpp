#include "qbsvrl6/chart/chart.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qbsvrl6/chart/chart_style.h"
#include "qbsvrl6/chart/pie.h"
#include "qbsvrl6/chart/plot_axes.h"
#include "qbsvrl6/chart/value_labels.h"
#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/drawing/series_colors.h"

namespace qbsvrl6 {

namespace {

constexpr double kBarShare = 0.72;  // of a category's width, for the bars of all series
constexpr double kMarkRadius = kThin * 4;

// Paints a chart that has axes, and the series between them.
class Plot {
public:
    Plot(ChartBuilder& builder, const ChartData& data)
        : builder_(builder), data_(data), axes_(builder, data), labels_(builder, axes_, data) {}

    void paint() {
        const ChartKind kind = builder_.settings().kind;
        axes_.reserve();
        if (!axes_.hasArea()) return;
        if (kind == ChartKind::Bar && hasBars()) labels_.sizeForBars(barWidth());
        axes_.paint();
        switch (kind) {
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

private:
    bool hasBars() const { return axes_.categoryCount() > 0 && !data_.series.empty(); }
    double barWidth() const {
        return axes_.categoryWidth() * kBarShare / static_cast<double>(data_.series.size());
    }

    void paintBars() {
        if (!hasBars()) return;
        const double step = axes_.categoryWidth();
        const double width = barWidth();
        const double base = axes_.baseY();
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (!std::isfinite(values[i])) continue;
                const double x = axes_.area().left + (static_cast<double>(i) + 0.14) * step +
                                 static_cast<double>(s) * width;
                const double y = axes_.yOf(values[i]);
                builder_.add(PathBuilder()
                                 .rectangle(x, std::min(y, base), width * 0.94, std::abs(base - y))
                                 .fill(seriesColor(s))
                                 .take());
                labels_.addToBar(x + width * 0.47, y, values[i]);
            }
        }
    }

    // A line with a mark at each point; a value that is not finite leaves a gap.
    template <typename XOf>
    void paintPolyline(std::size_t series, std::size_t count, XOf xAt, const std::vector<double>& ys) {
        PathBuilder line;
        bool drawing = false;
        for (std::size_t i = 0; i < count; ++i) {
            if (!std::isfinite(ys[i])) {
                drawing = false;
                continue;
            }
            drawing ? line.lineTo(xAt(i), axes_.yOf(ys[i])) : line.moveTo(xAt(i), axes_.yOf(ys[i]));
            drawing = true;
        }
        builder_.add(line.stroke(seriesColor(series), kThin * 3).take());
        for (std::size_t i = 0; i < count; ++i) {
            if (!std::isfinite(ys[i])) continue;
            builder_.add(
                PathBuilder().circle(xAt(i), axes_.yOf(ys[i]), kMarkRadius).fill(seriesColor(series)).take());
        }
    }

    // Whether the line of another series crosses the frame, which is about as wide as a category.
    bool meetsOtherLine(const Area& frame, std::size_t series, std::size_t category) const {
        const auto x = [this](std::size_t i) { return axes_.categoryX(i); };
        const std::size_t first = category > 0 ? category - 1 : 0;
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            for (std::size_t i = first; s != series && i <= category && i + 1 < values.size(); ++i) {
                if (!std::isfinite(values[i]) || !std::isfinite(values[i + 1])) continue;
                const double slope = (axes_.yOf(values[i + 1]) - axes_.yOf(values[i])) / (x(i + 1) - x(i));
                const double from = std::max(frame.left, x(i)), to = std::min(frame.right, x(i + 1));
                if (from > to) continue;
                const double start = axes_.yOf(values[i]) + (from - x(i)) * slope;
                const double end = axes_.yOf(values[i]) + (to - x(i)) * slope;
                if (std::min(start, end) < frame.bottom && std::max(start, end) > frame.top) return true;
            }
        }
        return false;
    }

    void paintLines() {
        if (axes_.categoryCount() == 0) return;
        labels_.sizeForCategories();
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            paintPolyline(
                s, values.size(), [&](std::size_t i) { return axes_.categoryX(i); }, values);
        }
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& values = data_.series[s].values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (!std::isfinite(values[i])) continue;
                labels_.addToPoint(axes_.categoryX(i), axes_.yOf(values[i]), kMarkRadius, values[i],
                                   [&](const Area& frame) { return meetsOtherLine(frame, s, i); });
            }
        }
    }

    void paintScatter() {
        labels_.sizeForPoints();
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            const auto& points = data_.series[s].points;
            std::vector<double> ys(points.size());
            std::transform(points.begin(), points.end(), ys.begin(), [](const ChartPoint& point) {
                return std::isfinite(point.x) ? point.y : std::numeric_limits<double>::quiet_NaN();
            });
            paintPolyline(
                s, points.size(), [&](std::size_t i) { return axes_.xOf(points[i].x); }, ys);
            for (std::size_t i = 0; i < points.size(); ++i) {
                if (std::isfinite(ys[i]))
                    labels_.addToPoint(axes_.xOf(points[i].x), axes_.yOf(ys[i]), kMarkRadius, ys[i]);
            }
        }
    }

    // The area of a bubble, not its radius, is proportional to its size.
    void paintBubbles() {
        double largest = 0;
        for (const auto& series : data_.series) {
            for (const auto& point : series.points) {
                if (std::isfinite(point.size)) largest = std::max(largest, point.size);
            }
        }
        if (largest <= 0) return;
        labels_.sizeForPoints();
        const double radius = axes_.largestRadius();
        for (std::size_t s = 0; s < data_.series.size(); ++s) {
            for (const auto& point : data_.series[s].points) {
                if (!std::isfinite(point.x) || !std::isfinite(point.y) || !(point.size > 0)) continue;
                const double r = radius * std::sqrt(std::min(point.size / largest, 1.0));
                builder_.add(PathBuilder()
                                 .circle(axes_.xOf(point.x), axes_.yOf(point.y), r)
                                 .fill(seriesColor(s), 0.65)
                                 .stroke(seriesColor(s), kThin)
                                 .take());
                labels_.addToPoint(axes_.xOf(point.x), axes_.yOf(point.y), r, point.size);
            }
        }
    }

    ChartBuilder& builder_;
    const ChartData& data_;
    PlotAxes axes_;
    ValueLabels labels_;
};

void addLegend(ChartBuilder& builder, const ChartData& data) {
    std::vector<std::u16string> labels;
    for (const auto& series : data.series) labels.push_back(series.label);
    builder.addLegend(labels);
}

}  // namespace

Drawing drawChart(const ChartSettings& settings, const ChartData& data, Size box,
                  const std::u16string& fontFamily, std::size_t* labelsLeftOut) {
    ChartBuilder builder(settings, box, fontFamily);
    builder.addTitle();
    if (settings.kind == ChartKind::Pie) {
        paintPie(builder, data);
    } else {
        addLegend(builder, data);
        Plot(builder, data).paint();
    }
    if (labelsLeftOut != nullptr) *labelsLeftOut = builder.labelsLeftOut();
    return builder.take();
}

std::size_t countNegativeAreas(const ChartSettings& settings, const ChartData& data) {
    if (settings.kind == ChartKind::Pie) return countNegativeSlices(data);
    if (settings.kind != ChartKind::Bubble) return 0;
    std::size_t count = 0;
    for (const ChartSeries& series : data.series) {
        count +=
            static_cast<std::size_t>(std::count_if(series.points.begin(), series.points.end(),
                                                   [](const ChartPoint& point) { return point.size < 0; }));
    }
    return count;
}

}  // namespace qbsvrl6
