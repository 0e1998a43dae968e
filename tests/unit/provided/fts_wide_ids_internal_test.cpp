// The file-tree walker on a file system whose device and inode numbers need more than 32 bits.
// This binary stands in front of the host's fstat and fstatat (which the walker's objects,
// linked in statically, reach first): every directory's inode number moves into the high word
// with the same low word, and every device gets high bits.
#include "provided/fts.h"

#include <dlfcn.h>
#include <errno.h>
#include <string.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_dir.h"

using namespace kelp_fts;

namespace {
// glibc's own functions, found behind this binary's definitions.
template <typename Fn>
Fn Glibc(const char* name) {
  return reinterpret_cast<Fn>(dlvsym(RTLD_NEXT, name, "GLIBC_2.33"));
}

// One-to-one, and equal in the low 32 bits for every file.
void Widen(struct stat64* st) {
  st->st_ino = (static_cast<uint64_t>(st->st_ino) << 32) | 7;
  st->st_dev |= uint64_t{5} << 32;
}
}  // namespace

extern "C" int fstat64(int fd, struct stat64* st) {
  static const auto glibc = Glibc<int (*)(int, struct stat64*)>("fstat64");
  int result = glibc(fd, st);
  if (result == 0) Widen(st);
  return result;
}

extern "C" int fstatat64(int dirfd, const char* path, struct stat64* st, int flags) {
  static const auto glibc = Glibc<int (*)(int, const char*, struct stat64*, int)>("fstatat64");
  int result = glibc(dirfd, path, st, flags);
  if (result == 0) Widen(st);
  return result;
}

namespace {
int ByName(const FTSENT** a, const FTSENT** b) { return strcmp((*a)->fts_name, (*b)->fts_name); }
}  // namespace

TEST(fts_wide_ids, walks_with_directory_changes_and_no_false_cycles) {
  char cwd[4096];
  ASSERT_NE(nullptr, getcwd(cwd, sizeof(cwd)));
  std::string root = MakeTempDir("kelp-fts-wide");
  for (const char* dir : {"/b", "/b/d", "/e"}) ASSERT_EQ(0, mkdir((root + dir).c_str(), 0755));
  close(open((root + "/a.txt").c_str(), O_CREAT | O_WRONLY, 0644));
  close(open((root + "/b/c.txt").c_str(), O_CREAT | O_WRONLY, 0644));

  const std::vector<std::string> expected = {
      "1 ",     "8 /a.txt", "1 /b", "8 /b/c.txt", "1 /b/d", "6 /b/d",
      "6 /b",   "1 /e",     "6 /e", "6 ",
  };
  for (int options : {FTS_PHYSICAL, FTS_PHYSICAL | FTS_XDEV, FTS_PHYSICAL | FTS_NOCHDIR}) {
    SCOPED_TRACE(options);
    char* argv[] = {root.data(), nullptr};
    FTS* fts = __fts_open(argv, options, ByName);
    ASSERT_NE(nullptr, fts);
    std::vector<std::string> visits;
    errno = 0;
    while (FTSENT* e = fts_read(fts)) {
      std::string path = e->fts_path;
      visits.push_back(std::to_string(e->fts_info) + " " + path.substr(root.size()));
    }
    EXPECT_EQ(0, errno) << strerror(errno);
    EXPECT_EQ(expected, visits);
    EXPECT_EQ(0, fts_close(fts));
  }
  ASSERT_EQ(0, chdir(cwd));
  RemoveTree(root);
}
