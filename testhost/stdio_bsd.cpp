// Test host: stdio on bionic's stream record, driven the way bionic's stdio drives it: every call
// holds the stream's lock, data moves through the buffer and the four slots (called with
// `_cookie`), and a read of at least a buffer's worth goes straight to the read slot. Offsets
// pass through the 32-bit seek slot: a 64-bit offset is truncated on the way in, and the slot's
// result is taken without sign extension on the way out.
#include "stdio_bsd.h"

#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace kelphost_stdio {
namespace {

using kelp_stdio::HostIov;
using kelp_stdio::HostUio;
using kelp_stdio::ScopedStreamLock;

constexpr size_t kFormatBufferSize = 512;

bool Reading(const HostFile* fp) { return (fp->_flags & kHostReading) != 0; }

// Writes len bytes; the number of bytes taken (buffered bytes count as taken).
size_t WriteBytes(HostFile* fp, const void* buf, size_t len) {
  HostIov iov = {buf, len};
  HostUio uio = {&iov, 1, len};
  kelp_stdio::__sfvwrite(fp, &uio);
  return len - uio.uio_resid;
}

// Bytes straight from the read slot into the caller's buffer; false at end of file or error.
bool ReadDirect(HostFile* fp, unsigned char** dst, size_t* left) {
  int want = *left > INT_MAX ? INT_MAX : static_cast<int>(*left);
  int n = fp->_read(fp->_cookie, reinterpret_cast<char*>(*dst), want);
  if (n <= 0) {
    fp->_flags |= n == 0 ? kHostEof : kHostError;
    return false;
  }
  *dst += n;
  *left -= static_cast<size_t>(n);
  return true;
}

int64_t TellLocked(HostFile* fp) {
  if (fp->_seek == nullptr) {
    errno = ESPIPE;
    return -1;
  }
  int32_t raw = fp->_seek(fp->_cookie, 0, SEEK_CUR);
  if (raw == -1) return -1;
  int64_t position = static_cast<uint32_t>(raw);
  if (Reading(fp)) {
    position -= fp->_r;
  } else if ((fp->_flags & kHostWriting) != 0 && fp->_p != nullptr) {
    position += fp->_p - fp->_bf._base;
  }
  return position;
}

}  // namespace

size_t Read(HostFile* fp, void* buf, size_t size, size_t count) {
  ScopedStreamLock lock(fp);
  size_t total = size * count;
  if (total == 0) return 0;
  if (total / count != size) {
    errno = EOVERFLOW;
    fp->_flags |= kHostError;
    return 0;
  }
  auto* dst = static_cast<unsigned char*>(buf);
  size_t left = total;
  while (left > 0) {
    size_t buffered = fp->_r > 0 ? static_cast<size_t>(fp->_r) : 0;
    size_t take = left < buffered ? left : buffered;
    if (take > 0) memcpy(dst, fp->_p, take);
    fp->_p += take;
    fp->_r -= static_cast<int>(take);
    dst += take;
    left -= take;
    if (left == 0) break;
    bool direct = Reading(fp) && (fp->_flags & kHostEof) == 0 &&
                  left >= static_cast<size_t>(fp->_bf._size);
    if (direct ? !ReadDirect(fp, &dst, &left) : kelp_stdio::__srefill(fp) != 0) break;
  }
  return (total - left) / size;
}

size_t Write(HostFile* fp, const void* buf, size_t size, size_t count) {
  ScopedStreamLock lock(fp);
  size_t total = size * count;
  if (total == 0) return 0;
  if (total / count != size) {
    errno = EOVERFLOW;
    fp->_flags |= kHostError;
    return 0;
  }
  return WriteBytes(fp, buf, total) / size;
}

char* Gets(HostFile* fp, char* buf, int n) {
  ScopedStreamLock lock(fp);
  if (n <= 0) {
    errno = EINVAL;
    return nullptr;
  }
  char* s = buf;
  size_t room = static_cast<size_t>(n) - 1;
  while (room > 0) {
    if (fp->_r <= 0 && kelp_stdio::__srefill(fp) != 0) {
      if (s == buf) return nullptr;
      break;
    }
    size_t len = static_cast<size_t>(fp->_r) < room ? static_cast<size_t>(fp->_r) : room;
    auto* newline = static_cast<unsigned char*>(memchr(fp->_p, '\n', len));
    if (newline != nullptr) len = static_cast<size_t>(newline + 1 - fp->_p);
    memcpy(s, fp->_p, len);
    fp->_p += len;
    fp->_r -= static_cast<int>(len);
    s += len;
    room -= len;
    if (newline != nullptr) break;
  }
  *s = '\0';
  return buf;
}

int GetChar(HostFile* fp) {
  ScopedStreamLock lock(fp);
  if (fp->_r <= 0 && kelp_stdio::__srefill(fp) != 0) return EOF;
  fp->_r--;
  return *fp->_p++;
}

int PutChar(HostFile* fp, int c) {
  ScopedStreamLock lock(fp);
  unsigned char byte = static_cast<unsigned char>(c);
  return WriteBytes(fp, &byte, 1) == 1 ? byte : EOF;
}

int Puts(HostFile* fp, const char* s) {
  ScopedStreamLock lock(fp);
  size_t len = strlen(s);
  return WriteBytes(fp, s, len) == len ? 0 : EOF;
}

int VPrintf(HostFile* fp, const char* format, va_list args) {
  ScopedStreamLock lock(fp);
  char local[kFormatBufferSize];
  va_list again;
  va_copy(again, args);
  int len = vsnprintf(local, sizeof(local), format, args);
  char* text = local;
  if (len >= 0 && static_cast<size_t>(len) >= sizeof(local)) {
    text = static_cast<char*>(malloc(static_cast<size_t>(len) + 1));
    if (text != nullptr) vsnprintf(text, static_cast<size_t>(len) + 1, format, again);
  }
  va_end(again);
  if (len < 0 || text == nullptr) {
    fp->_flags |= kHostError;
    return -1;
  }
  size_t written = WriteBytes(fp, text, static_cast<size_t>(len));
  if (text != local) free(text);
  return written == static_cast<size_t>(len) ? len : -1;
}

int Seek(HostFile* fp, int64_t offset, int whence) {
  ScopedStreamLock lock(fp);
  if (fp->_seek == nullptr) {
    errno = ESPIPE;
    return -1;
  }
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) {
    errno = EINVAL;
    return -1;
  }
  if (whence == SEEK_CUR) {
    int64_t current = TellLocked(fp);
    if (current == -1) return -1;
    offset += current;
    whence = SEEK_SET;
  }
  if ((fp->_flags & kHostWriting) != 0 && kelp_stdio::__sflush(fp) != 0) return -1;
  if (fp->_seek(fp->_cookie, static_cast<int32_t>(offset), whence) == -1) return -1;
  if (Reading(fp)) {
    fp->_r = 0;
    fp->_p = fp->_bf._base;
  }
  fp->_flags &= ~kHostEof;
  return 0;
}

int64_t Tell(HostFile* fp) {
  ScopedStreamLock lock(fp);
  return TellLocked(fp);
}

int Flush(HostFile* fp) {
  ScopedStreamLock lock(fp);
  return (fp->_flags & kHostWriting) != 0 ? kelp_stdio::__sflush(fp) : 0;
}

// The record stops being a stream; its memory is not bionic's to free.
int Close(HostFile* fp) {
  ScopedStreamLock lock(fp);
  if (fp->_flags == 0) {
    errno = EBADF;
    return EOF;
  }
  int result = (fp->_flags & kHostWriting) != 0 ? kelp_stdio::__sflush(fp) : 0;
  if (fp->_close != nullptr && fp->_close(fp->_cookie) < 0) result = EOF;
  if ((fp->_flags & kHostMallocBuffer) != 0) free(fp->_bf._base);
  fp->_bf._base = fp->_p = nullptr;
  fp->_r = fp->_w = 0;
  fp->_flags = 0;
  return result;
}

bool Eof(HostFile* fp) {
  ScopedStreamLock lock(fp);
  return (fp->_flags & kHostEof) != 0;
}

bool Error(HostFile* fp) {
  ScopedStreamLock lock(fp);
  return (fp->_flags & kHostError) != 0;
}

void ClearErrors(HostFile* fp) {
  ScopedStreamLock lock(fp);
  fp->_flags &= ~(kHostEof | kHostError);
}

int Descriptor(HostFile* fp) {
  ScopedStreamLock lock(fp);
  if (fp->_file < 0) {
    errno = EBADF;
    return -1;
  }
  return fp->_file;
}

}  // namespace kelphost_stdio
