// Guest signal sets and actions on bionic's 64-bit signal functions. The first 8 bytes of a
// guest set are bit for bit a host sigset64_t, so set pointers pass through unchanged.
#include <stdint.h>
#include <string.h>

#include "core/export.h"
#include "guest/signal.h"
#include "guest/time.h"
#include "host/bionic_errno.h"
#include "host/bionic_signal.h"
#include "translate/time_convert.h"

namespace {
sigset64_t* Host(GuestSigset* set) { return reinterpret_cast<sigset64_t*>(set); }
const sigset64_t* Host(const GuestSigset* set) { return reinterpret_cast<const sigset64_t*>(set); }
}  // namespace

KELP_EXPORT void AdaptorSigset(sigset64_t* out, const GuestSigset* in) {
  memset(out, 0, sizeof(*out));
  if (in != nullptr) memcpy(out, in->words, sizeof(*out));
}

KELP_EXPORT void AdaptorSigaction(struct sigaction64* out, const GuestSigaction* in) {
  memset(out, 0, sizeof(*out));
  if (in == nullptr) return;
  out->sa_handler = reinterpret_cast<void (*)(int)>(in->handler);
  out->sa_flags = in->sa_flags;
  out->sa_restorer = reinterpret_cast<void (*)()>(in->sa_restorer);
  memcpy(&out->sa_mask, in->sa_mask.words, sizeof(out->sa_mask));
}

// The old action is always fetched into a zeroed record and written back even on failure; the
// guest's mask bytes 8 to 127 are never touched.
KELP_EXPORT int kelp_adaptor_sigaction(int sig, const GuestSigaction* act, GuestSigaction* oact) {
  struct sigaction64 host_act, host_old;
  if (act != nullptr) AdaptorSigaction(&host_act, act);
  memset(&host_old, 0, sizeof(host_old));
  int result = sigaction64(sig, act != nullptr ? &host_act : nullptr, &host_old);
  if (oact != nullptr) {
    oact->handler = reinterpret_cast<void*>(host_old.sa_handler);
    oact->sa_flags = host_old.sa_flags;
    oact->sa_restorer = reinterpret_cast<void*>(host_old.sa_restorer);
    memcpy(oact->sa_mask.words, &host_old.sa_mask, sizeof(host_old.sa_mask));
  }
  return result;
}

KELP_EXPORT int kelp_adaptor_sigemptyset(GuestSigset* set) { return sigemptyset64(Host(set)); }
KELP_EXPORT int kelp_adaptor_sigfillset(GuestSigset* set) { return sigfillset64(Host(set)); }
KELP_EXPORT int kelp_adaptor_sigaddset(GuestSigset* set, int sig) {
  return sigaddset64(Host(set), sig);
}
KELP_EXPORT int kelp_adaptor_sigdelset(GuestSigset* set, int sig) {
  return sigdelset64(Host(set), sig);
}
KELP_EXPORT int kelp_adaptor_sigismember(const GuestSigset* set, int sig) {
  return sigismember64(Host(set), sig);
}
KELP_EXPORT int kelp_adaptor_sigpending(GuestSigset* set) { return sigpending64(Host(set)); }
KELP_EXPORT int kelp_adaptor_sigprocmask(int how, const GuestSigset* set, GuestSigset* old) {
  return sigprocmask64(how, Host(set), Host(old));
}
KELP_EXPORT int kelp_adaptor_sigsuspend(const GuestSigset* set) {
  return sigsuspend64(Host(set));
}
KELP_EXPORT int kelp_adaptor_sigwait(const GuestSigset* set, int* sig) {
  return sigwait64(Host(set), sig);
}
KELP_EXPORT int kelp_adaptor_signalfd(int fd, const GuestSigset* mask, int flags) {
  return signalfd64(fd, Host(mask), flags);
}
KELP_EXPORT int kelp_adaptor_pthread_sigmask(int how, const GuestSigset* set, GuestSigset* old) {
  return pthread_sigmask64(how, Host(set), Host(old));
}

// musl's set operations that bionic lacks; only the first two words hold signals.
KELP_ENTRY(int, sigisemptyset, (const GuestSigset* set)) {
  return set->words[0] == 0 && set->words[1] == 0;
}
KELP_ENTRY(int, sigorset, (GuestSigset* dest, const GuestSigset* a, const GuestSigset* b)) {
  for (int i = 0; i < 2; ++i) dest->words[i] = a->words[i] | b->words[i];
  return 0;
}
KELP_ENTRY(int, sigandset, (GuestSigset* dest, const GuestSigset* a, const GuestSigset* b)) {
  for (int i = 0; i < 2; ++i) dest->words[i] = a->words[i] & b->words[i];
  return 0;
}

// bionic's 64-bit-set forms, so that real-time signals 32 to 64 are waited for too. A null
// time-out waits without limit; seconds past the host's range are capped (68 years is as good
// as forever), and a negative or malformed time-out fails with EINVAL.
KELP_EXPORT int __sigtimedwait_time64(const GuestSigset* set, siginfo_t* info,
                                      const GuestTimespec* timeout) {
  if (timeout == nullptr) return sigwaitinfo64(Host(set), info);
  GuestTimespec capped = *timeout;
  if (capped.tv_sec > INT32_MAX) capped.tv_sec = INT32_MAX;
  HostTimespec host;
  if (!TimeoutToHost(&capped, &host)) return -1;
  return sigtimedwait64(Host(set), info, reinterpret_cast<const struct timespec*>(&host));
}
KELP_EXPORT int kelp_adaptor_sigtimedwait(const GuestSigset*, siginfo_t*, const GuestTimespec*)
    KELP_ALIAS(__sigtimedwait_time64);

KELP_EXPORT int kelp_adaptor_sigwaitinfo(const GuestSigset* set, siginfo_t* info) {
  return sigwaitinfo64(Host(set), info);
}
