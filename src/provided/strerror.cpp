// The POSIX strerror_r under glibc's name for it, on the host's message.
#include <string.h>

#include "core/export.h"
#include "host/bionic_errno.h"

// 0 with the whole message, or ERANGE with as much as fits; errno is left alone. The host's
// <string.h> gives the GNU form here, which returns the message rather than an error number.
KELP_ENTRY(int, __xpg_strerror_r, (int error, char* buf, size_t size)) {
  ErrnoRestorer errno_restorer;
  char local[128];
  const char* message = strerror_r(error, local, sizeof local);
  size_t length = strlen(message);
  if (size == 0) return ERANGE;
  size_t copied = length < size ? length : size - 1;
  memcpy(buf, message, copied);
  buf[copied] = '\0';
  return length < size ? 0 : ERANGE;
}
