// The protocol and service databases and the passwd, group and shadow file functions, as a guest
// sees them.
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <grp.h>
#include <netdb.h>
#include <pwd.h>
#include <shadow.h>
#include <stdio.h>
#include <string.h>

static void protocols(void) {
  struct protoent* p;
  int n = 0;
  setprotoent(1);
  while ((p = getprotoent()) != NULL) printf("%s%d=%s", n++ ? " " : "proto ", p->p_proto, p->p_name);
  printf("\n");
  p = getprotobyname("raw");
  printf("raw: %d, next: %s\n", p ? p->p_proto : -1, getprotoent() ? "more" : "end");
  p = getprotobyname("udp");
  printf("after udp: %s; 7: %s\n", getprotoent()->p_name, getprotobynumber(7) ? "found" : "none");
}

static void services(void) {
  const char* names[][2] = {{"http", "tcp"}, {"domain", NULL}, {"domain", "udp"},
                            {"80", NULL},    {"no-such", NULL}, {"http", "sctp"}};
  char buf[256];
  struct servent se, *res;
  for (size_t i = 0; i < sizeof(names) / sizeof(names[0]); ++i) {
    int r = getservbyname_r(names[i][0], names[i][1], &se, buf, sizeof(buf), &res);
    printf("byname %s/%s: %d", names[i][0], names[i][1] ? names[i][1] : "-", r);
    if (r == 0) printf(" %s %d %s", res->s_name, ntohs(res->s_port), res->s_proto);
    printf("\n");
  }
  int ports[] = {22, 53, 64999};
  for (size_t i = 0; i < sizeof(ports) / sizeof(ports[0]); ++i) {
    int r = getservbyport_r(htons(ports[i]), NULL, &se, buf, sizeof(buf), &res);
    printf("byport %d: %d", ports[i], r);
    if (r == 0) printf(" %s %s", res->s_name, res->s_proto);
    printf("\n");
  }
  printf("small buffer: %d\n", getservbyname_r("http", "tcp", &se, buf, 4, &res));
}

static FILE* file_with(const char* name, const char* text) {
  FILE* f = fopen(name, "w+");
  fputs(text, f);
  rewind(f);
  return f;
}

static void passwd_file(void) {
  FILE* f = file_with("passwd",
                      "root:x:0:0:root:/root:/bin/sh\n"
                      "bad:x:12ab:0:g:/h:/s\n"
                      "noseparators\n"
                      "empty:::::/home/e:\n"
                      "last:x:7:8:gecos,more:/home/l:/bin/zsh");
  struct passwd* pw;
  while ((pw = fgetpwent(f)) != NULL) {
    printf("pw %s|%s|%u|%u|%s|%s|%s\n", pw->pw_name, pw->pw_passwd, pw->pw_uid, pw->pw_gid,
           pw->pw_gecos, pw->pw_dir, pw->pw_shell);
    putpwent(pw, stdout);
  }
  fclose(f);
}

static void group_file(void) {
  FILE* f = file_with("group", "wheel:x:10:root,alice,bob\nnone:x:11:\none:*:12:solo\nbad:x:1x:a\n");
  struct group* gr;
  while ((gr = fgetgrent(f)) != NULL) {
    int n = 0;
    while (gr->gr_mem[n] != NULL) n++;
    printf("gr %s %u members=%d\n", gr->gr_name, gr->gr_gid, n);
    putgrent(gr, stdout);
  }
  fclose(f);
}

static void shadow_file(void) {
  FILE* f = file_with("shadow", "root:$6$salt:19000:0::7:::\nu:*:1:2:3:4:5:6:7\nbroken:*:1\n");
  struct spwd* sp;
  while ((sp = fgetspent(f)) != NULL) {
    printf("sp %s max=%ld flag=%lu\n", sp->sp_namp, sp->sp_max, sp->sp_flag);
    putspent(sp, stdout);
  }
  fclose(f);
}

int main(void) {
  protocols();
  services();
  passwd_file();
  group_file();
  shadow_file();
  struct passwd* root = getpwnam("root");
  printf("getpwnam root: %s uid=%u passwd=%s gecos=%s\n", root->pw_name, root->pw_uid,
         root->pw_passwd ? "set" : "null", root->pw_gecos ? "set" : "null");
  return 0;
}
