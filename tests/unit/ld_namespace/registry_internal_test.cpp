// The namespace registry read without its lock while it grows.
#include <gtest/gtest.h>
#include <pthread.h>
#include <stdint.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "ld_namespace/registry.h"

namespace {

constexpr int kNames = 20000;

std::string Name(int i) { return "registry-" + std::to_string(i); }
android_namespace_t* Handle(int i) {
  return reinterpret_cast<android_namespace_t*>(static_cast<uintptr_t>(0x1000 + 8 * i));
}

}  // namespace

TEST(registry, lock_free_readers_see_every_published_name_while_it_grows) {
  std::atomic<int> published{0};
  std::atomic<int> wrong{0};
  std::atomic<bool> done{false};
  std::vector<std::thread> readers;
  for (int r = 0; r < 3; ++r) {
    readers.emplace_back([&, r] {
      for (int round = 0; !done.load(); ++round) {
        int limit = published.load();
        for (int i = (round * 7 + r) % 13; i < limit; i += 13) {
          if (RegistryFind(Name(i).c_str()) != Handle(i)) wrong++;
        }
      }
    });
  }
  for (int i = 0; i < kNames; ++i) {
    NamespaceLock lock;
    ASSERT_TRUE(RegistryInsert(Name(i).c_str(), Handle(i)));
    published.store(i + 1);
  }
  done.store(true);
  for (std::thread& t : readers) t.join();
  EXPECT_EQ(0, wrong.load());
  for (int i = 0; i < kNames; ++i) ASSERT_EQ(Handle(i), RegistryFind(Name(i).c_str())) << i;
}

TEST(registry, names_are_exact_and_bounded) {
  NamespaceLock lock;
  const std::string longest(255, 'r');
  ASSERT_TRUE(RegistryInsert("exact", Handle(1)));
  ASSERT_TRUE(RegistryInsert(longest.c_str(), Handle(2)));
  EXPECT_FALSE(RegistryInsert((longest + "r").c_str(), Handle(3)));
  struct Case {
    std::string name;
    android_namespace_t* handle;
  } cases[] = {{"exact", Handle(1)}, {"exac", nullptr},        {"exactly", nullptr},
               {longest, Handle(2)}, {longest + "r", nullptr}, {"", nullptr}};
  for (const Case& c : cases) EXPECT_EQ(c.handle, RegistryFind(c.name.c_str())) << c.name;
  ASSERT_TRUE(RegistryInsert("exact", Handle(4)));  // overwrites
  EXPECT_EQ(Handle(4), RegistryFind("exact"));
}
