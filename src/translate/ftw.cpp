// ftw and nftw on the adaptor's own file-tree walker, handing guest callbacks guest-layout stat
// records and guest flag values.
#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "core/export.h"
#include "guest/stat.h"
#include "host/bionic_errno.h"
#include "provided/fts.h"
#include "translate/stat_convert.h"

using GuestFtwFn = int (*)(const char*, const GuestStat*, int);
using GuestNftwFn = int (*)(const char*, const GuestStat*, int, GuestFtw*);

extern "C" int fn_flag_bionic2musl(int flag);

namespace {

// Host (bionic) walk flags and option bits.
enum HostFlag { kFtwF = 0, kFtwD = 1, kFtwDnr = 2, kFtwDp = 3, kFtwNs = 4, kFtwSl = 5, kFtwSln = 6 };
constexpr int kHostPhys = 1, kHostMount = 2, kHostDepth = 4, kHostChdir = 8;
constexpr int kGuestChdir = 4, kGuestDepth = 8;

// Guest value by host flag.
constexpr int kGuestFlags[] = {1, 2, 3, 6, 4, 5, 7};

constexpr int kSkip = -2;  // an entry the callback never sees
constexpr int kStop = -1;  // an entry kind the walk cannot report

int HostFlagOf(const kelp_fts::FTSENT* e, bool depth_first, bool is_nftw) {
  using namespace kelp_fts;
  switch (e->fts_info) {
    case FTS_D:
      if (depth_first) return kSkip;
      // An unreadable directory is not announced in pre-order; its contents cannot be read.
      return access(e->fts_path, R_OK) != 0 ? kSkip : kFtwD;
    case FTS_DC:
      return kSkip;
    case FTS_F:
    case FTS_DEFAULT:
      return kFtwF;
    case FTS_DNR:
      return kFtwDnr;
    case FTS_DP:
      return depth_first ? kFtwDp : kSkip;
    case FTS_NS:
    case FTS_NSOK:
      return kFtwNs;
    case FTS_SL:
      return kFtwSl;
    case FTS_SLNONE:
      return is_nftw ? kFtwSln : kFtwNs;
    default:
      return kStop;
  }
}

int do_nftw_bionic(const char* path, GuestFtwFn ftw_fn, GuestNftwFn nftw_fn, int nopenfd,
                   int flags) {
  using namespace kelp_fts;
  if (nopenfd < 1) {
    errno = EINVAL;
    return -1;
  }
  int options = FTS_COMFOLLOW | FTS_FOR_FTW;
  if (nftw_fn == nullptr) {
    options |= FTS_LOGICAL | FTS_NOCHDIR;
  } else {
    options |= (flags & kHostPhys) != 0 ? FTS_PHYSICAL : FTS_LOGICAL;
    if ((flags & kHostChdir) == 0) options |= FTS_NOCHDIR;
    if ((flags & kHostMount) != 0) options |= FTS_XDEV;
  }
  char* roots[] = {const_cast<char*>(path), nullptr};
  FTS* fts = __fts_open(roots, options, nullptr);
  if (fts == nullptr) return -1;

  bool depth_first = (flags & kHostDepth) != 0;
  int result = 0;
  bool ran_out = false;
  for (;;) {
    FTSENT* e = fts_read(fts);
    if (e == nullptr) {
      ran_out = errno == 0;
      if (!ran_out) result = -1;
      break;
    }
    int host_flag = HostFlagOf(e, depth_first, nftw_fn != nullptr);
    if (host_flag == kSkip) continue;
    if (host_flag == kStop) {
      result = -1;
      break;
    }
    GuestStat st = {};
    if (e->fts_statp != nullptr) StatRule(e->fts_statp, &st);
    int guest_flag = fn_flag_bionic2musl(host_flag);
    if (nftw_fn != nullptr) {
      GuestFtw record = {static_cast<int32_t>(e->fts_pathlen - e->fts_namelen), e->fts_level};
      result = nftw_fn(e->fts_path, &st, guest_flag, &record);
    } else {
      result = ftw_fn(e->fts_path, &st, guest_flag);
    }
    if (result != 0) break;
  }

  int saved = errno;
  if (fts_close(fts) != 0 && ran_out) return -1;
  errno = saved;
  return result;
}

}  // namespace

KELP_EXPORT int fn_flag_bionic2musl(int flag) {
  return flag >= 0 && flag < 7 ? kGuestFlags[flag] : flag;
}

KELP_EXPORT int ftw_bionic(const char* path, GuestFtwFn fn, int nopenfd) {
  return do_nftw_bionic(path, fn, nullptr, nopenfd, 0);
}

KELP_EXPORT int nftw_bionic(const char* path, GuestNftwFn fn, int nopenfd, int flags) {
  return do_nftw_bionic(path, nullptr, fn, nopenfd, flags);
}

KELP_EXPORT int kelp_adaptor_ftw(const char* path, GuestFtwFn fn, int nopenfd) {
  return ftw_bionic(path, fn, nopenfd);
}

// Bits 1 and 2 agree; the guest's FTW_CHDIR (4) and FTW_DEPTH (8) are the host's 8 and 4.
KELP_EXPORT int kelp_adaptor_nftw(const char* path, GuestNftwFn fn, int nopenfd, int flags) {
  int host = flags & (kHostPhys | kHostMount);
  if ((flags & kGuestChdir) != 0) host |= kHostChdir;
  if ((flags & kGuestDepth) != 0) host |= kHostDepth;
  return nftw_bionic(path, fn, nopenfd, host);
}
