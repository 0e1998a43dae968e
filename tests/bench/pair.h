// Benchmark pairs: an adaptor entry and the host call that does the same work, run in the same
// process. Each pair registers "<row>/adaptor" and "<row>/host"; scripts/bench-report joins the
// two halves of every row, from every bench binary, into one table.
//
// The host half calls what bionic is on this machine: the stand-in's definition where
// libkelphost.so provides the name (the function the adaptor itself reaches), else glibc's.
#pragma once

#include <dlfcn.h>

#include <string>

#include <benchmark/benchmark.h>

namespace bench {

// The adaptor's definition of `name`, or null while the adaptor does not export it (families
// still being written): their rows are skipped with a note instead of failing to link.
inline void* AdaptorAddress(const char* name) {
  return dlvsym(RTLD_DEFAULT, name, "KELP_ADAPTOR_1");
}

template <typename Fn>
Fn Adaptor(const char* name) {
  return reinterpret_cast<Fn>(AdaptorAddress(name));
}

// The host's definition of `name`: the bionic stand-in's if it has one, else the host libc's.
template <typename Fn>
Fn Host(const char* name) {
  void* address = dlvsym(RTLD_DEFAULT, name, "KELPHOST_1");
  if (address == nullptr) address = dlsym(RTLD_DEFAULT, name);
  return reinterpret_cast<Fn>(address);
}

// False, with the row marked as skipped and why, when `entry` is missing.
inline bool Present(benchmark::State& state, const void* entry, const char* name) {
  if (entry != nullptr) return true;
  std::string note = std::string("skipped: ") + name + " is not exported yet";
  state.SkipWithError(note.c_str());
  return false;
}

}  // namespace bench

// Registers the two halves of row `row` (a string literal).
#define KELP_BENCH_PAIR(row, adaptor_fn, host_fn) \
  BENCHMARK(adaptor_fn)->Name(row "/adaptor");    \
  BENCHMARK(host_fn)->Name(row "/host")

// The same, each half run with 1, 2 and 4 threads.
#define KELP_BENCH_PAIR_THREADS(row, adaptor_fn, host_fn)                         \
  BENCHMARK(adaptor_fn)->Name(row "/adaptor")->Threads(1)->Threads(2)->Threads(4); \
  BENCHMARK(host_fn)->Name(row "/host")->Threads(1)->Threads(2)->Threads(4)
