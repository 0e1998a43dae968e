// File status, statistics and file times in the guest's layouts.
#include "guest/stat.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/adaptor_symbol.h"
#include "support/temp_dir.h"

extern "C" {
int __stat_time64(const char*, GuestStat*);
int __lstat_time64(const char*, GuestStat*);
int __fstat_time64(int, GuestStat*);
int __fstatat_time64(int, const char*, GuestStat*, int);
int kelp_adaptor_statvfs(const char*, GuestStatvfs*);
int kelp_adaptor_fstatvfs(int, GuestStatvfs*);
int __utimes_time64(const char*, const GuestTimeval*);
int __lutimes_time64(const char*, const GuestTimeval*);
int __utimensat_time64(int, const char*, const GuestTimespec*, int);
int kelp_adaptor_futimens(int, const GuestTimespec*);
void stat_bionic2musl(const struct stat*, GuestStat*);
}

namespace {
class StatTest : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = MakeTempDir("kelp-stat");
    file_ = dir_ + "/file";
    int fd = open(file_.c_str(), O_CREAT | O_WRONLY, 0640);
    ASSERT_EQ(5, write(fd, "hello", 5));
    close(fd);
  }
  void TearDown() override { RemoveTree(dir_); }
  void SetTimes(int64_t atime, int32_t ansec, int64_t mtime, int32_t mnsec) {
    struct timespec times[2] = {{static_cast<time_t>(atime), ansec},
                                {static_cast<time_t>(mtime), mnsec}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, file_.c_str(), times, 0));
  }
  std::string dir_, file_;
};

GuestStat Filled() {
  GuestStat st;
  memset(&st, 0xAB, sizeof(st));
  return st;
}
}  // namespace

TEST_F(StatTest, guest_record_byte_layout) {
  SetTimes(-1000000, 999999999, 2000000000, 123456789);
  GuestStat st = Filled();
  ASSERT_EQ(0, __stat_time64(file_.c_str(), &st));
  struct stat host;
  ASSERT_EQ(0, stat(file_.c_str(), &host));
  const auto* bytes = reinterpret_cast<const uint8_t*>(&st);
  int32_t mtime32, atime32;
  int64_t mtime64;
  memcpy(&mtime32, bytes + 80, 4);
  memcpy(&atime32, bytes + 72, 4);
  memcpy(&mtime64, bytes + 120, 8);
  EXPECT_EQ(2000000000, mtime32);
  EXPECT_EQ(2000000000, mtime64);
  EXPECT_EQ(-1000000, atime32);
  EXPECT_EQ(-1000000, st.st_atim.tv_sec) << "sign-extended";
  EXPECT_EQ(999999999, st.st_atim.tv_nsec);
  EXPECT_EQ(123456789, st.st_mtim.tv_nsec);
  EXPECT_EQ(static_cast<int32_t>(0xABABABAB), st.st_mtim.pad) << "padding words not written";
  EXPECT_EQ(0xABABABABu, st.st_ino_truncated) << "bytes 8 to 15 are left alone";
  EXPECT_EQ(host.st_ino, st.st_ino);
  EXPECT_EQ(5, st.st_size);
  EXPECT_EQ(0100640u, st.st_mode);
  EXPECT_EQ(host.st_dev, st.st_dev);

  GuestStat converted = Filled();
  stat_bionic2musl(&host, &converted);
  EXPECT_EQ(0u, converted.dev_pad | converted.st_ino_truncated | converted.rdev_pad);
  EXPECT_EQ(2000000000, converted.st_mtim.tv_sec);
}

TEST_F(StatTest, failure_leaves_the_record_untouched) {
  GuestStat st = Filled(), before = st;
  errno = 0;
  EXPECT_EQ(-1, __fstat_time64(-1, &st));
  EXPECT_EQ(EBADF, errno);
  EXPECT_EQ(0, memcmp(&before, &st, sizeof(st)));
  EXPECT_EQ(-1, __stat_time64((dir_ + "/missing").c_str(), &st));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_EQ(0, memcmp(&before, &st, sizeof(st)));

  ASSERT_EQ(0, symlink("file", (dir_ + "/link").c_str()));
  ASSERT_EQ(0, __lstat_time64((dir_ + "/link").c_str(), &st));
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  int dir = open(dir_.c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(0, __fstatat_time64(dir, "link", &st, 0));
  EXPECT_TRUE(S_ISREG(st.st_mode));
  close(dir);
}

TEST_F(StatTest, fxstat64_reduced_copy) {
  SetTimes(1, 2, 3, 4);
  ADAPTOR_FN(int (*)(int, int, GuestStat*), fxstat64, "__fxstat64");
  GuestStat st = Filled();
  int fd = open(file_.c_str(), O_RDONLY);
  ASSERT_EQ(0, fxstat64(3, fd, &st));
  close(fd);
  EXPECT_EQ(5, st.st_size);
  EXPECT_EQ(0100640u, st.st_mode);
  const auto* bytes = reinterpret_cast<const uint8_t*>(&st);
  for (size_t i = 72; i < sizeof(st); ++i) EXPECT_EQ(0, bytes[i]) << "byte " << i;
}

TEST_F(StatTest, statvfs_widens_and_null_buffer) {
  GuestStatvfs guest;
  memset(&guest, 0xCD, sizeof(guest));
  ASSERT_EQ(0, kelp_adaptor_statvfs(dir_.c_str(), &guest));
  struct statvfs host;
  ASSERT_EQ(0, statvfs(dir_.c_str(), &host));
  EXPECT_EQ(host.f_bsize, guest.f_bsize);
  EXPECT_EQ(host.f_blocks, guest.f_blocks);
  EXPECT_EQ(host.f_files, guest.f_files);
  EXPECT_EQ(host.f_namemax, guest.f_namemax);
  EXPECT_EQ(0xCDCDCDCDu, guest.fsid_pad);
  EXPECT_EQ(0xCDCDCDCDu, guest.reserved[0]);
  EXPECT_EQ(0, kelp_adaptor_statvfs(dir_.c_str(), nullptr));
  memset(&guest, 0xCD, sizeof(guest));
  EXPECT_EQ(-1, kelp_adaptor_fstatvfs(-1, &guest));
  EXPECT_EQ(0u, guest.f_bsize) << "a failed call still converts its zeroed record";
  EXPECT_EQ(0u, guest.f_blocks);
}

TEST_F(StatTest, file_times) {
  GuestTimeval bad[2] = {{1, 0}, {2, 1000000}};
  errno = 0;
  EXPECT_EQ(-1, __utimes_time64(file_.c_str(), bad));
  EXPECT_EQ(EINVAL, errno);
  GuestTimeval good[2] = {{1000, 500}, {2000000000, 999999}};
  ASSERT_EQ(0, __utimes_time64(file_.c_str(), good));
  struct stat host;
  stat(file_.c_str(), &host);
  EXPECT_EQ(2000000000, host.st_mtim.tv_sec);
  EXPECT_EQ(999999000, host.st_mtim.tv_nsec);

  std::string link = dir_ + "/link";
  ASSERT_EQ(0, symlink("file", link.c_str()));
  ASSERT_EQ(0, __lutimes_time64(link.c_str(), nullptr));
  lstat(link.c_str(), &host);
  EXPECT_EQ(0, host.st_mtim.tv_sec) << "null sets the epoch, not now";
  EXPECT_EQ(0, host.st_atim.tv_sec);

  GuestTimespec times[2] = {{5, 6, 0}, {7, 8, 0}};
  ASSERT_EQ(0, __utimensat_time64(AT_FDCWD, file_.c_str(), times, 0));
  stat(file_.c_str(), &host);
  EXPECT_EQ(7, host.st_mtim.tv_sec);
  EXPECT_EQ(8, host.st_mtim.tv_nsec);
  int fd = open(file_.c_str(), O_RDONLY);
  times[1] = {0x100000009LL, 10, 0};  // only the low word reaches bionic's futimens
  ASSERT_EQ(0, kelp_adaptor_futimens(fd, times));
  close(fd);
  stat(file_.c_str(), &host);
  EXPECT_EQ(9, host.st_mtim.tv_sec);
}

// Times past 2038 reach the guest whole, through every entry of the stat family.
TEST_F(StatTest, times_past_2038_reach_the_guest_whole) {
  constexpr int64_t kFar = int64_t{1} << 33;
  GuestStat before = Filled();
  ASSERT_EQ(0, __stat_time64(file_.c_str(), &before));
  const GuestTimespec times[2] = {{kFar + 5, 250, 0}, {kFar, 999999999, 0}};
  ASSERT_EQ(0, __utimensat_time64(AT_FDCWD, file_.c_str(), times, 0));

  int fd = open(file_.c_str(), O_RDONLY);
  int dirfd = open(dir_.c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_GE(fd, 0);
  ASSERT_GE(dirfd, 0);
  std::string link = dir_ + "/link";
  ASSERT_EQ(0, symlink("file", link.c_str()));
  const std::pair<const char*, std::function<int(GuestStat*)>> entries[] = {
      {"stat", [&](GuestStat* st) { return __stat_time64(file_.c_str(), st); }},
      {"lstat", [&](GuestStat* st) { return __lstat_time64(file_.c_str(), st); }},
      {"stat of a link", [&](GuestStat* st) { return __stat_time64(link.c_str(), st); }},
      {"fstat", [&](GuestStat* st) { return __fstat_time64(fd, st); }},
      {"fstatat", [&](GuestStat* st) { return __fstatat_time64(dirfd, "file", st, 0); }},
  };
  for (const auto& [name, call] : entries) {
    GuestStat st = Filled();
    ASSERT_EQ(0, call(&st)) << name << ": " << strerror(errno);
    EXPECT_EQ(kFar, st.st_mtim.tv_sec) << name;
    EXPECT_EQ(999999999, st.st_mtim.tv_nsec) << name;
    EXPECT_EQ(kFar + 5, st.st_atim.tv_sec) << name;
    EXPECT_EQ(250, st.st_atim.tv_nsec) << name;
    EXPECT_EQ(0, st.time32[2]) << name << ": the 32-bit copies hold the low words";
    EXPECT_EQ(5, st.time32[0]) << name;
    EXPECT_GT(st.st_ctim.tv_sec, 1600000000) << name;
    EXPECT_EQ(before.st_ino, st.st_ino) << name;
    EXPECT_EQ(before.st_dev, st.st_dev) << name;
    EXPECT_EQ(before.st_mode, st.st_mode) << name;
    EXPECT_EQ(5, st.st_size) << name;
    EXPECT_EQ(static_cast<int32_t>(0xABABABAB), st.st_mtim.pad) << name;
  }
  GuestStat st = Filled();
  ASSERT_EQ(0, __lstat_time64(link.c_str(), &st));
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  close(fd);
  close(dirfd);
}

// utime takes 64-bit times: none is cut to the host's 32-bit utimbuf.
TEST_F(StatTest, utime_sets_times_past_2038_whole) {
  // glibc has a __utime64 of its own: the adaptor's is reached by version.
  ADAPTOR_FN(int (*)(const char*, const GuestUtimbuf*), adaptor_utime64, "__utime64");
  const GuestUtimbuf cases[] = {{int64_t{1} << 33, int64_t{1} << 33},
                                {2240000000, 2240000000 + 7},
                                {1000000000, 2000000000},
                                {-5, int64_t{1} << 33},
                                {int64_t{1} << 33, 1000}};
  for (const GuestUtimbuf& times : cases) {
    ASSERT_EQ(0, adaptor_utime64(file_.c_str(), &times)) << times.actime << strerror(errno);
    GuestStat st = Filled();
    ASSERT_EQ(0, __stat_time64(file_.c_str(), &st));
    EXPECT_EQ(times.actime, st.st_atim.tv_sec);
    EXPECT_EQ(times.modtime, st.st_mtim.tv_sec);
    EXPECT_EQ(0, st.st_mtim.tv_nsec);
  }
  struct timespec before;
  clock_gettime(CLOCK_REALTIME, &before);
  ASSERT_EQ(0, adaptor_utime64(file_.c_str(), nullptr));
  GuestStat st = Filled();
  ASSERT_EQ(0, __stat_time64(file_.c_str(), &st));
  EXPECT_NEAR(before.tv_sec, st.st_mtim.tv_sec, 2) << "null sets the times to now";
  errno = 0;
  EXPECT_EQ(-1, adaptor_utime64((dir_ + "/missing").c_str(), &cases[0]));
  EXPECT_EQ(ENOENT, errno);
}
