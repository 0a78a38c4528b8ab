// Returns the memory of ended threads to the system.
#ifndef QBSVR_QBSVRL6_SUPPORT_THREAD_MEMORY_H
#define QBSVR_QBSVRL6_SUPPORT_THREAD_MEMORY_H

namespace qbsvrl6 {

// When this thread ends, returns the memory that it has freed to the system. The allocator would keep it for
// other threads: hundreds of megabytes after a few dozen threads. Call it before creating objects that live
// as long as the thread. Does nothing on the first thread of the process.
void returnMemoryAtThreadEnd();

}  // namespace qbsvrl6

#endif
