// The adaptor's address-resolution entries and the test host's bionic-numbered resolver, as
// the tests call them.
#pragma once

#include <dlfcn.h>
#include <stddef.h>
#include <sys/socket.h>

#include "guest/netdb.h"
#include "host/bionic_netdb.h"

extern "C" {
int kelp_adaptor_getaddrinfo(const char* node, const char* service, const GuestAddrinfo* hints,
                             GuestAddrinfo** res);
void kelp_adaptor_freeaddrinfo(GuestAddrinfo* ai);
const char* kelp_adaptor_gai_strerror(int code);
int kelp_adaptor_getnameinfo(const struct sockaddr* sa, socklen_t salen, char* host,
                             size_t hostlen, char* serv, size_t servlen, int flags);

// Test-host inspection and scripting of the stand-in resolver.
int kelphost_netdb_seen_flags();
void kelphost_netdb_fail_next(int code);
void kelphost_netdb_node_flags_next(int flags);
}

// The host's (bionic-numbered) resolver; glibc's own is ahead of it in a test binary.
template <typename Fn>
Fn HostResolver(const char* name) {
  return reinterpret_cast<Fn>(dlvsym(RTLD_DEFAULT, name, "KELPHOST_1"));
}
