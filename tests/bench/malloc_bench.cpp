// The hooked allocation entries with no hook attached: a check of the dispatch state, then the
// host allocator.
#include <stdlib.h>

#include "pair.h"

namespace {

constexpr size_t kSize = 32;

void AdaptorMallocFree(benchmark::State& state) {
  static const auto adaptor_malloc = bench::Adaptor<void* (*)(size_t)>("kelp_adaptor_malloc");
  static const auto adaptor_free = bench::Adaptor<void (*)(void*)>("kelp_adaptor_free");
  if (!bench::Present(state, reinterpret_cast<void*>(adaptor_malloc), "kelp_adaptor_malloc") ||
      !bench::Present(state, reinterpret_cast<void*>(adaptor_free), "kelp_adaptor_free")) {
    return;
  }
  for (auto _ : state) {
    void* p = adaptor_malloc(kSize);
    benchmark::DoNotOptimize(p);
    adaptor_free(p);
  }
}

void HostMallocFree(benchmark::State& state) {
  for (auto _ : state) {
    void* p = malloc(kSize);
    benchmark::DoNotOptimize(p);
    free(p);
  }
}
KELP_BENCH_PAIR("kelp_adaptor_malloc+free (no hook)", AdaptorMallocFree, HostMallocFree);

}  // namespace
