// Reading one directory into entries, classifying entries, and changing directory safely: the
// half of the walker that touches the file system.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/bionic_errno.h"
#include "provided/fts_internal.h"

namespace kelp_fts::internal {
namespace {

constexpr int16_t kMaxLevel = 32767;

// Grows the path buffer by `more` + 258 bytes; a size that would overflow is ENAMETOOLONG.
bool fts_palloc(FTS* sp, size_t more) {
  more += 258;
  if (sp->fts_pathlen + more < sp->fts_pathlen) {
    free(sp->fts_path);
    sp->fts_path = nullptr;
    errno = ENAMETOOLONG;
    return false;
  }
  auto* grown = static_cast<char*>(realloc(sp->fts_path, sp->fts_pathlen + more));
  if (grown == nullptr) {
    free(sp->fts_path);
    sp->fts_path = nullptr;
    return false;
  }
  sp->fts_path = grown;
  sp->fts_pathlen += more;
  return true;
}

// After the path buffer moved: rebase the saved paths of the new children and the ancestors.
void fts_padjust(FTS* sp, FTSENT* head) {
  char* addr = sp->fts_path;
  auto adjust = [addr](FTSENT* p) {
    if (p->fts_accpath != p->fts_name) p->fts_accpath = addr + (p->fts_accpath - p->fts_path);
    p->fts_path = addr;
  };
  for (FTSENT* p = sp->fts_child; p != nullptr; p = p->fts_link) adjust(p);
  for (FTSENT* p = head; p != nullptr && p->fts_level >= FTS_ROOTLEVEL;) {
    adjust(p);
    p = p->fts_link != nullptr ? p->fts_link : p->fts_parent;
  }
}

}  // namespace

// One heap block: the entry, its name, and (unless no-stat) a 4-byte-aligned host stat record.
FTSENT* fts_alloc(FTS* sp, const char* name, size_t namelen) {
  size_t size = sizeof(FTSENT) + namelen;
  if (!IsSet(sp, FTS_NOSTAT)) size += sizeof(struct stat) + 3;
  auto* p = static_cast<FTSENT*>(malloc(size));
  if (p == nullptr) return nullptr;
  memset(p, 0, sizeof(FTSENT));
  memcpy(p->fts_name, name, namelen);
  p->fts_name[namelen] = '\0';
  if (!IsSet(sp, FTS_NOSTAT)) {
    uintptr_t after_name = reinterpret_cast<uintptr_t>(p->fts_name + namelen + 1);
    p->fts_statp = reinterpret_cast<struct stat*>((after_name + 3) & ~uintptr_t{3});
  }
  p->fts_namelen = namelen;
  p->fts_path = sp->fts_path;
  p->fts_symfd = -1;
  p->fts_instr = FTS_NOINSTR;
  return p;
}

void fts_lfree(FTSENT* head) {
  while (head != nullptr) {
    FTSENT* next = head->fts_link;
    free(head);
    head = next;
  }
}

uint16_t fts_stat(FTS* sp, FTSENT* p, bool follow, int dirfd) {
  struct stat local;
  struct stat* sb = IsSet(sp, FTS_NOSTAT) ? &local : p->fts_statp;
  int at = dirfd == -1 ? AT_FDCWD : dirfd;
  const char* path = dirfd == -1 ? p->fts_accpath : p->fts_name;
  if (IsSet(sp, FTS_LOGICAL) || follow) {
    if (fstatat(at, path, sb, 0) != 0) {
      int saved = errno;
      if (fstatat(at, path, sb, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = 0;
        p->fts_errno = 0;
        return FTS_SLNONE;
      }
      p->fts_errno = saved;
      memset(sb, 0, sizeof(*sb));
      return FTS_NS;
    }
  } else if (fstatat(at, path, sb, AT_SYMLINK_NOFOLLOW) != 0) {
    p->fts_errno = errno;
    memset(sb, 0, sizeof(*sb));
    return FTS_NS;
  }

  if (S_ISDIR(sb->st_mode)) {
    p->fts_dev = sb->st_dev;
    p->fts_ino = sb->st_ino;
    p->fts_nlink = static_cast<uint32_t>(sb->st_nlink);
    if (IsDot(p->fts_name)) return FTS_DOT;
    for (FTSENT* t = p->fts_parent; t->fts_level >= FTS_ROOTLEVEL; t = t->fts_parent) {
      if (p->fts_dev == t->fts_dev && p->fts_ino == t->fts_ino) {
        p->fts_cycle = t;
        return FTS_DC;
      }
    }
    return FTS_D;
  }
  if (S_ISLNK(sb->st_mode)) return FTS_SL;
  if (S_ISREG(sb->st_mode)) return FTS_F;
  return FTS_DEFAULT;
}

FTSENT* fts_sort(FTS* sp, FTSENT* head, size_t count) {
  if (count > sp->fts_nitems) {
    size_t capacity = count + 40;
    auto* grown = static_cast<FTSENT**>(realloc(sp->fts_array, capacity * sizeof(FTSENT*)));
    if (grown == nullptr) {  // unsorted rather than nothing
      free(sp->fts_array);
      sp->fts_array = nullptr;
      sp->fts_nitems = 0;
      return head;
    }
    sp->fts_array = grown;
    sp->fts_nitems = capacity;
  }
  size_t n = 0;
  for (FTSENT* p = head; p != nullptr; p = p->fts_link) sp->fts_array[n++] = p;
  qsort(sp->fts_array, count, sizeof(FTSENT*),
        reinterpret_cast<int (*)(const void*, const void*)>(sp->fts_compar));
  for (size_t i = 0; i + 1 < count; ++i) sp->fts_array[i]->fts_link = sp->fts_array[i + 1];
  sp->fts_array[count - 1]->fts_link = nullptr;
  return sp->fts_array[0];
}

// Changes into `fd` (or `path` when fd is -1) only if it is the directory p recorded.
int fts_safe_changedir(FTS* sp, const FTSENT* p, int fd, const char* path) {
  if (IsSet(sp, FTS_NOCHDIR)) return 0;
  int dir = fd;
  if (fd < 0 && (dir = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) < 0) return -1;
  int result = -1;
  struct stat sb;
  if (fstat(dir, &sb) == 0) {
    if (sb.st_dev != p->fts_dev || sb.st_ino != p->fts_ino) {
      errno = ENOENT;
    } else {
      result = fchdir(dir);
    }
  }
  if (fd < 0) {
    ErrnoRestorer keep;
    close(dir);
  }
  return result;
}

void fts_load(FTS* sp, FTSENT* p) {
  size_t len = p->fts_pathlen = p->fts_namelen;
  memmove(sp->fts_path, p->fts_name, len + 1);
  char* slash = strrchr(p->fts_name, '/');
  if (slash != nullptr && (slash != p->fts_name || slash[1] != '\0')) {
    len = strlen(++slash);
    memmove(p->fts_name, slash, len + 1);
    p->fts_namelen = len;
  }
  p->fts_accpath = p->fts_path = sp->fts_path;
  sp->fts_dev = p->fts_dev;
}

namespace {
// Classifies one directory entry read by fts_build.
void ClassifyChild(FTS* sp, FTSENT* p, const dirent* dp, int dirfd, char* cp, int cd_errno,
                   int* nlinks) {
  bool skip_stat = IsSet(sp, FTS_NOSTAT) && IsSet(sp, FTS_PHYSICAL) && dp->d_type != DT_DIR &&
                   dp->d_type != DT_UNKNOWN;
  if (cd_errno != 0) {
    if (*nlinks != 0) {
      p->fts_info = FTS_NS;
      p->fts_errno = cd_errno;
    } else {
      p->fts_info = FTS_NSOK;
    }
    p->fts_accpath = p->fts_parent->fts_accpath;
  } else if (*nlinks == 0 || skip_stat) {
    p->fts_accpath = IsSet(sp, FTS_NOCHDIR) ? p->fts_path : p->fts_name;
    p->fts_info = FTS_NSOK;
  } else {
    if (IsSet(sp, FTS_NOCHDIR)) {
      p->fts_accpath = p->fts_path;
      memmove(cp, p->fts_name, p->fts_namelen + 1);
      p->fts_info = fts_stat(sp, p, false, -1);
    } else {
      p->fts_accpath = p->fts_name;
      p->fts_info = fts_stat(sp, p, false, dirfd);
    }
    if (*nlinks > 0 && (p->fts_info == FTS_D || p->fts_info == FTS_DC || p->fts_info == FTS_DOT)) {
      --*nlinks;
    }
  }
}
}  // namespace

// Reads the current directory into a list of entries.
FTSENT* fts_build(FTS* sp, int mode) {
  FTSENT* cur = sp->fts_cur;
  DIR* dirp = opendir(cur->fts_accpath);
  if (dirp == nullptr) {
    if (mode == kBuildRead) {
      cur->fts_info = FTS_DNR;
      cur->fts_errno = errno;
    }
    return nullptr;
  }
  // Under no-stat physical walks, only as many entries as the link count promises are stat'ed.
  int nlinks = -1;
  if (mode == kBuildNames) {
    nlinks = 0;
  } else if (IsSet(sp, FTS_NOSTAT) && IsSet(sp, FTS_PHYSICAL)) {
    nlinks = static_cast<int>(cur->fts_nlink) - (IsSet(sp, FTS_SEEDOT) ? 0 : 2);
  }
  bool descended = false;
  int cd_errno = 0;
  if (nlinks != 0 || mode == kBuildRead) {
    if (fts_safe_changedir(sp, cur, dirfd(dirp), nullptr) != 0) {
      if (nlinks != 0 && mode == kBuildRead) cur->fts_errno = errno;
      cur->fts_flags |= FTS_DONTCHDIR;
      cd_errno = errno;
    } else {
      descended = true;
    }
  }

  size_t len = PathEnd(cur);
  char* cp = nullptr;
  if (IsSet(sp, FTS_NOCHDIR)) {
    cp = sp->fts_path + len;
    *cp++ = '/';
  }
  ++len;
  size_t maxlen = sp->fts_pathlen - len;
  int16_t level = cur->fts_level < kMaxLevel ? cur->fts_level + 1 : kMaxLevel;

  bool moved = false;
  FTSENT *head = nullptr, *tail = nullptr;
  size_t count = 0;
  while (dirent* dp = readdir(dirp)) {
    if (!IsSet(sp, FTS_SEEDOT) && IsDot(dp->d_name)) continue;
    size_t namelen = strlen(dp->d_name);
    FTSENT* p = fts_alloc(sp, dp->d_name, namelen);
    bool failed = p == nullptr;
    if (!failed && namelen >= maxlen) {
      char* old = sp->fts_path;
      failed = !fts_palloc(sp, len + namelen);
      if (!failed && old != sp->fts_path) {
        moved = true;
        if (IsSet(sp, FTS_NOCHDIR)) cp = sp->fts_path + len;
      }
      maxlen = sp->fts_pathlen - len;
    }
    if (!failed && len + namelen < len) {
      errno = ENAMETOOLONG;
      failed = true;
    }
    if (failed) {
      int saved = errno;
      free(p);
      fts_lfree(head);
      closedir(dirp);
      cur->fts_info = FTS_ERR;
      sp->fts_options |= FTS_STOP;
      errno = saved;
      return nullptr;
    }
    p->fts_level = level;
    p->fts_parent = cur;
    p->fts_pathlen = len + namelen;
    p->fts_path = sp->fts_path;
    ClassifyChild(sp, p, dp, dirfd(dirp), cp, cd_errno, &nlinks);
    if (head == nullptr)
      head = p;
    else
      tail->fts_link = p;
    tail = p;
    ++count;
  }
  closedir(dirp);

  if (moved) fts_padjust(sp, head);
  if (IsSet(sp, FTS_NOCHDIR)) {
    if (len == sp->fts_pathlen || count == 0) --cp;
    *cp = '\0';
  }
  if (descended && (mode == kBuildChildren || count == 0)) {
    bool back = cur->fts_level == FTS_ROOTLEVEL
                    ? !ChdirFails(sp, sp->fts_rfd)
                    : fts_safe_changedir(sp, cur->fts_parent, -1, "..") == 0;
    if (!back) {
      cur->fts_info = FTS_ERR;
      sp->fts_options |= FTS_STOP;
      fts_lfree(head);
      return nullptr;
    }
  }
  if (count == 0) {
    if (mode == kBuildRead) cur->fts_info = FTS_DP;
    return nullptr;
  }
  if (sp->fts_compar != nullptr && count > 1) head = fts_sort(sp, head, count);
  return head;
}

}  // namespace kelp_fts::internal
