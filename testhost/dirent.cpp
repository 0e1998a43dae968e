// Test host: bionic's directory and file-system statistics functions. bionic's 32-bit ARM
// struct dirent and struct statfs carry 64-bit inode numbers, offsets and block counts (its
// dirent is its dirent64); glibc's default symbols of these names fill 32-bit records, so each
// calls glibc's 64-bit variant, whose record has bionic's layout.
#include <dirent.h>
#include <stddef.h>
#include <string.h>
#include <sys/vfs.h>

#include "kelphost.h"

static_assert(sizeof(struct dirent64) == 280 && offsetof(struct dirent64, d_name) == 19);
static_assert(sizeof(struct statfs64) == 88 && offsetof(struct statfs64, f_fsid) == 48);

using Filter = int (*)(const struct dirent64*);
using Compare = int (*)(const struct dirent64**, const struct dirent64**);

KELPHOST_EXPORT struct dirent64* BionicReaddir(DIR* dir) __asm__("readdir");
struct dirent64* BionicReaddir(DIR* dir) { return readdir64(dir); }

KELPHOST_EXPORT int BionicReaddirR(DIR* dir, struct dirent64* entry, struct dirent64** result)
    __asm__("readdir_r");
int BionicReaddirR(DIR* dir, struct dirent64* entry, struct dirent64** result) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  return readdir64_r(dir, entry, result);
#pragma GCC diagnostic pop
}

// bionic's alphasort orders by strcoll.
KELPHOST_EXPORT int BionicAlphasort(const struct dirent64** a, const struct dirent64** b)
    __asm__("alphasort");
int BionicAlphasort(const struct dirent64** a, const struct dirent64** b) {
  return strcoll((*a)->d_name, (*b)->d_name);
}

KELPHOST_EXPORT int BionicScandir(const char* path, struct dirent64*** list, Filter filter,
                                  Compare compare) __asm__("scandir");
int BionicScandir(const char* path, struct dirent64*** list, Filter filter, Compare compare) {
  return scandir64(path, list, filter, compare);
}

KELPHOST_EXPORT int BionicScandirat(int dir_fd, const char* path, struct dirent64*** list,
                                    Filter filter, Compare compare) __asm__("scandirat");
int BionicScandirat(int dir_fd, const char* path, struct dirent64*** list, Filter filter,
                    Compare compare) {
  return scandirat64(dir_fd, path, list, filter, compare);
}

KELPHOST_EXPORT int BionicStatfs(const char* path, struct statfs64* buf) __asm__("statfs");
int BionicStatfs(const char* path, struct statfs64* buf) { return statfs64(path, buf); }

KELPHOST_EXPORT int BionicFstatfs(int fd, struct statfs64* buf) __asm__("fstatfs");
int BionicFstatfs(int fd, struct statfs64* buf) { return fstatfs64(fd, buf); }
