// What the processes of documents have in common.
#ifndef QBSVR_QBREPORT_WORKERS_WORKER_SETUP_H
#define QBSVR_QBREPORT_WORKERS_WORKER_SETUP_H

#include <chrono>
#include <cstdint>

namespace qbreport {

// The fonts are known, and the libraries loaded, before the first document.
void warmUp();

// Limits this process to so many bytes of memory.
void limitProcess(std::uint64_t memory);

// Sets the time of one document to what is usual, unless the settings or the command line say something else.
// Returns the time after which a process that has not noticed the end of it is killed. Raises Failure.
std::chrono::milliseconds limitTime();

}  // namespace qbreport

#endif
