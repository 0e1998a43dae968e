// nl_langinfo: guest items are (category << 16) | index, bionic's are small integers. The item
// table is built by its static initialiser before any guest code runs and only read afterwards.
#include <langinfo.h>
#include <locale.h>

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

constexpr int CountItems() {
  int n = 0;
  for (const ItemRange& range : kItemRanges) n += range.count;
  return n;
}

struct ItemPair {
  int guest;
  int host;
};

// Sorted by guest item; a fixed table, so that lookups need neither allocation nor locking.
ItemPair g_items[CountItems()];
int g_item_count = 0;

}  // namespace

void InitLangInfoTable() {
  g_item_count = 0;
  for (const ItemRange& range : kItemRanges) {
    for (int i = 0; i < range.count; ++i) {
      int at = g_item_count++;
      for (; at > 0 && g_items[at - 1].guest > range.guest + i; --at) g_items[at] = g_items[at - 1];
      g_items[at] = {range.guest + i, range.host + i};
    }
  }
}

KELP_EXPORT int TransferToBionicItem(int item) {
  int lo = 0;
  int hi = g_item_count;
  while (lo < hi) {
    int mid = lo + (hi - lo) / 2;
    if (g_items[mid].guest < item) {
      lo = mid + 1;
    } else {
      hi = mid;
    }
  }
  return lo < g_item_count && g_items[lo].guest == item ? g_items[lo].host : -1;
}

KELP_EXPORT char* kelp_adaptor_nl_langinfo(nl_item item) {
  return nl_langinfo(TransferToBionicItem(item));
}

// The locale is not used: the host's global locale answers.
KELP_EXPORT char* kelp_adaptor_nl_langinfo_l(nl_item item, locale_t) {
  return nl_langinfo(TransferToBionicItem(item));
}

KELP_ENTRY(char*, __nl_langinfo, (nl_item item)) { return kelp_adaptor_nl_langinfo(item); }
KELP_ENTRY(char*, __nl_langinfo_l, (nl_item item, locale_t loc)) {
  return kelp_adaptor_nl_langinfo_l(item, loc);
}
