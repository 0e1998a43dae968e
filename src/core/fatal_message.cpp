// The fatal-message store: the first message of the process, kept in a named anonymous mapping
// so that it can be found in the process's memory map after a crash.
#include <pthread.h>
#include <stdint.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/prctl.h>

#include "core/export.h"

namespace {

constexpr int kSetVma = 0x53564D41;      // PR_SET_VMA
constexpr int kSetVmaAnonName = 0;       // PR_SET_VMA_ANON_NAME
constexpr char kMappingName[] = "fatal message";

pthread_mutex_t g_fatal_lock = PTHREAD_MUTEX_INITIALIZER;
// A 32-bit total size (header included) followed by the text and its NUL.
void* g_fatal_record = nullptr;

}  // namespace

KELP_ENTRY(void, set_fatal_message, (const char* msg)) {
  pthread_mutex_lock(&g_fatal_lock);
  if (msg != nullptr && g_fatal_record == nullptr) {
    size_t size = strlen(msg) + 5;
    void* map = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map != MAP_FAILED) {
      // A message whose mapping cannot be named would not be found after a crash: not kept.
      if (prctl(kSetVma, kSetVmaAnonName, map, size, kMappingName) != 0) {
        munmap(map, size);
      } else {
        uint32_t total = static_cast<uint32_t>(size);
        memcpy(map, &total, sizeof(total));
        memcpy(static_cast<char*>(map) + sizeof(total), msg, size - sizeof(total));
        __atomic_store_n(&g_fatal_record, map, __ATOMIC_RELEASE);
      }
    }
  }
  pthread_mutex_unlock(&g_fatal_lock);
}

// The record's address (its size word), or null; read without the lock.
KELP_ENTRY(void*, get_fatal_message, ()) {
  return __atomic_load_n(&g_fatal_record, __ATOMIC_ACQUIRE);
}
