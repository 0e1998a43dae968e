// Diagnostics, the environment and the version accessors of the adaptor's frame.
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "core/export.h"

namespace {
// Nothing in the adaptor sets it: secure mode stays off for the life of the process.
uint32_t g_secure_mode = 0;
int g_target_sdk_version = 9999;
}  // namespace

KELP_ENTRY(void, log_print, (const char* fmt, ...)) {
  va_list args;
  va_start(args, fmt);
  vfprintf(stderr, fmt, args);
  va_end(args);
}

KELP_ENTRY(__attribute__((noreturn)) void, __assert_fail,
           (const char* expr, const char* file, int line, const char* func)) {
  fprintf(stderr, "Assertion failed: %s (%s: %s: %d)\n", expr, file, func, line);
  fflush(nullptr);
  abort();
}

KELP_ENTRY(char*, secure_getenv, (const char* name)) {
  return g_secure_mode != 0 ? nullptr : getenv(name);
}

KELP_ENTRY(int, get_application_target_sdk_version, ()) { return g_target_sdk_version; }
KELP_ENTRY(void, set_application_target_sdk_version, (int version)) {
  g_target_sdk_version = version == 0 ? 9999 : version;
}
KELP_ENTRY(int, get_device_api_version, ()) { return 0; }
