// A process without threads that starts others: a process with threads cannot safely be copied.
#ifndef QBSVR_QBREPORT_WORKERS_SPAWNER_H
#define QBSVR_QBREPORT_WORKERS_SPAWNER_H

#include <functional>

#include "qbreport/descriptor.h"

namespace qbreport {

struct WorkerProcess {
    Descriptor socket;
    Descriptor process;  // stays the same process, whatever its number means later
    bool isRunning() const { return socket.isOpen(); }
};

class Spawner {
public:
    // Call it before the process has threads. `warmUp` runs once, in the process that is copied; `work` runs
    // in each copy, until the other side of its socket is closed. Raises Failure.
    Spawner(const std::function<void()>& warmUp, const std::function<void(int socket)>& work);

    // Raises Failure. One thread at a time.
    WorkerProcess spawn();

private:
    Descriptor socket_;
};

// Ends a process at once, whatever it does.
void kill(WorkerProcess& worker);

}  // namespace qbreport

#endif
