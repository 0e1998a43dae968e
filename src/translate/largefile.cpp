// The guest's off_t is 64-bit: its file-offset calls go to bionic's *64 functions.
#include <fcntl.h>
#include <stdio.h>
#include <sys/uio.h>
#include <unistd.h>

#include "core/export.h"
#include "host/bionic_fortify.h"

namespace {
constexpr size_t kUnknownSize = static_cast<size_t>(-1);
}  // namespace

KELP_EXPORT off64_t kelp_adaptor_lseek(int fd, off64_t offset, int whence) {
  return lseek64(fd, offset, whence);
}
KELP_EXPORT ssize_t kelp_adaptor_pread(int fd, void* buf, size_t count, off64_t offset) {
  return __pread64_chk(fd, buf, count, offset, kUnknownSize);
}
KELP_EXPORT ssize_t kelp_adaptor_pwrite(int fd, const void* buf, size_t count, off64_t offset) {
  return __pwrite64_chk(fd, buf, count, offset, kUnknownSize);
}
KELP_EXPORT int kelp_adaptor_truncate(const char* path, off64_t length) {
  return truncate64(path, length);
}
KELP_EXPORT int kelp_adaptor_ftruncate(int fd, off64_t length) { return ftruncate64(fd, length); }
KELP_EXPORT int kelp_adaptor_lockf(int fd, int cmd, off64_t length) {
  return lockf64(fd, cmd, length);
}
KELP_EXPORT int kelp_adaptor_fgetpos(FILE* stream, fpos64_t* pos) { return fgetpos64(stream, pos); }
KELP_EXPORT int kelp_adaptor_fsetpos(FILE* stream, const fpos64_t* pos) {
  return fsetpos64(stream, pos);
}
KELP_EXPORT int kelp_adaptor_fseeko(FILE* stream, off64_t offset, int whence) {
  return fseeko64(stream, offset, whence);
}
KELP_EXPORT off64_t kelp_adaptor_ftello(FILE* stream) { return ftello64(stream); }
KELP_EXPORT int kelp_adaptor_creat(const char* path, mode_t mode) { return creat64(path, mode); }
KELP_EXPORT int kelp_adaptor_posix_fadvise(int fd, off64_t offset, off64_t length, int advice) {
  return posix_fadvise64(fd, offset, length, advice);
}
KELP_EXPORT int kelp_adaptor_posix_fallocate(int fd, off64_t offset, off64_t length) {
  return posix_fallocate64(fd, offset, length);
}
KELP_EXPORT int kelp_adaptor_fallocate(int fd, int mode, off64_t offset, off64_t length) {
  return fallocate64(fd, mode, offset, length);
}
KELP_EXPORT ssize_t kelp_adaptor_preadv(int fd, const iovec* iov, int count, off64_t offset) {
  return preadv64(fd, iov, count, offset);
}
KELP_EXPORT ssize_t kelp_adaptor_pwritev(int fd, const iovec* iov, int count, off64_t offset) {
  return pwritev64(fd, iov, count, offset);
}
