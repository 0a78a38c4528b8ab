// Colours as integers: red in the low byte, then green, then blue.
#ifndef QBSVR_COMMON_COLOR_H
#define QBSVR_COMMON_COLOR_H

namespace larkspur {

// The grey value of the same brightness. Nearly white becomes white.
unsigned int RGBColorToGray(unsigned int color);

}  // namespace larkspur

#endif
