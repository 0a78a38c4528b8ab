#include "driver/terminal.h"

#include <termios.h>
#include <unistd.h>

#include <cstdio>

int _getch() {
    termios saved;
    if (tcgetattr(STDIN_FILENO, &saved) != 0) return -1;
    termios raw = saved;
    cfmakeraw(&raw);
    if (tcsetattr(STDIN_FILENO, TCSANOW, &raw) != 0) return -1;
    const int key = std::getc(stdin);
    return tcsetattr(STDIN_FILENO, TCSANOW, &saved) == 0 ? key : -1;
}
