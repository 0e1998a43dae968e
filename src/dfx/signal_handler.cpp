// Installs the crash signal handlers. Called first thing by __libc_start_main.
#include "dfx/signal_handler.h"

#include "core/export.h"

// The crash handler is not built yet: installing nothing leaves the platform's defaults.
KELP_EXPORT void DFX_InstallSignalHandler() {}
