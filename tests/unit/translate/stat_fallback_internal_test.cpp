// The stat family on a kernel without statx (before Linux 4.11). This binary stands in front of
// the host's statx (which the adaptor's objects, linked in statically, reach first) and can make
// it fail with ENOSYS; both paths must then give the guest the same record.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "guest/stat.h"
#include "support/temp_dir.h"

extern "C" {
int __stat_time64(const char*, GuestStat*);
int __lstat_time64(const char*, GuestStat*);
int __fstat_time64(int, GuestStat*);
int __fstatat_time64(int, const char*, GuestStat*, int);
}

namespace {
bool g_no_statx = false;
int g_statx_calls = 0;
}  // namespace

extern "C" int statx(int dirfd, const char* path, int flags, unsigned mask, struct statx* buf) {
  ++g_statx_calls;
  if (g_no_statx) {
    errno = ENOSYS;
    return -1;
  }
  using Statx = int (*)(int, const char*, int, unsigned, struct statx*);
  static const auto glibc = reinterpret_cast<Statx>(dlvsym(RTLD_NEXT, "statx", "GLIBC_2.28"));
  return glibc(dirfd, path, flags, mask, buf);
}

TEST(stat_fallback, without_statx_the_host_record_gives_the_same_guest_record) {
  TempDir dir;
  std::string file = dir.Path("file"), link = dir.Path("link");
  int fd = open(file.c_str(), O_CREAT | O_WRONLY, 0640);
  ASSERT_EQ(3, write(fd, "abc", 3));
  ASSERT_EQ(0, symlink("file", link.c_str()));
  struct timespec times[2] = {{-1000000, 5}, {2000000000, 999999999}};
  ASSERT_EQ(0, futimens(fd, times));
  int dirfd = open(dir.path().c_str(), O_RDONLY | O_DIRECTORY);
  const std::pair<const char*, std::function<int(GuestStat*)>> entries[] = {
      {"stat", [&](GuestStat* st) { return __stat_time64(file.c_str(), st); }},
      {"lstat", [&](GuestStat* st) { return __lstat_time64(link.c_str(), st); }},
      {"fstat", [&](GuestStat* st) { return __fstat_time64(fd, st); }},
      {"fstatat", [&](GuestStat* st) { return __fstatat_time64(dirfd, "link", st, 0); }},
      {"missing", [&](GuestStat* st) { return __stat_time64(dir.Path("none").c_str(), st); }},
  };
  for (const auto& [name, call] : entries) {
    GuestStat records[2];
    int results[2], errors[2];
    for (int missing = 0; missing < 2; ++missing) {
      g_no_statx = missing != 0;
      g_statx_calls = 0;
      memset(&records[missing], 0xAB, sizeof(GuestStat));
      errno = 0;
      results[missing] = call(&records[missing]);
      errors[missing] = errno;
      EXPECT_EQ(1, g_statx_calls) << name;
    }
    g_no_statx = false;
    EXPECT_EQ(results[0], results[1]) << name;
    EXPECT_EQ(errors[0], errors[1]) << name;
    EXPECT_EQ(0, memcmp(&records[0], &records[1], sizeof(GuestStat))) << name;
  }
  GuestStat st;
  ASSERT_EQ(0, __fstat_time64(fd, &st));
  EXPECT_EQ(2000000000, st.st_mtim.tv_sec);
  EXPECT_EQ(-1000000, st.st_atim.tv_sec);
  EXPECT_EQ(3, st.st_size);
  close(fd);
  close(dirfd);
}
