// Thread creation from guest attributes, thread ids, affinity and cleanup records.
#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "host/bionic_errno.h"
#include "host/bionic_pthread.h"
#include "pthread/boxed.h"

namespace {
constexpr long kSchedGetaffinity = 242;
}  // namespace

// A failed creation leaves 0 in the guest's handle.
KELP_EXPORT int kelp_adaptor_pthread_create(pthread_t* thread, const GuestPthreadAttr* attr,
                                            void* (*start)(void*), void* arg) {
  const pthread_attr_t* host = attr != nullptr ? BoxedHost<pthread_attr_t>(attr) : nullptr;
  int result = pthread_create(thread, host, start, arg);
  if (result != 0) *thread = 0;
  return result;
}

KELP_EXPORT int kelp_adaptor_pthread_getname_np(pthread_t thread, char* name, size_t size) {
  return pthread_getname_np(thread, name, size);
}

KELP_EXPORT pid_t __pthread_gettid_np(pthread_t thread) { return pthread_gettid_np(thread); }

KELP_ENTRY(int, pthread_setaffinity_np, (pthread_t thread, size_t size, const cpu_set_t* set)) {
  if (sched_setaffinity(KelpHostThreadKernelId(thread), size, set) == 0) return 0;
  return errno;
}

// Through the generic syscall() entry a failure reads as -1, so the result is 1; kept so.
KELP_ENTRY(int, pthread_getaffinity_np, (pthread_t thread, size_t size, cpu_set_t* set)) {
  long result = syscall(kSchedGetaffinity, KelpHostThreadKernelId(thread), size, set);
  if (result < 0) return static_cast<int>(-result);
  if (static_cast<size_t>(result) < size) {
    memset(reinterpret_cast<char*>(set) + result, 0, size - static_cast<size_t>(result));
  }
  return 0;
}

KELP_ENTRY(void, _pthread_cleanup_push,
           (GuestCleanup * record, void (*routine)(void*), void* arg)) {
  auto* block = static_cast<__pthread_cleanup_t*>(malloc(sizeof(__pthread_cleanup_t)));
  if (block == nullptr) {
    KELP_LOG(kLogError, "Failed to malloc __pthread_cleanup_t in adaptor");
    return;
  }
  SetBoxedHost(record, block);
  __pthread_cleanup_push(block, routine, arg);
}

KELP_ENTRY(void, _pthread_cleanup_pop, (GuestCleanup * record, int execute)) {
  auto* block = BoxedHost<__pthread_cleanup_t>(record);
  __pthread_cleanup_pop(block, execute);
  free(block);
}
