// Test host: bionic's spawn-attribute signal calls and epoll_pwait. Its plain names take the
// one-word 32-bit ARM sigset_t, so signals past 32 are lost on the way in and read back as
// clear; its *64 variants take the two-word set. Each calls glibc's function of the plain name
// (bound by version) with a glibc set built from those words.
#include <signal.h>
#include <spawn.h>
#include <stdint.h>
#include <string.h>
#include <sys/epoll.h>

#include "kelphost.h"

extern "C" {
int GlibcSetsigmask(posix_spawnattr_t* attr, const sigset_t* set);
int GlibcGetsigmask(const posix_spawnattr_t* attr, sigset_t* set);
int GlibcSetsigdefault(posix_spawnattr_t* attr, const sigset_t* set);
int GlibcGetsigdefault(const posix_spawnattr_t* attr, sigset_t* set);
int GlibcEpollPwait(int fd, epoll_event* events, int count, int timeout, const sigset_t* set);
}
__asm__(".symver GlibcSetsigmask, posix_spawnattr_setsigmask@GLIBC_2.4");
__asm__(".symver GlibcGetsigmask, posix_spawnattr_getsigmask@GLIBC_2.4");
__asm__(".symver GlibcSetsigdefault, posix_spawnattr_setsigdefault@GLIBC_2.4");
__asm__(".symver GlibcGetsigdefault, posix_spawnattr_getsigdefault@GLIBC_2.4");
__asm__(".symver GlibcEpollPwait, epoll_pwait@GLIBC_2.6");

namespace {

// A host set of `words` 32-bit words (1 for bionic's sigset_t, 2 for its sigset64_t).
sigset_t Widen(const uint32_t* set, size_t words) {
  sigset_t wide;
  sigemptyset(&wide);
  memcpy(&wide, set, words * sizeof(uint32_t));
  return wide;
}

template <typename Set>
int Store(posix_spawnattr_t* attr, const uint32_t* set, size_t words, Set call) {
  sigset_t wide = Widen(set, words);
  return call(attr, &wide);
}

template <typename Get>
int Load(const posix_spawnattr_t* attr, uint32_t* set, size_t words, Get call) {
  sigset_t wide;
  int result = call(attr, &wide);
  if (result == 0) memcpy(set, &wide, words * sizeof(uint32_t));
  return result;
}

}  // namespace

#define KELPHOST_SPAWN_SIGNALS(name, glibc_set, glibc_get)                                   \
  KELPHOST_EXPORT int KelphostSet##name(posix_spawnattr_t* attr, const uint32_t* set)       \
      __asm__("posix_spawnattr_set" #name);                                                  \
  int KelphostSet##name(posix_spawnattr_t* attr, const uint32_t* set) {                     \
    return Store(attr, set, 1, glibc_set);                                                   \
  }                                                                                          \
  KELPHOST_EXPORT int KelphostSet##name##64(posix_spawnattr_t* attr, const uint32_t* set)   \
      __asm__("posix_spawnattr_set" #name "64");                                             \
  int KelphostSet##name##64(posix_spawnattr_t* attr, const uint32_t* set) {                 \
    return Store(attr, set, 2, glibc_set);                                                   \
  }                                                                                          \
  KELPHOST_EXPORT int KelphostGet##name(const posix_spawnattr_t* attr, uint32_t* set)       \
      __asm__("posix_spawnattr_get" #name);                                                  \
  int KelphostGet##name(const posix_spawnattr_t* attr, uint32_t* set) {                     \
    return Load(attr, set, 1, glibc_get);                                                    \
  }                                                                                          \
  KELPHOST_EXPORT int KelphostGet##name##64(const posix_spawnattr_t* attr, uint32_t* set)   \
      __asm__("posix_spawnattr_get" #name "64");                                             \
  int KelphostGet##name##64(const posix_spawnattr_t* attr, uint32_t* set) {                 \
    return Load(attr, set, 2, glibc_get);                                                    \
  }

KELPHOST_SPAWN_SIGNALS(sigmask, GlibcSetsigmask, GlibcGetsigmask)
KELPHOST_SPAWN_SIGNALS(sigdefault, GlibcSetsigdefault, GlibcGetsigdefault)

KELPHOST_EXPORT int KelphostEpollPwait(int fd, epoll_event* events, int count, int timeout,
                                       const uint32_t* set) __asm__("epoll_pwait");
int KelphostEpollPwait(int fd, epoll_event* events, int count, int timeout, const uint32_t* set) {
  if (set == nullptr) return GlibcEpollPwait(fd, events, count, timeout, nullptr);
  sigset_t wide = Widen(set, 1);
  return GlibcEpollPwait(fd, events, count, timeout, &wide);
}

KELPHOST_EXPORT int KelphostEpollPwait64(int fd, epoll_event* events, int count, int timeout,
                                         const uint32_t* set) __asm__("epoll_pwait64");
int KelphostEpollPwait64(int fd, epoll_event* events, int count, int timeout,
                         const uint32_t* set) {
  if (set == nullptr) return GlibcEpollPwait(fd, events, count, timeout, nullptr);
  sigset_t wide = Widen(set, 2);
  return GlibcEpollPwait(fd, events, count, timeout, &wide);
}
