// The second half of sigsetjmp: saves the mask on the first return, restores it on a jump.
#include <sys/syscall.h>

#include "async_safe/raw_syscall.h"
#include "core/export.h"
#include "guest/signal.h"

namespace {
constexpr long kRtSigprocmask = 175;
constexpr long kSigSetmask = 2;
constexpr long kSignalBytes = 8;
}  // namespace

// Issued directly: safe in a signal handler, and the result is of no use to the caller.
KELP_EXPORT int __sigsetjmp_tail(uint8_t* buf, int ret) {
  long mask = reinterpret_cast<long>(buf + kJmpBufMask);
  if (ret == 0) {
    RawSyscall(kRtSigprocmask, kSigSetmask, 0, mask, kSignalBytes);
  } else {
    RawSyscall(kRtSigprocmask, kSigSetmask, mask, 0, kSignalBytes);
  }
  return ret;
}
