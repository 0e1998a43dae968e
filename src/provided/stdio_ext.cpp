// Reading straight from a stream's buffer (musl's <stdio_ext.h> additions) and getw, on the
// host's stream record: bionic's FILE is the BSD record of host/bionic_stdio.h. Like musl's,
// these do not take the stream's lock.
#include <stdio.h>

#include "core/export.h"
#include "host/bionic_stdio.h"

namespace {

HostFile* RecordOf(FILE* stream) { return reinterpret_cast<HostFile*>(stream); }

// Bytes that the next reads take from memory: the buffer, or pushed-back bytes (_p and _r then
// describe those, and _ur keeps what was left in the buffer).
size_t BufferedForReading(const HostFile* fp) {
  if ((fp->_flags & kHostReading) == 0 || fp->_r <= 0) return 0;
  const HostFileExt* ext = reinterpret_cast<const HostFileExt*>(fp->_ext._base);
  bool pushed_back = ext != nullptr && ext->_ub._base != nullptr;
  return static_cast<size_t>(fp->_r) + (pushed_back ? static_cast<size_t>(fp->_ur) : 0);
}

}  // namespace

KELP_EXPORT size_t __freadahead(FILE* stream) { return BufferedForReading(RecordOf(stream)); }

// The next bytes in memory, which may be fewer than __freadahead counts.
KELP_EXPORT const char* __freadptr(FILE* stream, size_t* size) {
  HostFile* fp = RecordOf(stream);
  if (BufferedForReading(fp) == 0) return nullptr;
  *size = static_cast<size_t>(fp->_r);
  return reinterpret_cast<const char*>(fp->_p);
}

// The caller consumes at most what __freadptr offered.
KELP_EXPORT void __freadptrinc(FILE* stream, size_t count) {
  HostFile* fp = RecordOf(stream);
  fp->_p += count;
  fp->_r -= static_cast<int>(count);
}

KELP_ENTRY(int, getw, (FILE * stream)) {
  int word = 0;
  return fread(&word, sizeof word, 1, stream) == 1 ? word : EOF;
}
