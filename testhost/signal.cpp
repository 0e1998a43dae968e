// Test host: bionic's 64-bit signal-set functions on glibc. Actions go through glibc's own
// sigaction, so handlers installed here and through glibc see one another, and glibc keeps its
// restorer and internal signals as it expects.
#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <string.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "../src/host/bionic_signal.h"
#include "kelphost.h"

namespace {

sigset_t Widen(const sigset64_t* set) {
  sigset_t wide;
  sigemptyset(&wide);
  memcpy(&wide, set, sizeof(*set));
  return wide;
}

void Narrow(sigset64_t* out, const sigset_t& wide) { memcpy(out, &wide, sizeof(*out)); }

bool Valid(int sig) { return sig >= 1 && sig <= 64; }

template <typename Call>
int WithOld(sigset64_t* old, Call call) {
  sigset_t wide_old;
  int result = call(old != nullptr ? &wide_old : nullptr);
  if (result == 0 && old != nullptr) Narrow(old, wide_old);
  return result;
}

}  // namespace

KELPHOST_EXPORT int sigaction64(int sig, const struct sigaction64* act, struct sigaction64* old) {
  struct sigaction wide = {}, wide_old = {};
  if (act != nullptr) {
    wide.sa_sigaction = act->sa_sigaction;
    wide.sa_flags = act->sa_flags;
    wide.sa_restorer = act->sa_restorer;
    wide.sa_mask = Widen(&act->sa_mask);
  }
  int result = sigaction(sig, act != nullptr ? &wide : nullptr, &wide_old);
  if (result == 0 && old != nullptr) {
    old->sa_sigaction = wide_old.sa_sigaction;
    old->sa_flags = wide_old.sa_flags;
    old->sa_restorer = wide_old.sa_restorer;
    Narrow(&old->sa_mask, wide_old.sa_mask);
  }
  return result;
}

KELPHOST_EXPORT int sigemptyset64(sigset64_t* set) {
  memset(set, 0, sizeof(*set));
  return 0;
}

KELPHOST_EXPORT int sigfillset64(sigset64_t* set) {
  memset(set, 0xFF, sizeof(*set));
  return 0;
}

KELPHOST_EXPORT int sigaddset64(sigset64_t* set, int sig) {
  if (!Valid(sig)) return errno = EINVAL, -1;
  set->__bits[(sig - 1) / 32] |= 1UL << ((sig - 1) % 32);
  return 0;
}

KELPHOST_EXPORT int sigdelset64(sigset64_t* set, int sig) {
  if (!Valid(sig)) return errno = EINVAL, -1;
  set->__bits[(sig - 1) / 32] &= ~(1UL << ((sig - 1) % 32));
  return 0;
}

KELPHOST_EXPORT int sigismember64(const sigset64_t* set, int sig) {
  if (!Valid(sig)) return errno = EINVAL, -1;
  return (set->__bits[(sig - 1) / 32] >> ((sig - 1) % 32)) & 1;
}

KELPHOST_EXPORT int sigpending64(sigset64_t* set) {
  return WithOld(set, [](sigset_t* wide) { return sigpending(wide); });
}

KELPHOST_EXPORT int sigprocmask64(int how, const sigset64_t* set, sigset64_t* old) {
  sigset_t wide = set != nullptr ? Widen(set) : sigset_t{};
  return WithOld(old, [&](sigset_t* wide_old) {
    return sigprocmask(how, set != nullptr ? &wide : nullptr, wide_old);
  });
}

KELPHOST_EXPORT int pthread_sigmask64(int how, const sigset64_t* set, sigset64_t* old) {
  sigset_t wide = set != nullptr ? Widen(set) : sigset_t{};
  return WithOld(old, [&](sigset_t* wide_old) {
    return pthread_sigmask(how, set != nullptr ? &wide : nullptr, wide_old);
  });
}

KELPHOST_EXPORT int sigsuspend64(const sigset64_t* set) {
  sigset_t wide = Widen(set);
  return sigsuspend(&wide);
}

KELPHOST_EXPORT int sigwait64(const sigset64_t* set, int* sig) {
  sigset_t wide = Widen(set);
  return sigwait(&wide, sig);
}

KELPHOST_EXPORT int signalfd64(int fd, const sigset64_t* mask, int flags) {
  sigset_t wide = Widen(mask);
  return signalfd(fd, &wide, flags);
}

// The kernel's wait on the 8-byte set, as bionic issues it: the siginfo comes back as the kernel
// wrote it (glibc's own functions would report SI_TKILL as SI_USER).
KELPHOST_EXPORT int sigtimedwait64(const sigset64_t* set, siginfo_t* info,
                                   const struct timespec* timeout) {
  return static_cast<int>(syscall(SYS_rt_sigtimedwait, set, info, timeout, sizeof(*set)));
}

KELPHOST_EXPORT int sigwaitinfo64(const sigset64_t* set, siginfo_t* info) {
  return sigtimedwait64(set, info, nullptr);
}
