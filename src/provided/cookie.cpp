// fopencookie on the host's stdio: the stream is a host FILE whose read, write, seek and close
// slots adapt the guest's callbacks (a read that tops up the stream's own buffer, write-through
// of pending bytes, 64-bit seek offsets) to the host's slot conventions. Every stdio operation
// on the stream is then the host's.
#include "provided/cookie.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "core/export.h"
#include "host/bionic_errno.h"

namespace kelp_cookie {

// Word 3 of a fresh stream: flags "open for reading and writing", descriptor -1.
constexpr uint16_t kStreamFlags = kHostReadWrite;
constexpr int16_t kNoDescriptor = -1;

namespace {

CookieRecord* RecordOf(void* record) { return static_cast<CookieRecord*>(record); }

// A failed or exhausted guest read: end of file for 0, error for a negative result; the
// stream's buffer is empty afterwards.
void ReadFailed(HostFile* f, ssize_t result) {
  f->_flags |= result == 0 ? kHostEof : kHostError;
  f->_p = f->_bf._base;
  f->_r = 0;
}

}  // namespace

int cookieread(void* record, char* buf, int len) {
  CookieRecord* rec = RecordOf(record);
  HostFile* f = rec->file;
  if (rec->read == nullptr) {
    ReadFailed(f, -1);
    return 0;
  }
  if (len <= 0) return 0;  // nothing asked for
  size_t size = static_cast<size_t>(f->_bf._size);
  size_t length = static_cast<size_t>(len);
  // One byte is left for the top-up, which also fills the stream's buffer.
  size_t want = size != 0 ? length - 1 : length;
  size_t got = 0;
  if (want != 0) {
    ssize_t n = rec->read(rec->cookie, buf, want);
    if (n < 1) {
      ReadFailed(f, n);
      return 0;
    }
    got = static_cast<size_t>(n);
    if (length - got > 1) return static_cast<int>(got);
  }
  if (want == 0 && length > 1) return 0;
  if (size == 0) return static_cast<int>(got);
  f->_p = f->_bf._base;
  ssize_t n = rec->read(rec->cookie, reinterpret_cast<char*>(f->_bf._base), size);
  if (n < 1) {
    ReadFailed(f, n);
    return static_cast<int>(got);
  }
  // _r counts the byte handed out below as still buffered: kept as the guest libc has it.
  f->_p = f->_bf._base + 1;
  f->_r = static_cast<int>(n);
  buf[got] = static_cast<char>(f->_bf._base[0]);
  return static_cast<int>(got + 1);
}

int cookiewrite(void* record, const char* buf, int len) {
  CookieRecord* rec = RecordOf(record);
  HostFile* f = rec->file;
  if (rec->write == nullptr) return len;  // discarded as if written
  if (f->_p > f->_bf._base) {
    int pending = static_cast<int>(f->_p - f->_bf._base);
    f->_p = f->_bf._base;
    if (cookiewrite(record, reinterpret_cast<const char*>(f->_bf._base), pending) < pending) {
      return 0;
    }
  }
  ssize_t n = rec->write(rec->cookie, buf, static_cast<size_t>(len));
  if (n >= 0) return static_cast<int>(n);
  f->_w = 0;
  f->_p = nullptr;
  f->_flags |= kHostError;
  return 0;
}

int32_t cookieseek(void* record, int32_t offset, int whence) {
  CookieRecord* rec = RecordOf(record);
  if (static_cast<unsigned>(whence) > 2) {
    errno = EINVAL;
    return -1;
  }
  if (rec->seek == nullptr) {
    errno = EOPNOTSUPP;
    return -1;
  }
  int64_t position = offset;  // sign-extended
  int result = rec->seek(rec->cookie, &position, whence);
  if (result < 0) return result;
  return static_cast<int32_t>(static_cast<uint32_t>(position));
}

int cookieclose(void* record) {
  CookieRecord* rec = RecordOf(record);
  return rec->close != nullptr ? rec->close(rec->cookie) : 0;
}

}  // namespace kelp_cookie

using kelp_cookie::CookieStream;

KELP_ENTRY(FILE*, fopencookie, (void* cookie, const char* mode, GuestCookieIoFunctions funcs)) {
  // An empty mode passes: the terminating NUL of "rwa" matches it.
  if (strchr("rwa", mode[0]) == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  auto* stream = static_cast<CookieStream*>(malloc(sizeof(CookieStream)));
  if (stream == nullptr) return nullptr;
  HostFile* f = &stream->file;
  memset(f, 0, sizeof(*f));
  // The slot only lends its template (list linkage, extension); it is not given back.
  HostFile* slot = kelp_stdio::__sfp();
  if (slot == nullptr) {
    free(stream);
    return nullptr;
  }
  memcpy(f, slot, sizeof(*f));
  f->_flags = kelp_cookie::kStreamFlags;
  f->_file = kelp_cookie::kNoDescriptor;
  f->_bf._base = f->_p = stream->buffer;
  f->_bf._size = kelp_cookie::kCookieBufferSize;
  f->_cookie = &stream->record;
  f->_close = kelp_cookie::cookieclose;
  f->_read = kelp_cookie::cookieread;
  f->_seek = kelp_cookie::cookieseek;
  f->_write = kelp_cookie::cookiewrite;
  stream->record = {f, cookie, funcs.read, funcs.write, funcs.seek, funcs.close, {0, 0}};
  return reinterpret_cast<FILE*>(stream);
}
