#include "qbsvrl6/drawing/svg.h"

#include <charconv>
#include <cmath>

#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr double kMicrometresPerUnit = 100.0;

// At most two decimals, without zeros at the end: a hundredth of a unit is a micrometre.
void appendNumber(std::string& out, double value) {
    char buffer[64];
    const double rounded = std::isfinite(value) ? std::round(value * 100) / 100 + 0.0 : 0.0;
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, rounded, std::chars_format::fixed, 2);
    const char* end = result.ec == std::errc() ? result.ptr : buffer;
    if (end == buffer) {
        out += '0';
        return;
    }
    while (end[-1] == '0') --end;
    if (end[-1] == '.') --end;
    out.append(static_cast<const char*>(buffer), end);
}

void appendLength(std::string& out, double micrometres) {
    appendNumber(out, micrometres / kMicrometresPerUnit);
}

void appendColor(std::string& out, Color color) {
    static constexpr char digits[] = "0123456789abcdef";
    out += '#';
    for (const std::uint8_t part : {color.red, color.green, color.blue}) {
        out += digits[part >> 4];
        out += digits[part & 15];
    }
}

void appendEscaped(std::string& out, std::u16string_view text) {
    for (const char c : toUtf8(text)) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            // XML has no way to write the other control characters.
            default:
                out += (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') ? ' ' : c;
        }
    }
}

void appendPath(std::string& out, const Drawing::Path& path) {
    out += "<path d=\"";
    std::size_t next = 0;
    for (const char command : path.commands) {
        const std::size_t count = command == 'C' ? 3 : command == 'Z' ? 0 : 1;
        if (next + count > path.points.size()) break;
        out += command;
        for (std::size_t i = 0; i < count; ++i, ++next) {
            if (i > 0) out += ' ';
            appendLength(out, path.points[next].x);
            out += ' ';
            appendLength(out, path.points[next].y);
        }
    }
    out += "\" fill=\"";
    if (path.fill) {
        appendColor(out, *path.fill);
        if (path.fillOpacity < 1) {
            out += "\" fill-opacity=\"";
            appendNumber(out, path.fillOpacity);
        }
    } else {
        out += "none";
    }
    if (path.stroke) {
        out += "\" stroke=\"";
        appendColor(out, *path.stroke);
        out += "\" stroke-width=\"";
        appendLength(out, path.strokeWidth);
    }
    out += "\"/>";
}

void appendLabel(std::string& out, const Drawing::Label& label) {
    static constexpr const char* anchors[] = {"start", "middle", "end"};
    out += "<text x=\"";
    appendLength(out, label.x);
    out += "\" y=\"";
    appendLength(out, label.y);
    out += "\" font-size=\"";
    appendLength(out, label.fontSize * kMicrometresPerPoint);
    out += "\" text-anchor=\"";
    out += anchors[static_cast<int>(label.anchor)];
    out += "\" fill=\"";
    appendColor(out, label.color);
    out += "\" font-family=\"";
    appendEscaped(out, label.fontFamily);
    if (!label.fontFamily.empty()) out += ", ";
    out += genericFamily(familyKind(foldFamily(label.fontFamily)));
    out += '"';
    if (label.bold) out += " font-weight=\"bold\"";
    if (label.rotation != 0) {
        out += " transform=\"rotate(";
        appendNumber(out, label.rotation);
        out += ' ';
        appendLength(out, label.x);
        out += ' ';
        appendLength(out, label.y);
        out += ")\"";
    }
    out += '>';
    appendEscaped(out, label.text);
    out += "</text>";
}

void appendSize(std::string& out, Size box, const char* width, const char* height) {
    out += width;
    appendNumber(out, box.width / 1000.0);
    out += height;
    appendNumber(out, box.height / 1000.0);
}

void appendContent(std::string& out, const Drawing& drawing, Size box, std::u16string_view alternateText) {
    out += " viewBox=\"0 0 ";
    appendLength(out, box.width);
    out += ' ';
    appendLength(out, box.height);
    out += '"';
    endSvgTag(out, alternateText);
    for (const auto& element : drawing.elements) {
        if (const auto* path = std::get_if<Drawing::Path>(&element)) {
            appendPath(out, *path);
        } else {
            appendLabel(out, std::get<Drawing::Label>(element));
        }
    }
    out += "</svg>";
}

}  // namespace

void endSvgTag(std::string& out, std::u16string_view alternateText) {
    if (alternateText.empty()) {
        out += " aria-hidden=\"true\">";
        return;
    }
    out += " role=\"img\"><title>";
    appendEscaped(out, alternateText);
    out += "</title>";
}

std::string toSvg(const Drawing& drawing, Size box, std::u16string_view alternateText) {
    std::string out = "<svg xmlns=\"http://www.w3.org/2000/svg\"";
    appendSize(out, box, " width=\"", "mm\" height=\"");
    out += "mm\"";
    appendContent(out, drawing, box, alternateText);
    return out;
}

std::string toInlineSvg(const Drawing& drawing, Size box, std::u16string_view alternateText) {
    std::string out = "<svg";
    appendSize(out, box, " style=\"width:", "mm;height:");
    out += "mm\"";
    appendContent(out, drawing, box, alternateText);
    return out;
}

}  // namespace qbsvrl6
