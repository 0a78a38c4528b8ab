#include "qbreport/machine.h"

#include <malloc.h>
#include <sched.h>

#include <algorithm>
#include <thread>

namespace qbreport {

std::size_t processors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    const bool isKnown = sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0;
    return isKnown ? static_cast<std::size_t>(CPU_COUNT(&set))
                   : std::max(1u, std::thread::hardware_concurrency());
}

void keepMemory() {
    ::mallopt(M_TRIM_THRESHOLD, 64 << 20);
    ::mallopt(M_MMAP_THRESHOLD, 4 << 20);
}

}  // namespace qbreport
