// Returns the memory of ended threads to the system.
#ifndef QBSVR_QBSVRL6_SUPPORT_THREAD_MEMORY_H
#define QBSVR_QBSVRL6_SUPPORT_THREAD_MEMORY_H

namespace qbsvrl6 {

// Returns the memory that this thread frees to the system when the thread ends. The allocator would keep it
// for other threads: hundreds of megabytes after some dozens of threads. Call it before creating objects that
// live as long as the thread. Does nothing on the first thread of the process.
void returnMemoryAtThreadEnd();

}  // namespace qbsvrl6

#endif
