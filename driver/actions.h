// The actions of the command line, apart from the batches.
#ifndef QBSVR_DRIVER_ACTIONS_H
#define QBSVR_DRIVER_ACTIONS_H

#include "driver/driver_types.h"

// Runs one of the actions that need the sample tree: "-a" and "-b" (one batch under two names), "-m", "-s",
// "-create". Any other word prints the usage line.
void DoAction(const str& action);

void DoPrintUsage();
void DoPrintPathInfo();
// Prints what the engine says of itself. Raises std::logic_error when the engine gives no text.
void DoPrintVersion();

// Creates and releases one report and says how it went.
void DoReportCreate();

// "-gen_short setupPath dir filename type" and "-gen_full setupPath template data output type", the words as
// `main` got them, with the null that ends them. Too few words, or an empty one among the first two behind
// setupPath, print the action's usage line. The word `type` isn't checked: without it the run ends as
// ParseExportType does for null.
void DoGenOneReportShort(int argc, char** argv);
void DoGenOneReportFull(int argc, char** argv);

#endif
