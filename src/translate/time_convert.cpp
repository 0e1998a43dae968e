// Converters between guest and host time records. Several guest records share their first
// words' shape, so one piece of code serves several names.
#include "translate/time_convert.h"

#include <stdint.h>
#include <string.h>

#include "host/bionic_errno.h"

#include "core/export.h"

namespace {

// Copies the 32-bit words at guest offsets 0 and 8 to host offsets 0 and 4: the low halves of
// two 64-bit fields.
void TwoLowWords(const void* guest, void* host) {
  const auto* in = static_cast<const uint8_t*>(guest);
  auto* out = static_cast<uint8_t*>(host);
  memcpy(out, in, 4);
  memcpy(out + 4, in + 8, 4);
}

// Sign-extends two host 32-bit fields into two guest 64-bit fields.
void TwoWidened(void* guest, const void* host) {
  int32_t words[2];
  memcpy(words, host, sizeof(words));
  int64_t wide[2] = {words[0], words[1]};
  memcpy(guest, wide, sizeof(wide));
}

}  // namespace

KELP_EXPORT void timespec_musl2bionic(const GuestTimespec* guest, HostTimespec* host) {
  TwoLowWords(guest, host);
}
KELP_EXPORT void timeval_musl2bionic(const GuestTimeval*, HostTimeval*)
    KELP_ALIAS(timespec_musl2bionic);
KELP_EXPORT void utimbuf_musl2bionic(const GuestUtimbuf*, HostUtimbuf*)
    KELP_ALIAS(timespec_musl2bionic);

KELP_EXPORT void timespec_bionic2musl(GuestTimespec* guest, const HostTimespec* host) {
  guest->tv_sec = host->tv_sec;
  guest->tv_nsec = host->tv_nsec;  // the padding word keeps what it held
}

KELP_EXPORT void timeval_bionic2musl(GuestTimeval* guest, const HostTimeval* host) {
  TwoWidened(guest, host);
}
KELP_EXPORT void utimbuf_bionic2musl(GuestUtimbuf*, const HostUtimbuf*)
    KELP_ALIAS(timeval_bionic2musl);

KELP_EXPORT void itimerval_musl2bionic(const GuestItimerval* guest, HostItimerval* host) {
  TwoLowWords(&guest->it_interval, &host->it_interval);
  TwoLowWords(&guest->it_value, &host->it_value);
}
KELP_EXPORT void itimerspec_musl2bionic(const GuestItimerspec*, HostItimerspec*)
    KELP_ALIAS(itimerval_musl2bionic);

KELP_EXPORT void itimerval_bionic2musl(GuestItimerval* guest, const HostItimerval* host) {
  TwoWidened(&guest->it_interval, &host->it_interval);
  TwoWidened(&guest->it_value, &host->it_value);
}

KELP_EXPORT void itimerspec_bionic2musl(GuestItimerspec* guest, const HostItimerspec* host) {
  timespec_bionic2musl(&guest->it_interval, &host->it_interval);
  timespec_bionic2musl(&guest->it_value, &host->it_value);
}

KELP_EXPORT void timeb_musl2bionic(const GuestTimeb* guest, HostTimeb* host) {
  host->time = static_cast<int32_t>(guest->time);
  host->millitm = guest->millitm;
  host->timezone = guest->timezone;
  host->dstflag = guest->dstflag;
}

KELP_EXPORT void timeb_bionic2musl(GuestTimeb* guest, const HostTimeb* host) {
  guest->time = host->time;
  guest->millitm = host->millitm;
  guest->timezone = host->timezone;
  guest->dstflag = host->dstflag;
}

// ru_stime is carried in neither direction: the destination's keeps what it held.
KELP_EXPORT void rusage_musl2bionic(const GuestRusage* guest, HostRusage* host) {
  TwoLowWords(&guest->ru_utime, &host->ru_utime);
  memcpy(host->counters, guest->counters, sizeof(host->counters));
}

KELP_EXPORT void rusage_bionic2musl(GuestRusage* guest, const HostRusage* host) {
  TwoWidened(&guest->ru_utime, &host->ru_utime);
  memcpy(guest->counters, host->counters, sizeof(guest->counters));
}

bool TimeoutToHost(const GuestTimespec* guest, HostTimespec* host) {
  if (guest->tv_sec < 0 || guest->tv_sec > INT32_MAX || guest->tv_nsec < 0 ||
      guest->tv_nsec >= 1000000000) {
    errno = EINVAL;
    return false;
  }
  timespec_musl2bionic(guest, host);
  return true;
}
