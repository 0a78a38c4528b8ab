#include "qbreport/interrupt.h"

#include <csignal>
#include <initializer_list>

namespace qbreport {

namespace {

volatile std::sig_atomic_t arrived = 0;

void remember(int signal) { arrived = signal; }

}  // namespace

void catchInterrupts() {
    std::signal(SIGPIPE, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_handler = remember;
        action.sa_flags =
            static_cast<int>(SA_RESETHAND);  // without SA_RESTART, a signal also ends a read from a pipe
        sigaction(signal, &action, nullptr);
    }
}

bool isInterrupted() { return arrived != 0; }

void forgetInterrupt() { arrived = 0; }

void endIfInterrupted() {
    if (arrived == 0) return;
    std::signal(arrived, SIG_DFL);
    std::raise(arrived);
}

}  // namespace qbreport
