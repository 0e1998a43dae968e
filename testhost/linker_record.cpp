// Test host: the record of what the stand-in Android linker was asked (see linker_record.h).
#include "linker_record.h"

#include <pthread.h>
#include <string.h>

#include "kelphost.h"
#include "linker_internal.h"

namespace {

template <typename T>
struct Journal {
  T entries[kKelphostRecordCapacity];
  size_t count;
};

pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
Journal<const android_namespace_t*> g_namespaces;
Journal<KelphostLink> g_links;
Journal<KelphostOpen> g_opens;
Journal<KelphostSymbolLookup> g_lookups;
unsigned g_failures;

template <typename T>
void Append(Journal<T>* journal, const T& entry) {
  pthread_mutex_lock(&g_lock);
  if (journal->count < kKelphostRecordCapacity) journal->entries[journal->count] = entry;
  journal->count++;
  pthread_mutex_unlock(&g_lock);
}

template <typename T>
size_t Count(const Journal<T>* journal) {
  pthread_mutex_lock(&g_lock);
  size_t count = journal->count;
  pthread_mutex_unlock(&g_lock);
  return count;
}

template <typename T>
bool At(const Journal<T>* journal, size_t index, T* out) {
  pthread_mutex_lock(&g_lock);
  bool kept = index < journal->count && index < kKelphostRecordCapacity;
  if (kept) *out = journal->entries[index];
  pthread_mutex_unlock(&g_lock);
  return kept;
}

}  // namespace

void CopyText(char* to, size_t size, const char* from) {
  if (from == nullptr) from = "";
  strncpy(to, from, size - 1);
  to[size - 1] = '\0';
}

void RecordNamespace(const android_namespace_t* ns) { Append(&g_namespaces, ns); }
void RecordLink(const KelphostLink& link) { Append(&g_links, link); }
void RecordOpen(const KelphostOpen& open) { Append(&g_opens, open); }
void RecordSymbolLookup(const KelphostSymbolLookup& lookup) { Append(&g_lookups, lookup); }
bool Failing(unsigned failure) {
  return (__atomic_load_n(&g_failures, __ATOMIC_SEQ_CST) & failure) != 0;
}

KELPHOST_EXPORT size_t kelphost_namespace_count(void) { return Count(&g_namespaces); }
KELPHOST_EXPORT const android_namespace_t* kelphost_namespace_at(size_t index) {
  const android_namespace_t* ns = nullptr;
  return At(&g_namespaces, index, &ns) ? ns : nullptr;
}
KELPHOST_EXPORT size_t kelphost_link_count(void) { return Count(&g_links); }
KELPHOST_EXPORT bool kelphost_link_at(size_t index, KelphostLink* out) {
  return At(&g_links, index, out);
}
KELPHOST_EXPORT size_t kelphost_open_count(void) { return Count(&g_opens); }
KELPHOST_EXPORT bool kelphost_open_at(size_t index, KelphostOpen* out) {
  return At(&g_opens, index, out);
}
KELPHOST_EXPORT const void* kelphost_open_caller(size_t index) {
  KelphostOpen open;
  return At(&g_opens, index, &open) ? open.caller : nullptr;
}
KELPHOST_EXPORT size_t kelphost_dlsym_count(void) { return Count(&g_lookups); }
KELPHOST_EXPORT bool kelphost_dlsym_at(size_t index, KelphostSymbolLookup* out) {
  return At(&g_lookups, index, out);
}
KELPHOST_EXPORT void kelphost_linker_fail(unsigned failures) {
  __atomic_store_n(&g_failures, failures, __ATOMIC_SEQ_CST);
}
