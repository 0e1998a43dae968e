// sysconf answered from the guest libc's own table: 249 entries indexed by the guest _SC_ name.
#include <stdint.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>

#include <array>
#include <initializer_list>
#include <utility>

#include "async_safe/log.h"
#include "core/export.h"
#include "host/bionic_errno.h"

namespace {

constexpr int kNames = 249;
constexpr int16_t kJump = -256;        // -256 + k: a computed answer
constexpr int16_t kResource = -32768;  // -32768 + r: the soft limit of resource r

enum Jump : int16_t {
  kVersion = kJump + 1,
  kArgMax = kJump + 2,
  kMqPrioMax = kJump + 3,
  kPageSize = kJump + 4,
  kSemValueMax = kJump + 5,
  kNprocConf = kJump + 6,
  kNprocOnln = kJump + 7,
  kPhysPages = kJump + 8,
  kAvphysPages = kJump + 9,
  kZero = kJump + 10,
  kDelaytimerMax = kJump + 11,
};

constexpr std::array<int16_t, kNames> BuildTable() {
  std::array<int16_t, kNames> t{};  // 0: not supported
  for (int name : {9, 11, 12, 15, 16, 17, 18, 19, 20, 21, 22, 29, 46, 47, 67, 68, 77, 78, 79, 82,
                   132, 133, 137, 138, 139, 149, 153, 154, 159, 164, 235, 236}) {
    t[name] = kVersion;
  }
  for (auto [name, value] : {std::pair{0, kArgMax}, {25, kZero}, {174, kZero}, {246, kZero},
                             {26, kDelaytimerMax}, {28, kMqPrioMax}, {30, kPageSize},
                             {33, kSemValueMax}, {83, kNprocConf}, {84, kNprocOnln},
                             {85, kPhysPages}, {86, kAvphysPages}}) {
    t[name] = value;
  }
  t[1] = kResource + RLIMIT_NPROC;
  t[4] = kResource + RLIMIT_NOFILE;
  for (auto [name, value] :
       {std::pair{2, 100}, {3, 32}, {6, 6}, {31, 30}, {32, 256}, {36, 99}, {37, 2048}, {38, 99},
        {39, 1000}, {40, 2}, {44, 255}, {60, 1024}, {71, 256}, {72, 32}, {73, 4}, {74, 128},
        {75, 8192}, {89, 700}, {90, 700}, {109, 20}, {173, 8}, {180, 255}}) {
    t[name] = static_cast<int16_t>(value);
  }
  for (int name : {7, 8, 91, 93, 94, 126, 155, 157, 177, 238}) t[name] = 1;
  for (int name : {5,   10,  13,  14,  23,  24,  27,  34,  35,  42,  43,  48,  49,  50,  51,
                   52,  69,  70,  76,  80,  81,  87,  88,  92,  95,  97,  98,  99,  100, 125,
                   127, 128, 129, 130, 131, 160, 161, 165, 168, 169, 170, 171, 172, 175, 176,
                   178, 179, 181, 182, 183, 184, 237, 239, 240, 241, 242, 243, 244, 245, 247,
                   248}) {
    t[name] = -1;
  }
  return t;
}

constexpr std::array<int16_t, kNames> kTable = BuildTable();
constexpr int kThreadStackMin = 75;

long ResourceLimit(int resource) {
  struct rlimit limit = {};
  getrlimit(resource, &limit);
  if (limit.rlim_cur == RLIM_INFINITY) return -1;  // errno untouched
  return limit.rlim_cur > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<long>(limit.rlim_cur);
}

long Computed(int16_t entry) {
  switch (entry) {
    case kVersion: return 200809;
    case kArgMax: return 131072;
    case kPageSize: return 4096;
    case kSemValueMax: return 0x3FFFFFFF;
    case kNprocConf:  // the online count for both
    case kNprocOnln: return get_nprocs();
    case kPhysPages: return get_phys_pages();
    case kAvphysPages: return get_avphys_pages();
    case kZero: return 0;
    case kMqPrioMax:
      KELP_LOG(kLogInfo, "sysconf MQ_PRIO_MAX is diffent between musl and bionic");
      return 32;
    case kDelaytimerMax:
      KELP_LOG(kLogInfo, "sysconf DELAYTIMER_MAX is diffent between musl and bionic");
      return 32;
    default: return entry;
  }
}

}  // namespace

KELP_EXPORT long kelp_adaptor_sysconf(int name) {
  if (name == kThreadStackMin) {
    KELP_LOG(kLogInfo, "sysconf PTHREAD_STACK_MIN is diffent between musl and bionic");
  } else if (static_cast<unsigned>(name) >= kNames) {
    errno = EINVAL;
    return -1;
  }
  int16_t entry = kTable[name];
  if (entry == 0) {
    errno = EINVAL;
    return -1;
  }
  if (entry >= -1) return entry;
  if (entry < kJump) return ResourceLimit(entry - kResource);
  return Computed(entry);
}
