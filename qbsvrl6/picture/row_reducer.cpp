#include "qbsvrl6/picture/row_reducer.h"

#include <algorithm>
#include <utility>

namespace qbsvrl6 {

RowReducer::RowReducer(int width, int height, std::size_t samples, int reduction)
    : width_(static_cast<std::size_t>(width)),
      colors_(samples % 2 == 0 ? samples - 1 : samples),
      hasAlpha_(samples % 2 == 0),
      reduction_(static_cast<std::size_t>(reduction)) {
    pixels_.width = (width + reduction - 1) / reduction;
    pixels_.height = (height + reduction - 1) / reduction;
    pixels_.channels = static_cast<int>(colors_);
    const std::size_t count =
        static_cast<std::size_t>(pixels_.width) * static_cast<std::size_t>(pixels_.height);
    pixels_.color.reserve(count * colors_);
    if (hasAlpha_) pixels_.alpha.reserve(count);
    if (reduction > 1) sums_.resize(static_cast<std::size_t>(pixels_.width) * samples);
}

void RowReducer::add(const std::uint8_t* row) {
    if (reduction_ == 1) return split(row);
    sum(row);
    if (++summedRows_ == reduction_) writeMeans();
}

void RowReducer::split(const std::uint8_t* row) {
    if (!hasAlpha_) {
        pixels_.color.insert(pixels_.color.end(), row, row + width_ * colors_);
        return;
    }
    const std::size_t first = pixels_.alpha.size();
    pixels_.color.resize((first + width_) * colors_);
    pixels_.alpha.resize(first + width_);
    std::uint8_t* color = pixels_.color.data() + first * colors_;
    for (std::size_t x = 0; x < width_; ++x) {
        color = std::copy(row, row + colors_, color);
        pixels_.alpha[first + x] = row[colors_];
        row += colors_ + 1;
    }
}

void RowReducer::sum(const std::uint8_t* row) {
    std::uint32_t* sums = sums_.data();
    for (std::size_t x = 0; x < width_;) {
        const std::size_t end = std::min(x + reduction_, width_);
        for (; x < end; ++x) {
            const std::uint32_t weight = hasAlpha_ ? row[colors_] : 1;
            for (std::size_t c = 0; c < colors_; ++c) sums[c] += *row++ * weight;
            if (hasAlpha_) sums[colors_] += *row++;
        }
        sums += colors_ + (hasAlpha_ ? 1 : 0);
    }
}

void RowReducer::writeMeans() {
    const auto mean = [](std::uint32_t sum, std::uint32_t count) {
        return static_cast<std::uint8_t>(count == 0 ? 0 : (sum + count / 2) / count);
    };
    const std::uint32_t* sums = sums_.data();
    for (std::size_t x = 0; x < width_; x += reduction_) {
        const auto count = static_cast<std::uint32_t>(std::min(reduction_, width_ - x) * summedRows_);
        for (std::size_t c = 0; c < colors_; ++c)
            pixels_.color.push_back(mean(sums[c], hasAlpha_ ? sums[colors_] : count));
        if (hasAlpha_) pixels_.alpha.push_back(mean(sums[colors_], count));
        sums += colors_ + (hasAlpha_ ? 1 : 0);
    }
    std::fill(sums_.begin(), sums_.end(), 0);
    summedRows_ = 0;
}

Pixels RowReducer::take() {
    if (summedRows_ > 0) writeMeans();
    const bool isOpaque =
        std::all_of(pixels_.alpha.begin(), pixels_.alpha.end(), [](std::uint8_t a) { return a == 255; });
    if (isOpaque) pixels_.alpha = {};
    return std::move(pixels_);
}

}  // namespace qbsvrl6
