#include "common/machine.h"

#include <ctime>

namespace larkspur {

unsigned int MachineTickCount() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned int>(now.tv_sec) * 1000u + static_cast<unsigned int>(now.tv_nsec / 1000000);
}

}  // namespace larkspur
