// The second half of sigsetjmp: saves the mask on the first return, restores it on a jump. And
// the capability word that setjmp and longjmp read.
#include <stdint.h>
#include <sys/auxv.h>
#include <sys/syscall.h>

#include "async_safe/raw_syscall.h"
#include "core/export.h"
#include "guest/signal.h"

namespace {
constexpr long kRtSigprocmask = 175;
constexpr long kSigSetmask = 2;
constexpr long kSignalBytes = 8;
}  // namespace

// Defined in setjmp.S; internal to the library.
extern "C" __attribute__((visibility("hidden"))) uint32_t kelp_jmp_hwcap;

namespace {
// The hardware capabilities, filled once at load: with HWCAP_VFP set, setjmp and longjmp carry
// d8-d15, which the hard-float ABI makes callee-saved. Nothing else writes the word.
__attribute__((constructor)) void LoadJumpCapabilities() {
  kelp_jmp_hwcap = static_cast<uint32_t>(getauxval(AT_HWCAP));
}
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
