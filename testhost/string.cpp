// Test host: bionic's string functions that glibc names differently.
#include <errno.h>
#include <limits.h>
#include <string.h>

#include "kelphost.h"

KELPHOST_EXPORT char* __gnu_basename(const char* path) {
  const char* slash = strrchr(path, '/');
  return const_cast<char*>(slash != nullptr ? slash + 1 : path);
}

// bionic's basename is POSIX's: "." for a null or empty path, trailing slashes dropped, the
// argument left alone and the answer in a buffer of the calling thread.
KELPHOST_EXPORT char* BionicBasename(const char* path) __asm__("basename");
char* BionicBasename(const char* path) {
  static thread_local char buffer[PATH_MAX];
  if (path == nullptr || *path == '\0') return strcpy(buffer, ".");
  const char* end = path + strlen(path);
  while (end > path + 1 && end[-1] == '/') --end;
  const char* start = end;
  while (start > path && start[-1] != '/') --start;
  if (start == end) start = end - 1;  // the path is all slashes: "/"
  size_t length = static_cast<size_t>(end - start);
  if (length >= sizeof(buffer)) {
    errno = ENAMETOOLONG;
    return nullptr;
  }
  memcpy(buffer, start, length);
  buffer[length] = '\0';
  return buffer;
}
