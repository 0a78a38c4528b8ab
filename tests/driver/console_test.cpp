#include "driver/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

bool IsRaw(int terminal) {
    termios settings;
    return tcgetattr(terminal, &settings) == 0 && (settings.c_lflag & (ICANON | ECHO)) == 0;
}

// Runs a child process on a separate terminal; its exit status is the key, or 200 for -1.
pid_t StartReader(int& terminal) {
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        const int key = _getch();
        _exit(IsRaw(STDIN_FILENO) ? 201 : key < 0 ? 200 : key);
    }
    return child;
}

int StatusOf(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Getch, TakesOneKeyWithoutALineEndAndRestoresTheTerminal) {
    for (const char key : {'a', '\r', '\x03', '\x1a'}) {
        SCOPED_TRACE(static_cast<int>(key));
        int terminal = -1;
        const pid_t child = StartReader(terminal);
        if (child < 0) GTEST_SKIP() << "no pseudo-terminal to be had";
        // The line discipline would handle a key that arrives before the raw mode is set.
        while (!IsRaw(terminal)) usleep(1000);
        ASSERT_EQ(write(terminal, &key, 1), 1);
        EXPECT_EQ(StatusOf(child), key);
        close(terminal);
    }
}

TEST(Getch, GivesNothingWithoutATerminal) {
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        _exit(_getch() == -1 ? 0 : 1);
    }
    EXPECT_EQ(StatusOf(child), 0);
}

}  // namespace
