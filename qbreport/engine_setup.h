// Prepares the engine for the process: settings, fonts, limits.
#ifndef QBSVR_QBREPORT_ENGINE_SETUP_H
#define QBSVR_QBREPORT_ENGINE_SETUP_H

#include "qbreport/commands.h"

namespace qbreport {

// Called once, before any other function of the engine. Raises Failure.
void setUpEngine(const EngineOptions& options);

}  // namespace qbreport

#endif
