#include "qbsvrl6/drawing/svg.h"

#include <cmath>
#include <utility>

#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/support/append.h"

namespace qbsvrl6 {

namespace {

constexpr double kMicrometresPerUnit = 100.0;
constexpr int kDecimals = 2;  // a hundredth of a unit is a micrometre

// Lengths and colours inside attribute values.
struct Length {
    double micrometres;
    void appendTo(std::string& out) const { appendNumber(out, micrometres / kMicrometresPerUnit, kDecimals); }
};
struct Plain {
    double number;
    void appendTo(std::string& out) const { appendNumber(out, number, kDecimals); }
};
struct Paint {
    Color color;
    void appendTo(std::string& out) const { appendColor(out, color); }
};

void writePath(XmlWriter& svg, const Drawing::Path& path) {
    std::string& commands = svg.open("path").beginAttribute("d");
    forEachStep(path, [&commands](char command, const auto& points) {
        commands += command;
        const char* separator = "";
        for (const Drawing::Path::Point& point : points) {
            commands += std::exchange(separator, " ");
            Length{point.x}.appendTo(commands);
            commands += ' ';
            Length{point.y}.appendTo(commands);
        }
    });
    svg.endAttribute();
    if (path.fill) {
        svg.attribute("fill", Paint{*path.fill});
        if (path.fillOpacity < 1) svg.attribute("fill-opacity", Plain{path.fillOpacity});
    } else {
        svg.attribute("fill", "none");
    }
    if (path.stroke) {
        svg.attribute("stroke", Paint{*path.stroke}).attribute("stroke-width", Length{path.strokeWidth});
    }
    svg.close();
}

void writeLabel(XmlWriter& svg, const Drawing::Label& label) {
    static constexpr const char* kAnchors[] = {"start", "middle", "end"};
    svg.open("text").attribute("x", Length{label.x}).attribute("y", Length{label.y});
    svg.attribute("font-size", Length{label.fontSize * kMicrometresPerPoint});
    svg.attribute("text-anchor", kAnchors[static_cast<int>(label.anchor)]);
    svg.attribute("fill", Paint{label.color});
    svg.attribute("font-family", label.fontFamily, label.fontFamily.empty() ? "" : ", ",
                  genericFamily(familyKind(foldFamily(label.fontFamily))));
    if (label.bold) svg.attribute("font-weight", "bold");
    if (label.rotation != 0) {
        svg.attribute("transform", "rotate(", Plain{label.rotation}, " ", Length{label.x}, " ",
                      Length{label.y}, ")");
    }
    svg.text(label.text).close();
}

void writeContent(XmlWriter& svg, const Drawing& drawing, Size box, std::u16string_view alternateText) {
    svg.attribute("viewBox", "0 0 ", Length{1.0 * box.width}, " ", Length{1.0 * box.height});
    writeAlternateText(svg, alternateText);
    for (const auto& element : drawing.elements) {
        if (const auto* path = std::get_if<Drawing::Path>(&element)) {
            writePath(svg, *path);
        } else {
            writeLabel(svg, std::get<Drawing::Label>(element));
        }
    }
    svg.content();
    svg.close();
}

}  // namespace

void writeAlternateText(XmlWriter& svg, std::u16string_view alternateText) {
    if (alternateText.empty()) {
        svg.attribute("aria-hidden", "true");
    } else {
        svg.attribute("role", "img").element("title", alternateText);
    }
}

std::string toSvg(const Drawing& drawing, Size box, std::u16string_view alternateText) {
    std::string out;
    XmlWriter svg(out);
    svg.open("svg").attribute("xmlns", "http://www.w3.org/2000/svg");
    svg.attribute("width", Plain{box.width / 1000.0}, "mm")
        .attribute("height", Plain{box.height / 1000.0}, "mm");
    writeContent(svg, drawing, box, alternateText);
    return out;
}

void writeInlineSvg(XmlWriter& html, const Drawing& drawing, Size box, std::u16string_view alternateText) {
    html.open("svg").attribute("style", "width:", Plain{box.width / 1000.0},
                               "mm;height:", Plain{box.height / 1000.0}, "mm");
    writeContent(html, drawing, box, alternateText);
}

}  // namespace qbsvrl6
