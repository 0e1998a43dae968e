/* Signals and jumps through musl's headers: sigaction with SA_SIGINFO, masks, pending
 * signals, sigtimedwait, setjmp/longjmp, sigsetjmp/siglongjmp (also out of a handler). */
#define _GNU_SOURCE
#include <errno.h>
#include <setjmp.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static volatile sig_atomic_t seen_signo, seen_code;
static sigjmp_buf handler_jump;

static void info_handler(int sig, siginfo_t* info, void* context) {
  (void)context;
  seen_signo = sig == info->si_signo ? sig : -1;
  seen_code = info->si_code;
}

static void jumping_handler(int sig) { siglongjmp(handler_jump, sig); }

static int blocked(int sig) {
  sigset_t now;
  sigprocmask(SIG_SETMASK, NULL, &now);
  return sigismember(&now, sig);
}

int main(void) {
  struct sigaction act, old;
  memset(&act, 0, sizeof(act));
  act.sa_sigaction = info_handler;
  act.sa_flags = SA_SIGINFO;
  sigemptyset(&act.sa_mask);
  sigaddset(&act.sa_mask, SIGUSR2);
  printf("sigaction: %d\n", sigaction(SIGUSR1, &act, NULL));
  printf("query: %d\n", sigaction(SIGUSR1, NULL, &old));
  printf("old handler is ours: %d, SA_SIGINFO: %d, mask has SIGUSR2: %d\n",
         old.sa_sigaction == info_handler, !!(old.sa_flags & SA_SIGINFO),
         sigismember(&old.sa_mask, SIGUSR2));
  raise(SIGUSR1);
  printf("handler saw signal %d, code %d (SI_TKILL %d)\n", (int)seen_signo, (int)seen_code,
         SI_TKILL);
  errno = 0;
  printf("sigaction(0): %d errno %d\n", sigaction(0, &act, NULL), errno);

  sigset_t set, pending;
  sigfillset(&set);
  int all = 1;
  for (int sig = 1; sig < 65; ++sig) all &= sigismember(&set, sig) == 1;
  printf("sigfillset has 1..64: %d\n", all);
  sigemptyset(&set);
  sigaddset(&set, SIGUSR2);
  sigprocmask(SIG_BLOCK, &set, NULL);
  raise(SIGUSR2);
  sigpending(&pending);
  printf("SIGUSR2 pending: %d\n", sigismember(&pending, SIGUSR2));
  struct timespec no_wait = {0, 0}, short_wait = {0, 5000000};
  siginfo_t info;
  printf("sigtimedwait: %d\n", sigtimedwait(&set, &info, &no_wait));
  errno = 0;
  printf("sigtimedwait again: %d errno %d\n", sigtimedwait(&set, &info, &short_wait), errno);

  jmp_buf env;
  volatile int count = 0;
  int value = setjmp(env);
  count = count + 1;
  if (count < 3) longjmp(env, count == 2 ? 0 : 7);
  printf("setjmp returned %d after %d passes\n", value, (int)count);

  sigjmp_buf senv;
  sigemptyset(&set);
  sigprocmask(SIG_SETMASK, &set, NULL);
  if ((value = sigsetjmp(senv, 1)) == 0) {
    sigaddset(&set, SIGUSR1);
    sigprocmask(SIG_BLOCK, &set, NULL);
    siglongjmp(senv, 5);
  }
  printf("sigsetjmp(1): %d, SIGUSR1 blocked after the jump: %d\n", value, blocked(SIGUSR1));
  if ((value = sigsetjmp(senv, 0)) == 0) {
    sigprocmask(SIG_BLOCK, &set, NULL);
    siglongjmp(senv, 6);
  }
  printf("sigsetjmp(0): %d, SIGUSR1 still blocked: %d\n", value, blocked(SIGUSR1));

  sigemptyset(&set);
  sigprocmask(SIG_SETMASK, &set, NULL);
  signal(SIGUSR1, jumping_handler);
  if ((value = sigsetjmp(handler_jump, 1)) == 0) {
    raise(SIGUSR1);
    puts("not reached");
  }
  printf("jumped out of the handler with %d, SIGUSR1 blocked: %d\n", value, blocked(SIGUSR1));
  return 0;
}
