// The adaptor's own file-tree walker, for ftw/nftw. Internal: nothing here is exported, and the
// names live in a namespace so that they never meet the host's fts functions.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/stat.h>

namespace kelp_fts {

// Options (the contract with ftw/nftw).
inline constexpr int FTS_COMFOLLOW = 0x1;
inline constexpr int FTS_LOGICAL = 0x2;
inline constexpr int FTS_NOCHDIR = 0x4;
inline constexpr int FTS_NOSTAT = 0x8;
inline constexpr int FTS_PHYSICAL = 0x10;
inline constexpr int FTS_SEEDOT = 0x20;
inline constexpr int FTS_XDEV = 0x40;
inline constexpr int FTS_NAMEONLY = 0x1000;  // private
inline constexpr int FTS_STOP = 0x2000;      // private
inline constexpr int FTS_FOR_FTW = 0x4000;   // private: an unstat'able root fails the open

// Entry kinds.
enum : uint16_t {
  FTS_D = 1,
  FTS_DC = 2,
  FTS_DEFAULT = 3,
  FTS_DNR = 4,
  FTS_DOT = 5,
  FTS_DP = 6,
  FTS_ERR = 7,
  FTS_F = 8,
  FTS_INIT = 9,
  FTS_NS = 10,
  FTS_NSOK = 11,
  FTS_SL = 12,
  FTS_SLNONE = 13,
};

// Instructions.
enum : uint16_t { FTS_AGAIN = 1, FTS_FOLLOW = 2, FTS_NOINSTR = 3, FTS_SKIP = 4 };

// Entry flags.
inline constexpr uint16_t FTS_DONTCHDIR = 0x1;
inline constexpr uint16_t FTS_SYMFOLLOW = 0x2;

inline constexpr int16_t FTS_ROOTPARENTLEVEL = -1;
inline constexpr int16_t FTS_ROOTLEVEL = 0;

struct FTSENT {
  FTSENT* fts_cycle;   // the ancestor that closes a cycle
  FTSENT* fts_parent;
  FTSENT* fts_link;    // next sibling
  long fts_number;     // left to callers
  void* fts_pointer;   // left to callers
  int fts_symfd;       // directory descriptor of a followed link
  int fts_errno;
  char* fts_accpath;   // the path to use for system calls
  char* fts_path;      // the handle's path buffer
  size_t fts_pathlen;
  size_t fts_namelen;
  uint64_t fts_ino;    // full width: file systems with inode numbers past 2^32 exist
  uint64_t fts_dev;
  uint32_t fts_nlink;
  int16_t fts_level;
  uint16_t fts_info;
  uint16_t fts_flags;
  uint16_t fts_instr;
  struct stat* fts_statp;  // host layout; null under FTS_NOSTAT
  char fts_name[1];
};
static_assert(sizeof(FTSENT) == 88 && offsetof(FTSENT, fts_name) == 80);
static_assert(sizeof(struct stat) == 104, "entries carry the host's 104-byte stat record");

using FtsCompare = int (*)(const FTSENT**, const FTSENT**);

struct FTS {
  FTSENT* fts_cur;
  FTSENT* fts_child;
  FTSENT** fts_array;
  size_t fts_nitems;
  uint64_t fts_dev;
  char* fts_path;
  size_t fts_pathlen;
  int fts_rfd;
  FtsCompare fts_compar;
  int fts_options;
};

FTS* __fts_open(char* const* argv, int options, FtsCompare compar);
FTSENT* fts_read(FTS* sp);
int fts_close(FTS* sp);

}  // namespace kelp_fts
