// select, pselect and ppoll with the guest's 64-bit time records. Only select reports the
// remaining time back; pselect and ppoll leave the guest's timeout as it was.
#include <poll.h>
#include <string.h>
#include <sys/select.h>

#include "core/export.h"
#include "guest/signal.h"
#include "guest/time.h"
#include "host/bionic_poll.h"
#include "translate/time_convert.h"

static_assert(sizeof(struct timeval) == sizeof(HostTimeval));
static_assert(sizeof(struct timespec) == sizeof(HostTimespec));

namespace {

// The host forms of an optional timeout and signal mask, on the caller's stack.
class HostWaitArgs {
 public:
  HostWaitArgs(const GuestTimespec* timeout, const GuestSigset* mask)
      : has_timeout_(timeout != nullptr), has_mask_(mask != nullptr) {
    if (has_timeout_) timespec_musl2bionic(timeout, &timeout_);
    if (has_mask_) memcpy(&mask_, mask->words, sizeof(mask_));  // signals 1..64
  }
  const struct timespec* timeout() const {
    return has_timeout_ ? reinterpret_cast<const struct timespec*>(&timeout_) : nullptr;
  }
  const sigset64_t* mask() const { return has_mask_ ? &mask_ : nullptr; }

 private:
  bool has_timeout_;
  bool has_mask_;
  HostTimespec timeout_ = {};
  sigset64_t mask_ = {};
};

}  // namespace

// The kernel's remaining time goes back as two sign-extended 64-bit words.
KELP_EXPORT int __select_time64(int nfds, fd_set* r, fd_set* w, fd_set* e, GuestTimeval* tv) {
  if (tv == nullptr) return select(nfds, r, w, e, nullptr);
  HostTimeval host = {};
  timeval_musl2bionic(tv, &host);
  int result = select(nfds, r, w, e, reinterpret_cast<struct timeval*>(&host));
  timeval_bionic2musl(tv, &host);
  return result;
}
KELP_EXPORT int kelp_adaptor_select(int, fd_set*, fd_set*, fd_set*, GuestTimeval*)
    KELP_ALIAS(__select_time64);

KELP_EXPORT int __ppoll_time64(struct pollfd* fds, nfds_t n, const GuestTimespec* ts,
                               const GuestSigset* mask) {
  HostWaitArgs host(ts, mask);
  return ppoll64(fds, n, host.timeout(), host.mask());
}

KELP_EXPORT int __pselect_time64(int nfds, fd_set* r, fd_set* w, fd_set* e,
                                 const GuestTimespec* ts, const GuestSigset* mask) {
  HostWaitArgs host(ts, mask);
  return pselect64(nfds, r, w, e, host.timeout(), host.mask());
}
