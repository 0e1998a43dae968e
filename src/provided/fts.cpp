// The file-tree walker: a handle owning a growable path buffer and one heap entry per visited
// name, linked to its parent and its siblings. Depth first, with cycle detection by device and
// inode, and directory changes that verify where they arrive.
#include "provided/fts.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "host/bionic_errno.h"
#include "provided/fts_internal.h"

namespace kelp_fts {

using namespace internal;

namespace {

constexpr size_t kInitialPath = 4096 + 256;

// Re-stats a link to follow it; a directory reached so keeps a descriptor to come back by.
void FollowLink(FTS* sp, FTSENT* p) {
  p->fts_info = fts_stat(sp, p, true, -1);
  if (p->fts_info == FTS_D && !IsSet(sp, FTS_NOCHDIR)) {
    if ((p->fts_symfd = open(".", O_RDONLY | O_CLOEXEC)) < 0) {
      p->fts_errno = errno;
      p->fts_info = FTS_ERR;
    } else {
      p->fts_flags |= FTS_SYMFOLLOW;
    }
  }
}

// Makes a child current, with its full path in the buffer.
FTSENT* ReturnChild(FTS* sp, FTSENT* p) {
  char* t = sp->fts_path + PathEnd(p->fts_parent);
  *t++ = '/';
  memmove(t, p->fts_name, p->fts_namelen + 1);
  return sp->fts_cur = p;
}

// No sibling is left: back up to the parent, which is returned in post-order.
FTSENT* ReturnParent(FTS* sp, FTSENT* done) {
  FTSENT* p = done->fts_parent;
  free(done);
  if (p->fts_level == FTS_ROOTPARENTLEVEL) {
    free(p);
    errno = 0;
    return sp->fts_cur = nullptr;
  }
  sp->fts_path[p->fts_pathlen] = '\0';
  bool failed = false;
  if (p->fts_level == FTS_ROOTLEVEL) {
    failed = ChdirFails(sp, sp->fts_rfd);
  } else if ((p->fts_flags & FTS_SYMFOLLOW) != 0) {
    failed = ChdirFails(sp, p->fts_symfd);
    ErrnoRestorer keep;
    close(p->fts_symfd);
  } else if ((p->fts_flags & FTS_DONTCHDIR) == 0) {
    failed = fts_safe_changedir(sp, p->fts_parent, -1, "..") != 0;
  }
  sp->fts_cur = p;
  if (failed) {
    sp->fts_options |= FTS_STOP;
    return nullptr;
  }
  p->fts_info = p->fts_errno != 0 ? FTS_ERR : FTS_DP;
  return p;
}

}  // namespace

FTS* __fts_open(char* const* argv, int options, FtsCompare compar) {
  if (argv[0] == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  auto* sp = static_cast<FTS*>(calloc(1, sizeof(FTS)));
  if (sp == nullptr) return nullptr;
  sp->fts_compar = compar;
  sp->fts_options = options | ((options & FTS_LOGICAL) * 2);  // logical implies no-chdir
  sp->fts_rfd = -1;

  size_t longest = 0;
  for (char* const* a = argv; *a != nullptr; ++a) longest = std::max(longest, strlen(*a));
  sp->fts_pathlen = longest + 1 > 4096 ? longest + 257 : kInitialPath;
  sp->fts_path = static_cast<char*>(calloc(1, sp->fts_pathlen));
  FTSENT* parent = sp->fts_path != nullptr ? fts_alloc(sp, "", 0) : nullptr;
  FTSENT *root = nullptr, *tail = nullptr;
  size_t count = 0;
  auto fail = [&] {
    ErrnoRestorer keep;
    fts_lfree(root);
    free(parent);
    free(sp->fts_path);
    free(sp);
    return nullptr;
  };
  if (parent == nullptr) return fail();
  parent->fts_level = FTS_ROOTPARENTLEVEL;

  for (char* const* a = argv; *a != nullptr; ++a) {
    FTSENT* p = fts_alloc(sp, *a, strlen(*a));
    if (p == nullptr) return fail();
    p->fts_level = FTS_ROOTLEVEL;
    p->fts_parent = parent;
    p->fts_accpath = p->fts_name;
    p->fts_info = fts_stat(sp, p, (options & FTS_COMFOLLOW) != 0, -1);
    if ((options & FTS_FOR_FTW) != 0 && p->fts_info == FTS_NS) {
      errno = p->fts_errno;
      free(p);
      return fail();
    }
    if (p->fts_info == FTS_DOT) p->fts_info = FTS_D;  // a root "." is a real directory
    if (compar != nullptr) {
      p->fts_link = root;
      root = p;
    } else {
      if (root == nullptr)
        root = p;
      else
        tail->fts_link = p;
      tail = p;
    }
    ++count;
  }
  if (compar != nullptr && count > 1) root = fts_sort(sp, root, count);

  sp->fts_cur = fts_alloc(sp, "", 0);
  if (sp->fts_cur == nullptr) return fail();
  sp->fts_cur->fts_link = root;
  sp->fts_cur->fts_info = FTS_INIT;

  if (!IsSet(sp, FTS_NOCHDIR) && (sp->fts_rfd = open(".", O_RDONLY | O_CLOEXEC)) < 0) {
    sp->fts_options |= FTS_NOCHDIR;
  }
  return sp;
}

FTSENT* fts_read(FTS* sp) {
  if (sp->fts_cur == nullptr || IsSet(sp, FTS_STOP)) return nullptr;
  FTSENT* p = sp->fts_cur;
  uint16_t instr = p->fts_instr;
  p->fts_instr = FTS_NOINSTR;

  if (instr == FTS_AGAIN) {
    p->fts_info = fts_stat(sp, p, false, -1);
    return p;
  }
  if (instr == FTS_FOLLOW && (p->fts_info == FTS_SL || p->fts_info == FTS_SLNONE)) {
    FollowLink(sp, p);
    return p;
  }

  if (p->fts_info == FTS_D) {
    if (instr == FTS_SKIP || (IsSet(sp, FTS_XDEV) && p->fts_dev != sp->fts_dev)) {
      if ((p->fts_flags & FTS_SYMFOLLOW) != 0) close(p->fts_symfd);
      fts_lfree(sp->fts_child);
      sp->fts_child = nullptr;
      p->fts_info = FTS_DP;
      return p;
    }
    if (sp->fts_child != nullptr && IsSet(sp, FTS_NAMEONLY)) {
      sp->fts_options &= ~FTS_NAMEONLY;
      fts_lfree(sp->fts_child);
      sp->fts_child = nullptr;
    }
    if (sp->fts_child != nullptr) {
      if (fts_safe_changedir(sp, p, -1, p->fts_accpath) != 0) {
        p->fts_errno = errno;
        p->fts_flags |= FTS_DONTCHDIR;
        for (FTSENT* c = sp->fts_child; c != nullptr; c = c->fts_link) {
          c->fts_accpath = c->fts_parent->fts_accpath;
        }
      }
    } else if ((sp->fts_child = fts_build(sp, kBuildRead)) == nullptr) {
      return IsSet(sp, FTS_STOP) ? nullptr : p;
    }
    FTSENT* child = sp->fts_child;
    sp->fts_child = nullptr;
    return ReturnChild(sp, child);
  }

  for (;;) {
    FTSENT* done = p;
    p = p->fts_link;
    if (p == nullptr) return ReturnParent(sp, done);
    free(done);
    if (p->fts_level == FTS_ROOTLEVEL) {
      if (ChdirFails(sp, sp->fts_rfd)) {
        sp->fts_options |= FTS_STOP;
        return nullptr;
      }
      fts_load(sp, p);
      return sp->fts_cur = p;
    }
    if (p->fts_instr == FTS_SKIP) continue;
    if (p->fts_instr == FTS_FOLLOW) {
      FollowLink(sp, p);
      p->fts_instr = FTS_NOINSTR;
    }
    return ReturnChild(sp, p);
  }
}

int fts_close(FTS* sp) {
  if (sp->fts_cur != nullptr) {
    FTSENT* p = sp->fts_cur;
    while (p->fts_level >= FTS_ROOTLEVEL) {
      FTSENT* next = p->fts_link != nullptr ? p->fts_link : p->fts_parent;
      free(p);
      p = next;
    }
    free(p);  // the dummy parent
  }
  fts_lfree(sp->fts_child);
  free(sp->fts_array);
  free(sp->fts_path);
  int rfd = IsSet(sp, FTS_NOCHDIR) ? -1 : sp->fts_rfd;
  free(sp);
  if (rfd < 0) return 0;
  int result = fchdir(rfd);
  ErrnoRestorer keep;
  close(rfd);
  return result;
}

}  // namespace kelp_fts
