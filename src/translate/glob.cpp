// glob and globfree between musl's record (gl_pathv at 4) and bionic's BSD record (gl_pathv at
// 16), with flag bits and results by table. Nothing is kept between calls: the host record is
// rebuilt from the guest's count, vector and offset slots, which is all that bionic's glob reads
// for GLOB_APPEND and its globfree reads to free, so the vector bionic allocated stays bionic's.
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "guest/glob.h"
#include "host/bionic_errno.h"
#include "host/bionic_glob.h"
#include "host/bionic_pwd.h"

namespace {

struct GlobFlag {
  int guest;
  int host;
};

// GLOB_TILDE_CHECK is GLOB_TILDE plus the check in TildeUnresolved; GLOB_PERIOD has no
// counterpart (bionic never lets a wildcard match a leading period).
constexpr GlobFlag kGlobFlags[] = {
    {kGuestGlobErr, kHostGlobErr},           {kGuestGlobMark, kHostGlobMark},
    {kGuestGlobNosort, kHostGlobNosort},     {kGuestGlobDooffs, kHostGlobDooffs},
    {kGuestGlobNocheck, kHostGlobNocheck},   {kGuestGlobAppend, kHostGlobAppend},
    {kGuestGlobNoescape, kHostGlobNoescape}, {kGuestGlobTilde, kHostGlobTilde},
    {kGuestGlobTildeCheck, kHostGlobTilde},
};

struct GlobResult {
  int host;
  int guest;
};

constexpr GlobResult kGlobResults[] = {
    {0, 0},
    {kHostGlobNospace, kGuestGlobNospace},
    {kHostGlobAborted, kGuestGlobAborted},
    {kHostGlobNomatch, kGuestGlobNomatch},
};

int HostFlags(int guest_flags) {
  int host = 0;
  for (const GlobFlag& row : kGlobFlags) {
    if ((guest_flags & row.guest) != 0) host |= row.host;
  }
  return host;
}

// A result outside the table is reported as an allocation failure rather than passed on as a
// number the guest would read as something else.
int GuestResult(int host_result) {
  for (const GlobResult& row : kGlobResults) {
    if (row.host == host_result) return row.guest;
  }
  return kGuestGlobNospace;
}

// True when the pattern starts with a tilde prefix that names no home directory: "~" with
// neither HOME nor a user record for the caller, or "~name" with no user of that name.
bool TildeUnresolved(const char* pattern) {
  if (pattern[0] != '~') return false;
  const char* end = strchr(pattern, '/');
  size_t length = end != nullptr ? static_cast<size_t>(end - pattern) - 1 : strlen(pattern + 1);
  HostPasswd record = {};
  char buf[1024];
  HostPasswd* found = nullptr;
  ErrnoRestorer keep_errno;
  if (length == 0) {
    const char* home = getenv("HOME");
    if (home != nullptr) return false;
    BionicGetpwuidR(getuid(), &record, buf, sizeof(buf), &found);
    return found == nullptr;
  }
  char name[256];
  if (length >= sizeof(name)) return true;
  memcpy(name, pattern + 1, length);
  name[length] = '\0';
  BionicGetpwnamR(name, &record, buf, sizeof(buf), &found);
  return found == nullptr;
}

HostGlob HostRecord(const GuestGlob& guest) {
  HostGlob host = {};
  host.gl_pathc = guest.gl_pathc;
  host.gl_offs = guest.gl_offs;
  host.gl_pathv = guest.gl_pathv;
  return host;
}

void CopyOut(const HostGlob& host, GuestGlob* guest) {
  guest->gl_pathc = host.gl_pathc;
  guest->gl_pathv = host.gl_pathv;
  guest->gl_offs = host.gl_offs;
}

}  // namespace

KELP_EXPORT int kelp_adaptor_glob(const char* pattern, int flags,
                                  int (*errfunc)(const char*, int), GuestGlob* result) {
  if ((flags & kGuestGlobPeriod) != 0) {
    KELP_LOG(kLogError, "glob: GLOB_PERIOD is not supported on this platform");
    errno = ENOTSUP;
    return kGuestGlobNosys;
  }
  if ((flags & kGuestGlobAppend) == 0) {
    result->gl_pathc = 0;
    result->gl_pathv = nullptr;
    if ((flags & kGuestGlobDooffs) == 0) result->gl_offs = 0;
  }
  // The guest's glob reports a tilde prefix that names no home as no match, still handing back
  // the pattern under GLOB_NOCHECK; bionic would glob the prefix literally.
  bool unresolved = (flags & (kGuestGlobTilde | kGuestGlobTildeCheck)) != 0 &&
                    TildeUnresolved(pattern);
  if (unresolved) {
    if ((flags & kGuestGlobNocheck) == 0) return kGuestGlobNomatch;
    flags &= ~(kGuestGlobTilde | kGuestGlobTildeCheck);
  }
  HostGlob host = HostRecord(*result);
  int host_result = BionicGlob(pattern, HostFlags(flags), errfunc, &host);
  CopyOut(host, result);
  if (unresolved && host_result == 0) return kGuestGlobNomatch;
  return GuestResult(host_result);
}

KELP_EXPORT void kelp_adaptor_globfree(GuestGlob* result) {
  HostGlob host = HostRecord(*result);
  BionicGlobfree(&host);
  CopyOut(host, result);
}
