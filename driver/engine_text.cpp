#include "driver/engine_text.h"

#include <stdexcept>
#include <string>

const lkchar* RequireText(const lkchar* text, const char* function) {
    if (!text) throw std::logic_error(std::string(function) + " gave no text");
    return text;
}
