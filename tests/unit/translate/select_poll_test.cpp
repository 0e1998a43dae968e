// select, pselect and ppoll with guest time records and guest signal sets.
#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/select.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "guest/signal.h"
#include "guest/time.h"

extern "C" {
int __select_time64(int nfds, fd_set* r, fd_set* w, fd_set* e, GuestTimeval* tv);
int kelp_adaptor_select(int nfds, fd_set* r, fd_set* w, fd_set* e, GuestTimeval* tv);
int __pselect_time64(int nfds, fd_set* r, fd_set* w, fd_set* e, const GuestTimespec* ts,
                     const GuestSigset* mask);
int __ppoll_time64(struct pollfd* fds, nfds_t n, const GuestTimespec* ts,
                   const GuestSigset* mask);
}

namespace {

constexpr int32_t kSentinel = 0x5A5A5A5A;

class Pipe {
 public:
  Pipe() { EXPECT_EQ(0, pipe(fds_)); }
  ~Pipe() {
    close(fds_[0]);
    close(fds_[1]);
  }
  int read_end() const { return fds_[0]; }
  void Fill() { EXPECT_EQ(1, write(fds_[1], "x", 1)); }

 private:
  int fds_[2];
};

fd_set Only(int fd) {
  fd_set set;
  FD_ZERO(&set);
  FD_SET(fd, &set);
  return set;
}

GuestSigset GuestSet(int sig) {
  GuestSigset set;
  memset(&set, 0, sizeof(set));
  for (int i = 2; i < 32; ++i) set.words[i] = 0xFFFFFFFF;  // beyond the 64 signals: ignored
  if (sig != 0) set.words[(sig - 1) / 32] |= 1u << ((sig - 1) % 32);
  return set;
}

volatile sig_atomic_t g_caught = 0;
void Catch(int) { g_caught = 1; }

// SIGUSR1 blocked and pending for the scope, with a handler that notes its delivery.
class PendingUsr1 {
 public:
  PendingUsr1() {
    struct sigaction act = {};
    act.sa_handler = Catch;
    sigaction(SIGUSR1, &act, &old_act_);
    sigset_t block;
    sigemptyset(&block);
    sigaddset(&block, SIGUSR1);
    sigprocmask(SIG_BLOCK, &block, &old_mask_);
    g_caught = 0;
    raise(SIGUSR1);
  }
  ~PendingUsr1() {
    sigprocmask(SIG_SETMASK, &old_mask_, nullptr);  // a still-pending signal is delivered here
    sigaction(SIGUSR1, &old_act_, nullptr);
  }

 private:
  struct sigaction old_act_;
  sigset_t old_mask_;
};

}  // namespace

TEST(select, timeout_written_back_sign_extended) {
  Pipe p;
  fd_set r = Only(p.read_end());
  // The seconds' upper word is dropped: a wait of 2^32 s would never end.
  GuestTimeval tv = {(1LL << 32), 30000};
  reinterpret_cast<int32_t*>(&tv.tv_usec)[1] = kSentinel;
  EXPECT_EQ(0, __select_time64(p.read_end() + 1, &r, nullptr, nullptr, &tv));
  EXPECT_EQ(0, tv.tv_sec);
  EXPECT_EQ(0, tv.tv_usec) << "both 64-bit words rewritten";

  p.Fill();
  r = Only(p.read_end());
  tv = {5, 250000};
  reinterpret_cast<int32_t*>(&tv.tv_usec)[1] = kSentinel;
  EXPECT_EQ(1, kelp_adaptor_select(p.read_end() + 1, &r, nullptr, nullptr, &tv));
  EXPECT_TRUE(FD_ISSET(p.read_end(), &r));
  EXPECT_GE(tv.tv_sec, 4);
  EXPECT_LE(tv.tv_sec, 5);
  EXPECT_GE(tv.tv_usec, 0);
  EXPECT_LT(tv.tv_usec, 1000000) << "the padding word holds the sign extension";

  r = Only(p.read_end());
  EXPECT_EQ(1, __select_time64(p.read_end() + 1, &r, nullptr, nullptr, nullptr));
  errno = 0;
  tv = {0, -1};
  EXPECT_EQ(-1, __select_time64(p.read_end() + 1, &r, nullptr, nullptr, &tv));
  EXPECT_EQ(EINVAL, errno);
}

TEST(pselect, timeout_and_mask) {
  Pipe p;
  fd_set r = Only(p.read_end());
  GuestTimespec ts = {(1LL << 32), 20000000, kSentinel};
  EXPECT_EQ(0, __pselect_time64(p.read_end() + 1, &r, nullptr, nullptr, &ts, nullptr));
  EXPECT_EQ(1LL << 32, ts.tv_sec) << "the timeout is not written back";
  EXPECT_EQ(20000000, ts.tv_nsec);
  EXPECT_EQ(kSentinel, ts.pad);

  PendingUsr1 pending;
  GuestTimespec short_wait = {0, 20000000, 0};
  GuestSigset keep_blocked = GuestSet(SIGUSR1);
  r = Only(p.read_end());
  EXPECT_EQ(0, __pselect_time64(p.read_end() + 1, &r, nullptr, nullptr, &short_wait,
                                &keep_blocked));
  EXPECT_EQ(0, g_caught);
  GuestSigset open = GuestSet(0);
  r = Only(p.read_end());
  errno = 0;
  EXPECT_EQ(-1, __pselect_time64(p.read_end() + 1, &r, nullptr, nullptr, &short_wait, &open));
  EXPECT_EQ(EINTR, errno);
  EXPECT_EQ(1, g_caught);
}

TEST(ppoll, timeout_and_mask) {
  Pipe p;
  struct pollfd fd = {p.read_end(), POLLIN, 0};
  GuestTimespec ts = {(1LL << 32), 20000000, kSentinel};
  EXPECT_EQ(0, __ppoll_time64(&fd, 1, &ts, nullptr));
  EXPECT_EQ(1LL << 32, ts.tv_sec);
  EXPECT_EQ(kSentinel, ts.pad);

  PendingUsr1 pending;
  GuestTimespec short_wait = {0, 20000000, 0};
  GuestSigset keep_blocked = GuestSet(SIGUSR1);
  EXPECT_EQ(0, __ppoll_time64(&fd, 1, &short_wait, &keep_blocked));
  EXPECT_EQ(0, g_caught);
  GuestSigset open = GuestSet(0);
  errno = 0;
  EXPECT_EQ(-1, __ppoll_time64(&fd, 1, &short_wait, &open));
  EXPECT_EQ(EINTR, errno);
  EXPECT_EQ(1, g_caught);

  p.Fill();
  fd.revents = 0;
  EXPECT_EQ(1, __ppoll_time64(&fd, 1, nullptr, nullptr));
  EXPECT_EQ(POLLIN, fd.revents);
}
