// Facts about the crashing process, gathered inside the crash handler: stack buffers and raw
// system calls only.
#include <fcntl.h>
#include <string.h>
#include <sys/syscall.h>

#include "async_safe/raw_syscall.h"
#include "core/export.h"
#include "dfx/proc_info.h"
#include "dfx/signal_handler.h"
#include "host/crash_dump.h"

namespace {

constexpr size_t kNameBuffer = 128;

// The kernel's 32-bit timeval of the gettimeofday system call on this ABI.
struct KernelTimeval {
  int32_t sec;
  int32_t usec;
};

}  // namespace

int RawPid() { return static_cast<int>(RawSyscall(__NR_getpid)); }
int RawTid() { return static_cast<int>(RawSyscall(__NR_gettid)); }

KELP_EXPORT int GetProcStatus(DfxProcStatus* status) {
  status->tid = RawTid();
  status->pid = RawPid();
  status->ppid = static_cast<int32_t>(RawSyscall(__NR_getppid));
  status->pid_is_one = status->pid == 1;
  return 0;
}

KELP_EXPORT uint64_t GetTimeMilliseconds() {
  KernelTimeval now = {};
  RawSyscall(__NR_gettimeofday, reinterpret_cast<long>(&now), 0);
  return static_cast<uint64_t>(static_cast<uint32_t>(now.sec)) * 1000 +
         static_cast<uint32_t>(now.usec) / 1000;
}

KELP_EXPORT bool ReadStringFromFile(const char* path, char* out, size_t len) {
  long fd = RawRetry([&] { return RawSyscall(__NR_open, reinterpret_cast<long>(path), O_RDONLY); });
  if (fd < 0) return false;
  char raw[kNameBuffer] = {};
  long count = RawRetry(
      [&] { return RawSyscall(__NR_read, fd, reinterpret_cast<long>(raw), kNameBuffer - 1); });
  if (count < 0) {
    RawSyscall(__NR_close, fd);
    return false;
  }
  // Up to the first NUL or newline: one line of comm, the first argument of cmdline.
  char text[kNameBuffer] = {};
  for (size_t i = 0; i < kNameBuffer && raw[i] != '\0' && raw[i] != '\n'; ++i) text[i] = raw[i];
  text[kNameBuffer - 1] = '\0';
  size_t size = strlen(text) + 1;
  memcpy(out, text, size < len ? size : len);
  RawSyscall(__NR_close, fd);
  return true;
}

bool ReadProcFile(const char* format, char* out, size_t len) {
  char path[kNameBuffer] = {};
  if (async_safe_format_buffer(path, kNameBuffer - 1, format, RawPid()) < 1) return false;
  return ReadStringFromFile(path, out, len);
}

KELP_EXPORT bool GetThreadName(char* out, size_t len) {
  return ReadProcFile("/proc/%d/comm", out, len);
}

KELP_EXPORT bool GetProcessName(char* out, size_t len) {
  return ReadProcFile("/proc/%d/cmdline", out, len);
}

void CopyAbortMessage(char* out, size_t size) {
  if (__loader_shared_globals == nullptr) return;
  const void* globals = __loader_shared_globals();
  if (globals == nullptr) return;
  const AbortMessageBlock* block;
  memcpy(&block, static_cast<const uint8_t*>(globals) + kSharedGlobalsAbortMessage, sizeof(block));
  // A message longer than the field is left out rather than cut short.
  if (block == nullptr || strlen(block->text) > size) return;
  strncpy(out, block->text, size - 1);
}
