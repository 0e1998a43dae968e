/* Sockets, waiting and resolution through musl's headers: descriptor passing, UDP message
 * vectors, select/pselect/ppoll timeouts, resource limits and numeric getaddrinfo. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

static void pass_descriptor(void) {
  int pair[2], p[2];
  socketpair(AF_UNIX, SOCK_STREAM, 0, pair);
  pipe(p);
  char byte = 'x', control[CMSG_SPACE(sizeof(int))];
  struct iovec iov = {&byte, 1};
  struct msghdr m = {0};
  m.msg_iov = &iov;
  m.msg_iovlen = 1;
  m.msg_control = control;
  m.msg_controllen = sizeof(control);
  struct cmsghdr* c = CMSG_FIRSTHDR(&m);
  c->cmsg_level = SOL_SOCKET;
  c->cmsg_type = SCM_RIGHTS;
  c->cmsg_len = CMSG_LEN(sizeof(int));
  memcpy(CMSG_DATA(c), &p[1], sizeof(int));
  printf("sendmsg: %zd\n", sendmsg(pair[0], &m, 0));

  char in_control[64];
  char got = 0;
  struct iovec in_iov = {&got, 1};
  struct msghdr in = {0};
  in.msg_iov = &in_iov;
  in.msg_iovlen = 1;
  in.msg_control = in_control;
  in.msg_controllen = sizeof(in_control);
  printf("recvmsg: %zd '%c' controllen %u\n", recvmsg(pair[1], &in, 0), got,
         (unsigned)in.msg_controllen);
  int fd = -1;
  memcpy(&fd, CMSG_DATA(CMSG_FIRSTHDR(&in)), sizeof(int));
  char buf[4] = {0};
  write(fd, "ok", 2);
  read(p[0], buf, 2);
  printf("passed descriptor writes: %s\n", buf);
  close(fd), close(p[0]), close(p[1]), close(pair[0]), close(pair[1]);
}

static void message_vectors(void) {
  struct sockaddr_in a = {0};
  socklen_t len = sizeof(a);
  int rx = socket(AF_INET, SOCK_DGRAM, 0), tx = socket(AF_INET, SOCK_DGRAM, 0);
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(rx, (struct sockaddr*)&a, sizeof(a));
  getsockname(rx, (struct sockaddr*)&a, &len);
  connect(tx, (struct sockaddr*)&a, sizeof(a));
  char text[] = "onetwothree";
  struct iovec iov[3] = {{text, 3}, {text + 3, 3}, {text + 6, 5}};
  struct mmsghdr out[3], in[3];
  char bufs[3][16];
  struct iovec in_iov[3];
  memset(out, 0, sizeof(out));
  memset(in, 0, sizeof(in));
  for (int i = 0; i < 3; ++i) {
    out[i].msg_hdr.msg_iov = &iov[i];
    out[i].msg_hdr.msg_iovlen = 1;
    in_iov[i].iov_base = bufs[i];
    in_iov[i].iov_len = sizeof(bufs[i]);
    in[i].msg_hdr.msg_iov = &in_iov[i];
    in[i].msg_hdr.msg_iovlen = 1;
  }
  printf("sendmmsg: %d\n", sendmmsg(tx, out, 3, 0));
  struct timespec timeout = {2, 0};
  int n = recvmmsg(rx, in, 3, MSG_WAITFORONE, &timeout);
  printf("recvmmsg: %d lengths %u %u %u\n", n, in[0].msg_len, in[1].msg_len, in[2].msg_len);
  close(rx), close(tx);
}

static void waiting(void) {
  int p[2];
  pipe(p);
  fd_set r;
  FD_ZERO(&r);
  FD_SET(p[0], &r);
  struct timeval tv = {0, 20000};
  printf("select timeout: %d remaining %lld.%06ld\n", select(p[0] + 1, &r, 0, 0, &tv),
         (long long)tv.tv_sec, (long)tv.tv_usec);
  struct timespec ts = {0, 20000000};
  sigset_t mask;
  sigemptyset(&mask);
  FD_SET(p[0], &r);
  printf("pselect timeout: %d, timeout kept %lld.%09ld\n",
         pselect(p[0] + 1, &r, 0, 0, &ts, &mask), (long long)ts.tv_sec, ts.tv_nsec);
  struct pollfd fd = {p[0], POLLIN, 0};
  printf("ppoll timeout: %d\n", ppoll(&fd, 1, &ts, &mask));
  write(p[1], "x", 1);
  printf("ppoll ready: %d revents %d\n", ppoll(&fd, 1, &ts, NULL), fd.revents);
  tv.tv_sec = 3, tv.tv_usec = 0;
  FD_SET(p[0], &r);
  printf("select ready: %d, some time left: %d\n", select(p[0] + 1, &r, 0, 0, &tv),
         tv.tv_sec >= 2 && tv.tv_usec >= 0 && tv.tv_usec < 1000000);
  close(p[0]), close(p[1]);
}

static void limits(void) {
  struct rlimit l;
  getrlimit(RLIMIT_NOFILE, &l);
  struct rlimit lower = {32, l.rlim_max};
  printf("setrlimit NOFILE 32: %d\n", setrlimit(RLIMIT_NOFILE, &lower));
  getrlimit(RLIMIT_NOFILE, &l);
  printf("getrlimit NOFILE cur: %llu\n", (unsigned long long)l.rlim_cur);
  struct rlimit old;
  lower.rlim_cur = 40;
  printf("prlimit: %d old cur %llu\n", prlimit(0, RLIMIT_NOFILE, &lower, &old),
         (unsigned long long)old.rlim_cur);
  getrlimit(RLIMIT_FSIZE, &l);
  printf("FSIZE max all ones: %d, 4294967295: %d\n", l.rlim_max == RLIM_INFINITY,
         l.rlim_max == 4294967295ULL);
}

static void resolution(void) {
  struct addrinfo hints = {0}, *res = NULL;
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICHOST | AI_CANONNAME;
  int rc = getaddrinfo("127.0.0.1", "8080", &hints, &res);
  printf("getaddrinfo numeric: %d\n", rc);
  for (struct addrinfo* ai = res; ai; ai = ai->ai_next) {
    struct sockaddr_in* sin = (struct sockaddr_in*)ai->ai_addr;
    char text[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &sin->sin_addr, text, sizeof(text));
    printf("  family %d socktype %d protocol %d addrlen %u %s:%d canon %s\n", ai->ai_family,
           ai->ai_socktype, ai->ai_protocol, (unsigned)ai->ai_addrlen, text,
           ntohs(sin->sin_port), ai->ai_canonname ? ai->ai_canonname : "(none)");
  }
  freeaddrinfo(res);
  res = NULL;
  hints.ai_flags = AI_PASSIVE;
  hints.ai_family = AF_INET6;
  printf("getaddrinfo passive: %d\n", getaddrinfo(NULL, "9", &hints, &res));
  if (res) {
    char text[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, &((struct sockaddr_in6*)res->ai_addr)->sin6_addr, text, sizeof(text));
    printf("  %s port %d\n", text, ntohs(((struct sockaddr_in6*)res->ai_addr)->sin6_port));
    freeaddrinfo(res);
  }
  hints.ai_flags = AI_NUMERICHOST;
  hints.ai_family = AF_UNSPEC;
  rc = getaddrinfo("not-an-address", "80", &hints, &res);
  printf("getaddrinfo non-numeric: %d %s\n", rc, gai_strerror(rc));
  hints.ai_flags = AI_NUMERICSERV;
  rc = getaddrinfo("127.0.0.1", "http", &hints, &res);
  printf("getaddrinfo named service with AI_NUMERICSERV: %d %s\n", rc, gai_strerror(rc));
  hints.ai_flags = AI_V4MAPPED;
  rc = getaddrinfo("127.0.0.1", "80", &hints, &res);
  printf("getaddrinfo AI_V4MAPPED: %d\n", rc);
  if (rc == 0) freeaddrinfo(res);
  for (int code = 0; code >= -12; --code) printf("gai_strerror(%d): %s\n", code, gai_strerror(code));

  struct sockaddr_in sin = {0};
  sin.sin_family = AF_INET;
  sin.sin_port = htons(443);
  sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  char host[64], serv[16];
  rc = getnameinfo((struct sockaddr*)&sin, sizeof(sin), host, sizeof(host), serv, sizeof(serv),
                   NI_NUMERICHOST | NI_NUMERICSERV);
  printf("getnameinfo: %d %s %s\n", rc, host, serv);
  rc = getnameinfo((struct sockaddr*)&sin, sizeof(sin), host, 4, NULL, 0, NI_NUMERICHOST);
  printf("getnameinfo short buffer: %d\n", rc);
}

int main(void) {
  setvbuf(stdout, NULL, _IOLBF, 0);
  pass_descriptor();
  message_vectors();
  waiting();
  limits();
  resolution();
  return 0;
}
