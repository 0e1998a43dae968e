// Hash search tables of string keys: power-of-two open addressing with triangular probing.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "guest/search.h"

// Allocated zeroed; the slot array is allocated by Resize.
struct HashTable {
  GuestEntry* entries;
  size_t mask;  // slot count - 1; the slot count is a power of two, at least 8
  size_t used;  // occupied slots
};
static_assert(sizeof(HashTable) == 12 && offsetof(HashTable, mask) == 4 &&
              offsetof(HashTable, used) == 8);

// Sizes tab's slot array for nel entries, moving what it holds; 0 when allocation fails.
int Resize(size_t nel, GuestHsearchData* tab);
// Finds item's key in tab, or enters item; 1 with *retval set, or 0 with *retval null.
int HsearchR(GuestEntry item, GuestAction action, GuestEntry** retval, GuestHsearchData* tab);
