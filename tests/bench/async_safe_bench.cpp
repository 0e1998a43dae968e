// async_safe_format_buffer against the host's snprintf on the same formats.
#include <stdio.h>

#include <benchmark/benchmark.h>

#include "async_safe/log.h"

namespace {

char g_buffer[256];

void BM_async_safe_format_buffer_mixed(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(async_safe_format_buffer(
        g_buffer, sizeof(g_buffer), "%s: pid %d, tid %5d, addr %p, count %llu, mask %08x",
        "KELP_LIBC_ADAPTOR", 1234, 56, g_buffer, 1ULL << 40, 0xbeefu));
  }
}
BENCHMARK(BM_async_safe_format_buffer_mixed);

void BM_snprintf_mixed(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(snprintf(g_buffer, sizeof(g_buffer),
                                      "%s: pid %d, tid %5d, addr %p, count %llu, mask %08x",
                                      "KELP_LIBC_ADAPTOR", 1234, 56, g_buffer, 1ULL << 40, 0xbeefu));
  }
}
BENCHMARK(BM_snprintf_mixed);

void BM_async_safe_format_buffer_string(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        async_safe_format_buffer(g_buffer, sizeof(g_buffer), "%s unsupported api.", "mq_open"));
  }
}
BENCHMARK(BM_async_safe_format_buffer_string);

void BM_snprintf_string(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        snprintf(g_buffer, sizeof(g_buffer), "%s unsupported api.", "mq_open"));
  }
}
BENCHMARK(BM_snprintf_string);

}  // namespace
