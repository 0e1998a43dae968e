// Internals of the file-tree walker shared by its two files.
#pragma once

#include <stddef.h>
#include <unistd.h>

#include "provided/fts.h"

namespace kelp_fts::internal {

enum BuildMode { kBuildChildren = 1, kBuildNames = 2, kBuildRead = 3 };

inline bool IsSet(const FTS* sp, int option) { return (sp->fts_options & option) != 0; }
inline bool IsDot(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}
// Changes to `fd` unless the walk never changes directory.
inline bool ChdirFails(const FTS* sp, int fd) { return !IsSet(sp, FTS_NOCHDIR) && fchdir(fd) != 0; }
// The length of p's path without a trailing '/'.
inline size_t PathEnd(const FTSENT* p) {
  return p->fts_path[p->fts_pathlen - 1] == '/' ? p->fts_pathlen - 1 : p->fts_pathlen;
}

FTSENT* fts_alloc(FTS* sp, const char* name, size_t namelen);
void fts_lfree(FTSENT* head);
uint16_t fts_stat(FTS* sp, FTSENT* p, bool follow, int dirfd);
FTSENT* fts_sort(FTS* sp, FTSENT* head, size_t count);
int fts_safe_changedir(FTS* sp, const FTSENT* p, int fd, const char* path);
FTSENT* fts_build(FTS* sp, int mode);
void fts_load(FTS* sp, FTSENT* p);

}  // namespace kelp_fts::internal
