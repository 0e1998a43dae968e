// Constant translations: sysconf, nl_langinfo items, pathconf names, fnmatch flags, rounding
// modes, floating-point classes and ilogb.
#include <errno.h>
#include <fenv.h>
#include <float.h>
#include <fnmatch.h>
#include <limits.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/fake_log_daemon.h"

extern "C" {
long kelp_adaptor_sysconf(int);
int TransferToBionicItem(int);
char* kelp_adaptor_nl_langinfo(int);
long kelp_adaptor_pathconf(const char*, int);
int kelp_adaptor_fnmatch(const char*, const char*, int);
int kelp_adaptor_fegetround();
int kelp_adaptor_fesetround(int);
int kelp_adaptor_fesetenv(const fenv_t*);
int kelp_adaptor___fpclassify(double);
int kelp_adaptor___fpclassifyf(float);
int kelp_adaptor_ilogb(double);
int kelp_adaptor_ilogbf(float);
}
int GuestFltRounds() __asm__("__flt_rounds");

namespace {
enum Kind { kUnsupported, kVersion, kOne, kMinusOne, kConstant, kComputed };

// The guest libc's sysconf table, transcribed independently of the adaptor's.
std::map<int, std::pair<Kind, long>> SysconfTable() {
  std::map<int, std::pair<Kind, long>> t;
  for (int n : {9, 11, 12, 15, 16, 17, 18, 19, 20, 21, 22, 29, 46, 47, 67, 68, 77, 78, 79, 82,
                132, 133, 137, 138, 139, 149, 153, 154, 159, 164, 235, 236}) {
    t[n] = {kVersion, 200809};
  }
  for (int n : {7, 8, 91, 93, 94, 126, 155, 157, 177, 238}) t[n] = {kOne, 1};
  for (int n : {5, 10, 13, 14, 23, 24, 27, 34, 35, 42, 43, 48, 49, 50, 51, 52, 69, 70, 76, 80,
                81, 87, 88, 92, 95, 97, 98, 99, 100, 125, 127, 128, 129, 130, 131, 160, 161, 165,
                168, 169, 170, 171, 172, 175, 176, 178, 179, 181, 182, 183, 184, 237, 239, 240,
                241, 242, 243, 244, 245, 247, 248}) {
    t[n] = {kMinusOne, -1};
  }
  const long constants[][2] = {{2, 100},    {3, 32},   {6, 6},    {31, 30},   {32, 256},
                               {36, 99},    {37, 2048}, {38, 99},  {39, 1000}, {40, 2},
                               {44, 255},   {60, 1024}, {71, 256}, {72, 32},   {73, 4},
                               {74, 128},   {75, 8192}, {89, 700}, {90, 700},  {109, 20},
                               {173, 8},    {180, 255}};
  for (auto& c : constants) t[static_cast<int>(c[0])] = {kConstant, c[1]};
  struct rlimit nproc, nofile;
  getrlimit(RLIMIT_NPROC, &nproc);
  getrlimit(RLIMIT_NOFILE, &nofile);
  auto limit = [](const rlimit& r) {
    return r.rlim_cur == RLIM_INFINITY ? -1L : static_cast<long>(std::min<rlim_t>(r.rlim_cur, 0x7FFFFFFF));
  };
  const long computed[][2] = {{0, 131072}, {1, limit(nproc)}, {4, limit(nofile)}, {25, 0},
                              {174, 0},    {246, 0},          {26, 32},           {28, 32},
                              {30, 4096},  {33, 0x3FFFFFFF},  {83, get_nprocs()}, {84, get_nprocs()},
                              {85, get_phys_pages()},         {86, -2}};
  for (auto& c : computed) t[static_cast<int>(c[0])] = {kComputed, c[1]};
  return t;
}
}  // namespace

TEST(sysconf, every_name_of_the_guest_table) {
  FakeLogDaemon daemon;
  auto table = SysconfTable();
  for (int name = 0; name <= 248; ++name) {
    SCOPED_TRACE(name);
    auto found = table.find(name);
    errno = 0;
    long value = kelp_adaptor_sysconf(name);
    if (found == table.end()) {
      EXPECT_EQ(-1, value);
      EXPECT_EQ(EINVAL, errno);
      continue;
    }
    EXPECT_EQ(0, errno) << "a supported name never sets errno";
    if (found->second.second == -2) {
      EXPECT_GT(value, 0);  // available pages change from one moment to the next
    } else {
      EXPECT_EQ(found->second.second, value);
    }
  }
  for (int name : {249, -1, 41, INT_MIN}) {
    errno = 0;
    EXPECT_EQ(-1, kelp_adaptor_sysconf(name)) << name;
    EXPECT_EQ(EINVAL, errno) << name;
  }
  EXPECT_EQ((std::vector<std::string>{
                "sysconf DELAYTIMER_MAX is diffent between musl and bionic",
                "sysconf MQ_PRIO_MAX is diffent between musl and bionic",
                "sysconf PTHREAD_STACK_MIN is diffent between musl and bionic"}),
            daemon.Messages());
}

TEST(sysconf, open_max_follows_a_lowered_soft_limit) {
  pid_t child = fork();
  if (child == 0) {
    struct rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 100;
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) _exit(3);
    _exit(kelp_adaptor_sysconf(4) == 100 ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST(sysconf, unlimited_resource_answers_minus_one_without_errno) {
  pid_t child = fork();
  if (child == 0) {
    struct rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    if (setrlimit(RLIMIT_NPROC, &unlimited) != 0) _exit(3);
    errno = 0;
    _exit(kelp_adaptor_sysconf(1) == -1 && errno == 0 ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 3) {
    GTEST_SKIP() << "raising a hard limit needs CAP_SYS_RESOURCE, which this process lacks";
  }
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST(nl_langinfo, every_pair_and_the_unmapped_items) {
  struct Range {
    int guest, host, count;
  } ranges[] = {{0x20000, 15, 7}, {0x20007, 8, 7},  {0x2000E, 34, 12}, {0x2001A, 22, 12},
                {0x20026, 6, 2},  {0x20028, 2, 4},  {0x2002C, 46, 1},  {0x2002E, 47, 1},
                {0x2002F, 50, 1}, {0x20030, 48, 2}, {0xE, 1, 1},       {0x10000, 51, 2},
                {0x50000, 53, 2}};
  int pairs = 0;
  for (const Range& r : ranges) {
    for (int i = 0; i < r.count; ++i, ++pairs) {
      EXPECT_EQ(r.host + i, TransferToBionicItem(r.guest + i)) << std::hex << r.guest + i;
    }
  }
  EXPECT_EQ(54, pairs);
  for (int unmapped : {0x4000F, 0x50002, 0x50003, 0x2002D, 0x20032, -1, 0, 0x20040, 0x1FFFF,
                       0x60000, 0x7FFF0000, -0x10000}) {
    EXPECT_EQ(-1, TransferToBionicItem(unmapped)) << std::hex << unmapped;
  }
  EXPECT_STREQ("Sunday", kelp_adaptor_nl_langinfo(0x20007));
  EXPECT_STREQ("Dec", kelp_adaptor_nl_langinfo(0x20019));
  EXPECT_STREQ(".", kelp_adaptor_nl_langinfo(0x10000));
  EXPECT_STRNE("", kelp_adaptor_nl_langinfo(0xE));
  EXPECT_STREQ("", kelp_adaptor_nl_langinfo(0x4000F)) << "bionic's answer for item -1";
}

TEST(pathconf, names_translated_or_passed_through) {
  EXPECT_EQ(255, kelp_adaptor_pathconf("/", 3));  // _PC_NAME_MAX
  EXPECT_EQ(4096, kelp_adaptor_pathconf("/", 4));  // _PC_PATH_MAX
  EXPECT_EQ(4096, kelp_adaptor_pathconf("/", 5));  // _PC_PIPE_BUF
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_pathconf("/", 21)) << "21 reaches the host as it is";
  EXPECT_EQ(EINVAL, errno);
}

TEST(fnmatch, pathname_and_noescape_as_the_guest_means_them) {
  constexpr int kPathname = 1, kNoescape = 2, kPeriod = 4;
  EXPECT_EQ(0, kelp_adaptor_fnmatch("a*c", "a/c", 0));
  EXPECT_EQ(FNM_NOMATCH, kelp_adaptor_fnmatch("a*c", "a/c", kPathname));
  EXPECT_EQ(0, kelp_adaptor_fnmatch("a\\*", "a*", 0));
  EXPECT_EQ(FNM_NOMATCH, kelp_adaptor_fnmatch("a\\*", "a\\x", 0));
  EXPECT_EQ(0, kelp_adaptor_fnmatch("a\\*", "a\\x", kNoescape));
  EXPECT_EQ(FNM_NOMATCH, kelp_adaptor_fnmatch("*", ".hidden", kPeriod));
}

TEST(rounding, modes_round_trip_and_flt_rounds) {
  int saved = fegetround();
  // Guest mode, FLT_ROUNDS (C: 0 toward zero, 1 nearest, 2 upward, 3 downward), and the
  // host's mode in bionic's numbering (the stand-in's fegetround comes ahead of glibc's libm).
  const int modes[][3] = {{0x400000, 2, 1}, {0x800000, 3, 2}, {0xC00000, 0, 3}, {0, 1, 0}};
  for (auto& m : modes) {
    ASSERT_EQ(0, kelp_adaptor_fesetround(m[0])) << m[0];
    EXPECT_EQ(m[2], fegetround()) << m[0] << " reaches the processor";
    EXPECT_EQ(m[0], kelp_adaptor_fegetround()) << "the guest's own constant";
    EXPECT_EQ(m[1], GuestFltRounds()) << m[0];
    ASSERT_EQ(0, kelp_adaptor_fesetround(kelp_adaptor_fegetround())) << m[0];
    EXPECT_EQ(m[0], kelp_adaptor_fegetround()) << "save and restore keeps the mode";
  }
  ASSERT_EQ(0, kelp_adaptor_fesetround(0x800000));
  for (int unknown : {1, 2, 3, 0x400001, 0x800002, 0x1000000, -1, 0x400000 | 0x800000 | 1}) {
    EXPECT_NE(0, kelp_adaptor_fesetround(unknown)) << unknown;
    EXPECT_EQ(0x800000, kelp_adaptor_fegetround()) << unknown << " left the mode alone";
  }
  EXPECT_EQ(0, kelp_adaptor_fesetenv(reinterpret_cast<const fenv_t*>(-1)));
  EXPECT_EQ(0, kelp_adaptor_fegetround()) << "the guest's default-environment marker";
  fesetround(saved);
}

TEST(fpclassify, guest_classes) {
  const std::pair<double, int> cases[] = {{NAN, 0}, {INFINITY, 1}, {-0.0, 2}, {DBL_MIN / 4, 3},
                                          {1.5, 4}};
  for (auto [x, guest] : cases) {
    EXPECT_EQ(guest, kelp_adaptor___fpclassify(x)) << x;
    EXPECT_EQ(guest, kelp_adaptor___fpclassifyf(static_cast<float>(x == DBL_MIN / 4 ? FLT_MIN / 4 : x)));
  }
}

TEST(ilogb, special_values_normals_and_every_subnormal_exponent) {
  for (double x : {0.0, -0.0}) EXPECT_EQ(INT_MIN, kelp_adaptor_ilogb(x));
  EXPECT_EQ(INT_MIN, kelp_adaptor_ilogb(NAN));
  EXPECT_EQ(INT_MIN, kelp_adaptor_ilogbf(-NAN));
  EXPECT_EQ(INT_MAX, kelp_adaptor_ilogb(-INFINITY));
  EXPECT_EQ(INT_MAX, kelp_adaptor_ilogbf(INFINITY));
  for (int e = -1022; e <= 1023; e += 7) {
    EXPECT_EQ(e, kelp_adaptor_ilogb(ldexp(1.75, e))) << e;
  }
  for (int e = -126; e <= 127; ++e) EXPECT_EQ(e, kelp_adaptor_ilogbf(ldexpf(-1.5f, e))) << e;
  // Subnormals: the reference is frexp's exponent minus one.
  for (int k = 1; k <= 52; ++k) {
    double x = ldexp(1.0, -1022 - k) * 1.5;
    int e;
    frexp(x, &e);
    EXPECT_EQ(e - 1, kelp_adaptor_ilogb(x)) << k;
  }
  for (int k = 1; k <= 23; ++k) {
    float x = ldexpf(1.0f, -126 - k);
    int e;
    frexpf(x, &e);
    EXPECT_EQ(e - 1, kelp_adaptor_ilogbf(x)) << k;
  }
  EXPECT_EQ(-149, kelp_adaptor_ilogbf(ldexpf(1.0f, -149)));
}
