// Test host: bionic's ppoll64 and pselect64 on glibc's ppoll and pselect (32-bit time here).
#include <poll.h>
#include <string.h>
#include <sys/select.h>

#include "../src/host/bionic_poll.h"
#include "kelphost.h"

namespace {
sigset_t Widen(const sigset64_t* set) {
  sigset_t wide;
  sigemptyset(&wide);
  memcpy(&wide, set, sizeof(*set));
  return wide;
}
}  // namespace

KELPHOST_EXPORT int ppoll64(struct pollfd* fds, nfds_t count, const struct timespec* timeout,
                            const sigset64_t* mask) {
  sigset_t wide;
  if (mask != nullptr) wide = Widen(mask);
  return ppoll(fds, count, timeout, mask != nullptr ? &wide : nullptr);
}

KELPHOST_EXPORT int pselect64(int nfds, fd_set* readfds, fd_set* writefds, fd_set* exceptfds,
                              const struct timespec* timeout, const sigset64_t* mask) {
  sigset_t wide;
  if (mask != nullptr) wide = Widen(mask);
  return pselect(nfds, readfds, writefds, exceptfds, timeout, mask != nullptr ? &wide : nullptr);
}
