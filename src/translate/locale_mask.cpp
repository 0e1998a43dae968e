// newlocale's category mask: musl's LC_ALL_MASK is 0x7fffffff and musl ignores bits past its
// six categories, while bionic refuses any bit outside its own LC_ALL_MASK. The six categories
// are numbered alike; all six become bionic's whole mask, so its extra categories follow.
#include "core/export.h"
#include "host/bionic_locale.h"

namespace {
constexpr int kGuestCategories = 0x3f;
}  // namespace

KELP_EXPORT void* kelp_adaptor_newlocale(int mask, const char* name, void* base) {
  int host_mask = mask & kGuestCategories;
  if (host_mask == kGuestCategories) host_mask = kHostLcAllMask;
  return BionicNewlocale(host_mask, name, base);
}
