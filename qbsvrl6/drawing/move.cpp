#include "qbsvrl6/drawing/move.h"

namespace qbsvrl6 {

void moveBy(Drawing& drawing, double x, double y) {
    for (auto& element : drawing.elements) {
        if (auto* const path = std::get_if<Drawing::Path>(&element)) {
            for (auto& point : path->points) point = {point.x + x, point.y + y};
        } else {
            auto& label = std::get<Drawing::Label>(element);
            label.x += x;
            label.y += y;
        }
    }
}

}  // namespace qbsvrl6
