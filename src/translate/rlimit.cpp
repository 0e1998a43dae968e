// Resource limits: 64-bit guest values on 32-bit host ones. Narrowing keeps the low word, so
// the guest's all-ones RLIM_INFINITY becomes the host's; widening zero-extends, so the host's
// infinity reads back as 4294967295 rather than as the guest's all ones. The asymmetry is the
// guest ABI's behaviour and stays.
#include <sys/types.h>

#include "core/export.h"
#include "guest/resource.h"
#include "host/bionic_resource.h"

namespace {

HostRlimit Narrow(const GuestRlimit& in) {
  return {static_cast<uint32_t>(in.rlim_cur), static_cast<uint32_t>(in.rlim_max)};
}

void Widen(const HostRlimit& in, GuestRlimit* out) {
  out->rlim_cur = in.rlim_cur;
  out->rlim_max = in.rlim_max;
}

}  // namespace

KELP_EXPORT int kelp_adaptor_setrlimit(int resource, const GuestRlimit* r) {
  if (r == nullptr) return BionicSetrlimit(resource, nullptr);
  HostRlimit host = Narrow(*r);
  return BionicSetrlimit(resource, &host);
}

KELP_EXPORT int kelp_adaptor_getrlimit(int resource, GuestRlimit* r) {
  HostRlimit host = {};
  int result = BionicGetrlimit(resource, &host);
  if (r != nullptr) Widen(host, r);
  return result;
}

KELP_EXPORT int kelp_adaptor_prlimit(pid_t pid, int resource, const GuestRlimit* new_limit,
                                     GuestRlimit* old_limit) {
  HostRlimit host_new = {};
  HostRlimit host_old = {};
  if (new_limit != nullptr) host_new = Narrow(*new_limit);
  int result = BionicPrlimit(pid, resource, new_limit != nullptr ? &host_new : nullptr,
                             old_limit != nullptr ? &host_old : nullptr);
  if (old_limit != nullptr) Widen(host_old, old_limit);
  return result;
}
