// bionic's 64-bit signal-set variants of the spawn attribute calls and of epoll_pwait (API 28).
// Its plain names take the one-word 32-bit ARM sigset_t and drop the real-time signals. The
// attribute object is passed through untouched (bionic's is a pointer to its own record), so
// the seam takes it untyped.
#pragma once

#include "host/bionic_signal.h"

struct epoll_event;

#if defined(__BIONIC__)
#include <spawn.h>
#include <sys/epoll.h>

inline int BionicSpawnattrSetsigmask64(void* attr, const sigset64_t* set) {
  return posix_spawnattr_setsigmask64(static_cast<posix_spawnattr_t*>(attr), set);
}
inline int BionicSpawnattrGetsigmask64(const void* attr, sigset64_t* set) {
  return posix_spawnattr_getsigmask64(static_cast<const posix_spawnattr_t*>(attr), set);
}
inline int BionicSpawnattrSetsigdefault64(void* attr, const sigset64_t* set) {
  return posix_spawnattr_setsigdefault64(static_cast<posix_spawnattr_t*>(attr), set);
}
inline int BionicSpawnattrGetsigdefault64(const void* attr, sigset64_t* set) {
  return posix_spawnattr_getsigdefault64(static_cast<const posix_spawnattr_t*>(attr), set);
}
inline int BionicEpollPwait64(int fd, epoll_event* events, int count, int timeout,
                              const sigset64_t* set) {
  return epoll_pwait64(fd, events, count, timeout, set);
}
#else
extern "C" {
int BionicSpawnattrSetsigmask64(void* attr, const sigset64_t* set)
    __asm__("posix_spawnattr_setsigmask64");
int BionicSpawnattrGetsigmask64(const void* attr, sigset64_t* set)
    __asm__("posix_spawnattr_getsigmask64");
int BionicSpawnattrSetsigdefault64(void* attr, const sigset64_t* set)
    __asm__("posix_spawnattr_setsigdefault64");
int BionicSpawnattrGetsigdefault64(const void* attr, sigset64_t* set)
    __asm__("posix_spawnattr_getsigdefault64");
int BionicEpollPwait64(int fd, epoll_event* events, int count, int timeout,
                       const sigset64_t* set) __asm__("epoll_pwait64");
}
#endif
