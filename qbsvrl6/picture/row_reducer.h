// Pixels row by row, whole or reduced: a picture that is drawn small never is in memory as a whole.
#ifndef QBSVR_QBSVRL6_PICTURE_ROW_REDUCER_H
#define QBSVR_QBSVRL6_PICTURE_ROW_REDUCER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qbsvrl6/picture/pixels.h"

namespace qbsvrl6 {

// Each pixel of the result is the mean of up to `reduction` x `reduction` pixels, colours weighted by their
// alpha.
class RowReducer {
public:
    // `samples` of a pixel: 1 or 3 colours, and alpha where it is even. `reduction` is at most
    // kMostReduction.
    RowReducer(int width, int height, std::size_t samples, int reduction);

    // The rows from the top, one byte per sample.
    void add(const std::uint8_t* row);
    // After the last row.
    Pixels take();

private:
    void split(const std::uint8_t* row);
    void sum(const std::uint8_t* row);
    void writeMeans();

    Pixels pixels_;
    std::size_t width_;  // of the rows that are added
    std::size_t colors_;
    bool hasAlpha_;
    std::size_t reduction_;
    std::vector<std::uint32_t> sums_;  // of the rows since the last one written; empty without a reduction
    std::size_t summedRows_ = 0;
};

}  // namespace qbsvrl6

#endif
