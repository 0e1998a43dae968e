// Descriptor calls that bionic lacks: copy_file_range without its system call, which an app's
// system-call filter refuses on Android 12; the terminal window size; the socket mark; memory
// barriers across the process's threads.
#include <fcntl.h>
#include <limits.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include "core/export.h"
#include "host/bionic_errno.h"

namespace {

constexpr size_t kChunk = 16384;

// Where a descriptor reads or writes next: the given offset, else the descriptor's own.
int64_t PositionOf(int fd, const int64_t* offset) {
  return offset != nullptr ? *offset : lseek64(fd, 0, SEEK_CUR);
}

// A copy within one file must not overlap its source, as the system call demands.
bool Overlaps(int fd_in, const int64_t* off_in, int fd_out, const int64_t* off_out, size_t len) {
  struct stat in, out;
  if (fstat(fd_in, &in) != 0 || fstat(fd_out, &out) != 0) return false;
  if (in.st_dev != out.st_dev || in.st_ino != out.st_ino) return false;
  int64_t from = PositionOf(fd_in, off_in), to = PositionOf(fd_out, off_out);
  if (from < 0 || to < 0) return false;
  int64_t length = static_cast<int64_t>(len);
  return from < to + length && to < from + length;
}

// Writes all of buf; the count written, which is short only after an error.
size_t WriteAll(int fd, const char* buf, size_t count, int64_t* offset) {
  size_t done = 0;
  while (done < count) {
    ssize_t n = offset != nullptr ? pwrite64(fd, buf + done, count - done, *offset)
                                  : write(fd, buf + done, count - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
    if (offset != nullptr) *offset += n;
  }
  return done;
}

}  // namespace

KELP_ENTRY(ssize_t, copy_file_range,
           (int fd_in, int64_t* off_in, int fd_out, int64_t* off_out, size_t len, unsigned flags)) {
  if (flags != 0 || Overlaps(fd_in, off_in, fd_out, off_out, len)) {
    errno = EINVAL;
    return -1;
  }
  if (len > SSIZE_MAX) len = SSIZE_MAX;
  char buf[kChunk];
  size_t total = 0;
  while (total < len) {
    size_t want = len - total < kChunk ? len - total : kChunk;
    ssize_t got = off_in != nullptr ? pread64(fd_in, buf, want, *off_in) : read(fd_in, buf, want);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      if (got < 0 && total == 0) return -1;
      break;
    }
    size_t put = WriteAll(fd_out, buf, static_cast<size_t>(got), off_out);
    if (off_in != nullptr) {
      *off_in += static_cast<int64_t>(put);
    } else if (put < static_cast<size_t>(got)) {
      // The bytes read but not written stay to be read again.
      lseek64(fd_in, static_cast<int64_t>(put) - got, SEEK_CUR);
    }
    total += put;
    if (put < static_cast<size_t>(got)) return total != 0 ? static_cast<ssize_t>(total) : -1;
  }
  return static_cast<ssize_t>(total);
}

KELP_ENTRY(int, tcgetwinsize, (int fd, struct winsize* size)) {
  return ioctl(fd, TIOCGWINSZ, size);
}
KELP_ENTRY(int, tcsetwinsize, (int fd, const struct winsize* size)) {
  return ioctl(fd, TIOCSWINSZ, size);
}

// 1 at the out-of-band mark, 0 before it.
KELP_ENTRY(int, sockatmark, (int fd)) {
  int at_mark = 0;
  if (ioctl(fd, SIOCATMARK, &at_mark) < 0) return -1;
  return at_mark;
}

KELP_ENTRY(int, membarrier, (int command, int flags)) {
  return static_cast<int>(syscall(SYS_membarrier, command, flags, 0));
}
