// Guest signal sets and actions on the host's 64-bit signal functions.
#include "guest/signal.h"

#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "guest/time.h"
#include "support/adaptor_symbol.h"

extern "C" {
int kelp_adaptor_sigaction(int, const GuestSigaction*, GuestSigaction*);
int kelp_adaptor_sigemptyset(GuestSigset*);
int kelp_adaptor_sigfillset(GuestSigset*);
int kelp_adaptor_sigaddset(GuestSigset*, int);
int kelp_adaptor_sigdelset(GuestSigset*, int);
int kelp_adaptor_sigismember(const GuestSigset*, int);
int kelp_adaptor_sigprocmask(int, const GuestSigset*, GuestSigset*);
int kelp_adaptor_sigpending(GuestSigset*);
int __sigtimedwait_time64(const GuestSigset*, siginfo_t*, const GuestTimespec*);
}

namespace {
GuestSigset Filled(uint8_t byte) {
  GuestSigset set;
  memset(&set, byte, sizeof(set));
  return set;
}

bool TailIs(const GuestSigset& set, uint8_t byte) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&set);
  for (size_t i = 8; i < sizeof(set); ++i) {
    if (bytes[i] != byte) return false;
  }
  return true;
}

// Restores the thread's signal mask and one signal's action when the test ends.
class SignalRestorer {
 public:
  explicit SignalRestorer(int sig) : sig_(sig) {
    sigaction(sig, nullptr, &action_);
    pthread_sigmask(SIG_SETMASK, nullptr, &mask_);
  }
  ~SignalRestorer() {
    sigaction(sig_, &action_, nullptr);
    pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
  }

 private:
  int sig_;
  struct sigaction action_;
  sigset_t mask_;
};

volatile sig_atomic_t g_seen_signo, g_seen_code, g_seen_pid;
void InfoHandler(int sig, siginfo_t* info, void*) {
  g_seen_signo = sig == info->si_signo ? sig : -1;
  g_seen_code = info->si_code;
  g_seen_pid = info->si_pid;
}
}  // namespace

TEST(signal_sets, operations_touch_only_the_first_eight_bytes) {
  GuestSigset set = Filled(0xAB);
  EXPECT_EQ(0, kelp_adaptor_sigfillset(&set));
  EXPECT_EQ(0xFFFFFFFFu, set.words[0]);
  EXPECT_EQ(0xFFFFFFFFu, set.words[1]);
  EXPECT_TRUE(TailIs(set, 0xAB));
  for (int sig = 1; sig <= 64; ++sig) EXPECT_EQ(1, kelp_adaptor_sigismember(&set, sig)) << sig;

  EXPECT_EQ(0, kelp_adaptor_sigemptyset(&set));
  EXPECT_EQ(0u, set.words[0] | set.words[1]);
  EXPECT_TRUE(TailIs(set, 0xAB));
  EXPECT_EQ(0, kelp_adaptor_sigaddset(&set, 1));
  EXPECT_EQ(0, kelp_adaptor_sigaddset(&set, 64));
  EXPECT_EQ(1u, set.words[0]);
  EXPECT_EQ(0x80000000u, set.words[1]);
  EXPECT_EQ(0, kelp_adaptor_sigdelset(&set, 64));
  EXPECT_EQ(0u, set.words[1]);
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_sigaddset(&set, 65));
  EXPECT_EQ(EINVAL, errno);
}

TEST(signal_sets, musl_only_operations) {
  ADAPTOR_FN(int (*)(const GuestSigset*), isempty, "sigisemptyset");
  ADAPTOR_FN(int (*)(GuestSigset*, const GuestSigset*, const GuestSigset*), orset, "sigorset");
  ADAPTOR_FN(int (*)(GuestSigset*, const GuestSigset*, const GuestSigset*), andset, "sigandset");
  GuestSigset beyond = Filled(0);
  reinterpret_cast<uint8_t*>(&beyond)[8] = 0xFF;
  EXPECT_EQ(1, isempty(&beyond)) << "bytes past the eighth carry no signals";
  GuestSigset a = Filled(0), b = Filled(0), d = Filled(0x5C);
  a.words[0] = 0x0F;
  a.words[1] = 0x100;
  b.words[0] = 0xF1;
  b.words[2] = 0xFFFF;
  EXPECT_EQ(0, orset(&d, &a, &b));
  EXPECT_EQ(0xFFu, d.words[0]);
  EXPECT_EQ(0x100u, d.words[1]);
  EXPECT_TRUE(TailIs(d, 0x5C));
  EXPECT_EQ(0, andset(&d, &a, &b));
  EXPECT_EQ(0x01u, d.words[0]);
  EXPECT_EQ(0u, d.words[1]);
  EXPECT_TRUE(TailIs(d, 0x5C));
  EXPECT_EQ(0, isempty(&b) | isempty(&d));
}

TEST(sigaction, query_install_and_a_handler_that_sees_siginfo) {
  SignalRestorer restore(SIGUSR1);
  GuestSigaction act = {};
  act.handler = reinterpret_cast<void*>(InfoHandler);
  act.sa_flags = SA_SIGINFO;
  kelp_adaptor_sigemptyset(&act.sa_mask);
  kelp_adaptor_sigaddset(&act.sa_mask, SIGUSR2);
  ASSERT_EQ(0, kelp_adaptor_sigaction(SIGUSR1, &act, nullptr));

  GuestSigaction old;
  memset(&old, 0xEE, sizeof(old));
  ASSERT_EQ(0, kelp_adaptor_sigaction(SIGUSR1, nullptr, &old));  // query only
  EXPECT_EQ(act.handler, old.handler);
  EXPECT_TRUE(old.sa_flags & SA_SIGINFO);
  EXPECT_EQ(1, kelp_adaptor_sigismember(&old.sa_mask, SIGUSR2));
  EXPECT_TRUE(TailIs(old.sa_mask, 0xEE)) << "bytes 8 to 127 of oact's mask are not written";

  g_seen_signo = 0;
  ASSERT_EQ(0, raise(SIGUSR1));
  EXPECT_EQ(SIGUSR1, g_seen_signo);
  EXPECT_EQ(SI_TKILL, g_seen_code);
  EXPECT_EQ(getpid(), g_seen_pid);
}

TEST(sigaction, bad_signal_fails_and_zeroes_oact) {
  GuestSigaction old;
  memset(&old, 0xEE, sizeof(old));
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_sigaction(0, nullptr, &old));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_EQ(nullptr, old.handler);
  EXPECT_EQ(0, old.sa_flags);
  EXPECT_EQ(nullptr, old.sa_restorer);
  EXPECT_EQ(0u, old.sa_mask.words[0] | old.sa_mask.words[1]);
  EXPECT_TRUE(TailIs(old.sa_mask, 0xEE));
}

TEST(signal_sets, procmask_pending_and_timed_wait) {
  SignalRestorer restore(SIGUSR2);
  GuestSigset block = Filled(0), old = Filled(0x33);
  kelp_adaptor_sigaddset(&block, SIGUSR2);
  ASSERT_EQ(0, kelp_adaptor_sigprocmask(SIG_BLOCK, &block, &old));
  EXPECT_TRUE(TailIs(old, 0x33));
  ASSERT_EQ(0, raise(SIGUSR2));
  GuestSigset pending = Filled(0x44);
  ASSERT_EQ(0, kelp_adaptor_sigpending(&pending));
  EXPECT_EQ(1, kelp_adaptor_sigismember(&pending, SIGUSR2));

  GuestTimespec timeout = {0x100000000LL, 0, 0};  // capped to the host's range; one is pending
  siginfo_t info = {};
  EXPECT_EQ(SIGUSR2, __sigtimedwait_time64(&block, &info, &timeout));
  EXPECT_EQ(SIGUSR2, info.si_signo);
  timeout = {0, 10000000, 0};
  errno = 0;
  EXPECT_EQ(-1, __sigtimedwait_time64(&block, &info, &timeout));
  EXPECT_EQ(EAGAIN, errno);
}

// Real-time signals lie beyond the first 32 of the set: the wait must see all 64.
TEST(signal_sets, timed_wait_sees_real_time_signals_and_waits_without_limit) {
  constexpr int kRealtime = 48;
  SignalRestorer restore(kRealtime);
  GuestSigset set = Filled(0);
  kelp_adaptor_sigaddset(&set, kRealtime);
  kelp_adaptor_sigaddset(&set, SIGUSR1);
  ASSERT_EQ(0, kelp_adaptor_sigprocmask(SIG_BLOCK, &set, nullptr));

  ASSERT_EQ(0, raise(kRealtime));
  GuestTimespec timeout = {2, 0, 0};
  siginfo_t info = {};
  EXPECT_EQ(kRealtime, __sigtimedwait_time64(&set, &info, &timeout));
  EXPECT_EQ(kRealtime, info.si_signo);

  ASSERT_EQ(0, raise(kRealtime));
  auto sigwaitinfo = AdaptorSymbol<int (*)(const GuestSigset*, siginfo_t*)>(
      "kelp_adaptor_sigwaitinfo");
  if (sigwaitinfo != nullptr) {
    EXPECT_EQ(kRealtime, sigwaitinfo(&set, &info));
  }

  pthread_t self = pthread_self();
  pthread_t sender;
  ASSERT_EQ(0, pthread_create(&sender, nullptr, [](void* target) -> void* {
    usleep(50000);
    pthread_kill(*static_cast<pthread_t*>(target), SIGUSR1);
    return nullptr;
  }, &self));
  EXPECT_EQ(SIGUSR1, __sigtimedwait_time64(&set, &info, nullptr)) << "null waits without limit";
  pthread_join(sender, nullptr);

  const GuestTimespec bad[] = {{-1, 0, 0}, {0, 1000000000, 0}, {INT64_MIN, 0, 0}};
  for (const GuestTimespec& t : bad) {
    errno = 0;
    EXPECT_EQ(-1, __sigtimedwait_time64(&set, &info, &t)) << t.tv_sec << " " << t.tv_nsec;
    EXPECT_EQ(EINVAL, errno);
  }
}
