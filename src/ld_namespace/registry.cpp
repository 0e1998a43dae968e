// The namespace registry: a chained hash map on malloc that only grows (maximum load factor
// 1.0), built by the InitNamespaces slot and freed at exit.
//
// Readers take no lock, so nothing they can reach is changed or freed while the process runs:
// an entry is published complete, at the head of its chain, with a release store; growing
// builds a new table of copied entries and publishes it whole, keeping the old tables (retired)
// until exit. The copies cost at most as much again as the live table.
#include "ld_namespace/registry.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "core/init_order.h"
#include "host/bionic_libc_init.h"

extern "C" void* __dso_handle;

namespace {

struct Entry {
  Entry* next;
  android_namespace_t* handle;
  // Names longer than kNamespaceNameMax cannot reach the registry (they come from a 256-byte
  // record), so there is no over-long name to refuse here.
  char name[kNamespaceNameMax + 1];
};

struct Table {
  size_t bucket_count;
  size_t size;
  Entry** buckets;
  Table* retired;  // the table this one replaced
};

constexpr size_t kInitialBuckets = 16;

pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
Table* g_table;  // null before InitNamespaces and after exit

// FNV-1a.
uint32_t Hash(const char* name, size_t length) {
  uint32_t hash = 2166136261u;
  for (size_t i = 0; i < length; ++i) {
    hash = (hash ^ static_cast<unsigned char>(name[i])) * 16777619u;
  }
  return hash;
}

Entry** Bucket(Table* table, const char* name, size_t length) {
  return &table->buckets[Hash(name, length) % table->bucket_count];
}

Table* NewTable(size_t bucket_count) {
  auto* table = static_cast<Table*>(calloc(1, sizeof(Table)));
  if (table == nullptr) return nullptr;
  table->buckets = static_cast<Entry**>(calloc(bucket_count, sizeof(Entry*)));
  if (table->buckets == nullptr) {
    free(table);
    return nullptr;
  }
  table->bucket_count = bucket_count;
  return table;
}

Entry* NewEntry(const char* name, size_t length, android_namespace_t* handle, Entry* next) {
  auto* entry = static_cast<Entry*>(malloc(sizeof(Entry)));
  if (entry == nullptr) return nullptr;
  memcpy(entry->name, name, length);
  entry->name[length] = '\0';
  entry->handle = handle;
  entry->next = next;
  return entry;
}

void FreeTable(Table* table) {
  for (size_t i = 0; i < table->bucket_count; ++i) {
    for (Entry* entry = table->buckets[i]; entry != nullptr;) {
      Entry* next = entry->next;
      free(entry);
      entry = next;
    }
  }
  free(table->buckets);
  free(table);
}

void FreeTables(Table* table) {
  while (table != nullptr) {
    Table* retired = table->retired;
    FreeTable(table);
    table = retired;
  }
}

// A table with twice the buckets holding copies of `old`'s entries, or null.
Table* Grown(Table* old) {
  Table* table = NewTable(old->bucket_count * 2);
  if (table == nullptr) return nullptr;
  for (size_t i = 0; i < old->bucket_count; ++i) {
    for (Entry* entry = old->buckets[i]; entry != nullptr; entry = entry->next) {
      size_t length = strlen(entry->name);
      Entry** head = Bucket(table, entry->name, length);
      Entry* copy = NewEntry(entry->name, length, entry->handle, *head);
      if (copy == nullptr) {
        FreeTable(table);
        return nullptr;
      }
      *head = copy;
    }
  }
  table->size = old->size;
  table->retired = old;
  return table;
}

Entry* Find(Table* table, const char* name, size_t length) {
  Entry* entry = __atomic_load_n(Bucket(table, name, length), __ATOMIC_ACQUIRE);
  for (; entry != nullptr; entry = entry->next) {
    if (strcmp(entry->name, name) == 0) return entry;
  }
  return nullptr;
}

void DestroyRegistry(void*) {
  pthread_mutex_lock(&g_lock);
  Table* table = g_table;
  __atomic_store_n(&g_table, nullptr, __ATOMIC_RELEASE);
  FreeTables(table);
  pthread_mutex_unlock(&g_lock);
}

}  // namespace

void InitNamespaces() {
  __atomic_store_n(&g_table, NewTable(kInitialBuckets), __ATOMIC_RELEASE);
  __cxa_atexit(DestroyRegistry, nullptr, &__dso_handle);
}

NamespaceLock::NamespaceLock() { pthread_mutex_lock(&g_lock); }
NamespaceLock::~NamespaceLock() { pthread_mutex_unlock(&g_lock); }

android_namespace_t* RegistryFind(const char* name) {
  size_t length = strnlen(name, kNamespaceNameMax + 1);
  Table* table = __atomic_load_n(&g_table, __ATOMIC_ACQUIRE);
  if (length > kNamespaceNameMax || table == nullptr) return nullptr;
  Entry* entry = Find(table, name, length);
  return entry == nullptr ? nullptr : __atomic_load_n(&entry->handle, __ATOMIC_ACQUIRE);
}

bool RegistryInsert(const char* name, android_namespace_t* handle) {
  size_t length = strnlen(name, kNamespaceNameMax + 1);
  if (length > kNamespaceNameMax) return false;
  Table* table = g_table;
  if (table == nullptr) {
    table = NewTable(kInitialBuckets);
    if (table == nullptr) return false;
    __atomic_store_n(&g_table, table, __ATOMIC_RELEASE);
  }
  if (Entry* entry = Find(table, name, length)) {
    __atomic_store_n(&entry->handle, handle, __ATOMIC_RELEASE);
    return true;
  }
  if (table->size + 1 > table->bucket_count) {
    table = Grown(table);
    if (table == nullptr) return false;
    __atomic_store_n(&g_table, table, __ATOMIC_RELEASE);
  }
  Entry** head = Bucket(table, name, length);
  Entry* entry = NewEntry(name, length, handle, *head);
  if (entry == nullptr) return false;
  __atomic_store_n(head, entry, __ATOMIC_RELEASE);
  table->size++;
  return true;
}
