#include "qbsvrl6/chart/description.h"

#include <cmath>
#include <cstddef>

#include "qbsvrl6/chart/chart_text.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kMostUnits = 4'000;

class Description {
public:
    Description(const ChartSettings& settings, const ChartData& data)
        : settings_(settings), data_(data), values_(settings.valueFormat), text_(settings.title) {}

    std::u16string describe() {
        for (const ChartSeries& series : data_.series) {
            if (!text_.empty()) text_ += u". ";
            if (!series.label.empty()) text_ += series.label + u": ";
            if (hasPoints(settings_.kind)) {
                addPoints(series);
            } else {
                addValues(series);
            }
            if (text_.size() <= kMostUnits) continue;
            text_.resize(kMostUnits);
            text_ += u'\u2026';
            break;
        }
        return text_;
    }

private:
    void addValues(const ChartSeries& series) {
        const char16_t* separator = u"";
        for (std::size_t i = 0; i < series.values.size() && text_.size() <= kMostUnits; ++i) {
            if (!std::isfinite(series.values[i])) continue;
            text_ += separator;
            if (i < data_.categories.size() && !data_.categories[i].empty())
                text_ += data_.categories[i] + u' ';
            text_ += values_.of(series.values[i]);
            separator = u", ";
        }
    }

    void addPoints(const ChartSeries& series) {
        const char16_t* separator = u"";
        for (const ChartPoint& point : series.points) {
            if (text_.size() > kMostUnits) return;
            text_ += separator;
            text_ += u'(' + values_.of(point.x) + u"; " + values_.of(point.y);
            if (settings_.kind == ChartKind::Bubble) text_ += u"; " + values_.of(point.size);
            text_ += u')';
            separator = u", ";
        }
    }

    const ChartSettings& settings_;
    const ChartData& data_;
    ValueText values_;
    std::u16string text_;
};

}  // namespace

std::u16string describeChart(const ChartSettings& settings, const ChartData& data) {
    return Description(settings, data).describe();
}

}  // namespace qbsvrl6
