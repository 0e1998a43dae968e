// Calls that take a guest signal set where bionic's plain name takes its one-word 32-bit ARM
// set: each goes to bionic's 64-bit variant, which reads the first 8 bytes of the guest's
// 128-byte set. A set read back fills those 8 bytes and clears the rest, as the guest's own
// copy of a set would.
#include <string.h>

#include "core/export.h"
#include "guest/signal.h"
#include "host/bionic_spawn.h"

namespace {

const sigset64_t* HostSet(const GuestSigset* set) {
  return reinterpret_cast<const sigset64_t*>(set);
}

template <typename Get>
int ReadSet(GuestSigset* set, Get get) {
  sigset64_t host = {};
  int result = get(&host);
  if (result == 0 && set != nullptr) {
    memset(set, 0, sizeof(*set));
    memcpy(set, &host, sizeof(host));
  }
  return result;
}

}  // namespace

KELP_EXPORT int kelp_adaptor_posix_spawnattr_setsigmask(void* attr, const GuestSigset* set) {
  return BionicSpawnattrSetsigmask64(attr, HostSet(set));
}

KELP_EXPORT int kelp_adaptor_posix_spawnattr_setsigdefault(void* attr, const GuestSigset* set) {
  return BionicSpawnattrSetsigdefault64(attr, HostSet(set));
}

KELP_EXPORT int kelp_adaptor_posix_spawnattr_getsigmask(const void* attr, GuestSigset* set) {
  return ReadSet(set, [attr](sigset64_t* host) { return BionicSpawnattrGetsigmask64(attr, host); });
}

KELP_EXPORT int kelp_adaptor_posix_spawnattr_getsigdefault(const void* attr, GuestSigset* set) {
  return ReadSet(set,
                 [attr](sigset64_t* host) { return BionicSpawnattrGetsigdefault64(attr, host); });
}

KELP_EXPORT int kelp_adaptor_epoll_pwait(int fd, epoll_event* events, int count, int timeout,
                                         const GuestSigset* set) {
  return BionicEpollPwait64(fd, events, count, timeout, set != nullptr ? HostSet(set) : nullptr);
}
