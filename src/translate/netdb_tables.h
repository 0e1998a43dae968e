// Address-resolution constants: musl's and bionic's numbering of the getaddrinfo and
// getnameinfo flags, and the host EAI_* codes as the guest's.
#pragma once

#include <stddef.h>

struct NetdbFlag {
  int guest;
  int host;
};

inline constexpr NetdbFlag kAddrinfoFlags[] = {
    {0x1, 0x1},      // AI_PASSIVE
    {0x2, 0x2},      // AI_CANONNAME
    {0x4, 0x4},      // AI_NUMERICHOST
    {0x8, 0x800},    // AI_V4MAPPED
    {0x10, 0x100},   // AI_ALL
    {0x20, 0x400},   // AI_ADDRCONFIG
    {0x400, 0x8},    // AI_NUMERICSERV
};

inline constexpr NetdbFlag kNameinfoFlags[] = {
    {0x1, 0x2},    // NI_NUMERICHOST
    {0x2, 0x8},    // NI_NUMERICSERV
    {0x4, 0x1},    // NI_NOFQDN
    {0x8, 0x4},    // NI_NAMEREQD
    {0x10, 0x10},  // NI_DGRAM
};

// Indexed by the host's positive code. Host EAI_MEMORY becomes the guest's EAI_SYSTEM (-11),
// as the guest ABI has it; EAI_BADHINTS, EAI_PROTOCOL and EAI_MAX have no guest counterpart
// and keep their host values.
inline constexpr int kGuestEai[] = {
    0,    // success
    -9,   // EAI_ADDRFAMILY
    -3,   // EAI_AGAIN
    -1,   // EAI_BADFLAGS
    -4,   // EAI_FAIL
    -6,   // EAI_FAMILY
    -11,  // EAI_MEMORY
    -5,   // EAI_NODATA
    -2,   // EAI_NONAME
    -8,   // EAI_SERVICE
    -7,   // EAI_SOCKTYPE
    -11,  // EAI_SYSTEM
    12,   // EAI_BADHINTS
    13,   // EAI_PROTOCOL
    -12,  // EAI_OVERFLOW
    15,   // EAI_MAX
};
inline constexpr int kLastTranslatedEai = 15;
static_assert(sizeof(kGuestEai) / sizeof(kGuestEai[0]) == kLastTranslatedEai + 1);

// The guest's EAI_MEMORY, for the adaptor's own allocation failures.
inline constexpr int kGuestEaiMemory = -10;

// Logged for a result that has no guest meaning; getaddrinfo and getnameinfo share it.
inline constexpr char kUnsupportedEaiLog[] =
    "getaddrinfo return a unsupport value \"%d\" in musl, this value define in bionic";

template <size_t N>
int GuestToHostFlags(int guest, const NetdbFlag (&table)[N]) {
  int host = 0;
  for (const NetdbFlag& row : table) {
    if ((guest & row.guest) != 0) host |= row.host;
  }
  return host;
}

template <size_t N>
int HostToGuestFlags(int host, const NetdbFlag (&table)[N]) {
  int guest = 0;
  for (const NetdbFlag& row : table) {
    if ((host & row.host) != 0) guest |= row.guest;
  }
  return guest;
}
