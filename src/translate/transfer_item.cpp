// nl_langinfo: guest items are (category << 16) | index, bionic's are small integers. The item
// table is built by its static initialiser before any guest code runs and only read afterwards.
#include <langinfo.h>
#include <locale.h>
#include <stdint.h>
#include <string.h>

#include "core/export.h"
#include "core/init_order.h"

namespace {

struct ItemRange {
  int guest;
  int host;
  int count;
};

// Each range maps element by element, in order.
constexpr ItemRange kItemRanges[] = {
    {0x20000, 15, 7},   // ABDAY_1..7
    {0x20007, 8, 7},    // DAY_1..7
    {0x2000E, 34, 12},  // ABMON_1..12
    {0x2001A, 22, 12},  // MON_1..12
    {0x20026, 6, 2},    // AM_STR, PM_STR
    {0x20028, 2, 4},    // D_T_FMT, D_FMT, T_FMT, T_FMT_AMPM
    {0x2002C, 46, 1},   // ERA
    {0x2002E, 47, 1},   // ERA_D_FMT
    {0x2002F, 50, 1},   // ALT_DIGITS
    {0x20030, 48, 2},   // ERA_D_T_FMT, ERA_T_FMT
    {0xE, 1, 1},        // CODESET
    {0x10000, 51, 2},   // RADIXCHAR, THOUSEP
    {0x50000, 53, 2},   // YESEXPR, NOEXPR
};

constexpr int kCategories = 6;  // LC_CTYPE .. LC_MESSAGES: guest item >> 16
constexpr int kIndexes = 64;    // guest item & 0xFFFF

constexpr bool RangesFit() {
  for (const ItemRange& range : kItemRanges) {
    if ((range.guest >> 16) >= kCategories || (range.guest & 0xFFFF) + range.count > kIndexes ||
        range.host + range.count > 255) {
      return false;
    }
  }
  return true;
}
static_assert(RangesFit(), "every guest item has a slot and every host item fits a byte");

// Host item + 1 by guest category and index, 0 where there is none: a fixed table, so that a
// lookup is two array reads and needs neither allocation nor locking.
uint8_t g_items[kCategories][kIndexes];

}  // namespace

// The first pair for a guest item wins, as in a map that keeps a key already present.
void InitLangInfoTable() {
  memset(g_items, 0, sizeof(g_items));
  for (const ItemRange& range : kItemRanges) {
    for (int i = 0; i < range.count; ++i) {
      uint8_t& slot = g_items[range.guest >> 16][(range.guest & 0xFFFF) + i];
      if (slot == 0) slot = static_cast<uint8_t>(range.host + i + 1);
    }
  }
}

namespace {

// The guest's entries call this directly: through the exported name, each call would take a
// trip through the library's own PLT.
int HostItem(int item) {
  unsigned category = static_cast<unsigned>(item) >> 16;
  unsigned index = static_cast<unsigned>(item) & 0xFFFF;
  if (category >= kCategories || index >= kIndexes) return -1;
  return g_items[category][index] - 1;
}

}  // namespace

KELP_EXPORT int TransferToBionicItem(int item) { return HostItem(item); }

KELP_EXPORT char* kelp_adaptor_nl_langinfo(nl_item item) {
  return nl_langinfo(HostItem(item));
}

// The locale is not used: the host's global locale answers.
KELP_EXPORT char* kelp_adaptor_nl_langinfo_l(nl_item item, locale_t) {
  return nl_langinfo(HostItem(item));
}

KELP_ENTRY(char*, __nl_langinfo, (nl_item item)) { return kelp_adaptor_nl_langinfo(item); }
KELP_ENTRY(char*, __nl_langinfo_l, (nl_item item, locale_t loc)) {
  return kelp_adaptor_nl_langinfo_l(item, loc);
}
