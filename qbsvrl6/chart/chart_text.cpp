#include "qbsvrl6/chart/chart_text.h"

#include <algorithm>
#include <optional>

#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {

namespace {

Micrometres breakingWidth(double width) {
    constexpr double kWidest = 1e9;
    return static_cast<Micrometres>(std::clamp(width, 1.0, kWidest));
}

}  // namespace

ChartText::ChartText(const std::u16string& fontFamily, const std::u16string& valueFormat)
    : fonts_(resolveFont(fontFamily, false, false)), values_(valueFormat) {}

double ChartText::width(const std::u16string& text, double points) const {
    return shape(fonts_, text)->width / 1000.0 * points * kMicrometresPerPoint;
}

std::u16string ChartText::fitted(const std::u16string& text, double points, double width) const {
    if (this->width(text, points) <= width) return text;
    const double room = width - this->width(u"…", points);
    if (room < 1) return {};
    const auto lines = breakLines(fonts_, points, text, breakingWidth(room), Numbers::Cut);
    return text.substr(lines[0].firstUnit, lines[0].unitCount) + u"…";
}

std::vector<std::u16string> ChartText::twoLines(const std::u16string& text, double points,
                                                double width) const {
    if (this->width(text, points) <= width) return {text};
    const auto lines = breakLines(fonts_, points, text, breakingWidth(width), Numbers::Cut);
    std::vector<std::u16string> result{text.substr(lines[0].firstUnit, lines[0].unitCount)};
    if (lines.size() > 1) result.push_back(fitted(text.substr(lines[1].firstUnit), points, width));
    return result;
}

ValueText::ValueText(const std::u16string& valueFormat)
    : format_(valueFormat.empty() ? u"#,##0.######" : valueFormat) {}

std::u16string ValueText::of(double value) {
    std::u16string shown;
    std::optional<Color> color;
    format_.append(value, shown, color);
    return shown;
}

}  // namespace qbsvrl6
