// Guest (musl, 32-bit ARM) address-resolution records. musl's addrinfo has ai_addr before
// ai_canonname; bionic's has them the other way round.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct GuestAddrinfo {
  int32_t ai_flags;
  int32_t ai_family;
  int32_t ai_socktype;
  int32_t ai_protocol;
  uint32_t ai_addrlen;
  void* ai_addr;
  char* ai_canonname;
  GuestAddrinfo* ai_next;
};
static_assert(sizeof(GuestAddrinfo) == 32);
static_assert(offsetof(GuestAddrinfo, ai_addrlen) == 16);
static_assert(offsetof(GuestAddrinfo, ai_addr) == 20);
static_assert(offsetof(GuestAddrinfo, ai_canonname) == 24);
static_assert(offsetof(GuestAddrinfo, ai_next) == 28);

// One result node the adaptor hands to the guest: a single block whose ai_addr points at its
// own address storage. ai_canonname is a separate allocation.
inline constexpr size_t kGuestAddrStorage = 128;
struct GuestAddrinfoNode {
  GuestAddrinfo info;
  unsigned char storage[kGuestAddrStorage];
};
static_assert(sizeof(GuestAddrinfoNode) == 160);
static_assert(offsetof(GuestAddrinfoNode, storage) == 32);
