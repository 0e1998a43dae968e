// Crash handling's own helpers around the process facts. Async-signal-safe.
#pragma once

#include <stddef.h>

int RawPid();
int RawTid();

// Formats `format` with the process id into a path and reads the first line of that file.
bool ReadProcFile(const char* format, char* out, size_t len);
