// bionic's 64-bit signal sets and actions. bionic declares them in <signal.h> and
// <sys/signalfd.h>; on the test host libkelphost.so provides them with bionic's 32-bit ARM
// layouts. The functions are declared here on both platforms, so that bionic's own headers
// check this reading of them.
#pragma once

#include <signal.h>
#include <stdint.h>

#if defined(__BIONIC__)
#include <sys/signalfd.h>
#else
extern "C" {
typedef struct {
  unsigned long __bits[2];
} sigset64_t;

// glibc spells sa_handler and sa_sigaction as macros into a union named __sigaction_handler;
// the same shape here lets `act.sa_handler` read alike on both platforms.
#pragma push_macro("sa_handler")
#pragma push_macro("sa_sigaction")
#undef sa_handler
#undef sa_sigaction
struct sigaction64 {
  union {
    void (*sa_handler)(int);
    void (*sa_sigaction)(int, siginfo_t*, void*);
  } __sigaction_handler;
  int sa_flags;
  void (*sa_restorer)(void);
  sigset64_t sa_mask;
};
#pragma pop_macro("sa_sigaction")
#pragma pop_macro("sa_handler")
}
#endif

extern "C" {
int sigaction64(int sig, const struct sigaction64* act, struct sigaction64* old);
int sigemptyset64(sigset64_t* set);
int sigfillset64(sigset64_t* set);
int sigaddset64(sigset64_t* set, int sig);
int sigdelset64(sigset64_t* set, int sig);
int sigismember64(const sigset64_t* set, int sig);
int sigpending64(sigset64_t* set);
int sigprocmask64(int how, const sigset64_t* set, sigset64_t* old);
int sigsuspend64(const sigset64_t* set);
int sigwait64(const sigset64_t* set, int* sig);
int signalfd64(int fd, const sigset64_t* mask, int flags);
int pthread_sigmask64(int how, const sigset64_t* set, sigset64_t* old);
}

static_assert(sizeof(sigset64_t) == 8);
static_assert(sizeof(struct sigaction64) == 20);
