// Guest thread attributes: the 36-byte guest object keeps, in word 0, a heap block holding the
// host's pthread_attr_t, and every operation works on that block.
#include <pthread.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "pthread/boxed.h"

namespace {

constexpr size_t kHostStackMin = 8192;  // bionic's PTHREAD_STACK_MIN; musl's is 2048

pthread_attr_t* HostAttr(const GuestPthreadAttr* attr) {
  return BoxedHost<pthread_attr_t>(attr);
}

// Allocates the host block into word 0; null (after the log line) when memory is short.
pthread_attr_t* NewHostAttr(GuestPthreadAttr* attr) {
  auto* block = static_cast<pthread_attr_t*>(malloc(sizeof(pthread_attr_t)));
  if (block == nullptr) {
    KELP_LOG(kLogError, "Failed to malloc pthread_attr_t in adaptor");
    return nullptr;
  }
  SetBoxedHost(attr, block);
  return block;
}

// Sizes between musl's minimum and bionic's are raised to bionic's; below 2048 the unsigned
// subtraction wraps and the size passes through for the host to reject.
size_t ClampStackSize(size_t size) {
  if (((static_cast<uint32_t>(size) - 2048u) >> 11) <= 2) {
    KELP_LOG(kLogWarn,
             "stack size is larger than musl's PTHREAD_STACK_MIN, but smaller than bionic's "
             "PTHREAD_STACK_MIN, use bionic's PTHREAD_STACK_MIN, which is %d",
             static_cast<int>(kHostStackMin));
    return kHostStackMin;
  }
  return size;
}

}  // namespace

KELP_EXPORT int kelp_adaptor_pthread_attr_init(GuestPthreadAttr* attr) {
  pthread_attr_t* block = NewHostAttr(attr);
  return block != nullptr ? pthread_attr_init(block) : -1;
}

KELP_EXPORT int kelp_adaptor_pthread_getattr_np(pthread_t thread, GuestPthreadAttr* attr) {
  pthread_attr_t* block = NewHostAttr(attr);
  return block != nullptr ? pthread_getattr_np(thread, block) : -1;
}

// Word 0 keeps its value: a second destroy is the guest's error, as with musl.
KELP_EXPORT int kelp_adaptor_pthread_attr_destroy(GuestPthreadAttr* attr) {
  pthread_attr_t* block = HostAttr(attr);
  int result = pthread_attr_destroy(block);
  free(block);
  return result;
}

// bionic's defaults, filled in without asking the host.
KELP_ENTRY(int, pthread_getattr_default_np, (GuestPthreadAttr * attr)) {
  pthread_attr_t* block = NewHostAttr(attr);
  if (block == nullptr) return -1;
  pthread_attr_init(block);
  pthread_attr_setdetachstate(block, PTHREAD_CREATE_JOINABLE);
  pthread_attr_setstack(block, nullptr, 0);
  pthread_attr_setstacksize(block, 1032192);
  pthread_attr_setguardsize(block, 4096);
  pthread_attr_setschedpolicy(block, SCHED_OTHER);
  sched_param param = {};
  pthread_attr_setschedparam(block, &param);
  return 0;
}

#define KELP_ATTR_FORWARD(name, type)                                           \
  KELP_EXPORT int kelp_adaptor_##name(GuestPthreadAttr* attr, type value) {    \
    return name(HostAttr(attr), value);                                         \
  }
KELP_ATTR_FORWARD(pthread_attr_getdetachstate, int*)
KELP_ATTR_FORWARD(pthread_attr_setdetachstate, int)
KELP_ATTR_FORWARD(pthread_attr_getguardsize, size_t*)
KELP_ATTR_FORWARD(pthread_attr_setguardsize, size_t)
KELP_ATTR_FORWARD(pthread_attr_getschedparam, sched_param*)
KELP_ATTR_FORWARD(pthread_attr_setschedparam, const sched_param*)
KELP_ATTR_FORWARD(pthread_attr_getschedpolicy, int*)
KELP_ATTR_FORWARD(pthread_attr_setschedpolicy, int)
KELP_ATTR_FORWARD(pthread_attr_getscope, int*)
KELP_ATTR_FORWARD(pthread_attr_setscope, int)
KELP_ATTR_FORWARD(pthread_attr_getstacksize, size_t*)
#undef KELP_ATTR_FORWARD

KELP_EXPORT int kelp_adaptor_pthread_attr_getstack(GuestPthreadAttr* attr, void** addr,
                                                   size_t* size) {
  return pthread_attr_getstack(HostAttr(attr), addr, size);
}

// The guest's PTHREAD_INHERIT_SCHED is 0 and PTHREAD_EXPLICIT_SCHED 1; the host's are reversed.
KELP_EXPORT int kelp_adaptor_pthread_attr_setinheritsched(GuestPthreadAttr* attr,
                                                          unsigned value) {
  if (value > 1) return 22;
  return pthread_attr_setinheritsched(HostAttr(attr), value == 0 ? 1 : 0);
}

KELP_EXPORT int kelp_adaptor_pthread_attr_getinheritsched(GuestPthreadAttr* attr, int* value) {
  int host = 0;
  int result = pthread_attr_getinheritsched(HostAttr(attr), &host);
  *value = host == 1 ? 0 : 1;
  return result;
}

KELP_EXPORT int kelp_adaptor_pthread_attr_setstacksize(GuestPthreadAttr* attr, size_t size) {
  return pthread_attr_setstacksize(HostAttr(attr), ClampStackSize(size));
}

KELP_EXPORT int kelp_adaptor_pthread_attr_setstack(GuestPthreadAttr* attr, void* addr,
                                                   size_t size) {
  return pthread_attr_setstack(HostAttr(attr), addr, ClampStackSize(size));
}
