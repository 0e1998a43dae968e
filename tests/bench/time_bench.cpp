// Time entries: the 64-bit clock read and the civil-time split.
#include <stdint.h>
#include <time.h>

#include "guest/time.h"
#include "pair.h"

extern "C" {
int __clock_gettime64(clockid_t, GuestTimespec*);
struct tm* __gmtime64_r(const int64_t*, struct tm*);
}

namespace {

void AdaptorClockGettime(benchmark::State& state) {
  GuestTimespec ts = {};
  for (auto _ : state) benchmark::DoNotOptimize(__clock_gettime64(CLOCK_MONOTONIC, &ts));
  state.SetLabel("raw clock_gettime64 system call, never the vDSO");
}

void HostClockGettime(benchmark::State& state) {
  timespec ts = {};
  for (auto _ : state) benchmark::DoNotOptimize(clock_gettime(CLOCK_MONOTONIC, &ts));
}
KELP_BENCH_PAIR("__clock_gettime64", AdaptorClockGettime, HostClockGettime);

constexpr int64_t kSomeTime = 1700000000;  // November 2023: inside both ranges

void AdaptorGmtime(benchmark::State& state) {
  int64_t t = kSomeTime;
  struct tm tm = {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(__gmtime64_r(&t, &tm));
    benchmark::ClobberMemory();
  }
}

void HostGmtime(benchmark::State& state) {
  time_t t = static_cast<time_t>(kSomeTime);
  struct tm tm = {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(gmtime_r(&t, &tm));
    benchmark::ClobberMemory();
  }
}
KELP_BENCH_PAIR("__gmtime64_r", AdaptorGmtime, HostGmtime);

}  // namespace
