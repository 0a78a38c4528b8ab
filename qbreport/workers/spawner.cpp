#include "qbreport/workers/spawner.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <initializer_list>

#include "qbreport/failure.h"

extern "C" {
#include <sys/pidfd.h>  // that of glibc 2.36 is for C only
}

namespace qbreport {

namespace {

constexpr int kDescriptors = 2;  // of a worker: its socket and its process

[[noreturn]] void fail(int error) {
    throw Failure(std::string("a worker process cannot be started: ") + std::strerror(error));
}

std::array<Descriptor, 2> socketPair() {
    int numbers[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, numbers) != 0) fail(errno);
    return {Descriptor(numbers[0]), Descriptor(numbers[1])};
}

// The process ends with the one that started it, and only with it: a signal of the terminal goes to all.
void tieTo(pid_t parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(0);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::signal(signal, SIG_IGN);
}

union Control {
    cmsghdr head;
    char bytes[CMSG_SPACE(kDescriptors * sizeof(int))];
};

// One byte: an errno, or 0 with the two descriptors.
bool sendWorker(int socket, int error, const int (&numbers)[kDescriptors]) {
    char byte = static_cast<char>(error);
    iovec part{&byte, 1};
    Control control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (error == 0) {
        message.msg_control = control.bytes;
        message.msg_controllen = sizeof control.bytes;
        cmsghdr* const head = CMSG_FIRSTHDR(&message);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(sizeof numbers);
        std::memcpy(CMSG_DATA(head), numbers, sizeof numbers);
    }
    return ::sendmsg(socket, &message, MSG_NOSIGNAL) == 1;
}

// Returns an errno.
int receiveWorker(int socket, WorkerProcess& worker) {
    char byte = 0;
    iovec part{&byte, 1};
    Control control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes;
    message.msg_controllen = sizeof control.bytes;
    ssize_t received = 0;
    do {
        received = ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
    } while (received < 0 && errno == EINTR);
    if (received != 1) return received < 0 ? errno : EPIPE;
    const cmsghdr* const head = CMSG_FIRSTHDR(&message);
    if (byte != 0 || head == nullptr) return byte != 0 ? byte : EPROTO;
    int numbers[kDescriptors];
    std::memcpy(numbers, CMSG_DATA(head), sizeof numbers);
    worker.socket = Descriptor(numbers[0]);
    worker.process = Descriptor(numbers[1]);
    return 0;
}

// Starts a worker and returns an errno. In the worker, does not return.
int startWorker(int spawner, const std::function<void(int)>& work) {
    std::array<Descriptor, 2> sockets = socketPair();
    const pid_t self = ::getpid();
    const pid_t worker = ::fork();
    if (worker < 0) return errno;
    if (worker == 0) {
        ::close(spawner);
        sockets[0].close();
        tieTo(self);
        try {
            work(sockets[1].number());
        } catch (const std::exception&) {
            // Whoever waits for an answer sees that the process has ended.
        }
        ::_exit(0);
    }
    // Nobody has waited for the worker yet, so its number is its own.
    const Descriptor process(::pidfd_open(worker, 0));
    if (!process.isOpen()) {
        const int error = errno;
        ::kill(worker, SIGKILL);
        return error;
    }
    sendWorker(spawner, 0, {sockets[0].number(), process.number()});
    return 0;
}

void serveRequests(int socket, const std::function<void(int)>& work) {
    for (;;) {
        char byte = 0;
        const ssize_t received = ::recv(socket, &byte, 1, 0);
        if (received < 0 && errno == EINTR) continue;
        if (received != 1) return;
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        int error = 0;
        try {
            error = startWorker(socket, work);
        } catch (const std::exception&) {
            error = EAGAIN;
        }
        if (error != 0) sendWorker(socket, error, {-1, -1});
    }
}

}  // namespace

Spawner::Spawner(const std::function<void()>& warmUp, const std::function<void(int)>& work) {
    std::array<Descriptor, 2> sockets = socketPair();
    const pid_t self = ::getpid();
    const pid_t spawner = ::fork();
    if (spawner < 0) fail(errno);
    if (spawner > 0) {
        socket_ = std::move(sockets[0]);
        return;
    }
    sockets[0].close();
    tieTo(self);
    try {
        warmUp();
        serveRequests(sockets[1].number(), work);
    } catch (const std::exception&) {
        // The requests for workers fail.
    }
    ::_exit(0);
}

WorkerProcess Spawner::spawn() {
    const char byte = 1;
    if (::send(socket_.number(), &byte, 1, MSG_NOSIGNAL) != 1) fail(errno);
    WorkerProcess worker;
    if (const int error = receiveWorker(socket_.number(), worker)) fail(error);
    return worker;
}

void kill(WorkerProcess& worker) {
    if (worker.process.isOpen()) ::pidfd_send_signal(worker.process.number(), SIGKILL, nullptr, 0);
    worker = WorkerProcess();
}

}  // namespace qbreport
