#include "qbsvrl6/chart/pie.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "format/numeric_format.h"
#include "qbsvrl6/chart/chart_style.h"
#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/drawing/series_colors.h"

namespace qbsvrl6 {

namespace {

struct Slice {
    std::u16string label;
    double value = 0;
};

// The label beside a slice.
struct SliceLabel {
    std::u16string text;
    double value = 0;
    double rimX = 0, rimY = 0;  // the middle of the slice's rim
    double y = 0;               // of the label's middle
};

bool isShown(double value) { return value > 0 && std::isfinite(value); }

std::vector<Slice> slicesOf(const ChartData& data) {
    std::vector<Slice> result;
    if (data.series.size() == 1 && data.categories.size() > 1) {
        const auto& values = data.series[0].values;
        for (std::size_t i = 0; i < values.size(); ++i) {
            result.push_back({i < data.categories.size() ? data.categories[i] : std::u16string(), values[i]});
        }
        return result;
    }
    for (const auto& series : data.series) {
        double sum = 0;
        for (const double value : series.values) sum += std::isfinite(value) ? value : 0;
        result.push_back({series.label, sum});
    }
    return result;
}

class Pie {
public:
    explicit Pie(ChartBuilder& builder) : builder_(builder) {}

    void paint(const std::vector<Slice>& slices);

private:
    std::u16string textOf(double value) const {
        return builder_.settings().showValues ? builder_.text().number(value)
                                              : larkspur::FormatNumber(value / total_, u"0.0%");
    }
    void paintLabels(std::vector<SliceLabel>& labels, int side);

    ChartBuilder& builder_;
    double total_ = 0;
    double x_ = 0, y_ = 0, radius_ = 0;
};

void Pie::paint(const std::vector<Slice>& slices) {
    double widest = 0;
    for (const Slice& slice : slices) total_ += isShown(slice.value) ? slice.value : 0;
    if (!isShown(total_)) return;
    for (const Slice& slice : slices) {
        if (!isShown(slice.value)) continue;
        widest = std::max(widest, builder_.text().width(textOf(slice.value), kLabelPoints));
    }
    const double line = ChartText::lineHeight(kLabelPoints);
    const Area& plot = builder_.plot();
    x_ = (plot.left + plot.right) / 2;
    y_ = (plot.top + plot.bottom) / 2;
    radius_ = std::min(plot.width() / 2 - widest - kGap * 1.5, plot.height() / 2 - line * 1.2);
    if (radius_ <= 0) return;
    std::vector<SliceLabel> left, right;
    double angle = 0;
    for (std::size_t i = 0; i < slices.size(); ++i) {
        const double value = slices[i].value;
        if (!isShown(value)) continue;
        const double next = angle + value / total_ * 2 * std::numbers::pi;
        constexpr double kSeam = kThin * 2;
        PathBuilder wedge;
        wedge.wedge(x_, y_, radius_, angle, next).fill(seriesColor(i));
        if ((next - angle) * radius_ > kSeam * 3) wedge.stroke({255, 255, 255}, kSeam);  // else all seam
        builder_.add(wedge.take());
        const double middle = (angle + next) / 2;
        (middle < std::numbers::pi ? right : left)
            .push_back({textOf(value), value, x_ + radius_ * std::sin(middle),
                        y_ - radius_ * std::cos(middle), y_ - (radius_ + line * 0.5) * std::cos(middle)});
        angle = next;
    }
    if (left.size() + right.size() == 1) {
        builder_.addLabel(x_, y_ + radius_ + line * 0.9, ChartBuilder::Anchor::Middle, kLabelPoints,
                          textOf(total_));
        return;
    }
    std::reverse(left.begin(), left.end());
    paintLabels(right, 1);
    paintLabels(left, -1);
}

// Leaves out the labels of the smallest slices if there are more than `most`. Returns how many were left out.
std::size_t keepLargest(std::vector<SliceLabel>& labels, std::size_t most) {
    if (labels.size() <= most) return 0;
    std::vector<double> values;
    values.reserve(labels.size());
    for (const SliceLabel& label : labels) values.push_back(label.value);
    const auto cut = values.begin() + static_cast<std::ptrdiff_t>(most);
    std::nth_element(values.begin(), cut, values.end(), std::greater<>());
    const std::size_t all = labels.size();
    std::erase_if(labels, [least = *cut](const SliceLabel& label) { return label.value <= least; });
    return all - labels.size();
}

// The labels of one side, from top to bottom. Those that would overlap are moved, with a line to their
// slices.
void Pie::paintLabels(std::vector<SliceLabel>& labels, int side) {
    constexpr double kPoints = kLabelPoints;
    const double height = kPoints * kMicrometresPerPoint * 1.15;
    builder_.leaveOutLabels(keepLargest(labels, static_cast<std::size_t>(builder_.plot().height() / height)));
    std::vector<double> wanted;
    double least = builder_.plot().top + height / 2;
    for (SliceLabel& label : labels) {
        wanted.push_back(label.y);
        label.y = std::max(label.y, least);
        least = label.y + height;
    }
    double largest = builder_.plot().bottom - height / 2;
    for (auto label = labels.rbegin(); label != labels.rend(); ++label) {
        label->y = std::min(label->y, largest);
        largest = label->y - height;
    }
    for (std::size_t i = 0; i < labels.size(); ++i) {
        const SliceLabel& label = labels[i];
        const bool moved = std::abs(label.y - wanted[i]) > height * 0.25;
        const double reach = radius_ + (moved ? kGap * 2 : kGap * 0.7);
        const double down = label.y - y_;
        const double aside = std::sqrt(std::max(reach * reach - down * down, 0.0));
        const double start = x_ + side * std::max(aside, std::abs(label.rimX - x_) + (moved ? kGap : 0));
        if (moved) {
            builder_.add(PathBuilder()
                             .moveTo(label.rimX, label.rimY)
                             .lineTo(start - side * kGap * 0.3, label.y)
                             .stroke(kAxisLine, kThin * 0.7)
                             .take());
        }
        builder_.addLabel(start, label.y + ChartText::halfLetter(kPoints),
                          side > 0 ? ChartBuilder::Anchor::Start : ChartBuilder::Anchor::End, kPoints,
                          label.text);
    }
}

}  // namespace

void paintPie(ChartBuilder& builder, const ChartData& data) {
    const std::vector<Slice> slices = slicesOf(data);
    std::vector<std::u16string> labels;
    labels.reserve(slices.size());
    for (const Slice& slice : slices) labels.push_back(slice.label);
    builder.addLegend(labels);
    Pie(builder).paint(slices);
}

std::size_t countNegativeSlices(const ChartData& data) {
    const std::vector<Slice> slices = slicesOf(data);
    return static_cast<std::size_t>(
        std::count_if(slices.begin(), slices.end(), [](const Slice& slice) { return slice.value < 0; }));
}

}  // namespace qbsvrl6
