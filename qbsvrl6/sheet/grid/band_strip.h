// Bands that are side by side on paper, as one band: labels and the page's columns of detail.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_BAND_STRIP_H
#define QBSVR_QBSVRL6_SHEET_GRID_BAND_STRIP_H

#include <vector>

#include "qbsvrl6/items/band.h"

namespace qbsvrl6 {

// Bands come from top to bottom. The strip takes each band that begins above its lower edge and overlaps none
// of its bands; a band without height joins the one that begins where it is. What the strip doesn't take
// belongs to the next strip.
class BandStrip {
public:
    bool isEmpty() const { return isEmpty_; }
    bool takes(const Band& band, Micrometres x, Micrometres y) const;
    void add(Band&& band, Micrometres x, Micrometres y);
    void clear() { isEmpty_ = true; }

    // All bands as one, and the position of its upper left corner on the paper. Items of bands further to the
    // left than the first one have negative x.
    Band& band() { return band_; }
    Micrometres x() const { return x_; }
    Micrometres y() const { return y_; }

private:
    struct Extent {
        Micrometres left = 0, right = 0, bottom = 0;
    };

    void join(Band&& band, Micrometres x, Micrometres y);

    bool isEmpty_ = true;
    Band band_;
    Micrometres x_ = 0, y_ = 0, bottom_ = 0;
    std::vector<Extent> open_;  // of the bands that reach below the last one's top
};

}  // namespace qbsvrl6

#endif
