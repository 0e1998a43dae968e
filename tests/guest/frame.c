/* Unsupported interfaces, no-ops and forwarders of the adaptor's frame, through musl's headers.
 * Each prints what musl prints too. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <mqueue.h>
#include <netinet/ether.h>
#include <pthread.h>
#include <shadow.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

int main(void) {
  printf("mq_open: %d\n", (int)mq_open("/kelp-frame-test", O_RDONLY));
  printf("gethostid: %ld\n", gethostid());
  printf("pthread_getconcurrency: %d\n", pthread_getconcurrency());
  printf("pthread_setconcurrency(-1, 5, 0): %d %d %d\n", pthread_setconcurrency(-1),
         pthread_setconcurrency(5), pthread_setconcurrency(0));
  printf("getspnam(unknown): %s\n", getspnam("kelp-no-such-user") ? "found" : "null");
  struct ether_addr address;
  printf("ether_hostton: %d\n", ether_hostton("kelp-no-such-host", &address));
  setutxent();
  printf("getutxent: %s\n", getutxent() ? "entry" : "null");
  endutxent();

  int fd = open("file", O_CREAT | O_WRONLY, 0644);
  close(fd);
  printf("eaccess(file, R_OK): %d\n", eaccess("file", R_OK));
  errno = 0;
  printf("eaccess(missing): %d errno %d\n", eaccess("missing", F_OK), errno);
  printf("lchmod(file, 0600): %d\n", lchmod("file", 0600));

  char secret[8] = "abcdefg";
  explicit_bzero(secret + 2, 3);
  printf("explicit_bzero: %c%c%d%d%d%c%c\n", secret[0], secret[1], secret[2], secret[3], secret[4],
         secret[5], secret[6]);
  setenv("KELP_FRAME", "on", 1);
  printf("secure_getenv: %s\n", secure_getenv("KELP_FRAME"));
  return 0;
}
