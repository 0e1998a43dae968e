// bionic's address resolution: its addrinfo record (ai_canonname before ai_addr), its positive
// EAI_* codes and its AI_*/NI_* numbering. The C library of another host may declare these
// names with its own record, hence the asm labels.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/socket.h>

struct HostAddrinfo {
  int ai_flags;
  int ai_family;
  int ai_socktype;
  int ai_protocol;
  socklen_t ai_addrlen;
  char* ai_canonname;
  struct sockaddr* ai_addr;
  HostAddrinfo* ai_next;
};
static_assert(sizeof(HostAddrinfo) == 32);
static_assert(offsetof(HostAddrinfo, ai_addrlen) == 16);
static_assert(offsetof(HostAddrinfo, ai_canonname) == 20);
static_assert(offsetof(HostAddrinfo, ai_addr) == 24);
static_assert(offsetof(HostAddrinfo, ai_next) == 28);

extern "C" {
int BionicGetaddrinfo(const char* node, const char* service, const HostAddrinfo* hints,
                      HostAddrinfo** result) __asm__("getaddrinfo");
void BionicFreeaddrinfo(HostAddrinfo* list) __asm__("freeaddrinfo");
const char* BionicGaiStrerror(int code) __asm__("gai_strerror");
int BionicGetnameinfo(const struct sockaddr* sa, socklen_t salen, char* host, size_t hostlen,
                      char* serv, size_t servlen, int flags) __asm__("getnameinfo");
}
