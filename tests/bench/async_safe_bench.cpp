// async_safe_format_buffer against the host's snprintf on the same formats.
#include <stdio.h>

#include "async_safe/log.h"
#include "pair.h"

namespace {

char g_buffer[256];

void AdaptorFormatMixed(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(async_safe_format_buffer(
        g_buffer, sizeof(g_buffer), "%s: pid %d, tid %5d, addr %p, count %llu, mask %08x",
        "KELP_LIBC_ADAPTOR", 1234, 56, g_buffer, 1ULL << 40, 0xbeefu));
  }
}

void HostFormatMixed(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(snprintf(g_buffer, sizeof(g_buffer),
                                      "%s: pid %d, tid %5d, addr %p, count %llu, mask %08x",
                                      "KELP_LIBC_ADAPTOR", 1234, 56, g_buffer, 1ULL << 40, 0xbeefu));
  }
}
KELP_BENCH_PAIR("async_safe_format_buffer (mixed)", AdaptorFormatMixed, HostFormatMixed);

void AdaptorFormatString(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        async_safe_format_buffer(g_buffer, sizeof(g_buffer), "%s unsupported api.", "mq_open"));
  }
}

void HostFormatString(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        snprintf(g_buffer, sizeof(g_buffer), "%s unsupported api.", "mq_open"));
  }
}
KELP_BENCH_PAIR("async_safe_format_buffer (string)", AdaptorFormatString, HostFormatString);

}  // namespace
