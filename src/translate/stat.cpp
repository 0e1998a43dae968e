// File status and file-system statistics in the guest's layouts.
#include <fcntl.h>
#include <stddef.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include "core/export.h"
#include "guest/stat.h"
#include "host/bionic_errno.h"
#include "host/bionic_stat.h"
#include "translate/stat_convert.h"

// The host record is bionic's 104-byte layout, which the guest record repeats in its first bytes.
static_assert(sizeof(struct stat) == 104);
static_assert(offsetof(struct stat, st_mode) == 16 && offsetof(struct stat, st_rdev) == 32);
static_assert(offsetof(struct stat, st_size) == 48 && offsetof(struct stat, st_blocks) == 64);
static_assert(offsetof(struct stat, st_atim) == 72 && offsetof(struct stat, st_mtim) == 80);
static_assert(offsetof(struct stat, st_ctim) == 88 && offsetof(struct stat, st_ino) == 96);

void StatRule(const struct stat* host, GuestStat* guest) {
  const auto* in = reinterpret_cast<const uint8_t*>(host);
  auto* out = reinterpret_cast<uint8_t*>(guest);
  memcpy(out, in, 8);
  memcpy(out + 16, in + 16, 104 - 16);
  const struct timespec* times[] = {&host->st_atim, &host->st_mtim, &host->st_ctim};
  GuestTimespec* wide[] = {&guest->st_atim, &guest->st_mtim, &guest->st_ctim};
  for (int i = 0; i < 3; ++i) {
    wide[i]->tv_sec = times[i]->tv_sec;  // sign-extended; the padding word is not written
    wide[i]->tv_nsec = static_cast<int32_t>(times[i]->tv_nsec);
  }
}

KELP_EXPORT void RestoreToMuslStat64(const struct stat* host, GuestStat* guest) {
  StatRule(host, guest);
}

KELP_EXPORT void stat_bionic2musl(const struct stat* host, GuestStat* guest) {
  StatRule(host, guest);
  memset(reinterpret_cast<uint8_t*>(guest) + 8, 0, 8);
  memset(reinterpret_cast<uint8_t*>(guest) + 40, 0, 4);
}

namespace {

constexpr int kStatxMissing = -2;

// The kernel's statx carries 64-bit times: the guest record is built as from a host record of
// the same file (the stat rule), then its 64-bit times are set from statx. Returns 0, -1 with
// errno, or kStatxMissing where the kernel has no statx (before Linux 4.11).
int StatxToGuest(int dirfd, const char* path, int flags, GuestStat* guest) {
  struct statx sx = {};
  if (statx(dirfd, path, flags | AT_NO_AUTOMOUNT, STATX_BASIC_STATS, &sx) != 0) {
    return errno == ENOSYS ? kStatxMissing : -1;
  }
  struct stat host = {};
  host.st_dev = makedev(sx.stx_dev_major, sx.stx_dev_minor);
  host.st_ino = sx.stx_ino;
  host.st_mode = sx.stx_mode;
  host.st_nlink = sx.stx_nlink;
  host.st_uid = sx.stx_uid;
  host.st_gid = sx.stx_gid;
  host.st_rdev = makedev(sx.stx_rdev_major, sx.stx_rdev_minor);
  host.st_size = static_cast<off_t>(sx.stx_size);
  host.st_blksize = static_cast<blksize_t>(sx.stx_blksize);
  host.st_blocks = static_cast<blkcnt_t>(sx.stx_blocks);
  const struct statx_timestamp* times[] = {&sx.stx_atime, &sx.stx_mtime, &sx.stx_ctime};
  struct timespec* narrow[] = {&host.st_atim, &host.st_mtim, &host.st_ctim};
  GuestTimespec* wide[] = {&guest->st_atim, &guest->st_mtim, &guest->st_ctim};
  for (int i = 0; i < 3; ++i) {
    narrow[i]->tv_sec = static_cast<time_t>(times[i]->tv_sec);  // the low word
    narrow[i]->tv_nsec = static_cast<long>(times[i]->tv_nsec);
  }
  StatRule(&host, guest);
  for (int i = 0; i < 3; ++i) wide[i]->tv_sec = times[i]->tv_sec;
  return 0;
}

// The host's own record, where the kernel has no statx; its times end in 2038. A failed call
// leaves the guest record as it was.
int HostStatToGuest(int dirfd, const char* path, int flags, GuestStat* guest) {
  struct stat host = {};
  int result = (flags & AT_EMPTY_PATH) != 0 && path[0] == '\0'
                   ? fstat(dirfd, &host)
                   : fstatat(dirfd, path, &host, flags);
  if (result != 0) return result;
  StatRule(&host, guest);
  return 0;
}

int StatToGuest(int dirfd, const char* path, int flags, GuestStat* guest) {
  int saved = errno;
  int result = StatxToGuest(dirfd, path, flags, guest);
  if (result != kStatxMissing) return result;
  errno = saved;  // the missing statx is no concern of the caller's
  return HostStatToGuest(dirfd, path, flags, guest);
}

}  // namespace

KELP_EXPORT int __fstatat_time64(int dirfd, const char* path, GuestStat* st, int flags) {
  return StatToGuest(dirfd, path, flags, st);
}
KELP_EXPORT int kelp_adaptor_fstatat(int, const char*, GuestStat*, int)
    KELP_ALIAS(__fstatat_time64);

KELP_EXPORT int __fstat_time64(int fd, GuestStat* st) {
  return StatToGuest(fd, "", AT_EMPTY_PATH, st);
}
KELP_EXPORT int kelp_adaptor_fstat(int, GuestStat*) KELP_ALIAS(__fstat_time64);

KELP_EXPORT int __stat_time64(const char* path, GuestStat* st) {
  return __fstatat_time64(AT_FDCWD, path, st, 0);
}
KELP_EXPORT int kelp_adaptor_stat(const char*, GuestStat*) KELP_ALIAS(__stat_time64);

KELP_EXPORT int __lstat_time64(const char* path, GuestStat* st) {
  return __fstatat_time64(AT_FDCWD, path, st, AT_SYMLINK_NOFOLLOW);
}
KELP_EXPORT int kelp_adaptor_lstat(const char*, GuestStat*) KELP_ALIAS(__lstat_time64);

// The version argument is dropped.
KELP_ENTRY(int, __xstat, (int, const char* path, GuestStat* st)) { return __stat_time64(path, st); }
KELP_ENTRY(int, __lxstat, (int, const char* path, GuestStat* st)) {
  return __lstat_time64(path, st);
}

namespace {
// The reduced copy of the glibc-compatible entries: no times and no inode.
void ReducedCopy(const struct stat* host, GuestStat* guest) {
  guest->st_dev = host->st_dev;
  guest->st_mode = host->st_mode;
  guest->st_nlink = static_cast<uint32_t>(host->st_nlink);
  guest->st_uid = host->st_uid;
  guest->st_gid = host->st_gid;
  guest->st_rdev = host->st_rdev;
  guest->st_size = host->st_size;
  guest->st_blksize = static_cast<uint32_t>(host->st_blksize);
  guest->st_blocks = static_cast<uint64_t>(host->st_blocks);
  memset(reinterpret_cast<uint8_t*>(guest) + 72, 0, sizeof(GuestStat) - 72);
}
}  // namespace

KELP_ENTRY(int, __fxstat64, (int, int fd, GuestStat* st)) {
  struct stat host = {};
  int result = fstat(fd, &host);
  if (result == 0) ReducedCopy(&host, st);
  return result;
}

KELP_ENTRY(int, __fxstatat64, (int, int dirfd, const char* path, GuestStat* st, int flags)) {
  struct stat host = {};
  int result = fstatat(dirfd, path, &host, flags);
  if (result == 0) ReducedCopy(&host, st);
  return result;
}

namespace {
// Field by field from the host's own record; the conversion runs even after a failed call.
int ToGuest(int result, const struct statvfs& host, GuestStatvfs* guest) {
  if (guest == nullptr) return result;
  guest->f_bsize = static_cast<uint32_t>(host.f_bsize);
  guest->f_frsize = static_cast<uint32_t>(host.f_frsize);
  guest->f_blocks = host.f_blocks;
  guest->f_bfree = host.f_bfree;
  guest->f_bavail = host.f_bavail;
  guest->f_files = host.f_files;
  guest->f_ffree = host.f_ffree;
  guest->f_favail = host.f_favail;
  guest->f_fsid = static_cast<uint32_t>(host.f_fsid);
  guest->f_flag = static_cast<uint32_t>(host.f_flag);
  guest->f_namemax = static_cast<uint32_t>(host.f_namemax);
  return result;
}
}  // namespace

KELP_EXPORT int kelp_adaptor_statvfs(const char* path, GuestStatvfs* buf) {
  struct statvfs host = {};
  return ToGuest(statvfs(path, &host), host, buf);
}

KELP_EXPORT int kelp_adaptor_fstatvfs(int fd, GuestStatvfs* buf) {
  struct statvfs host = {};
  return ToGuest(fstatvfs(fd, &host), host, buf);
}
