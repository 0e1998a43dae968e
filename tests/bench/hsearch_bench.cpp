// hsearch FIND over 100000 keys: the adaptor's table against the host's.
#include <benchmark/benchmark.h>
#include <search.h>
#include <stdio.h>

#include "guest/search.h"

extern "C" {
int kelp_adaptor_hcreate(size_t);
GuestEntry* kelp_adaptor_hsearch(GuestEntry, GuestAction);
}

namespace {

constexpr int kKeys = 100000;
char g_keys[kKeys][16];

// Both process-wide tables, filled once with the same keys.
bool Fill() {
  if (kelp_adaptor_hcreate(kKeys) == 0 || hcreate(kKeys) == 0) return false;
  for (int i = 0; i < kKeys; ++i) {
    snprintf(g_keys[i], sizeof(g_keys[i]), "key-%d", i * 7);
    if (kelp_adaptor_hsearch({g_keys[i], g_keys[i]}, kGuestEnter) == nullptr) return false;
    if (hsearch({g_keys[i], g_keys[i]}, ENTER) == nullptr) return false;
  }
  return true;
}

bool Ready() {
  static const bool ready = Fill();
  return ready;
}

void BM_adaptor_hsearch_find(benchmark::State& state) {
  if (!Ready()) state.SkipWithError("table setup failed");
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(kelp_adaptor_hsearch({g_keys[i], nullptr}, kGuestFind));
    if (++i == kKeys) i = 0;
  }
}
BENCHMARK(BM_adaptor_hsearch_find);

void BM_host_hsearch_find(benchmark::State& state) {
  if (!Ready()) state.SkipWithError("table setup failed");
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(hsearch({g_keys[i], nullptr}, FIND));
    if (++i == kKeys) i = 0;
  }
}
BENCHMARK(BM_host_hsearch_find);

}  // namespace
