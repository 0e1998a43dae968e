// Setting file times with 64-bit guest records, through the kernel's 64-bit utimensat.
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utime.h>

#include "core/export.h"
#include "host/bionic_errno.h"
#include "translate/time_convert.h"

static_assert(sizeof(struct utimbuf) == sizeof(HostUtimbuf));

namespace {

constexpr long kUtimensatTime64 = 412;
constexpr long kGetdents64 = 217;

struct KernelTimespec64 {
  int64_t tv_sec;
  int64_t tv_nsec;
};

long Utimensat64(int dirfd, const char* path, const void* times, int flags) {
  return syscall(kUtimensatTime64, dirfd, path, times, flags);
}

// Microseconds to the kernel's record; `checked` refuses microseconds past 999999.
bool FromTimevals(const GuestTimeval* tv, KernelTimespec64* out, bool checked) {
  for (int i = 0; i < 2; ++i) {
    if (checked && static_cast<uint64_t>(tv[i].tv_usec) > 999999) {
      errno = EINVAL;
      return false;
    }
    out[i] = {tv[i].tv_sec, tv[i].tv_usec * 1000};
  }
  return true;
}

int UtimesAt(int dirfd, const char* path, const GuestTimeval* tv) {
  if (tv == nullptr) return static_cast<int>(Utimensat64(dirfd, path, nullptr, 0));  // now
  KernelTimespec64 times[2];
  if (!FromTimevals(tv, times, true)) return -1;
  return static_cast<int>(Utimensat64(dirfd, path, times, 0));
}

}  // namespace

// The guest's records go to the kernel as they are.
KELP_EXPORT int __utimensat_time64(int dirfd, const char* path, const GuestTimespec* times,
                                   int flags) {
  return static_cast<int>(Utimensat64(dirfd, path, times, flags));
}

KELP_EXPORT int __futimens_time64(int fd, const GuestTimespec* times) {
  return static_cast<int>(Utimensat64(fd, nullptr, times, 0));
}

KELP_EXPORT int kelp_adaptor_futimens(int fd, const GuestTimespec* times) {
  HostTimespec host[2] = {};
  if (times != nullptr) {
    timespec_musl2bionic(&times[0], &host[0]);
    timespec_musl2bionic(&times[1], &host[1]);
  }
  return futimens(fd, times != nullptr ? reinterpret_cast<const timespec*>(host) : nullptr);
}

KELP_EXPORT int __utimes_time64(const char* path, const GuestTimeval* tv) {
  return UtimesAt(AT_FDCWD, path, tv);
}

KELP_EXPORT int __futimesat_time64(int dirfd, const char* path, const GuestTimeval* tv) {
  return UtimesAt(dirfd, path, tv);
}

KELP_EXPORT int __futimes_time64(int fd, const GuestTimeval* tv) {
  KernelTimespec64 times[2];
  if (tv != nullptr) FromTimevals(tv, times, false);
  return static_cast<int>(Utimensat64(fd, nullptr, tv != nullptr ? times : nullptr, 0));
}

// A null tv sets both times to the epoch, not to now: the records start zeroed.
KELP_EXPORT int __lutimes_time64(const char* path, const GuestTimeval* tv) {
  KernelTimespec64 times[2] = {};
  if (tv != nullptr) FromTimevals(tv, times, false);
  return static_cast<int>(Utimensat64(AT_FDCWD, path, times, AT_SYMLINK_NOFOLLOW));
}

// Times that fit the host's 32-bit utimbuf go to bionic's utime; later ones are set whole through
// the kernel's 64-bit utimensat rather than cut to their low words. Null sets both to now.
KELP_EXPORT int __utime64(const char* path, const GuestUtimbuf* times) {
  if (times == nullptr) return utime(path, nullptr);
  if (times->actime != static_cast<int32_t>(times->actime) ||
      times->modtime != static_cast<int32_t>(times->modtime)) {
    KernelTimespec64 wide[2] = {{times->actime, 0}, {times->modtime, 0}};
    return static_cast<int>(Utimensat64(AT_FDCWD, path, wide, 0));
  }
  HostUtimbuf host = {};
  utimbuf_musl2bionic(times, &host);
  return utime(path, reinterpret_cast<utimbuf*>(&host));
}
KELP_EXPORT int kelp_adaptor_utime(const char*, const GuestUtimbuf*) KELP_ALIAS(__utime64);

KELP_EXPORT int kelp_adaptor_getdents(int fd, void* buf, size_t count) {
  if (count > 0x7FFFFFFF) count = 0x7FFFFFFF;
  return static_cast<int>(syscall(kGetdents64, fd, buf, count));
}
