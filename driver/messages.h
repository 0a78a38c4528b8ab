// The lines that several parts of the driver print. Each is one call of the C library, so that lines of
// different threads never mix.
#ifndef QBSVR_DRIVER_MESSAGES_H
#define QBSVR_DRIVER_MESSAGES_H

#include "driver/driver_types.h"

// On standard error: the words, and places of a text file, that hold what no 16-bit unit can: characters above
// U+FFFF and bytes that are no UTF-8.
void WarnOfWords(int argc, char** argv);
void WarnOfText(const lkstr& path);

void PrintCreateFailed();
void PrintTemplateLoadFailed(const lkstr& templateFile);
void PrintDataLoadFailed(const lkstr& dataFile);
void PrintTemplateLoaded(const lkstr& templateFile, bool succeeded);
void PrintTemplateSaved(const lkstr& templateFile, bool succeeded);

#endif
