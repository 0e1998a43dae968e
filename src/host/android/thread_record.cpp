#include <stdint.h>

#include "host/bionic_pthread.h"

// bionic's pthread_internal_t starts with its list links; the kernel thread id follows.
pid_t KelpHostThreadKernelId(pthread_t thread) {
  return static_cast<pid_t>(reinterpret_cast<const uint32_t*>(thread)[2]);
}
