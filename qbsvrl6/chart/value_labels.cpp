#include "qbsvrl6/chart/value_labels.h"

#include <algorithm>
#include <cmath>

namespace qbsvrl6 {

namespace {

constexpr double kValuePoints = 7.2;
constexpr double kLeastShrink = 0.65;  // smaller labels can't be read

using Anchor = ChartBuilder::Anchor;

bool overlap(const Area& a, const Area& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

}  // namespace

double ValueLabels::widestValue() const {
    double widest = 1;
    for (const auto& series : data_.series) {
        for (const double value : series.values) {
            if (!std::isfinite(value)) continue;
            widest = std::max(widest, builder_.text().width(builder_.text().number(value), kValuePoints));
        }
    }
    return widest;
}

// Labels shrink if they have less space than they need side by side.
void ValueLabels::size(double room, double wanted) {
    const double share = std::min(room / wanted, 1.0);
    points_ = builder_.settings().showValues && share >= kLeastShrink ? kValuePoints * share : 0;
}

void ValueLabels::sizeForBars(double barWidth) {
    if (!builder_.settings().showValues) return;
    const double room = data_.series.size() > 1 ? barWidth * 1.1 : axes_.categoryWidth();
    const double widest = widestValue();
    size(room, widest);
    if (points_ > 0 || widest > axes_.area().height() / 3) return;
    size(room, kValuePoints * kMicrometresPerPoint);
    isVertical_ = points_ > 0;
    if (isVertical_) axes_.reserveTop(widest * points_ / kValuePoints);
}

void ValueLabels::sizeForCategories() { size(axes_.categoryWidth(), widestValue()); }

void ValueLabels::sizeForPoints() { points_ = builder_.settings().showValues ? kValuePoints : 0; }

void ValueLabels::leaveOut() { builder_.leaveOutLabels(builder_.settings().showValues ? 1 : 0); }

void ValueLabels::add(double x, double y, double value, bool below) {
    const double away = below ? kGap * 0.4 + points_ * kMicrometresPerPoint * 0.8 : -kGap * 0.4;
    builder_.addLabel(x, y + away, Anchor::Middle, points_, builder_.text().number(value));
}

// Vertical labels of negative bars begin at the base of the bars, away from the names of the categories.
void ValueLabels::addToBar(double x, double y, double value) {
    const double base = axes_.baseY();
    if (points_ <= 0) return leaveOut();
    if (!isVertical_) return add(x, y, value, y > base);
    builder_.addLabel(x + ChartText::halfLetter(points_), std::min(y, base) - kGap * 0.4, Anchor::Start,
                      points_, builder_.text().number(value), false, -90);
}

void ValueLabels::addToPoint(double x, double y, double radius, double value,
                             const std::function<bool(const Area&)>& isTaken) {
    if (points_ <= 0) return leaveOut();
    const double half = builder_.text().width(builder_.text().number(value), points_) / 2;
    const double height = points_ * kMicrometresPerPoint;
    for (const bool below : {false, true}) {
        const double edge = below ? y + radius : y - radius;
        const double top = below ? edge + kGap * 0.4 : edge - height - kGap * 0.4;
        const Area frame{x - half, top, x + half, top + height};
        if (below && frame.bottom > axes_.area().bottom) break;
        const bool meetsLabel = std::any_of(labelled_.begin(), labelled_.end(),
                                            [&](const Area& other) { return overlap(frame, other); });
        if (meetsLabel || (isTaken && isTaken(frame))) continue;
        labelled_.push_back(frame);
        return add(x, edge, value, below);
    }
    leaveOut();
}

}  // namespace qbsvrl6
