// Guest (musl, guest platform) linker-namespace and extended-open records.
#pragma once

#include <stddef.h>
#include <stdint.h>

// A namespace as the guest names it: the record's address is also the name's.
struct DlnsRecord {
  char name[256];
};
static_assert(sizeof(DlnsRecord) == 256);

// The guest's extended-open request; `flag` holds the guest's DlExt bits (below 32).
struct DlExtRecord {
  uint32_t flag;
  int32_t relro_fd;
  uint32_t reserved_addr;
  uint32_t reserved_size;
};
static_assert(sizeof(DlExtRecord) == 16);
static_assert(offsetof(DlExtRecord, relro_fd) == 4 && offsetof(DlExtRecord, reserved_addr) == 8);
static_assert(offsetof(DlExtRecord, reserved_size) == 12);
