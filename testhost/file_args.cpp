// Test host: bionic's 32-bit ARM mknodat, whose mode_t is 16 bits and dev_t 32 bits (so the
// device number arrives in r3), on glibc's, whose dev_t is 64 bits.
#include <stdint.h>
#include <sys/stat.h>

#include "kelphost.h"

extern "C" int GlibcMknodat(int dir_fd, const char* path, mode_t mode, dev_t dev);
__asm__(".symver GlibcMknodat, mknodat@GLIBC_2.33");

KELPHOST_EXPORT int KelphostMknodat(int dir_fd, const char* path, uint16_t mode, uint32_t dev)
    __asm__("mknodat");
int KelphostMknodat(int dir_fd, const char* path, uint16_t mode, uint32_t dev) {
  return GlibcMknodat(dir_fd, path, mode, dev);
}
