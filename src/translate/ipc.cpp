// System V IPC control calls between musl's records and bionic's. The kernel's record, which
// bionic fills and reads, is the first part of the guest's, so the guest buffer is passed as
// is; musl marks its STAT commands with the 64-bit-time bit, which bionic would not expect
// (it adds the kernel's own), and after a STAT the guest's 64-bit time fields are filled from
// the kernel's low and high words, as musl does.
#include <stdarg.h>
#include <stdint.h>

#include "core/export.h"
#include "guest/ipc.h"
#include "host/bionic_ipc.h"

static_assert(offsetof(GuestMsqid, msg_stime) >= kHostMsqidSize);
static_assert(offsetof(GuestShmid, shm_atime) >= kHostShmidSize);
static_assert(offsetof(GuestSemid, sem_otime) >= kHostSemidSize);

namespace {

int64_t Time64(uint32_t lo, uint32_t hi) {
  return static_cast<int64_t>((static_cast<uint64_t>(hi) << 32) | lo);
}

// Commands whose fourth argument semctl reads; the others are called without one.
bool SemctlTakesArgument(int cmd) {
  switch (cmd & 0xff) {
    case 0:   // IPC_RMID
    case 11:  // GETPID
    case 12:  // GETVAL
    case 14:  // GETNCNT
    case 15:  // GETZCNT
      return false;
    default:
      return true;
  }
}

}  // namespace

KELP_EXPORT int kelp_adaptor_msgctl(int id, int cmd, GuestMsqid* buf) {
  int result = BionicMsgctl(id, cmd & ~kGuestIpcTime64, buf);
  if (result >= 0 && (cmd & kGuestIpcTime64) != 0 && buf != nullptr) {
    buf->msg_stime = Time64(buf->stime_lo, buf->stime_hi);
    buf->msg_rtime = Time64(buf->rtime_lo, buf->rtime_hi);
    buf->msg_ctime = Time64(buf->ctime_lo, buf->ctime_hi);
  }
  return result;
}

KELP_EXPORT int kelp_adaptor_shmctl(int id, int cmd, GuestShmid* buf) {
  int result = BionicShmctl(id, cmd & ~kGuestIpcTime64, buf);
  if (result >= 0 && (cmd & kGuestIpcTime64) != 0 && buf != nullptr) {
    buf->shm_atime = Time64(buf->atime_lo, buf->atime_hi);
    buf->shm_dtime = Time64(buf->dtime_lo, buf->dtime_hi);
    buf->shm_ctime = Time64(buf->ctime_lo, buf->ctime_hi);
  }
  return result;
}

KELP_EXPORT int kelp_adaptor_semctl(int id, int num, int cmd, ...) {
  void* arg = nullptr;
  if (SemctlTakesArgument(cmd)) {
    va_list ap;
    va_start(ap, cmd);
    arg = va_arg(ap, void*);
    va_end(ap);
  }
  int result = BionicSemctl(id, num, cmd & ~kGuestIpcTime64, arg);
  auto* buf = static_cast<GuestSemid*>(arg);
  if (result >= 0 && (cmd & kGuestIpcTime64) != 0 && buf != nullptr) {
    buf->sem_otime = Time64(buf->otime_lo, buf->otime_hi);
    buf->sem_ctime = Time64(buf->ctime_lo, buf->ctime_hi);
  }
  return result;
}
