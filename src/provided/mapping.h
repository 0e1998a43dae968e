// The regular-expression object map: guest regex_t address -> the host regex_t the adaptor
// allocated for it. Process-wide, exported for other components.
#pragma once

#include <pthread.h>
#include <stdint.h>

// Open addressing with linear probing over a power-of-two slot array; a slot is free when its
// guest address is null. The array is allocated on first insertion and grows before it is three
// quarters full, so every probe meets a free slot.
struct RegexMapSlot {
  const void* guest;
  void* host;
};

struct RegexMap {
  RegexMapSlot* slots;
  uint32_t mask;   // slot count - 1; 0 while no array is allocated
  uint32_t count;  // occupied slots
};

extern "C" {
// Plain C data: the map is built by the library's own initialiser and torn down at exit, never
// by C++ constructors or destructors. Every access holds g_regextMapLock.
extern RegexMap g_regextMap;
extern pthread_mutex_t g_regextMapLock;
}

void AddToRegexMap(const void* guest, void* host);
void* CheckInRegexMap(const void* guest);
void RemoveFromRegexMap(const void* guest);
