// Vector drawings: the form in which charts and barcodes reach every canvas.
//
// A drawing belongs to the box of one item. Lengths are micrometres from the box's upper left corner, and y
// grows downwards. Unlike the lengths of items, they are floating point: curves end between micrometres.
#ifndef QBSVR_QBSVRL6_ITEMS_DRAWING_H
#define QBSVR_QBSVRL6_ITEMS_DRAWING_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct Drawing {
    struct Path {
        struct Point {
            double x = 0, y = 0;
        };

        // One letter per step: M moves (1 point), L draws a line (1), C draws a cubic curve (3: two control
        // points, then the end), Z closes the figure (0). `points` has exactly the points of these steps. The
        // first step is M.
        std::string commands;
        std::vector<Point> points;

        std::optional<Color> fill;    // by the non-zero winding rule; none: not filled
        std::optional<Color> stroke;  // painted on top of the fill; none: no line
        double strokeWidth = 0;
        double fillOpacity = 1;  // 0 to 1
    };

    struct Label {
        double x = 0, y = 0;  // of the anchor on the base line
        enum class Anchor { Start, Middle, End } anchor = Anchor::Start;
        double rotation = 0;  // degrees clockwise around the anchor
        double fontSize = 8;  // points
        bool bold = false;
        std::u16string fontFamily;
        std::u16string text;  // one line
        Color color;
    };

    std::vector<std::variant<Path, Label>> elements;  // later ones are painted on top
};

// Calls visit(command, points) for each step of a path, with the step's points. Stops at a step whose points
// are missing.
template <class Visit>
void forEachStep(const Drawing::Path& path, Visit&& visit) {
    std::span<const Drawing::Path::Point> rest = path.points;
    for (const char command : path.commands) {
        const std::size_t count = command == 'C' ? 3 : command == 'Z' ? 0 : 1;
        if (rest.size() < count) return;
        visit(command, rest.first(count));
        rest = rest.subspan(count);
    }
}

}  // namespace qbsvrl6

#endif
