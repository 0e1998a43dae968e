// Test-host stand-in for the Android linker's namespaces and bionic's dlopen/dlsym.
//
// glibc has no namespaces of this kind: a namespace here is the record of what it was created
// with, and opening a bare library name in a namespace searches that namespace's default
// library path before the usual search. glibc's dlmopen is deliberately not used: a library in
// a second glibc namespace gets its own copy of libc, of this library and of the adaptor, so its
// errno, stdio and malloc-hook state would split from the program's. "default" and "aosp" exist
// from the start, as they do for an Android app process. Every call is recorded
// (linker_record.h).
//
// dlopen and dlsym take bionic's 32-bit ARM numbering (RTLD_NOW 0, RTLD_GLOBAL 2, RTLD_DEFAULT
// 0xffffffff, RTLD_NEXT 0xfffffffe) and call glibc's own functions, bound by version.
#include <dlfcn.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "kelphost.h"
#include "linker_internal.h"

extern "C" void* GlibcDlopen(const char* filename, int mode);
extern "C" void* GlibcDlsym(void* handle, const char* symbol);
__asm__(".symver GlibcDlopen, dlopen@GLIBC_2.34");
__asm__(".symver GlibcDlsym, dlsym@GLIBC_2.34");

namespace {

android_namespace_t g_default = {"default", "",    "",    "",   ANDROID_NAMESPACE_TYPE_SHARED,
                                 nullptr,   false, false, false};
android_namespace_t g_aosp = {"aosp",  "",    "",    "",   ANDROID_NAMESPACE_TYPE_SHARED,
                              nullptr, false, false, false};

constexpr int kBionicLazy = 0x1;
constexpr int kBionicNoload = 0x4;
constexpr int kBionicGlobal = 0x2;
constexpr int kBionicNodelete = 0x1000;
const uintptr_t kBionicDefault = 0xffffffff;
const uintptr_t kBionicNext = 0xfffffffe;

// bionic's mode as glibc's. bionic refuses unknown bits; a mode without a binding makes glibc
// refuse too, with a dlerror text.
int GlibcMode(int flags) {
  if ((flags & ~(kBionicLazy | kBionicNoload | kBionicGlobal | kBionicNodelete)) != 0) return 0;
  int mode = (flags & kBionicLazy) != 0 ? RTLD_LAZY : RTLD_NOW;
  if ((flags & kBionicGlobal) != 0) mode |= RTLD_GLOBAL;
  if ((flags & kBionicNoload) != 0) mode |= RTLD_NOLOAD;
  if ((flags & kBionicNodelete) != 0) mode |= RTLD_NODELETE;
  return mode;
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

void* Open(KelphostOpenEntry entry, const char* filename, int flags, const android_dlextinfo* info,
           const void* caller) {
  char full[1024];
  const char* path = filename;
  if (filename != nullptr && strchr(filename, '/') == nullptr && info != nullptr &&
      (info->flags & ANDROID_DLEXT_USE_NAMESPACE) != 0 && info->library_namespace != nullptr &&
      SearchPath(info->library_namespace->default_library_path, filename, full, sizeof(full))) {
    path = full;
  }
  void* handle = GlibcDlopen(path, GlibcMode(flags));
  KelphostOpen open = {};
  open.entry = entry;
  open.filename_null = filename == nullptr;
  CopyText(open.filename, sizeof(open.filename), filename);
  open.flags = flags;
  open.has_extinfo = info != nullptr;
  if (info != nullptr) open.extinfo = *info;
  open.caller = caller;
  open.result = handle;
  RecordOpen(open);
  return handle;
}

void RecordLinkOf(const android_namespace_t* from, const android_namespace_t* to,
                  const char* shared_libs, bool all_libs, bool result) {
  KelphostLink link = {};
  link.from = from;
  link.to = to;
  link.all_libs = all_libs;
  link.shared_libs_null = shared_libs == nullptr;
  CopyText(link.shared_libs, sizeof(link.shared_libs), shared_libs);
  link.result = result;
  RecordLink(link);
}

}  // namespace

KELPHOST_EXPORT android_namespace_t* android_create_namespace(
    const char* name, const char* ld_library_path, const char* default_library_path, uint64_t type,
    const char* permitted_when_isolated_path, android_namespace_t* parent) {
  if (Failing(KELPHOST_FAIL_CREATE)) return nullptr;
  auto* ns = static_cast<android_namespace_t*>(calloc(1, sizeof(android_namespace_t)));
  if (ns == nullptr) return nullptr;
  CopyText(ns->name, sizeof(ns->name), name);
  CopyText(ns->ld_library_path, sizeof(ns->ld_library_path), ld_library_path);
  CopyText(ns->default_library_path, sizeof(ns->default_library_path), default_library_path);
  CopyText(ns->permitted_when_isolated_path, sizeof(ns->permitted_when_isolated_path),
           permitted_when_isolated_path);
  ns->type = type;
  ns->parent = parent;
  ns->ld_library_path_null = ld_library_path == nullptr;
  ns->default_library_path_null = default_library_path == nullptr;
  ns->permitted_when_isolated_path_null = permitted_when_isolated_path == nullptr;
  RecordNamespace(ns);
  return ns;
}

// Android refuses a link without both ends or with an empty library list.
KELPHOST_EXPORT bool android_link_namespaces(android_namespace_t* from, android_namespace_t* to,
                                             const char* shared_libs_sonames) {
  bool result = !Failing(KELPHOST_FAIL_LINK) && from != nullptr && to != nullptr &&
                shared_libs_sonames != nullptr && *shared_libs_sonames != '\0';
  RecordLinkOf(from, to, shared_libs_sonames, false, result);
  return result;
}

KELPHOST_EXPORT bool __loader_android_link_namespaces_all_libs(android_namespace_t* from,
                                                               android_namespace_t* to) {
  bool result = !Failing(KELPHOST_FAIL_LINK) && from != nullptr && to != nullptr;
  RecordLinkOf(from, to, nullptr, true, result);
  return result;
}

KELPHOST_EXPORT android_namespace_t* android_get_exported_namespace(const char* name) {
  if (name == nullptr) return nullptr;
  if (strcmp(name, "default") == 0 && !Failing(KELPHOST_HIDE_DEFAULT)) return &g_default;
  if (strcmp(name, "aosp") == 0 && !Failing(KELPHOST_HIDE_AOSP)) return &g_aosp;
  return nullptr;
}

KELPHOST_EXPORT void* android_dlopen_ext(const char* filename, int flags,
                                         const android_dlextinfo* extinfo) {
  return Open(KELPHOST_OPEN_ANDROID_DLOPEN_EXT, filename, flags, extinfo, nullptr);
}

KELPHOST_EXPORT void* __loader_android_dlopen_ext(const char* filename, int flags,
                                                  const android_dlextinfo* info,
                                                  const void* caller_addr) {
  return Open(KELPHOST_OPEN_LOADER_DLOPEN_EXT, filename, flags, info, caller_addr);
}

KELPHOST_EXPORT void* BionicDlopen(const char* filename, int flags) __asm__("dlopen");
void* BionicDlopen(const char* filename, int flags) {
  return Open(KELPHOST_OPEN_DLOPEN, filename, flags, nullptr, nullptr);
}

// bionic reads the symbol name; the stand-in declines the two all-ones addresses instead of
// faulting on them, since they are no string.
KELPHOST_EXPORT void* BionicDlsym(void* handle, const char* symbol) __asm__("dlsym");
void* BionicDlsym(void* handle, const char* symbol) {
  RecordSymbolLookup({handle, symbol});
  auto address = reinterpret_cast<uintptr_t>(symbol);
  if (symbol == nullptr || address == kBionicDefault || address == kBionicNext) return nullptr;
  if (handle == nullptr) return nullptr;  // bionic: a null handle is an error
  auto value = reinterpret_cast<uintptr_t>(handle);
  if (value == kBionicDefault) handle = RTLD_DEFAULT;
  if (value == kBionicNext) handle = RTLD_NEXT;
  return GlibcDlsym(handle, symbol);
}
