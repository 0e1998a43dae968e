// Test host: bionic's string functions that glibc names differently.
#include <string.h>

#include "kelphost.h"

KELPHOST_EXPORT char* __gnu_basename(const char* path) {
  const char* slash = strrchr(path, '/');
  return const_cast<char*>(slash != nullptr ? slash + 1 : path);
}
