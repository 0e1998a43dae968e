// The protocol database, compiled in: the guest reads it through a cursor over one packed table
// of records (one byte of protocol number, then the NUL-terminated name). The host, network and
// service enumerators have nothing to enumerate.
#include <string.h>

#include "core/export.h"
#include "guest/userdb.h"

namespace {

constexpr char kProtocols[] =
    "\x00" "ip\0" "\x01" "icmp\0" "\x02" "igmp\0" "\x03" "ggp\0" "\x04" "ipencap\0"
    "\x05" "st\0" "\x06" "tcp\0" "\x08" "egp\0" "\x0c" "pup\0" "\x11" "udp\0" "\x14" "hmp\0"
    "\x16" "xns-idp\0" "\x1b" "rdp\0" "\x1d" "iso-tp4\0" "\x24" "xtp\0" "\x25" "ddp\0"
    "\x26" "idpr-cmtp\0" "\x29" "ipv6\0" "\x2b" "ipv6-route\0" "\x2c" "ipv6-frag\0"
    "\x2d" "idrp\0" "\x2e" "rsvp\0" "\x2f" "gre\0" "\x32" "esp\0" "\x33" "ah\0"
    "\x39" "skip\0" "\x3a" "ipv6-icmp\0" "\x3b" "ipv6-nonxt\0" "\x3c" "ipv6-opts\0"
    "\x49" "rspf\0" "\x51" "vmtp\0" "\x59" "ospf\0" "\x5e" "ipip\0" "\x62" "encap\0"
    "\x67" "pim\0" "\xff" "raw\0";
static_assert(sizeof(kProtocols) == 239 + 1);  // the literal's own terminator follows the table

// A cursor past the start of the last record ("raw", at 234) means the end.
constexpr unsigned kCursorLimit = 238;

unsigned g_cursor;
char* g_no_aliases[1];
GuestProtoent g_protoent;

}  // namespace

KELP_EXPORT void kelp_adaptor_setprotoent(int /*stayopen*/) { g_cursor = 0; }

KELP_EXPORT void kelp_adaptor_endprotoent() { g_cursor = 0; }

KELP_EXPORT GuestProtoent* kelp_adaptor_getprotoent() {
  if (g_cursor > kCursorLimit) return nullptr;
  g_protoent.p_proto = static_cast<unsigned char>(kProtocols[g_cursor]);
  g_protoent.p_name = const_cast<char*>(&kProtocols[g_cursor + 1]);
  g_protoent.p_aliases = g_no_aliases;
  g_cursor += strlen(g_protoent.p_name) + 2;
  return &g_protoent;
}

KELP_EXPORT GuestProtoent* kelp_adaptor_getprotobyname(const char* name) {
  kelp_adaptor_setprotoent(0);
  for (GuestProtoent* p; (p = kelp_adaptor_getprotoent()) != nullptr;) {
    if (strcmp(name, p->p_name) == 0) return p;
  }
  return nullptr;
}

KELP_EXPORT GuestProtoent* kelp_adaptor_getprotobynumber(int proto) {
  kelp_adaptor_setprotoent(0);
  for (GuestProtoent* p; (p = kelp_adaptor_getprotoent()) != nullptr;) {
    if (p->p_proto == proto) return p;
  }
  return nullptr;
}

KELP_EXPORT void kelp_adaptor_sethostent(int /*stayopen*/) {}
KELP_EXPORT void kelp_adaptor_endhostent() {}
KELP_EXPORT void kelp_adaptor_setservent(int /*stayopen*/) {}
KELP_EXPORT void kelp_adaptor_endservent() {}
KELP_EXPORT void* kelp_adaptor_gethostent() { return nullptr; }
KELP_EXPORT void* kelp_adaptor_getnetent() { return nullptr; }
KELP_EXPORT void* kelp_adaptor_getservent() { return nullptr; }
