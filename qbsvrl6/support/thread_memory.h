// Memory of threads that have ended.
#ifndef QBSVR_QBSVRL6_SUPPORT_THREAD_MEMORY_H
#define QBSVR_QBSVRL6_SUPPORT_THREAD_MEMORY_H

namespace qbsvrl6 {

// Has the memory that this thread frees until its end returned to the system: the allocator would keep it for
// other threads, and after some dozens of them that is hundreds of megabytes. To be called before anything that
// the thread keeps for its life is made. Does nothing on the first thread of the process.
void returnMemoryAtThreadEnd();

}  // namespace qbsvrl6

#endif
