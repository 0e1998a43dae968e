// Guest (musl, 32-bit ARM) socket message records. Their layout matches the host's word for
// word; the adaptor still copies them into host records so the two stay decoupled.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct GuestMsghdr {
  void* msg_name;
  uint32_t msg_namelen;
  void* msg_iov;
  int32_t msg_iovlen;
  void* msg_control;
  uint32_t msg_controllen;
  int32_t msg_flags;
};
static_assert(sizeof(GuestMsghdr) == 28);
static_assert(offsetof(GuestMsghdr, msg_namelen) == 4);
static_assert(offsetof(GuestMsghdr, msg_iov) == 8);
static_assert(offsetof(GuestMsghdr, msg_iovlen) == 12);
static_assert(offsetof(GuestMsghdr, msg_control) == 16);
static_assert(offsetof(GuestMsghdr, msg_controllen) == 20);
static_assert(offsetof(GuestMsghdr, msg_flags) == 24);

struct GuestMmsghdr {
  GuestMsghdr msg_hdr;
  uint32_t msg_len;
};
static_assert(sizeof(GuestMmsghdr) == 32);
static_assert(offsetof(GuestMmsghdr, msg_len) == 28);
