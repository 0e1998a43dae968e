// The guest's linker-namespace interface (dlns_*) on Android linker namespaces. Every namespace
// whose parent is Android's "default" namespace also sees the system libraries through a link
// to the "aosp" namespace.
#include <errno.h>
#include <stdint.h>
#include <string.h>
#include <sys/types.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "guest/dlfcn.h"
#include "host/android_linker.h"
#include "ld_namespace/registry.h"

namespace {

// Shared with the "aosp" namespace by every namespace under "default", in this order.
const char* const kSystemLibraries[] = {
    "libc.so",           "libm.so",   "libdl.so",     "libdl_android.so",
    "libkelpadaptor.so", "libEGL.so", "libGLESv3.so",
};

// Error numbers of this interface (the pthread convention: returned, errno untouched).
constexpr int kNotFound = 126;  // ENOKEY: no such namespace, or the link failed

// The elements of `list` in order with `separator` between neighbours, into `out`; false when
// it does not fit.
bool StringJoin(const char* const* list, size_t count, char separator, char* out, size_t size) {
  size_t used = 0;
  for (size_t i = 0; i < count; ++i) {
    size_t length = strlen(list[i]);
    if (used + (i > 0 ? 1 : 0) + length + 1 > size) return false;
    if (i > 0) out[used++] = separator;
    memcpy(out + used, list[i], length);
    used += length;
  }
  out[used] = '\0';
  return true;
}

// Caller holds the namespace lock.
android_namespace_t* FindNsByNameUnlocked(const char* name) {
  android_namespace_t* ns = RegistryFind(name);
  return ns != nullptr ? ns : android_get_exported_namespace(name);
}

android_namespace_t* DefaultNamespace() { return android_get_exported_namespace("default"); }

// Stores `name` into the record as dlns_init does: at most 255 characters, terminated. The
// name may be the record's own.
void StoreName(DlnsRecord* dlns, const char* name) {
  size_t length = strnlen(name, kNamespaceNameMax);
  memmove(dlns->name, name, length);
  dlns->name[length] = '\0';
}

// Caller holds the namespace lock.
bool LinkToAospNamespace(android_namespace_t* ns) {
  android_namespace_t* aosp = FindNsByNameUnlocked("aosp");
  char joined[128];
  StringJoin(kSystemLibraries, sizeof(kSystemLibraries) / sizeof(kSystemLibraries[0]), ':', joined,
             sizeof(joined));
  return android_link_namespaces(ns, aosp, joined);
}

}  // namespace

KELP_EXPORT void dlns_init(DlnsRecord* dlns, const char* name) {
  if (dlns == nullptr) return;
  StoreName(dlns, name != nullptr ? name : "");
}

KELP_EXPORT int dlns_create2(DlnsRecord* dlns, const char* lib_path, int flags) {
  if (dlns == nullptr) return EINVAL;
  DlnsRecord name;
  StoreName(&name, dlns->name);
  NamespaceLock lock;
  if (RegistryFind(name.name) != nullptr) return EEXIST;
  uint64_t type = ANDROID_NAMESPACE_TYPE_REGULAR;
  android_namespace_t* parent = nullptr;
  if ((flags & 1) != 0) {
    type = ANDROID_NAMESPACE_TYPE_SHARED;
    parent = DefaultNamespace();
  } else if ((flags & 2) != 0) {
    KELP_LOG(kLogWarn, "can't get current ns, just using default ns");
    parent = DefaultNamespace();
  }
  android_namespace_t* ns =
      android_create_namespace(name.name, nullptr, lib_path, type, nullptr, parent);
  if (ns == nullptr || !RegistryInsert(name.name, ns)) return ENOMEM;
  if (parent == DefaultNamespace() && !LinkToAospNamespace(ns)) {
    KELP_LOG(kLogWarn, "link ns(%s) to aosp ns failed", name.name);
  }
  return 0;
}

KELP_EXPORT int dlns_create(DlnsRecord* dlns, const char* lib_path) {
  return dlns_create2(dlns, lib_path, 1);
}

KELP_EXPORT int dlns_get(const char* name, DlnsRecord* dlns) {
  if (dlns == nullptr) return EINVAL;
  if (name == nullptr) {
    if (DefaultNamespace() == nullptr) return kNotFound;
    StoreName(dlns, "default");
    return 0;
  }
  NamespaceLock lock;
  if (FindNsByNameUnlocked(name) == nullptr) return kNotFound;
  StoreName(dlns, name);
  return 0;
}

KELP_EXPORT int dlns_inherit(const char* ns_name, const char* inherited_name,
                             const char* shared_libs) {
  if (ns_name == nullptr || inherited_name == nullptr) return EINVAL;
  NamespaceLock lock;
  android_namespace_t* ns = FindNsByNameUnlocked(ns_name);
  android_namespace_t* inherited = FindNsByNameUnlocked(inherited_name);
  if (ns == nullptr || inherited == nullptr) return kNotFound;
  bool linked = shared_libs != nullptr ? android_link_namespaces(ns, inherited, shared_libs)
                                       : __loader_android_link_namespaces_all_libs(ns, inherited);
  if (inherited == DefaultNamespace() && !LinkToAospNamespace(ns)) {
    KELP_LOG(kLogWarn, "dlns_inherit link ns(%s) to aosp ns failed", ns_name);
  }
  if (!linked) {
    KELP_LOG(kLogWarn, "link namespace failed, from = %s to = %s", ns_name, inherited_name);
    return kNotFound;
  }
  return 0;
}
