// Signals that end the program. The running export is cancelled first, so that nothing half-written remains.
#ifndef QBSVR_QBREPORT_INTERRUPT_H
#define QBSVR_QBREPORT_INTERRUPT_H

namespace qbreport {

// From here on, the first SIGINT, SIGTERM or SIGHUP is only remembered, and the second one ends the process.
// A signal that the caller ignores stays ignored. Writing to a closed pipe fails instead of ending the
// process.
void catchInterrupts();

bool isInterrupted();

// The command has ended as the signal asked: the process ends as if there had been none.
void forgetInterrupt();

// Ends the process by the signal that was remembered, so that the caller sees it. Returns if there was none.
void endIfInterrupted();

}  // namespace qbreport

#endif
