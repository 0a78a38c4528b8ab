// Builds the paths of vector drawings.
#ifndef QBSVR_QBSVRL6_DRAWING_PATH_BUILDER_H
#define QBSVR_QBSVRL6_DRAWING_PATH_BUILDER_H

#include <utility>

#include "qbsvrl6/items/drawing.h"

namespace qbsvrl6 {

// Builds one path; lengths are micrometres, angles radians clockwise from twelve o'clock.
class PathBuilder {
public:
    PathBuilder& moveTo(double x, double y);
    PathBuilder& lineTo(double x, double y);
    PathBuilder& curveTo(double x1, double y1, double x2, double y2, double x, double y);
    PathBuilder& close();

    PathBuilder& rectangle(double x, double y, double width, double height);
    PathBuilder& circle(double x, double y, double radius);
    // A sector of a circle; a full turn gives the circle.
    PathBuilder& wedge(double x, double y, double radius, double fromAngle, double toAngle);

    PathBuilder& fill(Color color, double opacity = 1);
    PathBuilder& stroke(Color color, double width);

    Drawing::Path take() { return std::exchange(path_, {}); }

private:
    void arc(double x, double y, double radius, double fromAngle, double toAngle);

    Drawing::Path path_;
};

}  // namespace qbsvrl6

#endif
