// strverscmp against the ordering its manual page gives and version strings in common use.
#include <gtest/gtest.h>

#include "support/adaptor_symbol.h"

namespace {

int Compare(const char* a, const char* b) {
  ADAPTOR_FN(int (*)(const char*, const char*), fn, "strverscmp");
  return fn(a, b);
}

int Sign(int v) { return (v > 0) - (v < 0); }

// Each list is in strictly increasing order.
const char* const kOrders[][8] = {
    {"000", "00", "01", "010", "09", "0", "1", "9"},
    {"0", "1", "9", "10", "99", "100", "1000", nullptr},
    {"jan1", "jan2", "jan9", "jan10", "jan11", "jan100", nullptr},
    {"1.0", "1.0.1", "1.1", "1.2", "1.9", "1.10", "1.10a", "2.0"},
    {"a", "a0", "a1", "a1b", "a2", "a10", "ab", "b"},
    {"item#0100", "item#98", "item#99", "item#100", nullptr},
    {"libfoo.so.1", "libfoo.so.1.2", "libfoo.so.1.10", "libfoo.so.2", nullptr},
    {"x01", "x010", "x1", nullptr},
};

}  // namespace

TEST(strverscmp, orders_every_pair) {
  for (const auto& order : kOrders) {
    for (int i = 0; i < 8 && order[i] != nullptr; ++i) {
      EXPECT_EQ(0, Compare(order[i], order[i])) << order[i];
      for (int j = i + 1; j < 8 && order[j] != nullptr; ++j) {
        EXPECT_EQ(-1, Sign(Compare(order[i], order[j]))) << order[i] << " < " << order[j];
        EXPECT_EQ(1, Sign(Compare(order[j], order[i]))) << order[j] << " > " << order[i];
      }
    }
  }
}

TEST(strverscmp, without_digits_orders_like_strcmp) {
  static const struct {
    const char *a, *b;
    int sign;
  } kCases[] = {{"", "", 0},    {"", "a", -1},         {"abc", "abd", -1}, {"b", "abc", 1},
                {"A", "a", -1}, {"a\xff", "a\x01", 1}, {"same", "same", 0}};
  for (const auto& c : kCases) {
    EXPECT_EQ(c.sign, Sign(Compare(c.a, c.b))) << c.a << " vs " << c.b;
  }
}
