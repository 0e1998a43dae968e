/* Directory listings, file-system statistics and large-file opens and locks through musl's
 * headers, whose records carry 64-bit inode numbers, offsets and block counts. The program
 * builds its tree in its working directory. */
#define _GNU_SOURCE
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

static const char* const kNames[] = {"b-file", "a-file", "c-dir", "long-name-of-a-file-0123456789"};
#define COUNT (int)(sizeof(kNames) / sizeof(kNames[0]))

static int visible(const struct dirent* d) { return d->d_name[0] != '.'; }

static int by_name(const void* a, const void* b) {
  return strcmp(*(const char* const*)a, *(const char* const*)b);
}

/* Prints what readdir and readdir_r see, sorted, with each entry's type. */
static void list(const char* title, int reentrant) {
  DIR* dir = opendir("tree");
  char* names[16];
  int n = 0;
  struct dirent entry, *d;
  while (n < 16) {
    if (reentrant) {
      if (readdir_r(dir, &entry, &d) != 0 || d == NULL) break;
    } else if ((d = readdir(dir)) == NULL) {
      break;
    }
    if (!visible(d)) continue;
    char line[300];
    snprintf(line, sizeof line, "%s type %s ino %s", d->d_name,
             d->d_type == DT_DIR ? "dir" : d->d_type == DT_REG ? "file" : "other",
             d->d_ino != 0 ? "set" : "zero");
    names[n++] = strdup(line);
  }
  closedir(dir);
  qsort(names, n, sizeof(names[0]), by_name);
  printf("%s: %d entries\n", title, n);
  for (int i = 0; i < n; ++i) {
    printf("  %s\n", names[i]);
    free(names[i]);
  }
}

static void scan(void) {
  struct dirent** entries;
  int n = scandir("tree", &entries, visible, alphasort);
  printf("scandir+alphasort: %d\n", n);
  for (int i = 0; i < n; ++i) {
    printf("  %s\n", entries[i]->d_name);
    free(entries[i]);
  }
  free(entries);
  n = scandir("no-such-dir", &entries, NULL, alphasort);
  printf("scandir of a missing directory: %d %s\n", n, errno == ENOENT ? "ENOENT" : "?");
}

/* Counts agree between statfs and fstatfs and are not truncated to zero. */
static void statistics(void) {
  struct statfs a, b;
  int fd = open("tree", O_RDONLY | O_DIRECTORY);
  int ra = statfs("tree", &a), rb = fstatfs(fd, &b);
  close(fd);
  printf("statfs %d fstatfs %d same type %d bsize>0 %d blocks>0 %d namelen %ld\n", ra, rb,
         a.f_type == b.f_type, a.f_bsize > 0, a.f_blocks > 0, (long)a.f_namelen);
  printf("statfs of a missing path: %d %s\n", statfs("no-such", &a),
         errno == ENOENT ? "ENOENT" : "?");
}

/* A lock at an offset past 4 GiB, seen from a second open file description. */
static void large_locks(void) {
  const off_t far = ((off_t)1 << 32) + 4096;
  int fd = open("big", O_RDWR | O_CREAT | O_TRUNC, 0600);
  int other = open("big", O_RDWR);
  struct flock lock = {.l_type = F_WRLCK, .l_whence = SEEK_SET, .l_start = far, .l_len = 10};
  printf("F_OFD_SETLK at 4 GiB: %d\n", fcntl(fd, F_OFD_SETLK, &lock));
  struct flock probe = {.l_type = F_WRLCK, .l_whence = SEEK_SET, .l_start = far + 5, .l_len = 1};
  int r = fcntl(other, F_OFD_GETLK, &probe);
  printf("F_OFD_GETLK: %d type %s start-4GiB %lld len %lld\n", r,
         probe.l_type == F_WRLCK ? "F_WRLCK" : "other", (long long)(probe.l_start - far + 4096),
         (long long)probe.l_len);
  printf("F_GETFL has O_RDWR: %d\n", (fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDWR);
  FILE* f = fdopen(fd, "r+");
  printf("fseeko past 4 GiB: %d ftello-4GiB %lld\n", fseeko(f, far, SEEK_SET),
         (long long)(ftello(f) - far + 4096));
  fputc('x', f);
  fclose(f);
  close(other);
  struct stat st;
  stat("big", &st);
  printf("size-4GiB %lld\n", (long long)(st.st_size - far + 4096));
  unlink("big");
}

int main(void) {
  mkdir("tree", 0755);
  for (int i = 0; i < COUNT; ++i) {
    char path[64];
    snprintf(path, sizeof path, "tree/%s", kNames[i]);
    if (strstr(kNames[i], "dir") != NULL) {
      mkdir(path, 0755);
    } else {
      close(open(path, O_WRONLY | O_CREAT, 0644));
    }
  }
  list("readdir", 0);
  list("readdir_r", 1);
  scan();
  statistics();
  large_locks();
  char name[] = "tmp-XXXXXX";
  int fd = mkstemp(name);
  printf("mkstemp: %s\n", fd >= 0 ? "ok" : strerror(errno));
  close(fd);
  unlink(name);
  return 0;
}
