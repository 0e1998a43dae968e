// Small <unistd.h>, <ulimit.h> and <stdio.h> functions that bionic lacks, on its calls.
#include <fcntl.h>
#include <limits.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "core/export.h"
#include "host/bionic_errno.h"
#include "host/bionic_paths.h"
#include "host/bionic_resource.h"
#include "host/bionic_pwd.h"

namespace {

// The guest's confstr names (musl's numbering).
constexpr int kCsPath = 0;
constexpr int kCsV6WidthRestrictedEnvs = 1;
constexpr int kCsV7WidthRestrictedEnvs = 5;
constexpr int kCsFirstFlags = 1116;  // _CS_POSIX_V6_ILP32_OFF32_CFLAGS
constexpr int kCsLastFlags = 1149;   // _CS_V7_ENV

constexpr int kUlGetFsize = 1;
constexpr int kUlSetFsize = 2;
constexpr uint32_t kHostRlimInfinity = 0xFFFFFFFF;

constexpr size_t kCuseridSize = 20;  // L_cuserid

}  // namespace

// The search path that finds the platform's utilities; no compilation environment needs flags.
KELP_ENTRY(size_t, confstr, (int name, char* buf, size_t size)) {
  const char* value = "";
  if (name == kCsPath) {
    value = kHostDefaultPath;
  } else if (name != kCsV6WidthRestrictedEnvs && name != kCsV7WidthRestrictedEnvs &&
             (name < kCsFirstFlags || name > kCsLastFlags)) {
    errno = EINVAL;
    return 0;
  }
  size_t length = strlen(value);
  if (size != 0) {
    size_t copied = length < size ? length : size - 1;
    memcpy(buf, value, copied);
    buf[copied] = '\0';
  }
  return length + 1;
}

// $PWD when it names the working directory (it keeps the symbolic links a shell followed).
KELP_ENTRY(char*, get_current_dir_name, ()) {
  const char* pwd = getenv("PWD");
  struct stat named, current;
  if (pwd != nullptr && pwd[0] == '/' && stat(pwd, &named) == 0 && stat(".", &current) == 0 &&
      named.st_dev == current.st_dev && named.st_ino == current.st_ino) {
    return strdup(pwd);
  }
  return getcwd(nullptr, 0);
}

KELP_ENTRY(int, getdtablesize, ()) {
  HostRlimit limit;
  if (BionicGetrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur > INT_MAX) return INT_MAX;
  return static_cast<int>(limit.rlim_cur);
}

// The file size limit in 512-byte blocks; an unlimited one reads LONG_MAX.
KELP_ENTRY(long, ulimit, (int command, ...)) {
  HostRlimit limit;
  if (command != kUlGetFsize && command != kUlSetFsize) {
    errno = EINVAL;
    return -1;
  }
  if (BionicGetrlimit(RLIMIT_FSIZE, &limit) != 0) return -1;
  if (command == kUlGetFsize) {
    return limit.rlim_cur == kHostRlimInfinity ? LONG_MAX : static_cast<long>(limit.rlim_cur / 512);
  }
  va_list args;
  va_start(args, command);
  long blocks = va_arg(args, long);
  va_end(args);
  if (blocks < 0) {
    errno = EINVAL;
    return -1;
  }
  uint64_t bytes = static_cast<uint64_t>(blocks) * 512;
  limit.rlim_cur = bytes >= kHostRlimInfinity ? kHostRlimInfinity : static_cast<uint32_t>(bytes);
  if (BionicSetrlimit(RLIMIT_FSIZE, &limit) != 0) return -1;
  return blocks;
}

// The real-time interval timer in microseconds; the previous timer's remaining microseconds.
KELP_ENTRY(useconds_t, ualarm, (useconds_t value, useconds_t interval)) {
  struct itimerval timer = {}, old = {};
  timer.it_value.tv_sec = value / 1000000;
  timer.it_value.tv_usec = value % 1000000;
  timer.it_interval.tv_sec = interval / 1000000;
  timer.it_interval.tv_usec = interval % 1000000;
  if (setitimer(ITIMER_REAL, &timer, &old) != 0) return static_cast<useconds_t>(-1);
  return static_cast<useconds_t>(old.it_value.tv_sec * 1000000 + old.it_value.tv_usec);
}

// Linux closes the descriptor even when interrupted: the close has happened, it only did not
// finish.
KELP_ENTRY(int, posix_close, (int fd, int)) {
  if (close(fd) == 0) return 0;
  if (errno == EINTR) errno = EINPROGRESS;
  return -1;
}

// Linux has no STREAMS: no descriptor is one.
KELP_ENTRY(int, isastream, (int fd)) { return fcntl(fd, F_GETFD) < 0 ? -1 : 0; }

// The effective user's name, in the caller's buffer of L_cuserid bytes or in a static one.
KELP_ENTRY(char*, cuserid, (char* buf)) {
  static char own[kCuseridSize];
  char* out = buf != nullptr ? buf : own;
  out[0] = '\0';
  HostPasswd record = {};
  HostPasswd* found = nullptr;
  char scratch[1024];
  if (BionicGetpwuidR(geteuid(), &record, scratch, sizeof scratch, &found) != 0 || found == nullptr) {
    return nullptr;
  }
  size_t length = strnlen(found->pw_name, kCuseridSize - 1);
  memcpy(out, found->pw_name, length);
  out[length] = '\0';
  return out;
}

// No user accounting database on Android: nothing found, nothing written (as getutid, updwtmp).
KELP_ENTRY(void*, getutxid, (const void*)) { return nullptr; }
KELP_ENTRY(void, updwtmpx, (const char*, const void*)) {}
