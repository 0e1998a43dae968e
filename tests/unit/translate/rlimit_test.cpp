// Resource limits as a guest sees them: 64-bit values narrowed to the host's 32 bits, host
// values zero-extended back, so the host's infinity reads as 4294967295 and the guest's all
// ones sets the host's infinity. Every limit change happens in a child process.
#include <stdint.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "guest/resource.h"

extern "C" {
int kelp_adaptor_getrlimit(int resource, GuestRlimit* r);
int kelp_adaptor_setrlimit(int resource, const GuestRlimit* r);
int kelp_adaptor_prlimit(pid_t pid, int resource, const GuestRlimit* new_limit,
                         GuestRlimit* old_limit);
}

namespace {

constexpr uint64_t kGuestInfinity = ~0ULL;
constexpr uint64_t kHostInfinity = 0xFFFFFFFFULL;

// Runs `body` in a child; it returns an empty string or what went wrong.
template <typename Body>
std::string InChild(Body body) {
  int fds[2];
  if (pipe(fds) != 0) return "pipe";
  pid_t child = fork();
  if (child == 0) {
    close(fds[0]);
    std::string failure = body();
    if (write(fds[1], failure.data(), failure.size()) < 0) _exit(2);
    _exit(0);
  }
  close(fds[1]);
  std::string out;
  char buf[256];
  for (ssize_t n; (n = read(fds[0], buf, sizeof(buf))) > 0;) out.append(buf, n);
  close(fds[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) out += " (child did not exit cleanly)";
  return out;
}

#define CHILD_CHECK(cond) \
  if (!(cond)) return std::string(#cond " at line ") + std::to_string(__LINE__)

// What the host reports for `resource` in 32 bits.
uint64_t Host32(rlim_t value) { return value == RLIM_INFINITY ? kHostInfinity : value; }

}  // namespace

TEST(rlimit, getrlimit_widens_the_host_values) {
  const int kResources[] = {RLIMIT_NOFILE, RLIMIT_CORE, RLIMIT_FSIZE, RLIMIT_CPU, RLIMIT_NPROC};
  for (int resource : kResources) {
    SCOPED_TRACE(resource);
    struct rlimit host;
    ASSERT_EQ(0, getrlimit(resource, &host));
    GuestRlimit guest = {1, 2};
    ASSERT_EQ(0, kelp_adaptor_getrlimit(resource, &guest));
    EXPECT_EQ(Host32(host.rlim_cur), guest.rlim_cur);
    EXPECT_EQ(Host32(host.rlim_max), guest.rlim_max);
    EXPECT_NE(kGuestInfinity, guest.rlim_max) << "never the guest's all ones";
  }
  EXPECT_EQ(0, kelp_adaptor_getrlimit(RLIMIT_NOFILE, nullptr));
  errno = 0;
  GuestRlimit guest = {1, 2};
  EXPECT_EQ(-1, kelp_adaptor_getrlimit(9999, &guest));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_EQ(0u, guest.rlim_cur) << "the zeroed host record is written back";
}

TEST(rlimit, setrlimit_narrows_to_the_low_word) {
  std::string failure = InChild([]() -> std::string {
    struct rlimit before;
    getrlimit(RLIMIT_NOFILE, &before);
    uint64_t hard = Host32(before.rlim_max);
    GuestRlimit lower = {64, hard};
    CHILD_CHECK(kelp_adaptor_setrlimit(RLIMIT_NOFILE, &lower) == 0);
    struct rlimit now;
    getrlimit(RLIMIT_NOFILE, &now);
    CHILD_CHECK(now.rlim_cur == 64);
    GuestRlimit wide = {(1ULL << 32) + 40, hard};
    CHILD_CHECK(kelp_adaptor_setrlimit(RLIMIT_NOFILE, &wide) == 0);
    getrlimit(RLIMIT_NOFILE, &now);
    CHILD_CHECK(now.rlim_cur == 40);  // truncated, not saturated
    GuestRlimit read = {};
    CHILD_CHECK(kelp_adaptor_getrlimit(RLIMIT_NOFILE, &read) == 0);
    CHILD_CHECK(read.rlim_cur == 40 && read.rlim_max == hard);
    return "";
  });
  EXPECT_EQ("", failure);
}

TEST(rlimit, guest_infinity_sets_host_infinity_and_reads_back_as_32_bits) {
  std::string failure = InChild([]() -> std::string {
    const int kCandidates[] = {RLIMIT_FSIZE, RLIMIT_CORE, RLIMIT_CPU, RLIMIT_NPROC};
    for (int resource : kCandidates) {
      struct rlimit host;
      getrlimit(resource, &host);
      if (host.rlim_max != RLIM_INFINITY) continue;
      host.rlim_cur = 4096;
      CHILD_CHECK(setrlimit(resource, &host) == 0);
      GuestRlimit unlimited = {kGuestInfinity, kGuestInfinity};
      CHILD_CHECK(kelp_adaptor_setrlimit(resource, &unlimited) == 0);
      getrlimit(resource, &host);
      CHILD_CHECK(host.rlim_cur == RLIM_INFINITY && host.rlim_max == RLIM_INFINITY);
      GuestRlimit read = {};
      CHILD_CHECK(kelp_adaptor_getrlimit(resource, &read) == 0);
      CHILD_CHECK(read.rlim_cur == kHostInfinity && read.rlim_max == kHostInfinity);
      return "";
    }
    return "skip";
  });
  if (failure == "skip") GTEST_SKIP() << "no resource with an unlimited hard limit here";
  EXPECT_EQ("", failure);
}

TEST(rlimit, prlimit_narrows_new_and_widens_old) {
  std::string failure = InChild([]() -> std::string {
    struct rlimit before;
    getrlimit(RLIMIT_NOFILE, &before);
    uint64_t hard = Host32(before.rlim_max);
    GuestRlimit old = {7, 7};
    GuestRlimit lower = {(1ULL << 32) + 50, hard};
    CHILD_CHECK(kelp_adaptor_prlimit(0, RLIMIT_NOFILE, &lower, &old) == 0);
    CHILD_CHECK(old.rlim_cur == Host32(before.rlim_cur) && old.rlim_max == hard);
    CHILD_CHECK(kelp_adaptor_prlimit(getpid(), RLIMIT_NOFILE, nullptr, &old) == 0);
    CHILD_CHECK(old.rlim_cur == 50 && old.rlim_max == hard);
    CHILD_CHECK(kelp_adaptor_prlimit(0, RLIMIT_NOFILE, nullptr, nullptr) == 0);
    return "";
  });
  EXPECT_EQ("", failure);
}
