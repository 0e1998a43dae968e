// Crash handling entry points.
#pragma once

extern "C" void DFX_InstallSignalHandler();
