// Test host: bionic opens every file for large-file access (its 32-bit ARM open adds
// O_LARGEFILE) and its fcntl is the fcntl64 system call, whose lock records have 64-bit offsets.
// glibc's default symbols of these names are the 32-bit-offset ones: each calls the 64-bit
// variant, and fcntl goes to the kernel as bionic's does.
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "kelphost.h"

namespace {
// As bionic: a mode argument follows only when a file may be created.
bool NeedsMode(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }
}  // namespace

KELPHOST_EXPORT int BionicOpen(const char* path, int flags, ...) __asm__("open");
int BionicOpen(const char* path, int flags, ...) {
  mode_t mode = 0;
  if (NeedsMode(flags)) {
    va_list args;
    va_start(args, flags);
    mode = static_cast<mode_t>(va_arg(args, int));
    va_end(args);
  }
  return open64(path, flags, mode);
}

KELPHOST_EXPORT int BionicOpenat(int dir_fd, const char* path, int flags, ...) __asm__("openat");
int BionicOpenat(int dir_fd, const char* path, int flags, ...) {
  mode_t mode = 0;
  if (NeedsMode(flags)) {
    va_list args;
    va_start(args, flags);
    mode = static_cast<mode_t>(va_arg(args, int));
    va_end(args);
  }
  return openat64(dir_fd, path, flags, mode);
}

KELPHOST_EXPORT int BionicFcntl(int fd, int cmd, ...) __asm__("fcntl");
int BionicFcntl(int fd, int cmd, ...) {
  va_list args;
  va_start(args, cmd);
  void* arg = va_arg(args, void*);
  va_end(args);
  return static_cast<int>(syscall(SYS_fcntl64, fd, cmd, arg));
}

KELPHOST_EXPORT FILE* BionicFopen(const char* path, const char* mode) __asm__("fopen");
FILE* BionicFopen(const char* path, const char* mode) { return fopen64(path, mode); }

KELPHOST_EXPORT FILE* BionicFreopen(const char* path, const char* mode, FILE* stream)
    __asm__("freopen");
FILE* BionicFreopen(const char* path, const char* mode, FILE* stream) {
  return freopen64(path, mode, stream);
}

KELPHOST_EXPORT FILE* BionicTmpfile() __asm__("tmpfile");
FILE* BionicTmpfile() { return tmpfile64(); }

KELPHOST_EXPORT int BionicMkstemp(char* pattern) __asm__("mkstemp");
int BionicMkstemp(char* pattern) { return mkstemp64(pattern); }

KELPHOST_EXPORT int BionicMkstemps(char* pattern, int suffix) __asm__("mkstemps");
int BionicMkstemps(char* pattern, int suffix) { return mkstemps64(pattern, suffix); }

KELPHOST_EXPORT int BionicMkostemp(char* pattern, int flags) __asm__("mkostemp");
int BionicMkostemp(char* pattern, int flags) { return mkostemp64(pattern, flags); }

KELPHOST_EXPORT int BionicMkostemps(char* pattern, int suffix, int flags) __asm__("mkostemps");
int BionicMkostemps(char* pattern, int suffix, int flags) {
  return mkostemps64(pattern, suffix, flags);
}
