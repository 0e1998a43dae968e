// getaddrinfo and freeaddrinfo between musl's addrinfo and bionic's. Guest result nodes are the
// adaptor's own allocations, freed only by kelp_adaptor_freeaddrinfo; the host list is freed
// before returning.
#include <stdlib.h>
#include <string.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "guest/netdb.h"
#include "host/bionic_netdb.h"
#include "translate/netdb_tables.h"

namespace {

// Only AI_PASSIVE, AI_CANONNAME and AI_NUMERICHOST mean the same on both sides; any other
// guest bit earns a log line. Each translated flag toggles its host bit into the residue rather
// than clearing its guest bit, so it is reported too. The call proceeds either way.
void LogUnsupportedFlags(int guest_flags) {
  int residue = guest_flags;
  for (const NetdbFlag& row : kAddrinfoFlags) {
    if (row.guest == row.host) residue &= ~row.guest;
  }
  for (const NetdbFlag& row : kAddrinfoFlags) {
    if (row.guest != row.host && (guest_flags & row.guest) != 0) residue ^= row.host;
  }
  if (residue != 0) {
    KELP_LOG(kLogError, "getaddrinfo get a unsupport flag in addrinfo, your input:\"0x%x\"",
             guest_flags);
  }
}

// The hints record is released with the host's freeaddrinfo, so it is a heap block of the size
// of a guest node; ai_addr and ai_canonname change places.
HostAddrinfo* HostHints(const GuestAddrinfo& hints) {
  auto* host = static_cast<HostAddrinfo*>(calloc(1, sizeof(GuestAddrinfoNode)));
  if (host == nullptr) return nullptr;
  host->ai_flags = GuestToHostFlags(hints.ai_flags, kAddrinfoFlags);
  host->ai_family = hints.ai_family;
  host->ai_socktype = hints.ai_socktype;
  host->ai_protocol = hints.ai_protocol;
  host->ai_addrlen = hints.ai_addrlen;
  host->ai_canonname = hints.ai_canonname;
  host->ai_addr = static_cast<struct sockaddr*>(hints.ai_addr);
  host->ai_next = reinterpret_cast<HostAddrinfo*>(hints.ai_next);
  return host;
}

void FreeGuestNode(GuestAddrinfo* node) {
  free(node->ai_canonname);
  free(node);
}

// One guest node for a host node, or null when an allocation fails. Only the host's address
// bytes are copied (at most the node's storage); the rest of the storage stays zero.
GuestAddrinfo* GuestNode(const HostAddrinfo& host) {
  auto* node = static_cast<GuestAddrinfoNode*>(calloc(1, sizeof(GuestAddrinfoNode)));
  if (node == nullptr) return nullptr;
  GuestAddrinfo& info = node->info;
  info.ai_flags = HostToGuestFlags(host.ai_flags, kAddrinfoFlags);
  info.ai_family = host.ai_family;
  info.ai_socktype = host.ai_socktype;
  info.ai_protocol = host.ai_protocol;
  info.ai_addrlen = host.ai_addrlen;
  if (host.ai_canonname != nullptr && host.ai_canonname[0] != '\0') {
    size_t size = strlen(host.ai_canonname) + 1;
    info.ai_canonname = static_cast<char*>(malloc(size));
    if (info.ai_canonname == nullptr) {
      free(node);
      return nullptr;
    }
    memcpy(info.ai_canonname, host.ai_canonname, size);
  }
  info.ai_addr = node->storage;
  if (host.ai_addr != nullptr) {
    size_t size = static_cast<size_t>(host.ai_addrlen);
    if (size > kGuestAddrStorage) size = kGuestAddrStorage;
    memcpy(node->storage, host.ai_addr, size);
  }
  return &node->info;
}

// Builds the guest list; on an allocation failure frees what was built and returns false.
bool GuestList(const HostAddrinfo* host, GuestAddrinfo** head) {
  GuestAddrinfo* first = nullptr;
  GuestAddrinfo** link = &first;
  for (; host != nullptr; host = host->ai_next) {
    GuestAddrinfo* node = GuestNode(*host);
    if (node == nullptr) {
      while (first != nullptr) {
        GuestAddrinfo* next = first->ai_next;
        FreeGuestNode(first);
        first = next;
      }
      return false;
    }
    *link = node;
    link = &node->ai_next;
  }
  if (first != nullptr) *head = first;
  return true;
}

int GuestResult(int host) {
  if (host <= 0) return host;
  if (host > kLastTranslatedEai) {
    KELP_LOG(kLogError, kUnsupportedEaiLog, host);
    return host;
  }
  int guest = kGuestEai[host];
  if (guest > 0) KELP_LOG(kLogError, kUnsupportedEaiLog, guest);
  return guest;
}

}  // namespace

KELP_EXPORT int kelp_adaptor_getaddrinfo(const char* node, const char* service,
                                         const GuestAddrinfo* hints, GuestAddrinfo** res) {
  HostAddrinfo* host_hints = nullptr;
  if (hints != nullptr) {
    host_hints = HostHints(*hints);
    if (host_hints == nullptr) return kGuestEaiMemory;
    LogUnsupportedFlags(hints->ai_flags);
  }
  HostAddrinfo* host_list = nullptr;
  int result = BionicGetaddrinfo(node, service, host_hints, &host_list);
  bool built = GuestList(host_list, res);
  if (host_list != nullptr) BionicFreeaddrinfo(host_list);
  if (host_hints != nullptr) BionicFreeaddrinfo(host_hints);
  if (!built) return kGuestEaiMemory;
  return GuestResult(result);
}

KELP_EXPORT void kelp_adaptor_freeaddrinfo(GuestAddrinfo* ai) {
  while (ai != nullptr) {
    GuestAddrinfo* next = ai->ai_next;
    FreeGuestNode(ai);
    ai = next;
  }
}
