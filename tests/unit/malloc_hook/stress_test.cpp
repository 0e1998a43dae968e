// Threads allocate through the hooked entries while signals 36 and 37 keep arriving: nothing
// crashes, the library is loaded once, and every block reaches the host's free exactly once.
//
// This program replaces the host's free with one that counts the blocks the test tagged, so
// frees are counted whichever way they went (host directly, or the hook library's free through
// the host table). A block freed twice makes the host allocator abort.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdint.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "malloc_hook/hook_support.h"

extern "C" void __libc_free(void* pointer);

namespace {

constexpr uint64_t kTag = 0x7A66A9C3D1E25B4Full;
std::atomic<long> g_tagged_frees{0};

void* Tagged(void* block) {
  if (block != nullptr) *static_cast<uint64_t*>(block) = kTag;
  return block;
}

// One of the ways a guest gets and returns a block; returns whether a block was made.
bool AllocateAndFree(unsigned i) {
  void* block = nullptr;
  switch (i % 3) {
    case 0:
      block = kelp_adaptor_malloc(16 + i % 200);
      break;
    case 1:
      block = kelp_adaptor_calloc(4, 8 + i % 50);
      break;
    case 2:
      block = kelp_adaptor_realloc(kelp_adaptor_malloc(16), 32 + i % 300);
      break;
  }
  if (block == nullptr) return false;
  kelp_adaptor_free(Tagged(block));
  return true;
}

}  // namespace

extern "C" void free(void* pointer) noexcept {
  if (pointer != nullptr && *static_cast<uint64_t*>(pointer) == kTag) {
    *static_cast<uint64_t*>(pointer) = 0;
    g_tagged_frees++;
  }
  __libc_free(pointer);
}

TEST(malloc_hook_stress, signals_during_allocation_lose_and_double_no_free) {
  SearchDefaultNamespaceIn(HookDir("ok"));
  std::atomic<bool> stop{false};
  std::atomic<long> blocks{0};
  std::vector<std::thread> workers;
  for (int t = 0; t < 4; ++t) {
    workers.emplace_back([&] {
      for (unsigned i = 0; !stop.load(); ++i) blocks += AllocateAndFree(i);
    });
  }
  for (int k = 0; k < 40; ++k) {
    kill(getpid(), k % 2 == 0 ? 36 : 37);
    usleep(3000);
  }
  stop.store(true);
  for (std::thread& worker : workers) worker.join();
  kill(getpid(), 37);
  ASSERT_TRUE(WaitForLoader());

  EXPECT_GT(blocks.load(), 0);
  EXPECT_EQ(blocks.load(), g_tagged_frees.load());
  EXPECT_EQ(1, HookOpens());
  NativeHookCounters* counters = LoadedHookCounters();
  ASSERT_NE(nullptr, counters);
  EXPECT_EQ(1, counters->initialize);
  EXPECT_GT(counters->malloc + counters->calloc + counters->realloc, 0);
  EXPECT_GT(counters->on_end, 0);  // detaches before the load finished find no on_end
}
