// Small stdio calls whose bionic ABI differs from musl's: tmpnam may write up to bionic's
// L_tmpnam (4096) bytes where the guest's buffer holds its L_tmpnam (20), so the name is made
// in bionic's own buffer and copied only when it fits; __fpurge returns nothing on bionic and
// 0 to the guest.
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "core/export.h"
#include "host/bionic_errno.h"
#include "host/bionic_stdio_names.h"

namespace {
constexpr size_t kGuestTmpnamMax = 20;
}  // namespace

KELP_EXPORT char* kelp_adaptor_tmpnam(char* buf) {
  char* name = BionicTmpnam(nullptr);
  if (name == nullptr || buf == nullptr) return name;
  size_t length = strlen(name);
  if (length >= kGuestTmpnamMax) {
    errno = ENAMETOOLONG;
    return nullptr;
  }
  memcpy(buf, name, length + 1);
  return buf;
}

KELP_EXPORT int kelp_adaptor___fpurge(FILE* stream) {
  BionicFpurge(stream);
  return 0;
}
