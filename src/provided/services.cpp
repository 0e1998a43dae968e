// Service lookups with the guest's semantics: names from the services file, ports answered by
// the host's getnameinfo.
#include "provided/services.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>

#include "core/export.h"
#include "guest/userdb.h"
#include "host/bionic_errno.h"
#include "host/services_path.h"

namespace {

// The guest's getaddrinfo codes and flag, which the resolver answers in.
constexpr int kGuestEaiNoname = -2;
constexpr int kGuestEaiService = -8;
constexpr int kGuestEaiMemory = -10;
constexpr int kGuestEaiSystem = -11;
constexpr int kGuestAiNumericserv = 0x400;

constexpr int kTcp = 6;
constexpr int kUdp = 17;
constexpr int kHostNiDgram = 0x10;

bool IsSpace(char c) { return c == ' ' || (c >= 9 && c <= 13); }

int Add(service* buf, int count, unsigned long port, int proto, int socktype) {
  buf[count].port = static_cast<uint16_t>(port);
  buf[count].proto = static_cast<unsigned char>(proto);
  buf[count].socktype = static_cast<unsigned char>(socktype);
  return count + 1;
}

// `name` as a whole word of `line`: at its start or after white space, and followed by the end
// or white space.
bool HasWord(const char* line, const char* name) {
  size_t len = strlen(name);
  for (const char* p = line; (p = strstr(p, name)) != nullptr; ++p) {
    if (p > line && !IsSpace(p[-1])) continue;
    if (p[len] != '\0' && !IsSpace(p[len])) continue;
    return true;
  }
  return false;
}

// One line (or a piece of a longer one) of the services file: adds its records for `name`.
int ParseLine(char* line, const char* name, int proto, service* buf, int count) {
  char* hash = strchr(line, '#');
  if (hash != nullptr) {
    hash[0] = '\n';
    hash[1] = '\0';
  }
  if (!HasWord(line, name)) return count;
  char* p = line;
  while (*p != '\0' && !IsSpace(*p)) ++p;
  char* end;
  unsigned long port = strtoul(p, &end, 10);
  if (end == p || port > 65535) return count;
  if (strncmp(end, "/udp", 4) == 0) {
    if (proto == kTcp) return count;
    return Add(buf, count, port, kUdp, SOCK_DGRAM);
  }
  if (strncmp(end, "/tcp", 4) == 0 && proto != kUdp) return Add(buf, count, port, kTcp, SOCK_STREAM);
  return count;
}

int LookupFile(service* buf, const char* name, int proto) {
  FILE* f = fopen(KelpServicesPath(), "re");
  if (f == nullptr) {
    int error = *__errno();
    return error == ENOENT || error == EACCES || error == ENOTDIR ? kGuestEaiService
                                                                  : kGuestEaiSystem;
  }
  char line[128];
  int count = 0;
  while (count < 2 && fgets(line, sizeof(line), f) != nullptr) {
    count = ParseLine(line, name, proto, buf, count);
  }
  fclose(f);
  return count > 0 ? count : kGuestEaiService;
}

}  // namespace

extern "C" int __lookup_serv(service buf[2], const char* name, int proto, int socktype,
                             int flags) {
  switch (socktype) {
    case SOCK_STREAM:
      if (proto != 0 && proto != kTcp) return kGuestEaiService;
      proto = kTcp;
      break;
    case SOCK_DGRAM:
      if (proto != 0 && proto != kUdp) return kGuestEaiService;
      proto = kUdp;
      break;
    case 0:
      break;
    default:
      if (name != nullptr) return kGuestEaiService;
      Add(buf, 0, 0, proto, socktype);
      return 1;
  }
  unsigned long port = 0;
  if (name != nullptr) {
    if (*name == '\0') return kGuestEaiService;
    char* end;
    port = strtoul(name, &end, 10);
    if (*end != '\0') {
      if ((flags & kGuestAiNumericserv) != 0) return kGuestEaiNoname;
      return LookupFile(buf, name, proto);
    }
  }
  if (port > 65535) return kGuestEaiService;
  int count = 0;
  if (proto != kUdp) count = Add(buf, count, port, kTcp, SOCK_STREAM);
  if (proto != kTcp) count = Add(buf, count, port, kUdp, SOCK_DGRAM);
  return count;
}

KELP_ENTRY(int, getservbyname_r,
           (const char* name, const char* prots, GuestServent* se, char* buf, size_t buflen,
            GuestServent** res)) {
  *res = nullptr;
  char* end;
  strtoul(name, &end, 10);
  if (*end == '\0') return ENOENT;

  size_t align = -reinterpret_cast<uintptr_t>(buf) & (sizeof(char*) - 1);
  if (buflen < 2 * sizeof(char*) + align) return ERANGE;
  buf += align;

  int proto = 0;
  if (prots != nullptr) {
    if (strcmp(prots, "tcp") == 0) {
      proto = kTcp;
    } else if (strcmp(prots, "udp") == 0) {
      proto = kUdp;
    } else {
      return EINVAL;
    }
  }
  service servs[2];
  int count = __lookup_serv(servs, name, proto, 0, 0);
  if (count < 0) return count == kGuestEaiMemory || count == kGuestEaiSystem ? ENOMEM : ENOENT;

  se->s_name = const_cast<char*>(name);
  se->s_aliases = reinterpret_cast<char**>(buf);
  se->s_aliases[0] = se->s_name;
  se->s_aliases[1] = nullptr;
  se->s_port = htons(servs[0].port);
  se->s_proto = const_cast<char*>(servs[0].proto == kTcp ? "tcp" : "udp");
  *res = se;
  return 0;
}

KELP_ENTRY(int, getservbyport_r,
           (int port, const char* prots, GuestServent* se, char* buf, size_t buflen,
            GuestServent** res)) {
  if (prots == nullptr) {
    int r = KelpEntry_getservbyport_r(port, "tcp", se, buf, buflen, res);
    if (r != 0) r = KelpEntry_getservbyport_r(port, "udp", se, buf, buflen, res);
    return r;
  }
  *res = nullptr;
  size_t i = reinterpret_cast<uintptr_t>(buf) & (sizeof(char*) - 1);
  if (i == 0) i = sizeof(char*);
  if (buflen <= 3 * sizeof(char*) - i) return ERANGE;
  buf += sizeof(char*) - i;
  buflen -= sizeof(char*) - i;
  bool udp = strcmp(prots, "udp") == 0;
  if (!udp && strcmp(prots, "tcp") != 0) return EINVAL;

  se->s_port = port;
  se->s_proto = const_cast<char*>(prots);
  se->s_aliases = reinterpret_cast<char**>(buf);
  buf += 2 * sizeof(char*);
  buflen -= 2 * sizeof(char*);
  se->s_aliases[1] = nullptr;
  se->s_aliases[0] = se->s_name = buf;

  sockaddr_in sin = {};
  sin.sin_family = AF_INET;
  sin.sin_port = static_cast<in_port_t>(port);
  int r = getnameinfo(reinterpret_cast<sockaddr*>(&sin), sizeof(sin), nullptr, 0, buf,
                      static_cast<socklen_t>(buflen), udp ? kHostNiDgram : 0);
  if (r == kGuestEaiMemory || r == kGuestEaiSystem) return ENOMEM;
  if (r != 0) return ENOENT;
  // A numeric answer is the port echoed back, not a service record.
  if (strtol(buf, nullptr, 10) == ntohs(static_cast<uint16_t>(port))) return ENOENT;
  *res = se;
  return 0;
}
