// The service resolver shared by the service lookups.
#pragma once

#include <stdint.h>

struct service {
  uint16_t port;     // host byte order
  unsigned char proto;     // 6 TCP, 17 UDP
  unsigned char socktype;  // 1 stream, 2 datagram
};
static_assert(sizeof(service) == 4);

// Fills at most two records, TCP first; returns their number or a negative guest EAI_* code.
extern "C" int __lookup_serv(service buf[2], const char* name, int proto, int socktype,
                             int flags);
