// The keyboard of the terminal on standard input.
#ifndef QBSVR_DRIVER_TERMINAL_H
#define QBSVR_DRIVER_TERMINAL_H

// Waits for one key, without a line end, and gives it; -1 when standard input is no terminal or at its end,
// or when the terminal's settings can't be changed or restored.
int _getch();

#endif
