// Test host: bionic's address resolution on glibc. bionic numbers the AI_*/NI_* flags and the
// EAI_* codes its own way (positive codes), keeps ai_canonname ahead of ai_addr, and accepts
// only the flags of its AI_MASK. Lists are built here, one block per node with its address
// behind it and the canonical name apart, and freed here as bionic frees them.
#include <netdb.h>
#include <stdlib.h>
#include <string.h>

#include "../src/host/bionic_netdb.h"
#include "kelphost.h"

extern "C" {
int GlibcGetaddrinfo(const char* node, const char* service, const struct addrinfo* hints,
                     struct addrinfo** result);
void GlibcFreeaddrinfo(struct addrinfo* list);
const char* GlibcGaiStrerror(int code);
int GlibcGetnameinfo(const struct sockaddr* sa, socklen_t salen, char* host, socklen_t hostlen,
                     char* serv, socklen_t servlen, int flags);
}
__asm__(".symver GlibcGetaddrinfo, getaddrinfo@GLIBC_2.4");
__asm__(".symver GlibcFreeaddrinfo, freeaddrinfo@GLIBC_2.4");
__asm__(".symver GlibcGaiStrerror, gai_strerror@GLIBC_2.4");
__asm__(".symver GlibcGetnameinfo, getnameinfo@GLIBC_2.4");

namespace {

struct Pair {
  int bionic;
  int glibc;
};

const Pair kAiFlags[] = {
    {0x1, AI_PASSIVE},     {0x2, AI_CANONNAME}, {0x4, AI_NUMERICHOST}, {0x8, AI_NUMERICSERV},
    {0x100, AI_ALL},       {0x400, AI_ADDRCONFIG}, {0x800, AI_V4MAPPED},
};
constexpr int kBionicAiMask = 0x1 | 0x2 | 0x4 | 0x8 | 0x400;

const Pair kNiFlags[] = {
    {0x1, NI_NOFQDN}, {0x2, NI_NUMERICHOST}, {0x4, NI_NAMEREQD}, {0x8, NI_NUMERICSERV},
    {0x10, NI_DGRAM},
};

const Pair kErrors[] = {
    {1, EAI_ADDRFAMILY}, {2, EAI_AGAIN},   {3, EAI_BADFLAGS}, {4, EAI_FAIL},
    {5, EAI_FAMILY},     {6, EAI_MEMORY},  {7, EAI_NODATA},   {8, EAI_NONAME},
    {9, EAI_SERVICE},    {10, EAI_SOCKTYPE}, {11, EAI_SYSTEM}, {14, EAI_OVERFLOW},
};
constexpr int kBionicEaiBadflags = 3;
constexpr int kBionicEaiFail = 4;
constexpr int kBionicEaiMemory = 6;

template <size_t N>
int ToGlibc(int bionic, const Pair (&table)[N]) {
  int glibc = 0;
  for (const Pair& row : table) {
    if ((bionic & row.bionic) != 0) glibc |= row.glibc;
  }
  return glibc;
}

template <size_t N>
int ToBionic(int glibc, const Pair (&table)[N]) {
  int bionic = 0;
  for (const Pair& row : table) {
    if ((glibc & row.glibc) != 0) bionic |= row.bionic;
  }
  return bionic;
}

int BionicError(int glibc) {
  if (glibc == 0) return 0;
  for (const Pair& row : kErrors) {
    if (row.glibc == glibc) return row.bionic;
  }
  return kBionicEaiFail;
}

// What the tests inspect and script.
int g_seen_flags = -1;
int g_scripted_result = 0;
int g_scripted_node_flags = -1;

int TakeScriptedResult() {
  int result = g_scripted_result;
  g_scripted_result = 0;
  return result;
}

void FreeList(HostAddrinfo* list) {
  while (list != nullptr) {
    HostAddrinfo* next = list->ai_next;
    free(list->ai_canonname);
    free(list);
    list = next;
  }
}

HostAddrinfo* BionicNode(const struct addrinfo& in, int node_flags) {
  auto* node = static_cast<HostAddrinfo*>(calloc(1, sizeof(HostAddrinfo) + in.ai_addrlen));
  if (node == nullptr) return nullptr;
  node->ai_flags = node_flags >= 0 ? node_flags : ToBionic(in.ai_flags, kAiFlags);
  node->ai_family = in.ai_family;
  node->ai_socktype = in.ai_socktype;
  node->ai_protocol = in.ai_protocol;
  node->ai_addrlen = in.ai_addrlen;
  node->ai_addr = reinterpret_cast<struct sockaddr*>(node + 1);
  memcpy(node->ai_addr, in.ai_addr, in.ai_addrlen);
  if (in.ai_canonname != nullptr) {
    size_t size = strlen(in.ai_canonname) + 1;
    node->ai_canonname = static_cast<char*>(malloc(size));
    if (node->ai_canonname == nullptr) {
      free(node);
      return nullptr;
    }
    memcpy(node->ai_canonname, in.ai_canonname, size);
  }
  return node;
}

int BionicList(const struct addrinfo* in, HostAddrinfo** out) {
  int node_flags = g_scripted_node_flags;
  g_scripted_node_flags = -1;
  HostAddrinfo* first = nullptr;
  HostAddrinfo** link = &first;
  for (; in != nullptr; in = in->ai_next) {
    *link = BionicNode(*in, node_flags);
    if (*link == nullptr) {
      FreeList(first);
      return kBionicEaiMemory;
    }
    link = &(*link)->ai_next;
  }
  *out = first;
  return 0;
}

}  // namespace

KELPHOST_EXPORT int BionicGetaddrinfo(const char* node, const char* service,
                                      const HostAddrinfo* hints, HostAddrinfo** result) {
  g_seen_flags = hints != nullptr ? hints->ai_flags : -1;
  if (int scripted = TakeScriptedResult(); scripted != 0) return scripted;
  struct addrinfo glibc_hints = {};
  if (hints != nullptr) {
    if ((hints->ai_flags & ~kBionicAiMask) != 0) return kBionicEaiBadflags;
    glibc_hints.ai_flags = ToGlibc(hints->ai_flags, kAiFlags);
    glibc_hints.ai_family = hints->ai_family;
    glibc_hints.ai_socktype = hints->ai_socktype;
    glibc_hints.ai_protocol = hints->ai_protocol;
  }
  struct addrinfo* list = nullptr;
  int error = GlibcGetaddrinfo(node, service, hints != nullptr ? &glibc_hints : nullptr, &list);
  if (error != 0) return BionicError(error);
  error = BionicList(list, result);
  GlibcFreeaddrinfo(list);
  return error;
}

KELPHOST_EXPORT void BionicFreeaddrinfo(HostAddrinfo* list) { FreeList(list); }

KELPHOST_EXPORT const char* BionicGaiStrerror(int code) {
  switch (code) {
    case 12: return "Invalid value for hints";
    case 13: return "Resolved protocol is unknown";
    default: break;
  }
  for (const Pair& row : kErrors) {
    if (row.bionic == code) return GlibcGaiStrerror(row.glibc);
  }
  return code == 0 ? "Success" : "Unknown error";
}

KELPHOST_EXPORT int BionicGetnameinfo(const struct sockaddr* sa, socklen_t salen, char* host,
                                      size_t hostlen, char* serv, size_t servlen, int flags) {
  g_seen_flags = flags;
  if (int scripted = TakeScriptedResult(); scripted != 0) return scripted;
  return BionicError(GlibcGetnameinfo(sa, salen, host, static_cast<socklen_t>(hostlen), serv,
                                      static_cast<socklen_t>(servlen), ToGlibc(flags, kNiFlags)));
}

// Test-host inspection: the flags (bionic's numbering) that the last getaddrinfo hints (-1 for
// none) or getnameinfo call carried; a result the next call returns without resolving; and the
// ai_flags that the next getaddrinfo result nodes carry.
KELPHOST_EXPORT int kelphost_netdb_seen_flags() { return g_seen_flags; }
KELPHOST_EXPORT void kelphost_netdb_fail_next(int code) { g_scripted_result = code; }
KELPHOST_EXPORT void kelphost_netdb_node_flags_next(int flags) { g_scripted_node_flags = flags; }
