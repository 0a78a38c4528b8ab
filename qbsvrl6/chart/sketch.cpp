#include "qbsvrl6/chart/sketch.h"

#include <cmath>

#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {

namespace {

constexpr Color kSeriesColors[] = {{46, 117, 182},  {237, 125, 49}, {84, 160, 80},  {192, 57, 72},
                                   {126, 96, 170},  {64, 165, 170}, {224, 178, 50}, {120, 90, 70},
                                   {214, 110, 160}, {110, 120, 130}};
// Further rounds of the colours, towards white or, below 0, towards black.
constexpr double kShades[] = {0, 0.5, -0.4, 0.75, -0.65};
constexpr Color kInk{64, 64, 64};
constexpr double kTitlePoints = 11;

Micrometres breakingWidth(double width) {
    constexpr double kWidest = 1e9;
    return static_cast<Micrometres>(std::clamp(width, 1.0, kWidest));
}

}  // namespace

ChartSketch::ChartSketch(const ChartSettings& chartSettings, Size box, const std::u16string& fontFamily)
    : settings(chartSettings),
      plot{kGap, kGap, box.width - kGap, box.height - kGap},
      fontFamily_(fontFamily),
      fonts_(resolveFont(fontFamily, false, false)),
      format_(settings.valueFormat.empty() ? u"#,##0.######" : settings.valueFormat) {}

Color ChartSketch::colorOf(std::size_t series) {
    constexpr std::size_t kCount = std::size(kSeriesColors);
    const Color& color = kSeriesColors[series % kCount];
    const double shade = kShades[series / kCount % std::size(kShades)];
    const auto part = [shade](std::uint8_t whole) {
        const double end = shade > 0 ? 255 : 0;
        return static_cast<std::uint8_t>(std::lround(whole + (end - whole) * std::abs(shade)));
    };
    return {part(color.red), part(color.green), part(color.blue)};
}

double ChartSketch::textWidth(const std::u16string& text, double points) const {
    return shape(fonts_, text)->width / 1000.0 * points * kMicrometresPerPoint;
}

std::u16string ChartSketch::fitted(const std::u16string& text, double points, double width) const {
    if (textWidth(text, points) <= width) return text;
    const double room = width - textWidth(u"…", points);
    if (room < 1) return {};
    const auto lines = breakLines(fonts_, points, text, breakingWidth(room), Numbers::Cut);
    return text.substr(lines[0].firstUnit, lines[0].unitCount) + u"…";
}

std::vector<std::u16string> ChartSketch::twoLines(const std::u16string& text, double points,
                                                  double width) const {
    if (textWidth(text, points) <= width) return {text};
    const auto lines = breakLines(fonts_, points, text, breakingWidth(width), Numbers::Cut);
    std::vector<std::u16string> result{text.substr(lines[0].firstUnit, lines[0].unitCount)};
    if (lines.size() > 1) result.push_back(fitted(text.substr(lines[1].firstUnit), points, width));
    return result;
}

std::u16string ChartSketch::number(double value) {
    std::u16string shown;
    std::optional<Color> color;
    format_.append(value, shown, color);
    return shown;
}

void ChartSketch::label(double x, double y, Anchor anchor, double points, std::u16string text, bool bold,
                        double rotation) {
    if (text.empty()) return;
    drawing_.elements.emplace_back(
        Drawing::Label{x, y, anchor, rotation, points, bold, fontFamily_, std::move(text), kInk});
}

void ChartSketch::paintTitle() {
    if (settings.title.empty()) return;
    const double height = lineHeight(kTitlePoints);
    label((plot.left + plot.right) / 2, plot.top + height * 0.75, Anchor::Middle, kTitlePoints,
          fitted(settings.title, kTitlePoints, plot.width() * 0.95), true);
    plot.top += height + kGap / 2;
}

// A row (or rows) of colour keys below the plot.
void ChartSketch::paintLegend(const std::vector<std::u16string>& labels) {
    const bool named =
        std::any_of(labels.begin(), labels.end(), [](const auto& text) { return !text.empty(); });
    if (!settings.showLegend || !named) return;
    const double key = kLabelPoints * kMicrometresPerPoint * 0.8;
    const double height = lineHeight(kLabelPoints);
    struct Entry {
        std::u16string text;
        double x;
        std::size_t row;
    };
    std::vector<Entry> entries;
    std::vector<double> rowWidths{0};
    const double besides = key * 1.5 + kGap * 1.5;
    for (const auto& whole : labels) {
        std::u16string text = fitted(whole, kLabelPoints, plot.width() - besides);
        const double width = besides + textWidth(text, kLabelPoints);
        if (rowWidths.back() > 0 && rowWidths.back() + width > plot.width()) rowWidths.push_back(0);
        entries.push_back({std::move(text), rowWidths.back(), rowWidths.size() - 1});
        rowWidths.back() += width;
    }
    // A legend that would take more than a third of the plot loses its last rows.
    const auto rows = std::min(rowWidths.size(), static_cast<std::size_t>(plot.height() / 3 / height));
    const double top = plot.bottom - static_cast<double>(rows) * height;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t row = entries[i].row;
        if (row >= rows) break;
        const double x = plot.left + (plot.width() - rowWidths[row]) / 2 + entries[i].x + kGap * 0.75;
        const double y = top + static_cast<double>(row) * height;
        add(PathBuilder().rectangle(x, y + (height - key) / 2, key, key).fill(colorOf(i)).take());
        label(x + key * 1.5, y + height * 0.72, Anchor::Start, kLabelPoints, entries[i].text);
    }
    plot.bottom = top - kGap / 2;
}

}  // namespace qbsvrl6
