// Unsupported interfaces (stubs.def) and silent no-ops. The stubs take whatever arguments the
// guest passes and ignore them; their results travel in r0 like any integer or pointer.
#include "async_safe/log.h"
#include "core/export.h"
#include "host/bionic_errno.h"

#define KELP_STUB(name, priority, message, result) \
  KELP_ENTRY(long, name, (...)) {                   \
    KELP_LOG(priority, message);                    \
    return result;                                  \
  }
#define KELP_STUB_NULL(name, priority, message) \
  KELP_ENTRY(void*, name, (...)) {              \
    KELP_LOG(priority, message);                \
    return nullptr;                             \
  }
#define KELP_STUB_VOID(name, priority, message) \
  KELP_ENTRY(void, name, (...)) { KELP_LOG(priority, message); }
#define KELP_STUB_ERRNO(name, priority, message, result, error) \
  KELP_ENTRY(long, name, (...)) {                                \
    KELP_LOG(priority, message);                                 \
    errno = error;                                               \
    return result;                                               \
  }
#include "core/stubs.def"

KELP_ENTRY(int, pthread_setconcurrency, (int level)) {
  KELP_LOG(kLogError, "pthread_setconcurrency unsupported api");
  if (level < 0) return 22;
  return level > 0 ? 11 : 0;
}

// Silent no-ops: no log line.
KELP_ENTRY(void*, getutid, (const void*)) { return nullptr; }
KELP_ENTRY(void*, getutxline, (const void*)) { return nullptr; }
KELP_EXPORT void* GuestGetutline(const void*) KELP_SYMBOL(getutline) KELP_ALIAS(getutxline);
KELP_ENTRY(void*, pututxline, (const void*)) { return nullptr; }
KELP_ENTRY(int, lckpwdf, ()) { return 0; }
KELP_ENTRY(int, ulckpwdf, ()) { return 0; }
KELP_ENTRY(void, updwtmp, (const char*, const void*)) {}
KELP_ENTRY(int, utmpxname, (const char*)) {
  errno = 95;  // EOPNOTSUPP
  return -1;
}
KELP_EXPORT int GuestUtmpname(const char*) KELP_SYMBOL(utmpname) KELP_ALIAS(utmpxname);
