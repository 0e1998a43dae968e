// The async-safe log functions. Safe in signal handlers and allocator hooks: stack buffers and
// raw system calls only, no heap, no locks; the log calls leave errno as they found it.
#include "async_safe/log.h"

#include <string.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <time.h>

#include "async_safe/format.h"
#include "async_safe/raw_syscall.h"
#include "core/export.h"
#include "host/bionic_errno.h"
#include "host/bionic_libc_init.h"
#include "host/log_socket.h"

namespace {

constexpr size_t kMessageBuffer = 1024;
constexpr uint8_t kMainLog = 0;
constexpr uint8_t kCrashLog = 4;
constexpr socklen_t kLogAddressLength = 110;  // the whole sockaddr_un

// The daemon's record header: log id, thread id, realtime seconds and nanoseconds.
struct __attribute__((packed)) LogHeader {
  uint8_t log_id;
  uint16_t tid;
  uint32_t sec;
  uint32_t nsec;
};
static_assert(sizeof(LogHeader) == 11);

long RawWritev(int fd, iovec* iov, int count) {
  long result = RawRetry([&] {
    return RawSyscall(__NR_writev, fd, reinterpret_cast<long>(iov), count);
  });
  return result < 0 ? -1 : result;
}

iovec Piece(const void* data, size_t len) { return {const_cast<void*>(data), len}; }

// Opens a datagram socket connected to the log daemon; -1 when there is none.
int ConnectToDaemon() {
  long fd = RawRetry([] {
    return RawSyscall(__NR_socket, AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  });
  if (fd < 0) return -1;
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path, KelpLogSocketPath(), sizeof(address.sun_path) - 1);
  long connected = RawRetry([&] {
    return RawSyscall(__NR_connect, fd, reinterpret_cast<long>(&address), kLogAddressLength);
  });
  if (connected < 0) {
    RawSyscall(__NR_close, fd);
    return -1;
  }
  return static_cast<int>(fd);
}

}  // namespace

KELP_EXPORT int async_safe_write_log(int priority, const char* tag, const char* msg) {
  int fd = ConnectToDaemon();
  if (fd < 0) {
    iovec pieces[] = {Piece(tag, strlen(tag)), Piece(": ", 2), Piece(msg, strlen(msg)),
                      Piece("\n", 1)};
    return static_cast<int>(RawWritev(2, pieces, 4));
  }
  struct timespec now = {};
  RawSyscall(__NR_clock_gettime, CLOCK_REALTIME, reinterpret_cast<long>(&now));
  LogHeader header;
  header.log_id = priority == kLogFatal ? kCrashLog : kMainLog;
  header.tid = static_cast<uint16_t>(RawSyscall(__NR_gettid));
  header.sec = static_cast<uint32_t>(now.tv_sec);
  header.nsec = static_cast<uint32_t>(now.tv_nsec);
  uint8_t prio = static_cast<uint8_t>(priority);
  // A full or absent daemon makes the non-blocking send fail: the line is lost.
  iovec pieces[] = {Piece(&header, sizeof(header)), Piece(&prio, 1),
                    Piece(tag, strlen(tag) + 1), Piece(msg, strlen(msg) + 1)};
  long result = RawWritev(fd, pieces, 4);
  RawSyscall(__NR_close, fd);
  return static_cast<int>(result);
}

KELP_EXPORT int async_safe_format_buffer_va_list(char* buf, size_t size, const char* fmt,
                                                 va_list args) {
  BufferOutputStream out(buf, size);
  FormatToStream(out, fmt, args);
  return out.total();
}

KELP_EXPORT int async_safe_format_buffer(char* buf, size_t size, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  int result = async_safe_format_buffer_va_list(buf, size, fmt, args);
  va_end(args);
  return result;
}

KELP_EXPORT int async_safe_format_fd_va_list(int fd, const char* fmt, va_list args) {
  FdOutputStream out(fd);
  FormatToStream(out, fmt, args);
  return out.total();
}

KELP_EXPORT int async_safe_format_fd(int fd, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  int result = async_safe_format_fd_va_list(fd, fmt, args);
  va_end(args);
  return result;
}

KELP_EXPORT int async_safe_format_log_va_list(int priority, const char* tag, const char* fmt,
                                              va_list args) {
  ErrnoRestorer errno_restorer;
  char buffer[kMessageBuffer] = {};
  async_safe_format_buffer_va_list(buffer, sizeof(buffer), fmt, args);
  return async_safe_write_log(priority, tag, buffer);
}

KELP_EXPORT int async_safe_format_log(int priority, const char* tag, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  int result = async_safe_format_log_va_list(priority, tag, fmt, args);
  va_end(args);
  return result;
}

KELP_EXPORT void async_safe_fatal_va_list(const char* prefix, const char* fmt, va_list args) {
  char buffer[kMessageBuffer] = {};
  size_t used = 0;
  if (prefix != nullptr) {
    size_t len = strlen(prefix);
    used = len < kMessageBuffer - 1 ? len : kMessageBuffer - 1;
    memcpy(buffer, prefix, used);
    if (used < kMessageBuffer - 1) {
      buffer[used++] = ':';
      if (used < kMessageBuffer - 1) buffer[used++] = ' ';
      buffer[used] = '\0';
    }
  }
  BufferOutputStream out(buffer + used, sizeof(buffer) - used);
  if (prefix != nullptr) out.set_total(static_cast<int>(strlen(prefix)) + 2);
  FormatToStream(out, fmt, args);

  iovec pieces[] = {Piece(buffer, strlen(buffer)), Piece("\n", 1)};
  RawWritev(2, pieces, 2);
  async_safe_write_log(kLogFatal, "libc", buffer);
  android_set_abort_message(buffer);
}

KELP_EXPORT void async_safe_fatal_no_abort(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  async_safe_fatal_va_list(nullptr, fmt, args);
  va_end(args);
}
