// Guest (musl, 32-bit ARM) hash search records.
#pragma once

#include <stddef.h>

struct GuestEntry {
  char* key;   // owned by the caller; a slot is empty when null
  void* data;  // owned by the caller
};
static_assert(sizeof(GuestEntry) == 8 && offsetof(GuestEntry, data) == 4);

enum GuestAction { kGuestFind = 0, kGuestEnter = 1 };

// musl's struct hsearch_data: its first word points to the adaptor's table header; the words
// after it are not used.
struct HashTable;
struct GuestHsearchData {
  HashTable* table;
};
static_assert(sizeof(GuestHsearchData) == 4);
