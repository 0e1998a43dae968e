// Signal actions: a query of the current action, converted back into the guest's record.
#include <signal.h>

#include "guest/signal.h"
#include "host/bionic_signal.h"
#include "pair.h"

extern "C" int kelp_adaptor_sigaction(int, const GuestSigaction*, GuestSigaction*);

namespace {

void AdaptorSigactionQuery(benchmark::State& state) {
  GuestSigaction old = {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(kelp_adaptor_sigaction(SIGUSR1, nullptr, &old));
    benchmark::ClobberMemory();
  }
}

void HostSigactionQuery(benchmark::State& state) {
  using Fn = int (*)(int, const struct sigaction64*, struct sigaction64*);
  static const Fn host_sigaction64 = bench::Host<Fn>("sigaction64");
  struct sigaction64 old = {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(host_sigaction64(SIGUSR1, nullptr, &old));
    benchmark::ClobberMemory();
  }
}
KELP_BENCH_PAIR("kelp_adaptor_sigaction (query)", AdaptorSigactionQuery, HostSigactionQuery);

}  // namespace
