// The console: the lines that several parts of the driver print, warnings on standard error, and the
// keyboard. Each line is one call of the C library, so that lines of different threads never mix.
#ifndef QBSVR_DRIVER_CONSOLE_H
#define QBSVR_DRIVER_CONSOLE_H

#include "driver/engine.h"

// Warn of arguments, and of the first position in a text file, that 16-bit units cannot represent: characters
// above U+FFFF and bytes that are not UTF-8.
void WarnOfWords(int argc, char** argv);
void WarnOfText(const lkstr& path);

void PrintCreateFailed();
void PrintTemplateLoadFailed(const lkstr& templateFile);
void PrintDataLoadFailed(const lkstr& dataFile);
void PrintTemplateLoaded(const lkstr& templateFile, bool succeeded);
void PrintTemplateSaved(const lkstr& templateFile, bool succeeded);

// Waits for one key, without a line end, and returns it; -1 if standard input is not a terminal or is at its
// end, or if the settings of the terminal can't be changed or restored.
int _getch();

#endif
