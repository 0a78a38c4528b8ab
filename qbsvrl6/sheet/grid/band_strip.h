// Joins bands that are side by side on paper into one band: labels and the page's columns of detail.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_BAND_STRIP_H
#define QBSVR_QBSVRL6_SHEET_GRID_BAND_STRIP_H

#include <vector>

#include "qbsvrl6/items/band.h"

namespace qbsvrl6 {

// Bands arrive from top to bottom. The strip accepts each band that begins above its lower edge and overlaps
// none of its bands; a band without height joins the band that begins at the same height. Page headers and
// footers are never joined. A band that the strip does not accept starts the next strip.
class BandStrip {
public:
    bool isEmpty() const { return isEmpty_; }
    bool takes(const Band& band, Micrometres x, Micrometres y) const;
    void add(Band&& band, Micrometres x, Micrometres y);
    void clear() { isEmpty_ = true; }

    // All bands as one, and the position of its upper left corner on the paper. Items of bands to the left of
    // the first one have negative x.
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
    std::vector<Extent> open_;  // of bands that extend below the top of the last one
};

}  // namespace qbsvrl6

#endif
