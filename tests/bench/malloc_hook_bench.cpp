// A malloc and free pair through the hooked entry points with no hook attached, against the
// host allocator called directly. The goal: the entries cost at most 10% over the host.
#include <benchmark/benchmark.h>
#include <stdlib.h>

extern "C" {
void* kelp_adaptor_malloc(size_t size);
void kelp_adaptor_free(void* pointer);
}

namespace {

void BM_adaptor_malloc_free(benchmark::State& state) {
  const auto size = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    void* block = kelp_adaptor_malloc(size);
    benchmark::DoNotOptimize(block);
    kelp_adaptor_free(block);
  }
}
BENCHMARK(BM_adaptor_malloc_free)->Arg(16)->Arg(256)->Threads(1)->Threads(2);

void BM_host_malloc_free(benchmark::State& state) {
  const auto size = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    void* block = malloc(size);
    benchmark::DoNotOptimize(block);
    free(block);
  }
}
BENCHMARK(BM_host_malloc_free)->Arg(16)->Arg(256)->Threads(1)->Threads(2);

}  // namespace
