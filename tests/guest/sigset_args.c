/* Spawn attributes and epoll_pwait with signal sets that hold real-time signals, which a
 * one-word set cannot carry (32 to 34 are the C library's own, so none of them). */
#define _GNU_SOURCE
#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <sys/epoll.h>
#include <unistd.h>

static const int kSignals[] = {SIGUSR1, SIGTERM, 35, 36, 40, 64};
#define SIGNALS (int)(sizeof(kSignals) / sizeof(kSignals[0]))

static void print_set(const char* title, const sigset_t* set) {
  printf("%s:", title);
  for (int i = 0; i < SIGNALS; ++i) printf(" %d=%d", kSignals[i], sigismember(set, kSignals[i]));
  printf("\n");
}

static void spawn_attributes(void) {
  posix_spawnattr_t attr;
  posix_spawnattr_init(&attr);
  sigset_t set, out;
  sigemptyset(&set);
  for (int i = 0; i < SIGNALS; i += 2) sigaddset(&set, kSignals[i]);
  sigaddset(&set, 36);
  memset(&out, 0xff, sizeof out);
  printf("setsigmask %d\n", posix_spawnattr_setsigmask(&attr, &set));
  printf("getsigmask %d\n", posix_spawnattr_getsigmask(&attr, &out));
  print_set("  mask", &out);
  sigfillset(&set);
  sigdelset(&set, SIGTERM);
  memset(&out, 0, sizeof out);
  printf("setsigdefault %d\n", posix_spawnattr_setsigdefault(&attr, &set));
  printf("getsigdefault %d\n", posix_spawnattr_getsigdefault(&attr, &out));
  print_set("  default", &out);
  posix_spawnattr_destroy(&attr);
}

static volatile sig_atomic_t delivered;
static void on_signal(int sig) { delivered = sig; }

/* Signal 40 is pending and blocked; epoll_pwait's set keeps it blocked, so the wait times out
 * instead of being interrupted. */
static void epoll_wait_with_mask(void) {
  struct sigaction action;
  memset(&action, 0, sizeof action);
  action.sa_handler = on_signal;
  sigaction(40, &action, NULL);
  sigset_t block, old;
  sigemptyset(&block);
  sigaddset(&block, 40);
  sigprocmask(SIG_BLOCK, &block, &old);
  raise(40);
  int fd = epoll_create1(0);
  struct epoll_event events[1];
  errno = 0;
  int r = epoll_pwait(fd, events, 1, 50, &block);
  printf("epoll_pwait keeping 40 blocked: %d %s delivered %d\n", r, r < 0 ? strerror(errno) : "",
         (int)delivered);
  sigset_t none;
  sigemptyset(&none);
  r = epoll_pwait(fd, events, 1, 50, &none);
  printf("epoll_pwait unblocking all: %d %s delivered %d\n", r,
         r < 0 && errno == EINTR ? "EINTR" : "", (int)delivered);
  close(fd);
  sigprocmask(SIG_SETMASK, &old, NULL);
}

int main(void) {
  spawn_attributes();
  epoll_wait_with_mask();
  return 0;
}
