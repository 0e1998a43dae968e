// The adaptor's file-tree walker, each test in a tree of its own.
#include "provided/fts.h"

#include <dirent.h>
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

using namespace kelp_fts;

namespace {

struct Visit {
  int level;
  int info;
  std::string path;
  bool operator==(const Visit& o) const {
    return level == o.level && info == o.info && path == o.path;
  }
};

void PrintTo(const Visit& v, std::ostream* os) { *os << v.level << ":" << v.info << ":" << v.path; }

int ByName(const FTSENT** a, const FTSENT** b) { return strcmp((*a)->fts_name, (*b)->fts_name); }

class FtsTest : public testing::Test {
 protected:
  void SetUp() override {
    root_ = MakeTempDir("kelp-fts");
    ASSERT_NE(nullptr, getcwd(cwd_, sizeof(cwd_)));
  }
  void TearDown() override {
    ASSERT_EQ(0, chdir(cwd_));
    RemoveTree(root_);
  }
  std::string P(const std::string& rel) const { return root_ + "/" + rel; }
  void File(const std::string& rel) { close(open(P(rel).c_str(), O_CREAT | O_WRONLY, 0644)); }
  void Dir(const std::string& rel) { ASSERT_EQ(0, mkdir(P(rel).c_str(), 0755)); }
  void Link(const std::string& target, const std::string& rel) {
    ASSERT_EQ(0, symlink(target.c_str(), P(rel).c_str()));
  }
  void Sample() {
    File("a.txt");
    Dir("b");
    File("b/c.txt");
    Dir("b/d");
    Link("a.txt", "link");
    Link("missing", "dangling");
    Link("..", "b/up");  // closes a cycle when links are followed
  }

  std::vector<Visit> Walk(const std::string& start, int options, FtsCompare compar = ByName) {
    char* argv[] = {const_cast<char*>(start.c_str()), nullptr};
    FTS* fts = __fts_open(argv, options, compar);
    EXPECT_NE(nullptr, fts);
    std::vector<Visit> visits;
    if (fts == nullptr) return visits;
    while (FTSENT* e = fts_read(fts)) {
      EXPECT_EQ(strlen(e->fts_path), e->fts_pathlen);
      visits.push_back({e->fts_level, e->fts_info, e->fts_path});
    }
    EXPECT_EQ(0, errno) << "the end of the walk clears errno";
    EXPECT_EQ(0, fts_close(fts));
    return visits;
  }

  std::string root_;
  char cwd_[4096];
};

// An independent recursive walk: pre-order directories, sorted children, post-order again.
void Expected(const std::string& path, int level, bool logical, std::vector<ino_t>& ancestors,
              std::vector<Visit>& out) {
  struct stat st;
  int info;
  if ((logical ? stat(path.c_str(), &st) : lstat(path.c_str(), &st)) != 0) {
    info = lstat(path.c_str(), &st) == 0 ? FTS_SLNONE : FTS_NS;
  } else if (S_ISDIR(st.st_mode)) {
    info = std::find(ancestors.begin(), ancestors.end(), st.st_ino) != ancestors.end() ? FTS_DC
                                                                                        : FTS_D;
  } else {
    info = S_ISLNK(st.st_mode) ? FTS_SL : S_ISREG(st.st_mode) ? FTS_F : FTS_DEFAULT;
  }
  out.push_back({level, info, path});
  if (info != FTS_D) return;
  std::vector<std::string> names;
  DIR* dir = opendir(path.c_str());
  while (dirent* d = readdir(dir)) {
    if (strcmp(d->d_name, ".") != 0 && strcmp(d->d_name, "..") != 0) names.push_back(d->d_name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  ancestors.push_back(st.st_ino);
  for (const std::string& name : names) Expected(path + "/" + name, level + 1, logical, ancestors, out);
  ancestors.pop_back();
  out.push_back({level, FTS_DP, path});
}

std::vector<Visit> Expected(const std::string& root, bool logical) {
  std::vector<Visit> out;
  std::vector<ino_t> ancestors;
  Expected(root, 0, logical, ancestors, out);
  return out;
}

}  // namespace

TEST_F(FtsTest, physical_and_logical_walks_match_an_independent_walk) {
  Sample();
  for (int options : {FTS_PHYSICAL, FTS_PHYSICAL | FTS_NOCHDIR}) {
    SCOPED_TRACE(options);
    EXPECT_EQ(Expected(root_, false), Walk(root_, options));
  }
  std::vector<Visit> logical = Walk(root_, FTS_LOGICAL);
  EXPECT_EQ(Expected(root_, true), logical);
  auto kind_of = [&](const std::string& rel) {
    for (const Visit& v : logical) {
      if (v.path == P(rel)) return v.info;
    }
    return -1;
  };
  EXPECT_EQ(FTS_F, kind_of("link"));
  EXPECT_EQ(FTS_SLNONE, kind_of("dangling"));
  EXPECT_EQ(FTS_DC, kind_of("b/up")) << "a link back to an ancestor is a cycle, not descended";
}

TEST_F(FtsTest, unsorted_siblings_still_come_in_pre_and_post_order) {
  Sample();
  std::vector<Visit> visits = Walk(root_, FTS_PHYSICAL, nullptr);
  std::vector<Visit> expected = Expected(root_, false);
  ASSERT_EQ(expected.size(), visits.size());
  EXPECT_EQ(expected.front(), visits.front());
  EXPECT_EQ(expected.back(), visits.back());
  auto sorted = [](std::vector<Visit> v) {
    std::sort(v.begin(), v.end(), [](const Visit& a, const Visit& b) {
      return std::tie(a.path, a.info) < std::tie(b.path, b.info);
    });
    return v;
  };
  EXPECT_EQ(sorted(expected), sorted(visits));
}

TEST_F(FtsTest, roots_dot_missing_and_for_ftw) {
  Sample();
  ASSERT_EQ(0, chdir(root_.c_str()));
  std::vector<Visit> dot = Walk(".", FTS_PHYSICAL);
  ASSERT_FALSE(dot.empty());
  EXPECT_EQ((Visit{0, FTS_D, "."}), dot.front()) << "a root \".\" is a directory";
  EXPECT_EQ((Visit{1, FTS_F, "./a.txt"}), dot[1]);

  std::vector<Visit> missing = Walk("nowhere", FTS_PHYSICAL);
  EXPECT_EQ((std::vector<Visit>{{0, FTS_NS, "nowhere"}}), missing);
  char* argv[] = {const_cast<char*>("nowhere"), nullptr};
  errno = 0;
  EXPECT_EQ(nullptr, __fts_open(argv, FTS_PHYSICAL | FTS_FOR_FTW, nullptr));
  EXPECT_EQ(ENOENT, errno);
  char* empty[] = {nullptr};
  errno = 0;
  EXPECT_EQ(nullptr, __fts_open(empty, FTS_PHYSICAL, nullptr));
  EXPECT_EQ(EINVAL, errno);
}

TEST_F(FtsTest, working_directory_restored_by_close) {
  Sample();
  char before[4096], during[4096], after[4096];
  getcwd(before, sizeof(before));
  for (int options : {FTS_PHYSICAL, FTS_PHYSICAL | FTS_NOCHDIR}) {
    char* argv[] = {root_.data(), nullptr};
    FTS* fts = __fts_open(argv, options, ByName);
    bool moved = false;
    while (FTSENT* e = fts_read(fts)) {
      if (e->fts_info == FTS_F) {
        getcwd(during, sizeof(during));
        moved |= strcmp(during, before) != 0;
        struct stat st;
        EXPECT_EQ(0, stat(e->fts_accpath, &st)) << "the access path works from here";
      }
    }
    EXPECT_EQ((options & FTS_NOCHDIR) == 0, moved);
    EXPECT_EQ(0, fts_close(fts));
    getcwd(after, sizeof(after));
    EXPECT_STREQ(before, after);
  }
}

TEST_F(FtsTest, deep_path_of_5000_characters_grows_the_buffer) {
  std::string part(199, 'n');
  int fd = open(root_.c_str(), O_RDONLY | O_DIRECTORY);
  size_t depth = 0;
  while ((depth + 1) * (part.size() + 1) <= 5000) {
    ASSERT_EQ(0, mkdirat(fd, part.c_str(), 0755));
    int next = openat(fd, part.c_str(), O_RDONLY | O_DIRECTORY);
    close(fd);
    fd = next;
    ++depth;
  }
  close(openat(fd, "leaf", O_CREAT | O_WRONLY, 0644));
  close(fd);
  std::vector<Visit> visits = Walk(root_, FTS_PHYSICAL);
  auto leaf = std::find_if(visits.begin(), visits.end(),
                           [](const Visit& v) { return v.info == FTS_F; });
  ASSERT_NE(visits.end(), leaf);
  EXPECT_EQ(root_.size() + depth * (part.size() + 1) + 5, leaf->path.size());
  EXPECT_GT(leaf->path.size(), 5000u);
  EXPECT_EQ(static_cast<int>(depth) + 1, leaf->level);
}

TEST_F(FtsTest, unreadable_directory_is_reported_not_entered) {
  Sample();
  Dir("locked");
  File("locked/secret");
  ASSERT_EQ(0, chmod(P("locked").c_str(), 0));
  ASSERT_EQ(0, chmod(root_.c_str(), 0755));
  // Permission bits do not stop root: walk as nobody in a child.
  pid_t child = fork();
  if (child == 0) {
    if (getuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
    char* argv[] = {root_.data(), nullptr};
    FTS* fts = __fts_open(argv, FTS_PHYSICAL, ByName);
    int seen = 0;
    while (FTSENT* e = fts_read(fts)) {
      if (strcmp(e->fts_name, "locked") == 0 && e->fts_info == FTS_DNR && e->fts_errno == EACCES) {
        ++seen;
      }
      if (strcmp(e->fts_name, "secret") == 0) _exit(2);
    }
    fts_close(fts);
    _exit(seen == 1 ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 3) GTEST_SKIP() << "cannot drop privileges here";
  EXPECT_EQ(0, WEXITSTATUS(status)) << "1: not reported as unreadable; 2: entered anyway";
}
