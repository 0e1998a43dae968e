// Test host: bionic's glob, the BSD record (gl_matchc, gl_flags, then gl_pathv at 16), BSD flag
// bits and negative results, on glibc's glob. glibc reads the same count, vector and offset for
// GLOB_APPEND and frees them the same way, so the vector moves between the two records as is.
#include <glob.h>
#include <stddef.h>
#include <stdint.h>

#include "kelphost.h"

namespace {

struct BsdGlob {
  size_t gl_pathc;
  size_t gl_matchc;
  size_t gl_offs;
  int gl_flags;
  char** gl_pathv;
  int (*gl_errfunc)(const char*, int);
  void* gl_dir_hooks[5];
};
static_assert(sizeof(BsdGlob) == 44 && offsetof(BsdGlob, gl_pathv) == 16);

struct FlagRow {
  int bsd;
  int glibc;
};

// bionic's bits; GLOB_QUOTE (0x0400) is glibc's default and GLOB_LIMIT (0x1000) has no glibc
// counterpart, so both translate to nothing.
constexpr FlagRow kFlags[] = {
    {0x0001, GLOB_APPEND},  {0x0002, GLOB_DOOFFS},   {0x0004, GLOB_ERR},
    {0x0008, GLOB_MARK},    {0x0010, GLOB_NOCHECK},  {0x0020, GLOB_NOSORT},
    {0x0080, GLOB_BRACE},   {0x0200, GLOB_NOMAGIC},  {0x0800, GLOB_TILDE},
    {0x2000, GLOB_NOESCAPE},
};
constexpr int kBsdAltdirfunc = 0x0040;
constexpr int kBsdMagchar = 0x0100;
constexpr int kBsdNospace = -1;

int BsdResult(int glibc_result) {
  switch (glibc_result) {
    case 0: return 0;
    case GLOB_ABORTED: return -2;
    case GLOB_NOMATCH: return -3;
    default: return kBsdNospace;
  }
}

}  // namespace

KELPHOST_EXPORT int BionicGlob(const char* pattern, int flags, int (*errfunc)(const char*, int),
                               BsdGlob* result) __asm__("glob");
int BionicGlob(const char* pattern, int flags, int (*errfunc)(const char*, int),
               BsdGlob* result) {
  // The alternate directory functions are bionic's own extension; nothing here calls them.
  if ((flags & kBsdAltdirfunc) != 0) return kBsdNospace;
  int glibc_flags = 0;
  for (const FlagRow& row : kFlags) {
    if ((flags & row.bsd) != 0) glibc_flags |= row.glibc;
  }
  glob_t g = {};
  g.gl_pathc = result->gl_pathc;
  g.gl_pathv = result->gl_pathv;
  g.gl_offs = result->gl_offs;
  size_t before = (flags & 0x0001) != 0 ? result->gl_pathc : 0;
  int rc = glob(pattern, glibc_flags, errfunc, &g);
  result->gl_pathc = g.gl_pathc;
  result->gl_pathv = g.gl_pathv;
  result->gl_offs = g.gl_offs;
  result->gl_matchc = g.gl_pathc - before;
  result->gl_flags = flags | ((g.gl_flags & GLOB_MAGCHAR) != 0 ? kBsdMagchar : 0);
  result->gl_errfunc = errfunc;
  return BsdResult(rc);
}

KELPHOST_EXPORT void BionicGlobfree(BsdGlob* result) __asm__("globfree");
void BionicGlobfree(BsdGlob* result) {
  glob_t g = {};
  g.gl_pathc = result->gl_pathc;
  g.gl_pathv = result->gl_pathv;
  g.gl_offs = result->gl_offs;
  globfree(&g);
  result->gl_pathc = 0;
  result->gl_pathv = nullptr;
}
