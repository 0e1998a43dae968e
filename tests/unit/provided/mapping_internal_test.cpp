// The regular-expression object map against an ordered reference, through growth and deletion
// inside long probe runs.
#include <gtest/gtest.h>
#include <stdint.h>

#include <map>
#include <random>

#include "provided/mapping.h"

namespace {

const void* Key(uintptr_t n) { return reinterpret_cast<const void*>(n * 32 + 0x10000); }
void* Value(uintptr_t n) { return reinterpret_cast<void*>(n * 8 + 4); }

void ExpectSame(const std::map<const void*, void*>& reference, uintptr_t universe) {
  EXPECT_EQ(reference.size(), g_regextMap.count);
  for (uintptr_t n = 0; n < universe; ++n) {
    auto it = reference.find(Key(n));
    void* expected = it == reference.end() ? nullptr : it->second;
    ASSERT_EQ(expected, CheckInRegexMap(Key(n))) << "key " << n;
  }
}

class RegexMapTest : public testing::Test {
 protected:
  void TearDown() override {
    for (uintptr_t n = 0; n < 4096; ++n) RemoveFromRegexMap(Key(n));
  }
};

}  // namespace

TEST_F(RegexMapTest, random_operations_agree_with_a_reference) {
  std::map<const void*, void*> reference;
  std::mt19937 random(27);
  constexpr uintptr_t kUniverse = 600;
  for (int step = 0; step < 20000; ++step) {
    uintptr_t n = random() % kUniverse;
    uintptr_t v = random() % 1000;
    switch (random() % 3) {
      case 0:
        AddToRegexMap(Key(n), Value(v));
        reference[Key(n)] = Value(v);
        break;
      case 1:
        RemoveFromRegexMap(Key(n));
        reference.erase(Key(n));
        break;
      default: {
        auto it = reference.find(Key(n));
        ASSERT_EQ(it == reference.end() ? nullptr : it->second, CheckInRegexMap(Key(n)));
      }
    }
    if (step % 2500 == 0) ExpectSame(reference, kUniverse);
  }
  ExpectSame(reference, kUniverse);
}

// Filling up then emptying in insertion order, reverse order and from the middle out moves
// every kind of run member back into the holes.
TEST_F(RegexMapTest, grows_and_empties_in_any_order) {
  constexpr uintptr_t kCount = 3000;
  const int orders = 3;
  for (int order = 0; order < orders; ++order) {
    std::map<const void*, void*> reference;
    for (uintptr_t n = 0; n < kCount; ++n) {
      AddToRegexMap(Key(n), Value(n));
      reference[Key(n)] = Value(n);
    }
    ExpectSame(reference, kCount);
    EXPECT_LE(g_regextMap.count * 4, (g_regextMap.mask + 1) * 3) << "free slots left";
    for (uintptr_t i = 0; i < kCount; ++i) {
      uintptr_t n = order == 0 ? i : order == 1 ? kCount - 1 - i : (i * 1237) % kCount;
      RemoveFromRegexMap(Key(n));
      reference.erase(Key(n));
      if (i % 500 == 0) ExpectSame(reference, kCount);
    }
    EXPECT_EQ(0u, g_regextMap.count);
  }
}

TEST_F(RegexMapTest, an_existing_key_is_overwritten_and_null_keys_are_ignored) {
  AddToRegexMap(Key(1), Value(1));
  AddToRegexMap(Key(1), Value(2));
  EXPECT_EQ(Value(2), CheckInRegexMap(Key(1)));
  EXPECT_EQ(1u, g_regextMap.count);
  AddToRegexMap(nullptr, Value(3));
  EXPECT_EQ(nullptr, CheckInRegexMap(nullptr));
  RemoveFromRegexMap(nullptr);
  RemoveFromRegexMap(Key(2));
  EXPECT_EQ(1u, g_regextMap.count);
  RemoveFromRegexMap(Key(1));
  EXPECT_EQ(nullptr, CheckInRegexMap(Key(1)));
  EXPECT_EQ(0u, g_regextMap.count);
}
