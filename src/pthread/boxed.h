// Guest synchronisation objects that keep a heap-allocated host object in their first word.
#pragma once

#include <stdint.h>
#include <string.h>

// Guest pthread_attr_t: nine 32-bit words; word 0 holds the host block, the rest is unused.
struct GuestPthreadAttr {
  uint32_t words[9];
};
static_assert(sizeof(GuestPthreadAttr) == 36);

// Guest cleanup record (musl's struct __ptcb, 12 bytes): word 0 holds the host record.
struct GuestCleanup {
  uint32_t words[3];
};
static_assert(sizeof(GuestCleanup) == 12);

template <typename Host, typename Guest>
Host* BoxedHost(const Guest* guest) {
  return reinterpret_cast<Host*>(static_cast<uintptr_t>(guest->words[0]));
}

template <typename Host, typename Guest>
void SetBoxedHost(Guest* guest, Host* host) {
  guest->words[0] = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(host));
}
