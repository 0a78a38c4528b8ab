#include "driver/finish_files.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <exception>
#include <thread>

namespace {

// Read and written by the signal handler.
std::atomic<int> filesInTheMaking{0};
std::atomic<int> endingSignal{0};
std::atomic<bool> noNewFiles{false};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

std::terminate_handler formerTerminate = nullptr;

void EndBy(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    std::raise(signal);
}

void OnSignal(int signal) {
    noNewFiles = true;
    const bool isSecond = endingSignal.exchange(signal) != 0;
    if (isSecond || filesInTheMaking == 0) EndBy(signal);
}

void FinishFile() {
    const bool wasLast = --filesInTheMaking == 0;
    const int signal = endingSignal;
    if (wasLast && signal != 0) EndBy(signal);
}

[[noreturn]] void OnTerminate() {
    using namespace std::chrono_literals;
    noNewFiles = true;
    for (int i = 0; i < 3'000 && filesInTheMaking > 0; ++i) std::this_thread::sleep_for(1ms);
    formerTerminate();
    std::abort();
}

}  // namespace

void FinishFilesBeforeTheEnd() {
    formerTerminate = std::set_terminate(OnTerminate);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_DFL) continue;
        action.sa_handler = OnSignal;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}

FileInTheMaking::FileInTheMaking() {
    ++filesInTheMaking;
    if (!noNewFiles) return;
    FinishFile();
    for (;;) pause();
}

FileInTheMaking::~FileInTheMaking() { FinishFile(); }
