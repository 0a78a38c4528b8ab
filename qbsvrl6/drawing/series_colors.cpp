#include "qbsvrl6/drawing/series_colors.h"

#include <cmath>
#include <iterator>

namespace qbsvrl6 {

namespace {

constexpr Color kSeriesColors[] = {{46, 117, 182},  {237, 125, 49}, {84, 160, 80},  {192, 57, 72},
                                   {126, 96, 170},  {64, 165, 170}, {224, 178, 50}, {120, 90, 70},
                                   {214, 110, 160}, {110, 120, 130}};
// The shade of each round of these colours: towards white or, if negative, towards black.
constexpr double kShades[] = {0, 0.5, -0.4, 0.75, -0.65};

}  // namespace

Color seriesColor(std::size_t series) {
    constexpr std::size_t kCount = std::size(kSeriesColors);
    const Color& color = kSeriesColors[series % kCount];
    const double shade = kShades[series / kCount % std::size(kShades)];
    const auto part = [shade](std::uint8_t whole) {
        const double end = shade > 0 ? 255 : 0;
        return static_cast<std::uint8_t>(std::lround(whole + (end - whole) * std::abs(shade)));
    };
    return {part(color.red), part(color.green), part(color.blue)};
}

}  // namespace qbsvrl6
