/* sendfile from past 4 GiB with a 64-bit offset, mknodat's device number, and the small stdio
 * calls whose results differ in type: __fpurge's result, tmpnam's buffer size, and
 * newlocale's LC_ALL_MASK. The sparse file lives in the working directory. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <locale.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <string.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

static void send_file(void) {
  const off_t base = 5LL << 30;
  int in = open("sparse", O_RDWR | O_CREAT | O_TRUNC, 0600);
  if (pwrite(in, "0123456789abcdefghij", 20, base) != 20) perror("pwrite");
  int out = open("copy", O_RDWR | O_CREAT | O_TRUNC, 0600);
  off_t offset = base + 4;
  ssize_t n = sendfile(out, in, &offset, 8);
  char buf[16] = {0};
  pread(out, buf, sizeof buf - 1, 0);
  printf("sendfile %zd: offset base+%lld copied \"%s\"\n", n, (long long)(offset - base), buf);
  close(in);
  close(out);
  unlink("sparse");
}

static void make_nodes(void) {
  struct { const char* name; mode_t mode; dev_t dev; } kNodes[] = {
      {"fifo", S_IFIFO | 0600, 0},
      {"null", S_IFCHR | 0600, makedev(1, 3)},
      {"disk", S_IFBLK | 0600, makedev(8, 17)},
  };
  for (size_t i = 0; i < sizeof kNodes / sizeof kNodes[0]; ++i) {
    int r = mknodat(AT_FDCWD, kNodes[i].name, kNodes[i].mode, kNodes[i].dev);
    struct stat st;
    if (r == 0 && stat(kNodes[i].name, &st) == 0) {
      printf("mknodat %s: mode %o rdev %u:%u\n", kNodes[i].name, (unsigned)st.st_mode,
             major(st.st_rdev), minor(st.st_rdev));
    } else {
      printf("mknodat %s: %d %s\n", kNodes[i].name, r, strerror(errno));
    }
    unlink(kNodes[i].name);
  }
}

static void stdio_names(void) {
  FILE* f = fopen("purge", "w+");
  fputs("pending", f);
  printf("__fpurge %d\n", __fpurge(f));
  fclose(f);
  char name[L_tmpnam];
  char* r = tmpnam(name);
  printf("tmpnam %s, length below L_tmpnam %d\n", r == name ? "into the buffer" : "other",
         r != NULL && strlen(r) < L_tmpnam);
}

static void locale_mask(void) {
  locale_t all = newlocale(LC_ALL_MASK, "C", (locale_t)0);
  printf("newlocale LC_ALL_MASK: %s\n", all != (locale_t)0 ? "ok" : strerror(errno));
  if (all) freelocale(all);
  locale_t some = newlocale(LC_CTYPE_MASK | LC_NUMERIC_MASK, "C", (locale_t)0);
  printf("newlocale two categories: %s\n", some != (locale_t)0 ? "ok" : strerror(errno));
  if (some) freelocale(some);
}

int main(void) {
  send_file();
  make_nodes();
  stdio_names();
  locale_mask();
  return 0;
}
