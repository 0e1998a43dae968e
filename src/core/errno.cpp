// The guest's errno is bionic's per-thread word; error numbers are the kernel's on both sides.
#include "core/export.h"
#include "host/bionic_errno.h"

KELP_EXPORT int* ErrnoLocation() KELP_SYMBOL(__errno_location);
int* ErrnoLocation() { return __errno(); }

// Raw system-call results -4095..-1 are errors; everything else, -4096 included, is a value.
KELP_EXPORT long __syscall_ret(unsigned long r) {
  if (r > 0xFFFFF000UL) {
    errno = -static_cast<long>(r);
    return -1;
  }
  return static_cast<long>(r);
}
