// Test host: the log daemon's socket path, redirectable to a test's own fake daemon, and
// bionic's __assert.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "kelphost.h"

namespace {

constexpr char kDaemonPath[] = "/dev/socket/logdw";
char g_log_socket_path[108] = "/dev/socket/logdw";

}  // namespace

KELPHOST_EXPORT const char* KelpLogSocketPath() { return g_log_socket_path; }

// Points this process's log writer at `path` (null: the platform's path again).
KELPHOST_EXPORT void kelphost_set_log_socket_path(const char* path) {
  strncpy(g_log_socket_path, path != nullptr ? path : kDaemonPath, sizeof(g_log_socket_path) - 1);
}

// bionic's __assert(file, line, message); glibc's function of that name takes other arguments.
KELPHOST_EXPORT [[noreturn]] void BionicAssert(const char* file, int line, const char* msg)
    __asm__("__assert");
void BionicAssert(const char* file, int line, const char* msg) {
  dprintf(2, "%s:%d: assertion \"%s\" failed\n", file, line, msg);
  abort();
}
