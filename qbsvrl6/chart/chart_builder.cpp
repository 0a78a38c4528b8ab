#include "qbsvrl6/chart/chart_builder.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/chart/chart_style.h"
#include "qbsvrl6/drawing/path_builder.h"
#include "qbsvrl6/drawing/series_colors.h"

namespace qbsvrl6 {

namespace {

constexpr Color kInk{64, 64, 64};
constexpr double kTitlePoints = 11;

}  // namespace

ChartBuilder::ChartBuilder(const ChartSettings& settings, Size box, const std::u16string& fontFamily)
    : settings_(settings),
      fontFamily_(fontFamily),
      text_(fontFamily, settings.valueFormat),
      plot_{kGap, kGap, box.width - kGap, box.height - kGap} {}

void ChartBuilder::addLabel(double x, double y, Anchor anchor, double points, std::u16string text, bool bold,
                            double rotation) {
    if (text.empty()) return;
    drawing_.elements.emplace_back(
        Drawing::Label{x, y, anchor, rotation, points, bold, fontFamily_, std::move(text), kInk});
}

void ChartBuilder::addTitle() {
    if (settings_.title.empty()) return;
    const double height = ChartText::lineHeight(kTitlePoints);
    addLabel((plot_.left + plot_.right) / 2, plot_.top + height * 0.75, Anchor::Middle, kTitlePoints,
             text_.fitted(settings_.title, kTitlePoints, plot_.width() * 0.95), true);
    plot_.top += height + kGap / 2;
}

void ChartBuilder::addLegend(const std::vector<std::u16string>& labels) {
    const bool named =
        std::any_of(labels.begin(), labels.end(), [](const auto& text) { return !text.empty(); });
    if (!settings_.showLegend || !named) return;
    const double key = kLabelPoints * kMicrometresPerPoint * 0.8;
    const double height = ChartText::lineHeight(kLabelPoints);
    struct Entry {
        std::u16string text;
        double x;
        std::size_t row;
    };
    std::vector<Entry> entries;
    std::vector<double> rowWidths{0};
    const double besides = key * 1.5 + kGap * 1.5;
    for (const auto& whole : labels) {
        std::u16string text = text_.fitted(whole, kLabelPoints, plot_.width() - besides);
        const double width = besides + text_.width(text, kLabelPoints);
        if (rowWidths.back() > 0 && rowWidths.back() + width > plot_.width()) rowWidths.push_back(0);
        entries.push_back({std::move(text), rowWidths.back(), rowWidths.size() - 1});
        rowWidths.back() += width;
    }
    // A legend that would take more than a third of the plot loses its last rows.
    const auto rows = std::min(rowWidths.size(), static_cast<std::size_t>(plot_.height() / 3 / height));
    const double top = plot_.bottom - static_cast<double>(rows) * height;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t row = entries[i].row;
        if (row >= rows) break;
        const double x = plot_.left + (plot_.width() - rowWidths[row]) / 2 + entries[i].x + kGap * 0.75;
        const double y = top + static_cast<double>(row) * height;
        add(PathBuilder().rectangle(x, y + (height - key) / 2, key, key).fill(seriesColor(i)).take());
        addLabel(x + key * 1.5, y + height * 0.72, Anchor::Start, kLabelPoints, entries[i].text);
    }
    plot_.bottom = top - kGap / 2;
}

}  // namespace qbsvrl6
