// The machine's clock.
#ifndef QBSVR_COMMON_MACHINE_H
#define QBSVR_COMMON_MACHINE_H

namespace larkspur {

// Milliseconds of the monotonic clock. Wraps after 49 days.
unsigned int MachineTickCount();

}  // namespace larkspur

#endif
