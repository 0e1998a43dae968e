// Constant-translated queries: sysconf from the guest libc's own table, nl_langinfo through the
// item table.
#include <langinfo.h>
#include <unistd.h>

#include "pair.h"

extern "C" {
long kelp_adaptor_sysconf(int);
char* kelp_adaptor_nl_langinfo(int);
}

namespace {

// The guest's _SC_ names.
constexpr int kGuestOpenMax = 4;
constexpr int kGuestPageSize = 30;

void AdaptorSysconfPageSize(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(kelp_adaptor_sysconf(kGuestPageSize));
}

void HostSysconfPageSize(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(sysconf(_SC_PAGESIZE));
}
KELP_BENCH_PAIR("kelp_adaptor_sysconf (PAGESIZE)", AdaptorSysconfPageSize, HostSysconfPageSize);

void AdaptorSysconfOpenMax(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(kelp_adaptor_sysconf(kGuestOpenMax));
}

void HostSysconfOpenMax(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(sysconf(_SC_OPEN_MAX));
}
KELP_BENCH_PAIR("kelp_adaptor_sysconf (OPEN_MAX)", AdaptorSysconfOpenMax, HostSysconfOpenMax);

// CODESET: the guest's item and bionic's.
constexpr int kGuestCodeset = 0xE;
constexpr int kBionicCodeset = 1;

void AdaptorLangInfo(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(kelp_adaptor_nl_langinfo(kGuestCodeset));
  state.SetLabel("item lookup, one more call through a PLT");
}

void HostLangInfo(benchmark::State& state) {
  using Fn = char* (*)(int);
  static const Fn host_nl_langinfo = bench::Host<Fn>("nl_langinfo");
  for (auto _ : state) benchmark::DoNotOptimize(host_nl_langinfo(kBionicCodeset));
}
KELP_BENCH_PAIR("kelp_adaptor_nl_langinfo (CODESET)", AdaptorLangInfo, HostLangInfo);

}  // namespace
