// Test host: names bionic exports to apps that glibc keeps out of libc.so.6 (in its static
// libc_nonshared.a, which a guest link does not use) or lacks, with bionic's behaviour.
#include <math.h>
#include <pthread.h>
#include <resolv.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>

#include "kelphost.h"

extern "C" {
int __cxa_at_quick_exit(void (*fn)(void*), void* dso);
int __register_atfork(void (*prepare)(), void (*parent)(), void (*child)(), void* dso);
}

KELPHOST_EXPORT int BionicAtQuickExit(void (*fn)()) __asm__("at_quick_exit");
int BionicAtQuickExit(void (*fn)()) {
  return __cxa_at_quick_exit(reinterpret_cast<void (*)(void*)>(fn), nullptr);
}

KELPHOST_EXPORT int BionicPthreadAtfork(void (*prepare)(), void (*parent)(), void (*child)())
    __asm__("pthread_atfork");
int BionicPthreadAtfork(void (*prepare)(), void (*parent)(), void (*child)()) {
  return __register_atfork(prepare, parent, child, nullptr);
}

// The BSD copies: the result is the length of the string they tried to make.
KELPHOST_EXPORT size_t strlcpy(char* dst, const char* src, size_t size) {
  size_t length = strlen(src);
  if (size != 0) {
    size_t n = length < size - 1 ? length : size - 1;
    memcpy(dst, src, n);
    dst[n] = '\0';
  }
  return length;
}

KELPHOST_EXPORT size_t strlcat(char* dst, const char* src, size_t size) {
  size_t used = strnlen(dst, size);
  if (used == size) return size + strlen(src);
  return used + strlcpy(dst + used, src, size - used);
}

KELPHOST_EXPORT void __fseterr(FILE* stream) { stream->_flags |= _IO_ERR_SEEN; }

KELPHOST_EXPORT int fpurge(FILE* stream) {
  __fpurge(stream);
  return 0;
}

// The line stays valid until this thread's next fgetln (bionic: until the stream's next read).
KELPHOST_EXPORT char* fgetln(FILE* stream, size_t* length) {
  static thread_local char* line = nullptr;
  static thread_local size_t capacity = 0;
  ssize_t n = getline(&line, &capacity, stream);
  if (n <= 0) return nullptr;
  *length = static_cast<size_t>(n);
  return line;
}

// long double is double on 32-bit ARM; bionic answers the sign bit, 0 or 1.
KELPHOST_EXPORT int __signbitl(long double x) { return signbit(x) ? 1 : 0; }

KELPHOST_EXPORT int BionicResInit() __asm__("res_init");
int BionicResInit() { return __res_init(); }

// The thread pointer, with the run-time helper's contract: only r0 changes.
__asm__(
    ".text\n"
    ".globl __aeabi_read_tp\n"
    ".type __aeabi_read_tp, %function\n"
    "__aeabi_read_tp:\n"
    "  mrc p15, 0, r0, c13, c0, 3\n"
    "  bx lr\n"
    ".size __aeabi_read_tp, .-__aeabi_read_tp\n");
