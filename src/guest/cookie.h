// Guest (musl, 32-bit ARM) cookie stream callbacks, as fopencookie receives them by value.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

extern "C" {
typedef ssize_t (*GuestCookieRead)(void* cookie, char* buf, size_t len);
typedef ssize_t (*GuestCookieWrite)(void* cookie, const char* buf, size_t len);
// The offset is the guest's 64-bit off_t, updated in place to the new position.
typedef int (*GuestCookieSeek)(void* cookie, int64_t* offset, int whence);
typedef int (*GuestCookieClose)(void* cookie);
}

struct GuestCookieIoFunctions {
  GuestCookieRead read;
  GuestCookieWrite write;
  GuestCookieSeek seek;
  GuestCookieClose close;
};
static_assert(sizeof(GuestCookieIoFunctions) == 16);
static_assert(offsetof(GuestCookieIoFunctions, seek) == 8);
