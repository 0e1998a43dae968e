// getnameinfo with the guest's NI_* flags and EAI_* codes, and gai_strerror with the guest's
// own texts.
#include <limits.h>
#include <string.h>
#include <sys/socket.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "host/bionic_netdb.h"
#include "translate/netdb_tables.h"

namespace {

// Indexed by -code - 1; after the empty entry, the text for 0 and every unknown negative code.
constexpr char kGuestEaiTexts[] =
    "Invalid flags\0"
    "Name does not resolve\0"
    "Try again\0"
    "Non-recoverable error\0"
    "Unknown error\0"
    "Unrecognized address family or invalid length\0"
    "Unrecognized socket type\0"
    "Unrecognized service\0"
    "Unknown error\0"
    "Out of memory\0"
    "System error\0"
    "Overflow\0"
    "\0"
    "Unknown error";

}  // namespace

KELP_EXPORT int kelp_adaptor_getnameinfo(const struct sockaddr* sa, socklen_t salen, char* host,
                                         size_t hostlen, char* serv, size_t servlen, int flags) {
  int result = BionicGetnameinfo(sa, salen, host, hostlen, serv, servlen,
                                 GuestToHostFlags(flags, kNameinfoFlags));
  if (result >= 1 && result <= kLastTranslatedEai) result = kGuestEai[result];
  if (result > 0) KELP_LOG(kLogError, kUnsupportedEaiLog, result);
  return result;
}

// Positive codes are the host's own and get the host's text.
KELP_EXPORT const char* kelp_adaptor_gai_strerror(int code) {
  if (code > 0) {
    KELP_LOG(kLogError,
             "gai_strerror get a unsupport value \"%d\" in musl, this value define in bionic",
             code);
    return BionicGaiStrerror(code);
  }
  // 0 walks off the list like any code below it; -(code + 1) cannot overflow.
  unsigned index = code == 0 ? UINT_MAX : static_cast<unsigned>(-(code + 1));
  const char* text = kGuestEaiTexts;
  for (unsigned i = 0; i < index && *text != '\0'; ++i) text += strlen(text) + 1;
  if (*text == '\0') ++text;
  return text;
}
