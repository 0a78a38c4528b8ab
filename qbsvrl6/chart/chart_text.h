// Measures and shortens the texts of a chart, and formats its numbers.
#ifndef QBSVR_QBSVRL6_CHART_CHART_TEXT_H
#define QBSVR_QBSVRL6_CHART_CHART_TEXT_H

#include <string>
#include <vector>

#include "qbsvrl6/bind/number_format.h"
#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// The numbers of a chart in its value format.
class ValueText {
public:
    // An empty format shows numbers with up to six decimals.
    explicit ValueText(const std::u16string& valueFormat);
    std::u16string of(double value);

private:
    NumberFormat format_;
};

// Widths and heights are micrometres, font sizes points.
class ChartText {
public:
    ChartText(const std::u16string& fontFamily, const std::u16string& valueFormat);

    static double lineHeight(double points) { return points * kMicrometresPerPoint * 1.3; }
    // From the middle of a line of text down to its baseline.
    static double halfLetter(double points) { return points * kMicrometresPerPoint * 0.35; }

    double width(const std::u16string& text, double points) const;
    // The text, shortened with an ellipsis if it exceeds the width.
    std::u16string fitted(const std::u16string& text, double points, double width) const;
    // The text on one line, or broken into two, of which the second is fitted.
    std::vector<std::u16string> twoLines(const std::u16string& text, double points, double width) const;
    // The number in the chart's value format.
    std::u16string number(double value) { return values_.of(value); }

private:
    const FontSet& fonts_;
    ValueText values_;
};

}  // namespace qbsvrl6

#endif
