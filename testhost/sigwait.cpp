// Test host: bionic's sigtimedwait and sigwaitinfo on 32-bit ARM. Their sigset_t is one word
// (signals 1 to 32), and the kernel's siginfo comes back as it is: a signal sent with tkill or
// tgkill (raise, pthread_kill) reports SI_TKILL, where glibc reports SI_USER and reads a
// 128-byte set.
#include <signal.h>
#include <stdint.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "kelphost.h"

KELPHOST_EXPORT int BionicSigtimedwait(const uint32_t* set, siginfo_t* info,
                                       const struct timespec* timeout) __asm__("sigtimedwait");
int BionicSigtimedwait(const uint32_t* set, siginfo_t* info, const struct timespec* timeout) {
  uint32_t kernel_set[2] = {*set, 0};
  return static_cast<int>(
      syscall(SYS_rt_sigtimedwait, kernel_set, info, timeout, sizeof(kernel_set)));
}

KELPHOST_EXPORT int BionicSigwaitinfo(const uint32_t* set, siginfo_t* info)
    __asm__("sigwaitinfo");
int BionicSigwaitinfo(const uint32_t* set, siginfo_t* info) {
  return BionicSigtimedwait(set, info, nullptr);
}
