// bionic's glob: the BSD record (gl_matchc before gl_offs, gl_pathv at 16, the directory hooks
// after it), BSD flag bits and negative results. Another host's headers declare glob with their
// own record, hence the asm labels.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct HostGlob {
  uint32_t gl_pathc;
  uint32_t gl_matchc;
  uint32_t gl_offs;
  int32_t gl_flags;
  char** gl_pathv;
  int (*gl_errfunc)(const char*, int);
  void* gl_dir_hooks[5];
};
static_assert(sizeof(HostGlob) == 44);
static_assert(offsetof(HostGlob, gl_offs) == 8);
static_assert(offsetof(HostGlob, gl_flags) == 12);
static_assert(offsetof(HostGlob, gl_pathv) == 16);
static_assert(offsetof(HostGlob, gl_errfunc) == 20);

inline constexpr int kHostGlobAppend = 0x0001;
inline constexpr int kHostGlobDooffs = 0x0002;
inline constexpr int kHostGlobErr = 0x0004;
inline constexpr int kHostGlobMark = 0x0008;
inline constexpr int kHostGlobNocheck = 0x0010;
inline constexpr int kHostGlobNosort = 0x0020;
inline constexpr int kHostGlobTilde = 0x0800;
inline constexpr int kHostGlobNoescape = 0x2000;

inline constexpr int kHostGlobNospace = -1;
inline constexpr int kHostGlobAborted = -2;
inline constexpr int kHostGlobNomatch = -3;

#if defined(__BIONIC__)
#include <glob.h>

static_assert(sizeof(glob_t) == sizeof(HostGlob));
static_assert(offsetof(glob_t, gl_pathv) == offsetof(HostGlob, gl_pathv));
static_assert(offsetof(glob_t, gl_errfunc) == offsetof(HostGlob, gl_errfunc));
static_assert(GLOB_APPEND == kHostGlobAppend && GLOB_DOOFFS == kHostGlobDooffs);
static_assert(GLOB_ERR == kHostGlobErr && GLOB_MARK == kHostGlobMark);
static_assert(GLOB_NOCHECK == kHostGlobNocheck && GLOB_NOSORT == kHostGlobNosort);
static_assert(GLOB_TILDE == kHostGlobTilde && GLOB_NOESCAPE == kHostGlobNoescape);
static_assert(GLOB_NOSPACE == kHostGlobNospace && GLOB_ABORTED == kHostGlobAborted);
static_assert(GLOB_NOMATCH == kHostGlobNomatch);

inline int BionicGlob(const char* pattern, int flags, int (*errfunc)(const char*, int),
                      HostGlob* result) {
  return glob(pattern, flags, errfunc, reinterpret_cast<glob_t*>(result));
}
inline void BionicGlobfree(HostGlob* result) { globfree(reinterpret_cast<glob_t*>(result)); }
#else
extern "C" {
int BionicGlob(const char* pattern, int flags, int (*errfunc)(const char*, int),
               HostGlob* result) __asm__("glob");
void BionicGlobfree(HostGlob* result) __asm__("globfree");
}
#endif
