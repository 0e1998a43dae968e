/* File status, statistics, file times and tree walks through musl's headers, over a tree the
 * program builds in its working directory. Walk lines are sorted: sibling order is readdir's. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <unistd.h>

static char lines[64][128];
static int count;

static int by_text(const void* a, const void* b) { return strcmp(a, b); }
static void flush_lines(const char* title) {
  qsort(lines, count, sizeof(lines[0]), by_text);
  printf("%s:\n", title);
  for (int i = 0; i < count; ++i) printf("  %s\n", lines[i]);
  count = 0;
}

static int on_nftw(const char* path, const struct stat* st, int flag, struct FTW* ftw) {
  snprintf(lines[count++], sizeof(lines[0]), "%s flag %d level %d base-name %s size %lld", path,
           flag, ftw->level, path + ftw->base, flag == FTW_F ? (long long)st->st_size : -1LL);
  return 0;
}

static int on_ftw(const char* path, const struct stat* st, int flag) {
  (void)st;
  snprintf(lines[count++], sizeof(lines[0]), "%s flag %d", path, flag);
  return 0;
}

int main(void) {
  mkdir("tree", 0755);
  mkdir("tree/sub", 0755);
  int fd = open("tree/sub/data", O_CREAT | O_WRONLY, 0640);
  write(fd, "0123456789", 10);
  close(fd);
  symlink("sub/data", "tree/link");
  symlink("nowhere", "tree/dangling");

  struct timeval tv[2] = {{1000000000, 250000}, {2000000000, 999999}};
  printf("utimes: %d\n", utimes("tree/sub/data", tv));
  tv[1].tv_usec = 1000000;
  printf("utimes with 1000000 us: %d\n", utimes("tree/sub/data", tv));
  struct stat st;
  printf("stat: %d\n", stat("tree/sub/data", &st));
  printf("  size %lld mode %o nlink %d mtime %lld.%09ld atime %lld.%09ld\n", (long long)st.st_size,
         st.st_mode, (int)st.st_nlink, (long long)st.st_mtim.tv_sec, st.st_mtim.tv_nsec,
         (long long)st.st_atim.tv_sec, st.st_atim.tv_nsec);
  printf("lstat(link): %d, is link %d\n", lstat("tree/link", &st), S_ISLNK(st.st_mode));
  int dir = open("tree", O_RDONLY | O_DIRECTORY);
  printf("fstatat(link): %d, is regular %d\n", fstatat(dir, "link", &st, 0), S_ISREG(st.st_mode));
  close(dir);

  struct timespec ts[2] = {{-100, 5}, {2100000000, 123456789}};
  printf("utimensat: %d\n", utimensat(AT_FDCWD, "tree/sub/data", ts, 0));
  fd = open("tree/sub/data", O_RDONLY);
  printf("fstat: %d, mtime %lld.%09ld atime %lld\n", fstat(fd, &st), (long long)st.st_mtim.tv_sec,
         st.st_mtim.tv_nsec, (long long)st.st_atim.tv_sec);
  struct timespec now[2] = {{0, UTIME_OMIT}, {1234567890, 0}};
  printf("futimens: %d\n", futimens(fd, now));
  fstat(fd, &st);
  printf("  mtime %lld\n", (long long)st.st_mtim.tv_sec);
  close(fd);
  /* Past 2038: 2^33 seconds is in the year 2242. */
  close(open("far-file", O_CREAT | O_WRONLY, 0644));
  struct timespec far[2] = {{8589934592LL + 5, 0}, {8589934592LL, 250}};
  printf("utimensat(2^33): %d\n", utimensat(AT_FDCWD, "far-file", far, 0));
  printf("stat: %d, mtime %lld.%09ld atime %lld\n", stat("far-file", &st),
         (long long)st.st_mtim.tv_sec, st.st_mtim.tv_nsec, (long long)st.st_atim.tv_sec);
  fd = open("far-file", O_RDONLY);
  printf("fstat: %d, mtime %lld\n", fstat(fd, &st), (long long)st.st_mtim.tv_sec);
  close(fd);
  errno = 0;
  printf("stat(missing): %d errno %d\n", stat("tree/missing", &st), errno);

  struct statvfs vfs;
  printf("statvfs: %d, bsize>0 %d, blocks>=bfree %d, namemax %lu\n", statvfs("tree", &vfs),
         vfs.f_bsize > 0, vfs.f_blocks >= vfs.f_bfree, vfs.f_namemax);

  printf("nftw(PHYS): %d\n", nftw("tree", on_nftw, 8, FTW_PHYS));
  flush_lines("physical");
  printf("nftw(DEPTH): %d\n", nftw("tree", on_nftw, 8, FTW_DEPTH));
  flush_lines("logical, post-order");
  printf("ftw: %d\n", ftw("tree", on_ftw, 8));
  flush_lines("ftw");
  return 0;
}
