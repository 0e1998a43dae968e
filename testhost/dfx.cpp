// Test host: the dump tool's path. KELP_PROCESSDUMP, read once at load, points it at a test's
// fixture; tests in one process may repoint it. Without either, the platform's path.
#include <stdlib.h>
#include <string.h>

#include "kelphost.h"

namespace {

constexpr char kPlatformPath[] = "/system/bin/processdump";
char g_processdump_path[4096] = "/system/bin/processdump";

__attribute__((constructor)) void ReadProcessDumpPath() {
  const char* path = getenv("KELP_PROCESSDUMP");
  if (path != nullptr) strncpy(g_processdump_path, path, sizeof(g_processdump_path) - 1);
}

}  // namespace

KELPHOST_EXPORT const char* KelpProcessDumpPath() { return g_processdump_path; }

// Points this process's dump launches at `path` (null: the platform's path again).
KELPHOST_EXPORT void kelphost_set_processdump_path(const char* path) {
  memset(g_processdump_path, 0, sizeof(g_processdump_path));
  strncpy(g_processdump_path, path != nullptr ? path : kPlatformPath,
          sizeof(g_processdump_path) - 1);
}
