// Process times, child status with resource usage, file times and the other 64-bit time
// entries that pass a time record to the kernel or to bionic.
#include <string.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/timex.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "core/export.h"
#include "host/bionic_errno.h"
#include "translate/time_convert.h"

static_assert(sizeof(struct rusage) == sizeof(HostRusage), "host rusage is bionic's");

namespace {
constexpr long kGetrusage = 77;
constexpr long kSemtimedop = 312;
}  // namespace

KELP_EXPORT pid_t __wait4_time64(pid_t pid, int* status, int options, GuestRusage* usage) {
  HostRusage host = {};
  if (usage != nullptr) rusage_musl2bionic(usage, &host);
  pid_t result =
      wait4(pid, status, options, usage != nullptr ? reinterpret_cast<rusage*>(&host) : nullptr);
  if (usage != nullptr) rusage_bionic2musl(usage, &host);
  return result;
}
KELP_EXPORT pid_t kelp_adaptor_wait4(pid_t, int*, int, GuestRusage*) KELP_ALIAS(__wait4_time64);

// The guest's record goes to bionic as it is, without the conversion wait4 does.
KELP_EXPORT pid_t __wait3_time64(int* status, int options, GuestRusage* usage) {
  return wait4(-1, status, options, reinterpret_cast<rusage*>(usage));
}

// The kernel fills its own 72-byte record at the start of the guest's 152 bytes (a bad pointer
// or `who` fails there, with the kernel's errno); it is then widened in place, both times and
// the counters at their guest offsets. The reserved words stay as the guest had them.
KELP_EXPORT int __getrusage_time64(int who, GuestRusage* usage) {
  if (syscall(kGetrusage, who, usage) != 0) return -1;
  HostRusage host;
  memcpy(&host, usage, sizeof(host));
  usage->ru_utime = {host.ru_utime.tv_sec, host.ru_utime.tv_usec};
  usage->ru_stime = {host.ru_stime.tv_sec, host.ru_stime.tv_usec};
  memcpy(usage->counters, host.counters, sizeof(usage->counters));
  return 0;
}
KELP_EXPORT int kelp_adaptor_getrusage(int, GuestRusage*) KELP_ALIAS(__getrusage_time64);

// The kernel's 32-bit call reads a host record; null waits without limit.
KELP_EXPORT int __semtimedop_time64(int id, void* ops, size_t count,
                                    const GuestTimespec* timeout) {
  HostTimespec host;
  if (timeout != nullptr && !TimeoutToHost(timeout, &host)) return -1;
  return static_cast<int>(
      syscall(kSemtimedop, id, ops, count, timeout != nullptr ? &host : nullptr));
}
KELP_EXPORT int kelp_adaptor_semtimedop(int, void*, size_t, const GuestTimespec*)
    KELP_ALIAS(__semtimedop_time64);

KELP_EXPORT int __adjtimex_time64(struct timex* tx) { return adjtimex(tx); }

KELP_EXPORT int __clock_adjtime64(clockid_t clk, struct timex* tx) {
  return clock_adjtime(clk, tx);
}
