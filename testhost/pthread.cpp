// Test host: bionic's thread interfaces on glibc.
#include <pthread.h>
#include <stdint.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "../src/host/bionic_pthread.h"
#include "kelphost.h"

namespace {

// glibc 2.36 on 32-bit ARM keeps the kernel thread id after 24 words of padding and a list
// link in its thread record. Checked against the calling thread before it is trusted.
constexpr size_t kGlibcTidOffset = 24 * sizeof(void*) + 2 * sizeof(void*);

pid_t RecordTid(pthread_t thread) {
  return *reinterpret_cast<const pid_t*>(reinterpret_cast<const char*>(thread) + kGlibcTidOffset);
}

bool RecordLayoutHolds() {
  static const bool holds = RecordTid(pthread_self()) == static_cast<pid_t>(syscall(SYS_gettid));
  return holds;
}

// bionic runs a thread's remaining cleanup handlers when it exits: a thread-local destructor
// does it here, since the guest's pthread_exit is glibc's.
struct CleanupStack {
  __pthread_cleanup_t* top = nullptr;
  ~CleanupStack() {
    while (top != nullptr) {
      __pthread_cleanup_t* c = top;
      top = c->__cleanup_prev;
      c->__cleanup_routine(c->__cleanup_arg);
    }
  }
};
thread_local CleanupStack g_cleanup;

}  // namespace

KELPHOST_EXPORT pid_t pthread_gettid_np(pthread_t thread) {
  if (pthread_equal(thread, pthread_self())) return static_cast<pid_t>(syscall(SYS_gettid));
  return RecordLayoutHolds() ? RecordTid(thread) : -1;
}

KELPHOST_EXPORT pid_t KelpHostThreadKernelId(pthread_t thread) { return pthread_gettid_np(thread); }

KELPHOST_EXPORT void __pthread_cleanup_push(__pthread_cleanup_t* c, void (*routine)(void*),
                                            void* arg) {
  c->__cleanup_routine = routine;
  c->__cleanup_arg = arg;
  c->__cleanup_prev = g_cleanup.top;
  g_cleanup.top = c;
}

KELPHOST_EXPORT void __pthread_cleanup_pop(__pthread_cleanup_t* c, int execute) {
  g_cleanup.top = c->__cleanup_prev;
  if (execute != 0) c->__cleanup_routine(c->__cleanup_arg);
}

// bionic numbers the inherit-scheduling values the other way round from glibc: 1 inherits,
// 0 is explicit. The adaptor speaks bionic's numbering, so the stand-in translates.
extern "C" int GlibcSetInheritSched(pthread_attr_t* attr, int value);
extern "C" int GlibcGetInheritSched(const pthread_attr_t* attr, int* value);
__asm__(".symver GlibcSetInheritSched, pthread_attr_setinheritsched@GLIBC_2.4");
__asm__(".symver GlibcGetInheritSched, pthread_attr_getinheritsched@GLIBC_2.4");

namespace {
int Flip(int value) { return value == 0 || value == 1 ? 1 - value : value; }
}  // namespace

KELPHOST_EXPORT int BionicSetInheritSched(pthread_attr_t* attr, int value)
    __asm__("pthread_attr_setinheritsched");
int BionicSetInheritSched(pthread_attr_t* attr, int value) {
  return GlibcSetInheritSched(attr, Flip(value));
}

KELPHOST_EXPORT int BionicGetInheritSched(const pthread_attr_t* attr, int* value)
    __asm__("pthread_attr_getinheritsched");
int BionicGetInheritSched(const pthread_attr_t* attr, int* value) {
  int result = GlibcGetInheritSched(attr, value);
  if (result == 0) *value = Flip(*value);
  return result;
}

KELPHOST_EXPORT int pthread_mutex_timedlock_monotonic_np(pthread_mutex_t* mutex,
                                                         const struct timespec* timeout) {
  return pthread_mutex_clocklock(mutex, CLOCK_MONOTONIC, timeout);
}

KELPHOST_EXPORT int pthread_cond_timedwait_monotonic_np(pthread_cond_t* cond,
                                                        pthread_mutex_t* mutex,
                                                        const struct timespec* timeout) {
  return pthread_cond_clockwait(cond, mutex, CLOCK_MONOTONIC, timeout);
}

// bionic's C11 mutex types are bits (plain 1, recursive 2, timed 4); glibc's are plain 0,
// recursive 1, timed 2.
extern "C" int GlibcMtxInit(void* mutex, int type);
__asm__(".symver GlibcMtxInit, mtx_init@GLIBC_2.34");

KELPHOST_EXPORT int BionicMtxInit(void* mutex, int type) __asm__("mtx_init");
int BionicMtxInit(void* mutex, int type) {
  if ((type & ~7) != 0 || (type & 5) == 0 || (type & 5) == 5) return 2;  // thrd_error
  return GlibcMtxInit(mutex, ((type & 4) != 0 ? 2 : 0) | ((type & 2) != 0 ? 1 : 0));
}

KELPHOST_EXPORT int pthread_rwlock_timedrdlock_monotonic_np(pthread_rwlock_t* lock,
                                                            const struct timespec* timeout) {
  return pthread_rwlock_clockrdlock(lock, CLOCK_MONOTONIC, timeout);
}

KELPHOST_EXPORT int pthread_rwlock_timedwrlock_monotonic_np(pthread_rwlock_t* lock,
                                                            const struct timespec* timeout) {
  return pthread_rwlock_clockwrlock(lock, CLOCK_MONOTONIC, timeout);
}
