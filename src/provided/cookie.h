// Cookie streams: a host stream whose four slots carry the guest's fopencookie callbacks.
// Internal: only fopencookie is exported.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "guest/cookie.h"
#include "provided/stdio_core.h"

namespace kelp_cookie {

// What the slots receive as `_cookie`.
struct CookieRecord {
  HostFile* file;  // the stream itself
  void* cookie;    // the guest's
  GuestCookieRead read;
  GuestCookieWrite write;
  GuestCookieSeek seek;
  GuestCookieClose close;
  uint32_t unused[2];
};
static_assert(sizeof(CookieRecord) == 32);
static_assert(offsetof(CookieRecord, read) == 8 && offsetof(CookieRecord, close) == 20);

inline constexpr int kCookieBufferSize = 1024;

// One heap block per stream; the guest's FILE* is its address.
struct CookieStream {
  HostFile file;
  CookieRecord record;
  unsigned char buffer[kCookieBufferSize];
};
static_assert(sizeof(CookieStream) == 1140);
static_assert(offsetof(CookieStream, record) == 84 && offsetof(CookieStream, buffer) == 116);

// The slot functions; `record` is a CookieRecord.
int cookieread(void* record, char* buf, int len);
int cookiewrite(void* record, const char* buf, int len);
int32_t cookieseek(void* record, int32_t offset, int whence);
int cookieclose(void* record);

}  // namespace kelp_cookie
