// Test-host stand-in for the Android linker's namespaces. glibc has no namespaces of this kind:
// a namespace here is a record of what it was created with, and opening a bare library name in
// a namespace searches that namespace's default library path before the usual search.
// "default" and "aosp" exist from the start, as they do for an Android app process.
#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "../src/host/android_linker.h"
#include "kelphost.h"

struct android_namespace_t {
  char name[256];
  char default_library_path[1024];
  uint64_t type;
  android_namespace_t* parent;
};

namespace {

android_namespace_t g_default = {"default", "", ANDROID_NAMESPACE_TYPE_SHARED, nullptr};
android_namespace_t g_aosp = {"aosp", "", ANDROID_NAMESPACE_TYPE_SHARED, nullptr};

void CopyString(char* to, size_t size, const char* from) {
  if (from == nullptr) from = "";
  strncpy(to, from, size - 1);
  to[size - 1] = '\0';
}

// Finds `name` in the colon-separated `path`; fills `out` and returns true when found.
bool SearchPath(const char* path, const char* name, char* out, size_t size) {
  for (const char* p = path; *p != '\0';) {
    const char* end = strchrnul(p, ':');
    size_t len = static_cast<size_t>(end - p);
    if (len > 0 && len + 1 + strlen(name) + 1 <= size) {
      memcpy(out, p, len);
      out[len] = '/';
      strcpy(out + len + 1, name);
      if (access(out, F_OK) == 0) return true;
    }
    p = *end == ':' ? end + 1 : end;
  }
  return false;
}

void* OpenInNamespace(const char* filename, int flags, const android_dlextinfo* info) {
  char full[1024];
  if (filename != nullptr && strchr(filename, '/') == nullptr && info != nullptr &&
      (info->flags & ANDROID_DLEXT_USE_NAMESPACE) != 0 && info->library_namespace != nullptr &&
      SearchPath(info->library_namespace->default_library_path, filename, full, sizeof(full))) {
    return dlopen(full, flags);
  }
  return dlopen(filename, flags);
}

}  // namespace

KELPHOST_EXPORT android_namespace_t* android_create_namespace(
    const char* name, const char* /*ld_library_path*/, const char* default_library_path,
    uint64_t type, const char* /*permitted_when_isolated_path*/, android_namespace_t* parent) {
  auto* ns = static_cast<android_namespace_t*>(calloc(1, sizeof(android_namespace_t)));
  if (ns == nullptr) return nullptr;
  CopyString(ns->name, sizeof(ns->name), name);
  CopyString(ns->default_library_path, sizeof(ns->default_library_path), default_library_path);
  ns->type = type;
  ns->parent = parent;
  return ns;
}

KELPHOST_EXPORT bool android_link_namespaces(android_namespace_t* from, android_namespace_t* to,
                                             const char* shared_libs_sonames) {
  return from != nullptr && to != nullptr && shared_libs_sonames != nullptr;
}

KELPHOST_EXPORT bool __loader_android_link_namespaces_all_libs(android_namespace_t* from,
                                                               android_namespace_t* to) {
  return from != nullptr && to != nullptr;
}

KELPHOST_EXPORT android_namespace_t* android_get_exported_namespace(const char* name) {
  if (name == nullptr) return nullptr;
  if (strcmp(name, "default") == 0) return &g_default;
  if (strcmp(name, "aosp") == 0) return &g_aosp;
  return nullptr;
}

KELPHOST_EXPORT void* android_dlopen_ext(const char* filename, int flags,
                                         const android_dlextinfo* extinfo) {
  return OpenInNamespace(filename, flags, extinfo);
}

KELPHOST_EXPORT void* __loader_android_dlopen_ext(const char* filename, int flags,
                                                  const android_dlextinfo* info,
                                                  const void* /*caller_addr*/) {
  return OpenInNamespace(filename, flags, info);
}
