#include "common/color.h"

namespace larkspur {

unsigned int RGBColorToGray(unsigned int color) {
    const double red = color & 0xFF;
    const double green = color >> 8 & 0xFF;
    const double blue = color >> 16 & 0xFF;
    const double weighed = red * 0.39 + green * 0.5 + blue * 0.11 + 0.5;
    const auto gray = static_cast<unsigned int>(weighed);
    return gray > 254 ? 0xFFFFFF : gray * 0x010101;
}

}  // namespace larkspur
