// Guest (musl, 32-bit ARM, 64-bit time) file status and file-system statistics records.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "guest/time.h"

// Bytes 0..103 have the host's layout (timestamps there are 32-bit copies); the 64-bit
// timestamps follow.
struct GuestStat {
  uint64_t st_dev;
  uint32_t dev_pad;
  uint32_t st_ino_truncated;
  uint32_t st_mode;
  uint32_t st_nlink;
  uint32_t st_uid;
  uint32_t st_gid;
  uint64_t st_rdev;
  uint32_t rdev_pad;
  uint32_t size_pad;
  int64_t st_size;
  uint32_t st_blksize;
  uint32_t blksize_pad;
  uint64_t st_blocks;
  int32_t time32[6];  // atime, mtime, ctime as host timespecs
  uint64_t st_ino;
  GuestTimespec st_atim;
  GuestTimespec st_mtim;
  GuestTimespec st_ctim;
};
static_assert(sizeof(GuestStat) == 152);
static_assert(offsetof(GuestStat, st_mode) == 16 && offsetof(GuestStat, st_rdev) == 32);
static_assert(offsetof(GuestStat, st_size) == 48 && offsetof(GuestStat, st_blksize) == 56);
static_assert(offsetof(GuestStat, st_blocks) == 64 && offsetof(GuestStat, time32) == 72);
static_assert(offsetof(GuestStat, st_ino) == 96 && offsetof(GuestStat, st_atim) == 104);
static_assert(offsetof(GuestStat, st_mtim) == 120 && offsetof(GuestStat, st_ctim) == 136);

struct GuestStatvfs {
  uint32_t f_bsize;
  uint32_t f_frsize;
  uint64_t f_blocks;
  uint64_t f_bfree;
  uint64_t f_bavail;
  uint64_t f_files;
  uint64_t f_ffree;
  uint64_t f_favail;
  uint32_t f_fsid;
  uint32_t fsid_pad;
  uint32_t f_flag;
  uint32_t f_namemax;
  uint32_t reserved[6];
};
static_assert(sizeof(GuestStatvfs) == 96);
static_assert(offsetof(GuestStatvfs, f_blocks) == 8 && offsetof(GuestStatvfs, f_fsid) == 56);
static_assert(offsetof(GuestStatvfs, f_flag) == 64 && offsetof(GuestStatvfs, f_namemax) == 68);

// The nftw walk record, alike on both sides.
struct GuestFtw {
  int32_t base;
  int32_t level;
};
