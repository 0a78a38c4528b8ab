#include "qbsvrl6/sheet/svg.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "qbsvrl6/sheet/css.h"
#include "qbsvrl6/sheet/escape.h"

namespace qbsvrl6 {

namespace {

void appendPoint(std::string& out, const Drawing::Path::Point& point) {
    appendNumber(out, std::round(point.x));
    out += ' ';
    appendNumber(out, std::round(point.y));
}

// A command without its points ends the path.
void appendPathData(std::string& out, const Drawing::Path& path) {
    std::size_t next = 0;
    for (const char command : path.commands) {
        const std::size_t count = command == 'C' ? 3 : command == 'Z' ? 0 : 1;
        if (next + count > path.points.size()) return;
        out += command;
        for (std::size_t i = 0; i < count; ++i) {
            if (i > 0) out += ' ';
            appendPoint(out, path.points[next++]);
        }
    }
}

void append(std::string& out, const Drawing::Path& path) {
    out += "<path d=\"";
    appendPathData(out, path);
    out += "\" fill=\"";
    if (path.fill) {
        appendColor(out, *path.fill);
    } else {
        out += "none";
    }
    out += '"';
    if (path.fill && path.fillOpacity < 1) {
        out += " fill-opacity=\"";
        appendNumber(out, path.fillOpacity);
        out += '"';
    }
    if (path.stroke) {
        out += " stroke=\"";
        appendColor(out, *path.stroke);
        out += "\" stroke-width=\"";
        appendNumber(out, path.strokeWidth);
        out += '"';
    }
    out += "/>";
}

void append(std::string& out, const Drawing::Label& label) {
    constexpr std::array kAnchors = {"start", "middle", "end"};
    out += "<text x=\"";
    appendNumber(out, label.x);
    out += "\" y=\"";
    appendNumber(out, label.y);
    out += "\" font-size=\"";
    appendNumber(out, label.fontSize * kMicrometresPerPoint);
    out += "\" text-anchor=\"";
    out += kAnchors[static_cast<std::size_t>(label.anchor)];
    out += "\" fill=\"";
    appendColor(out, label.color);
    if (label.bold) out += "\" font-weight=\"bold";
    if (!label.fontFamily.empty()) {
        out += "\" font-family=\"";
        appendFontFamily(out, label.fontFamily);
    }
    if (label.rotation != 0) {
        out += "\" transform=\"rotate(";
        appendNumber(out, label.rotation);
        out += ' ';
        appendNumber(out, label.x);
        out += ' ';
        appendNumber(out, label.y);
        out += ')';
    }
    out += "\">";
    appendMarkup(out, label.text);
    out += "</text>";
}

void appendBase64(std::string& out, std::string_view bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(bytes.size() - i, 3);
        unsigned group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            out += k <= count ? kDigits[(group >> (18 - 6 * k)) & 0x3F] : '=';
        }
    }
}

void appendSize(std::string& out, Size size) {
    out += "width:";
    appendMillimetres(out, size.width);
    out += ";height:";
    appendMillimetres(out, size.height);
}

}  // namespace

void appendSvg(std::string& out, const Drawing& drawing, Size size, std::u16string_view alternateText) {
    out += "<svg role=\"img\" aria-label=\"";
    appendMarkup(out, alternateText);
    out +=
        "\" viewBox=\"0 0 " + std::to_string(size.width) + ' ' + std::to_string(size.height) + "\" style=\"";
    appendSize(out, size);
    out += "\">";
    for (const auto& element : drawing.elements) {
        std::visit([&](const auto& shape) { append(out, shape); }, element);
    }
    out += "</svg>";
}

void appendPicture(std::string& out, const PictureItem& item, bool isFirst) {
    const Picture& picture = *item.picture;
    const std::string id = "p" + std::to_string(picture.id);
    out += "<svg aria-hidden=\"true\" viewBox=\"0 0 1 1\" preserveAspectRatio=\"none\" style=\"";
    appendSize(out, {item.placed.width, item.placed.height});
    out += ";margin:";
    appendMillimetres(out, std::max(item.placed.y, 0));
    out += " 0 0 ";
    appendMillimetres(out, std::max(item.placed.x, 0));
    out += "\">";
    if (isFirst) {
        out += "<image id=\"" + id +
               "\" width=\"1\" height=\"1\" preserveAspectRatio=\"none\" href=\"data:image/";
        out += picture.encoding == Picture::Encoding::Jpeg ? "jpeg" : "png";
        out += ";base64,";
        appendBase64(out, picture.bytes);
        out += "\"/>";
    } else {
        out += "<use href=\"#" + id + "\"/>";
    }
    out += "</svg>";
}

}  // namespace qbsvrl6
