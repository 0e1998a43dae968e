// File status: the host record filled by the host, then widened into the guest's.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "guest/stat.h"
#include "pair.h"

extern "C" {
int __fstat_time64(int, GuestStat*);
int __stat_time64(const char*, GuestStat*);
}

namespace {

constexpr char kPath[] = "/";

// A descriptor of the root directory for the duration of one benchmark.
class RootFd {
 public:
  RootFd() : fd_(open(kPath, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
  ~RootFd() { close(fd_); }
  int get() const { return fd_; }

 private:
  int fd_;
};

void AdaptorFstat(benchmark::State& state) {
  RootFd fd;
  GuestStat st = {};
  for (auto _ : state) benchmark::DoNotOptimize(__fstat_time64(fd.get(), &st));
}

void HostFstat(benchmark::State& state) {
  RootFd fd;
  struct stat st = {};
  for (auto _ : state) benchmark::DoNotOptimize(fstat(fd.get(), &st));
}
KELP_BENCH_PAIR("__fstat_time64", AdaptorFstat, HostFstat);

void AdaptorStat(benchmark::State& state) {
  GuestStat st = {};
  for (auto _ : state) benchmark::DoNotOptimize(__stat_time64(kPath, &st));
}

void HostStat(benchmark::State& state) {
  struct stat st = {};
  for (auto _ : state) benchmark::DoNotOptimize(stat(kPath, &st));
}
KELP_BENCH_PAIR("__stat_time64", AdaptorStat, HostStat);

}  // namespace
