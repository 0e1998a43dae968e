// Library loading with the guest's dlopen modes, extended-open records and namespace records.
//
// The namespace-aware entries hand Android the return address of the entry itself, an address
// inside the guest code that called it, so that Android resolves the caller's namespace rather
// than the adaptor's. They hand Android the guest's mode as it came; only kelp_adaptor_dlopen
// translates the mode.
#include <dlfcn.h>
#include <stdint.h>
#include <sys/types.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "guest/dlfcn.h"
#include "host/android_linker.h"
#include "ld_namespace/registry.h"

namespace {

// Guest extended-open bits and the host flags they stand for.
struct DlExtFlag {
  uint32_t guest;
  uint64_t host;
};
constexpr DlExtFlag kDlExtFlags[] = {
    {0x01, ANDROID_DLEXT_WRITE_RELRO},
    {0x02, ANDROID_DLEXT_USE_RELRO},
    {0x04, ANDROID_DLEXT_RESERVED_ADDRESS_RECURSIVE},
    {0x08, ANDROID_DLEXT_RESERVED_ADDRESS},
    {0x10, ANDROID_DLEXT_RESERVED_ADDRESS_HINT},
};
constexpr uint32_t kDlExtFlagLimit = 32;

// Guest lazy (0x1), no-load (0x4) and no-delete (0x1000) keep their values, guest global (0x100)
// becomes the host's 0x2; guest "now" (0x2) is the host's 0 and everything else is dropped.
int HostDlopenMode(int mode) { return (mode & 0x1005) + ((mode >> 7) & 2); }

// The host record for a guest one. A null guest record reads as an all-zero one: a plain open
// rather than a fault inside the adaptor.
android_dlextinfo HostExtInfo(const DlExtRecord* guest) {
  android_dlextinfo info = {};
  if (guest == nullptr) return info;
  for (const DlExtFlag& flag : kDlExtFlags) {
    if ((guest->flag & flag.guest) != 0) info.flags |= flag.host;
  }
  info.reserved_addr = reinterpret_cast<void*>(static_cast<uintptr_t>(guest->reserved_addr));
  info.reserved_size = guest->reserved_size;
  info.relro_fd = guest->relro_fd;
  return info;
}

bool FlagRefused(const DlExtRecord* extinfo) {
  return extinfo != nullptr && extinfo->flag >= kDlExtFlagLimit;
}

void UseNamespace(android_dlextinfo* info, android_namespace_t* ns) {
  info->library_namespace = ns;
  info->flags |= ANDROID_DLEXT_USE_NAMESPACE;
}

}  // namespace

KELP_EXPORT void* kelp_adaptor_dlopen(const char* filename, int mode) {
  int host_mode = HostDlopenMode(mode);
  KELP_LOG(kLogInfo, "dlopen %s with input flag:%d, translated flag:%d", filename, mode, host_mode);
  return dlopen(filename, host_mode);
}

// The second argument is mapped as the guest platform's libc maps it: null to all-ones and
// all-ones to all-ones minus one.
KELP_EXPORT void* kelp_adaptor_dlsym(void* handle, const char* symbol) {
  auto value = reinterpret_cast<uintptr_t>(symbol);
  if (value == 0) {
    value = 0xFFFFFFFF;
  } else if (value == 0xFFFFFFFF) {
    value = 0xFFFFFFFE;
  }
  return dlsym(handle, reinterpret_cast<const char*>(value));
}

KELP_EXPORT void* __dlsym_time64(void* handle, const char* symbol) { return dlsym(handle, symbol); }

KELP_EXPORT void* dlopen_ns(const DlnsRecord* dlns, const char* filename, int mode) {
  const void* caller = __builtin_return_address(0);
  if (dlns == nullptr) return nullptr;
  android_namespace_t* ns = RegistryFind(dlns->name);
  if (ns == nullptr) return __loader_android_dlopen_ext(filename, mode, nullptr, caller);
  android_dlextinfo info = {};
  UseNamespace(&info, ns);
  return __loader_android_dlopen_ext(filename, mode, &info, caller);
}

KELP_EXPORT void* dlopen_ext(const char* filename, int mode, const DlExtRecord* extinfo) {
  const void* caller = __builtin_return_address(0);
  if (FlagRefused(extinfo)) {
    KELP_LOG(kLogWarn, "Error dlopen_ext %s: invalid flag %x", filename, extinfo->flag);
    return nullptr;
  }
  android_dlextinfo info = HostExtInfo(extinfo);
  return __loader_android_dlopen_ext(filename, mode, &info, caller);
}

KELP_EXPORT void* dlopen_ns_ext(const DlnsRecord* dlns, const char* filename, int mode,
                                const DlExtRecord* extinfo) {
  const void* caller = __builtin_return_address(0);
  if (dlns == nullptr) return nullptr;
  if (FlagRefused(extinfo)) {
    KELP_LOG(kLogWarn, "Error dlopen_ns_ext %s: invalid flag %x", filename, extinfo->flag);
    return nullptr;
  }
  android_dlextinfo info = HostExtInfo(extinfo);
  android_namespace_t* ns = RegistryFind(dlns->name);
  if (ns != nullptr) UseNamespace(&info, ns);
  return __loader_android_dlopen_ext(filename, mode, &info, caller);
}
