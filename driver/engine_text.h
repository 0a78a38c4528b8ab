// Texts on their way to the engine and back.
#ifndef QBSVR_DRIVER_ENGINE_TEXT_H
#define QBSVR_DRIVER_ENGINE_TEXT_H

#include "driver/driver_types.h"

// The 16-bit form in which the engine takes a path or another text of the driver.
inline lkstr EngineText(const wstr& text) { return larkspur::lkstr_fromw(text.c_str()); }

// Hands on a text that the engine gave. Raises std::logic_error, which names `function`, for null: the driver
// has no use of a text that isn't there, and nothing in it catches that.
const lkchar* RequireText(const lkchar* text, const char* function);

#endif
