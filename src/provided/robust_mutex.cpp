// Robust mutexes: bionic has none. A mutex attribute stays "stalled" (a dead owner's lock stays
// locked), and asking for a robust one is refused rather than silently granted.
#include "async_safe/log.h"
#include "core/export.h"

namespace {

constexpr int kMutexStalled = 0;  // PTHREAD_MUTEX_STALLED
constexpr int kMutexRobust = 1;   // PTHREAD_MUTEX_ROBUST
constexpr int kEinval = 22;
constexpr int kEnotsup = 95;

}  // namespace

KELP_ENTRY(int, pthread_mutexattr_getrobust, (const void*, int* robust)) {
  *robust = kMutexStalled;
  return 0;
}

KELP_ENTRY(int, pthread_mutexattr_setrobust, (void*, int robust)) {
  if (robust == kMutexStalled) return 0;
  if (robust != kMutexRobust) return kEinval;
  KELP_LOG(kLogError, "pthread_mutexattr_setrobust: robust mutexes unsupported api.");
  return kEnotsup;
}

// No mutex is robust, so none can be made consistent.
KELP_ENTRY(int, pthread_mutex_consistent, (void*)) { return kEinval; }
