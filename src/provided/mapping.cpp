// The regular-expression object map. Each operation takes g_regextMapLock for itself only.
#include "provided/mapping.h"

#include <stdlib.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "core/init_order.h"

extern "C" {
KELP_VISIBLE RegexMap g_regextMap = {nullptr, 0, 0};
KELP_VISIBLE pthread_mutex_t g_regextMapLock = PTHREAD_MUTEX_INITIALIZER;
}

namespace {

constexpr uint32_t kInitialSlots = 16;

uint32_t SlotOf(const void* guest, uint32_t mask) {
  // Fibonacci hashing: guest objects are word-aligned, so mix the high bits down.
  uint32_t h = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(guest)) * 0x9E3779B1u;
  return (h ^ (h >> 16)) & mask;
}

// The slot holding `guest`, or the free slot where it would go.
RegexMapSlot* Find(const RegexMap& map, const void* guest) {
  for (uint32_t i = SlotOf(guest, map.mask);; i = (i + 1) & map.mask) {
    RegexMapSlot* slot = &map.slots[i];
    if (slot->guest == nullptr || slot->guest == guest) return slot;
  }
}

bool Grow(RegexMap* map) {
  uint32_t count = map->slots == nullptr ? kInitialSlots : (map->mask + 1) * 2;
  if (count == 0) return false;
  auto* slots = static_cast<RegexMapSlot*>(calloc(count, sizeof(RegexMapSlot)));
  if (slots == nullptr) return false;
  RegexMap grown = {slots, count - 1, map->count};
  if (map->slots != nullptr) {
    for (uint32_t i = 0; i <= map->mask; ++i) {
      if (map->slots[i].guest != nullptr) *Find(grown, map->slots[i].guest) = map->slots[i];
    }
    free(map->slots);
  }
  *map = grown;
  return true;
}

bool NeedsRoom(const RegexMap& map) {
  return map.slots == nullptr || (map.count + 1) * 4 > (map.mask + 1) * 3;
}

// Linear-probing deletion: pull later members of the run back into the hole, so that no lookup
// stops early at it.
void Erase(RegexMap* map, RegexMapSlot* hole) {
  uint32_t i = static_cast<uint32_t>(hole - map->slots);
  for (uint32_t j = (i + 1) & map->mask; map->slots[j].guest != nullptr; j = (j + 1) & map->mask) {
    uint32_t home = SlotOf(map->slots[j].guest, map->mask);
    // Move j into the hole unless its home lies cyclically within (i, j].
    bool stays = i <= j ? (i < home && home <= j) : (i < home || home <= j);
    if (stays) continue;
    map->slots[i] = map->slots[j];
    i = j;
  }
  map->slots[i] = RegexMapSlot{nullptr, nullptr};
  --map->count;
}

class MapLock {
 public:
  MapLock() { pthread_mutex_lock(&g_regextMapLock); }
  ~MapLock() { pthread_mutex_unlock(&g_regextMapLock); }
  MapLock(const MapLock&) = delete;
  MapLock& operator=(const MapLock&) = delete;
};

// At exit, after the guest's own termination functions.
__attribute__((destructor)) void TearDownRegexMap() {
  MapLock lock;
  free(g_regextMap.slots);
  g_regextMap = RegexMap{nullptr, 0, 0};
}

}  // namespace

void InitRegexMap() {
  MapLock lock;
  g_regextMap = RegexMap{nullptr, 0, 0};
}

void AddToRegexMap(const void* guest, void* host) {
  if (guest == nullptr) return;
  MapLock lock;
  RegexMapSlot* slot = g_regextMap.slots != nullptr ? Find(g_regextMap, guest) : nullptr;
  if (slot != nullptr && slot->guest == guest) {
    slot->host = host;
    return;
  }
  if (NeedsRoom(g_regextMap) && !Grow(&g_regextMap) &&
      (g_regextMap.slots == nullptr || g_regextMap.count + 1 > g_regextMap.mask)) {
    // The object still works through its guest word; only a recompilation without regfree
    // will not find it.
    KELP_LOG(kLogError, "Failed to malloc regex map in adaptor");
    return;
  }
  slot = Find(g_regextMap, guest);
  *slot = RegexMapSlot{guest, host};
  ++g_regextMap.count;
}

void* CheckInRegexMap(const void* guest) {
  if (guest == nullptr) return nullptr;
  MapLock lock;
  if (g_regextMap.slots == nullptr) return nullptr;
  RegexMapSlot* slot = Find(g_regextMap, guest);
  return slot->guest == guest ? slot->host : nullptr;
}

void RemoveFromRegexMap(const void* guest) {
  if (guest == nullptr) return;
  MapLock lock;
  if (g_regextMap.slots == nullptr) return;
  RegexMapSlot* slot = Find(g_regextMap, guest);
  if (slot->guest == guest) Erase(&g_regextMap, slot);
}
