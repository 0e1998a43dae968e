// Guest (musl, 32-bit ARM) System V IPC records. Each begins with the kernel's 64-bit-command
// record (times as low and high words) and ends with the times again as 64-bit values, which
// the guest reads; the STAT commands carry the 64-bit-time bit 0x100.
#pragma once

#include <stddef.h>
#include <stdint.h>

inline constexpr int kGuestIpcTime64 = 0x100;

struct GuestIpcPerm {
  int32_t key;
  uint32_t uid;
  uint32_t gid;
  uint32_t cuid;
  uint32_t cgid;
  uint32_t mode;
  int32_t seq;
  int32_t pad[2];
};
static_assert(sizeof(GuestIpcPerm) == 36);

struct GuestMsqid {
  GuestIpcPerm msg_perm;
  uint32_t stime_lo, stime_hi, rtime_lo, rtime_hi, ctime_lo, ctime_hi;
  uint32_t msg_cbytes, msg_qnum, msg_qbytes;
  int32_t msg_lspid, msg_lrpid;
  uint32_t unused[2];
  int64_t msg_stime, msg_rtime, msg_ctime;
};
static_assert(sizeof(GuestMsqid) == 112);
static_assert(offsetof(GuestMsqid, stime_lo) == 36);
static_assert(offsetof(GuestMsqid, msg_qbytes) == 68);
static_assert(offsetof(GuestMsqid, msg_stime) == 88);
static_assert(offsetof(GuestMsqid, msg_ctime) == 104);

struct GuestShmid {
  GuestIpcPerm shm_perm;
  uint32_t shm_segsz;
  uint32_t atime_lo, atime_hi, dtime_lo, dtime_hi, ctime_lo, ctime_hi;
  int32_t shm_cpid, shm_lpid;
  uint32_t shm_nattch;
  uint32_t pad[3];
  int64_t shm_atime, shm_dtime, shm_ctime;
};
static_assert(sizeof(GuestShmid) == 112);
static_assert(offsetof(GuestShmid, atime_lo) == 40);
static_assert(offsetof(GuestShmid, shm_nattch) == 72);
static_assert(offsetof(GuestShmid, shm_atime) == 88);

struct GuestSemid {
  GuestIpcPerm sem_perm;
  uint32_t otime_lo, otime_hi, ctime_lo, ctime_hi;
  uint16_t sem_nsems;
  uint16_t nsems_pad;
  int32_t unused[2];
  int64_t sem_otime, sem_ctime;
};
static_assert(sizeof(GuestSemid) == 80);
static_assert(offsetof(GuestSemid, sem_nsems) == 52);
static_assert(offsetof(GuestSemid, sem_otime) == 64);
