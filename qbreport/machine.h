// The processors and the memory of the process.
#ifndef QBSVR_QBREPORT_MACHINE_H
#define QBSVR_QBREPORT_MACHINE_H

#include <cstddef>

namespace qbreport {

// The processors that this process may use.
std::size_t processors();

// A document takes memory and gives it back, and the next one takes it again. Without this, each thread
// returns it to the system in between, which costs a quarter of the time.
void keepMemory();

}  // namespace qbreport

#endif
