// Test host: bionic's __pwrite64_chk, which glibc lacks.
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "kelphost.h"

KELPHOST_EXPORT ssize_t __pwrite64_chk(int fd, const void* buf, size_t count, off64_t offset,
                                       size_t buf_size) {
  if (count > buf_size) {
    fprintf(stderr, "pwrite64: prevented %zu-byte read from %zu-byte buffer\n", count, buf_size);
    abort();
  }
  return pwrite64(fd, buf, count, offset);
}
