// ftw and nftw: guest flag values, order, options, stopping and errors.
#include "guest/stat.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_dir.h"

extern "C" {
int kelp_adaptor_nftw(const char*, int (*)(const char*, const GuestStat*, int, GuestFtw*), int,
                      int);
int kelp_adaptor_ftw(const char*, int (*)(const char*, const GuestStat*, int), int);
int fn_flag_bionic2musl(int);
}

namespace {
// Guest flag values.
constexpr int F = 1, D = 2, DNR = 3, NS = 4, SL = 5, DP = 6, SLN = 7;
constexpr int kPhys = 1, kDepth = 8;

std::string g_root;
std::vector<std::string> g_visits;
int g_stop_at = -1;

int Record(const char* path, const GuestStat* st, int flag, GuestFtw* ftw) {
  std::string rel = strlen(path) > g_root.size() ? path + g_root.size() + 1 : ".";
  std::string name = path + ftw->base;
  EXPECT_EQ(rel == "." ? g_root.substr(g_root.rfind('/') + 1) : rel.substr(rel.rfind('/') + 1),
            name);
  if (flag == F) {
    EXPECT_TRUE(S_ISREG(st->st_mode)) << path;
  }
  g_visits.push_back(rel + ":" + std::to_string(flag) + ":" + std::to_string(ftw->level));
  return static_cast<int>(g_visits.size()) == g_stop_at ? 42 : 0;
}

int RecordFtw(const char* path, const GuestStat*, int flag) {
  g_visits.push_back(std::string(path + g_root.size()) + ":" + std::to_string(flag));
  return 0;
}

class FtwTest : public testing::Test {
 protected:
  void SetUp() override {
    g_root = MakeTempDir("kelp-ftw");
    g_visits.clear();
    g_stop_at = -1;
    ASSERT_EQ(0, mkdir((g_root + "/d").c_str(), 0755));
    close(open((g_root + "/d/f").c_str(), O_CREAT | O_WRONLY, 0644));
    ASSERT_EQ(0, symlink("d/f", (g_root + "/link").c_str()));
    ASSERT_EQ(0, symlink("nothing", (g_root + "/dangling").c_str()));
  }
  void TearDown() override { RemoveTree(g_root); }
  std::vector<std::string> Sorted() {
    std::vector<std::string> v = g_visits;
    std::sort(v.begin(), v.end());
    return v;
  }
};
}  // namespace

TEST(ftw_flags, host_to_guest_table) {
  const int expected[] = {1, 2, 3, 6, 4, 5, 7};
  for (int host = 0; host < 7; ++host) EXPECT_EQ(expected[host], fn_flag_bionic2musl(host));
}

TEST_F(FtwTest, pre_and_post_order_with_physical_links) {
  ASSERT_EQ(0, kelp_adaptor_nftw(g_root.c_str(), Record, 4, kPhys));
  EXPECT_EQ((std::vector<std::string>{".:2:0", "d/f:1:2", "d:2:1", "dangling:5:1", "link:5:1"}),
            Sorted());
  EXPECT_EQ(".:2:0", g_visits.front()) << "pre-order: the root comes first";

  g_visits.clear();
  ASSERT_EQ(0, kelp_adaptor_nftw(g_root.c_str(), Record, 4, kPhys | kDepth));
  EXPECT_EQ(".:6:0", g_visits.back()) << "post-order: the root comes last, flag 6";
  auto pos = [](const std::string& s) {
    return std::find(g_visits.begin(), g_visits.end(), s) - g_visits.begin();
  };
  EXPECT_LT(pos("d/f:1:2"), pos("d:6:1"));

  g_visits.clear();
  ASSERT_EQ(0, kelp_adaptor_nftw(g_root.c_str(), Record, 4, 0));  // logical
  EXPECT_EQ((std::vector<std::string>{".:2:0", "d/f:1:2", "d:2:1", "dangling:7:1", "link:1:1"}),
            Sorted());
}

TEST_F(FtwTest, ftw_reports_dangling_links_as_ns) {
  ASSERT_EQ(0, kelp_adaptor_ftw(g_root.c_str(), RecordFtw, 4));
  std::vector<std::string> v = Sorted();
  EXPECT_NE(v.end(), std::find(v.begin(), v.end(), "/dangling:4"));
  EXPECT_NE(v.end(), std::find(v.begin(), v.end(), "/link:1"));
}

TEST_F(FtwTest, callback_result_stops_the_walk_and_errors) {
  g_stop_at = 2;
  EXPECT_EQ(42, kelp_adaptor_nftw(g_root.c_str(), Record, 4, kPhys));
  EXPECT_EQ(2u, g_visits.size());
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_nftw(g_root.c_str(), Record, 0, 0));
  EXPECT_EQ(EINVAL, errno);
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_nftw((g_root + "/missing").c_str(), Record, 4, 0));
  EXPECT_EQ(ENOENT, errno);
}

TEST_F(FtwTest, unreadable_directory_is_not_announced_in_pre_order) {
  ASSERT_EQ(0, chmod((g_root + "/d").c_str(), 0300));
  ASSERT_EQ(0, chmod(g_root.c_str(), 0755));
  pid_t child = fork();
  if (child == 0) {
    if (getuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
    kelp_adaptor_nftw(g_root.c_str(), Record, 4, kPhys);
    bool pre = false, dnr = false, inside = false;
    for (const std::string& v : g_visits) {
      pre |= v == "d:2:1";
      dnr |= v == "d:3:1";
      inside |= v.rfind("d/", 0) == 0;
    }
    _exit(!pre && dnr && !inside ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 3) GTEST_SKIP() << "cannot drop privileges here";
  EXPECT_EQ(0, WEXITSTATUS(status));
}
