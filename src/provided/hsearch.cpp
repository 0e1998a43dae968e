// hcreate, hsearch, hdestroy and their reentrant forms on the adaptor's own table.
#include "provided/hsearch.h"

#include <stdlib.h>
#include <string.h>

#include "core/export.h"
#include "host/bionic_errno.h"

namespace {

constexpr size_t kMinSlots = 8;

// The non-reentrant calls share this table, unlocked, as the guest libc's do.
GuestHsearchData g_table = {nullptr};

uint32_t Hash(const char* key) {
  uint32_t h = 0;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(key); *p != 0; ++p) {
    h = h * 31 + *p;
  }
  return h;
}

// The slot holding key, or the empty slot where it would go. Offsets 1, 3, 6, 10, ... from the
// start (triangular numbers) visit every slot of a power-of-two table.
GuestEntry* Lookup(const HashTable* table, const char* key, size_t hash) {
  for (size_t i = hash, j = 1;; i += j++) {
    GuestEntry* e = &table->entries[i & table->mask];
    if (e->key == nullptr || strcmp(e->key, key) == 0) return e;
  }
}

// Distinct keys only: the first empty slot on the key's probe sequence.
GuestEntry* FreeSlot(const HashTable* table, size_t hash) {
  for (size_t i = hash, j = 1;; i += j++) {
    GuestEntry* e = &table->entries[i & table->mask];
    if (e->key == nullptr) return e;
  }
}

int Create(size_t nel, GuestHsearchData* tab) {
  tab->table = static_cast<HashTable*>(calloc(1, sizeof(HashTable)));
  if (tab->table == nullptr) return 0;
  if (Resize(nel, tab) == 0) {
    free(tab->table);
    tab->table = nullptr;
    return 0;
  }
  return 1;
}

void Destroy(GuestHsearchData* tab) {
  if (tab->table != nullptr) free(tab->table->entries);
  free(tab->table);
  tab->table = nullptr;
}

}  // namespace

int Resize(size_t nel, GuestHsearchData* tab) {
  // A count that went negative as a signed size asks for the largest table.
  if (static_cast<ssize_t>(nel) < 0) nel = static_cast<size_t>(1) << (sizeof(size_t) * 8 - 1);
  size_t count = kMinSlots;
  while (count < nel) count *= 2;
  auto* entries = static_cast<GuestEntry*>(calloc(count, sizeof(GuestEntry)));
  if (entries == nullptr) return 0;
  HashTable* table = tab->table;
  GuestEntry* old = table->entries;
  size_t old_count = old != nullptr ? table->mask + 1 : 0;
  table->entries = entries;
  table->mask = count - 1;
  for (size_t i = 0; i < old_count; ++i) {
    if (old[i].key != nullptr) *FreeSlot(table, Hash(old[i].key)) = old[i];
  }
  free(old);
  return 1;
}

int HsearchR(GuestEntry item, GuestAction action, GuestEntry** retval, GuestHsearchData* tab) {
  if (item.key == nullptr) {
    *retval = nullptr;
    return 0;
  }
  HashTable* table = tab->table;
  uint32_t hash = Hash(item.key);
  GuestEntry* e = Lookup(table, item.key, hash);
  if (e->key != nullptr) {
    *retval = e;
    return 1;
  }
  if (action == kGuestFind) {
    *retval = nullptr;
    return 0;
  }
  *e = item;
  if (++table->used > table->mask - table->mask / 4) {
    if (Resize(2 * table->used, tab) == 0) {
      --table->used;
      e->key = nullptr;
      *retval = nullptr;
      return 0;
    }
    e = Lookup(table, item.key, hash);
  }
  *retval = e;
  return 1;
}

KELP_EXPORT int kelp_adaptor_hcreate(size_t nel) { return Create(nel, &g_table); }

KELP_EXPORT void kelp_adaptor_hdestroy() { Destroy(&g_table); }

// Without a table (no hcreate) there is nothing to find and nowhere to enter.
KELP_EXPORT GuestEntry* kelp_adaptor_hsearch(GuestEntry item, GuestAction action) {
  GuestEntry* found = nullptr;
  if (g_table.table != nullptr) HsearchR(item, action, &found, &g_table);
  return found;
}

KELP_EXPORT int kelp_adaptor_hcreate_r(size_t nel, GuestHsearchData* tab) {
  if (tab == nullptr) {
    errno = EINVAL;
    return 0;
  }
  return Create(nel, tab);
}

KELP_EXPORT void kelp_adaptor_hdestroy_r(GuestHsearchData* tab) {
  if (tab != nullptr) Destroy(tab);
}

KELP_EXPORT int kelp_adaptor_hsearch_r(GuestEntry item, GuestAction action, GuestEntry** retval,
                                       GuestHsearchData* tab) {
  if (tab == nullptr || tab->table == nullptr) {
    if (tab == nullptr) errno = EINVAL;
    *retval = nullptr;
    return 0;
  }
  return HsearchR(item, action, retval, tab);
}
