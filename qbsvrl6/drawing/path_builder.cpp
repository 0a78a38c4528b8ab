#include "qbsvrl6/drawing/path_builder.h"

#include <cmath>
#include <numbers>

namespace qbsvrl6 {

PathBuilder& PathBuilder::moveTo(double x, double y) {
    path_.commands += 'M';
    path_.points.push_back({x, y});
    return *this;
}

PathBuilder& PathBuilder::lineTo(double x, double y) {
    path_.commands += 'L';
    path_.points.push_back({x, y});
    return *this;
}

PathBuilder& PathBuilder::curveTo(double x1, double y1, double x2, double y2, double x, double y) {
    path_.commands += 'C';
    path_.points.insert(path_.points.end(), {{x1, y1}, {x2, y2}, {x, y}});
    return *this;
}

PathBuilder& PathBuilder::close() {
    path_.commands += 'Z';
    return *this;
}

PathBuilder& PathBuilder::rectangle(double x, double y, double width, double height) {
    return moveTo(x, y).lineTo(x + width, y).lineTo(x + width, y + height).lineTo(x, y + height).close();
}

PathBuilder& PathBuilder::circle(double x, double y, double radius) {
    moveTo(x, y - radius);
    arc(x, y, radius, 0, 2 * std::numbers::pi);
    return close();
}

PathBuilder& PathBuilder::wedge(double x, double y, double radius, double fromAngle, double toAngle) {
    if (toAngle - fromAngle >= 2 * std::numbers::pi - 1e-9) return circle(x, y, radius);
    moveTo(x, y).lineTo(x + radius * std::sin(fromAngle), y - radius * std::cos(fromAngle));
    arc(x, y, radius, fromAngle, toAngle);
    return close();
}

PathBuilder& PathBuilder::fill(Color color, double opacity) {
    path_.fill = color;
    path_.fillOpacity = opacity;
    return *this;
}

PathBuilder& PathBuilder::stroke(Color color, double width) {
    path_.stroke = color;
    path_.strokeWidth = width;
    return *this;
}

// One cubic for at most a quarter turn, with handles of 4/3 tan(angle/4) radii: the usual approximation,
// exact to 0.03 % of the radius.
void PathBuilder::arc(double x, double y, double radius, double fromAngle, double toAngle) {
    const int pieces =
        std::max(1, static_cast<int>(std::ceil((toAngle - fromAngle) / (std::numbers::pi / 2) - 1e-9)));
    const double step = (toAngle - fromAngle) / pieces;
    const double handle = 4.0 / 3.0 * std::tan(step / 4) * radius;
    for (int piece = 0; piece < pieces; ++piece) {
        const double a = fromAngle + step * piece;
        const double b = a + step;
        curveTo(
            x + radius * std::sin(a) + handle * std::cos(a), y - radius * std::cos(a) + handle * std::sin(a),
            x + radius * std::sin(b) - handle * std::cos(b), y - radius * std::cos(b) - handle * std::sin(b),
            x + radius * std::sin(b), y - radius * std::cos(b));
    }
}

}  // namespace qbsvrl6
