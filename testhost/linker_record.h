// Test host: what the stand-in Android linker was asked, for tests to read back.
//
// On the test host a namespace handle points at the android_namespace_t below, which holds what
// the namespace was created with. Links, opens and symbol look-ups are recorded in the order
// they arrive (the first kKelphostRecordCapacity of each kind are kept; counts go on).
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "../src/host/android_linker.h"

struct android_namespace_t {
  char name[256];
  char ld_library_path[1024];
  char default_library_path[1024];
  char permitted_when_isolated_path[1024];
  uint64_t type;
  android_namespace_t* parent;
  bool ld_library_path_null;
  bool default_library_path_null;
  bool permitted_when_isolated_path_null;
};

inline constexpr size_t kKelphostRecordCapacity = 256;

extern "C" {

struct KelphostLink {
  const android_namespace_t* from;
  const android_namespace_t* to;
  bool all_libs;  // __loader_android_link_namespaces_all_libs
  bool shared_libs_null;
  char shared_libs[512];
  bool result;
};

enum KelphostOpenEntry {
  KELPHOST_OPEN_DLOPEN = 0,              // dlopen
  KELPHOST_OPEN_ANDROID_DLOPEN_EXT = 1,  // android_dlopen_ext
  KELPHOST_OPEN_LOADER_DLOPEN_EXT = 2,   // __loader_android_dlopen_ext
};

struct KelphostOpen {
  int entry;  // KelphostOpenEntry
  bool filename_null;
  char filename[256];
  int flags;  // bionic's numbering, as asked
  bool has_extinfo;
  android_dlextinfo extinfo;
  const void* caller;  // __loader_android_dlopen_ext only
  void* result;
};

// One dlsym: the two arguments as given (the symbol pointer is not read here).
struct KelphostSymbolLookup {
  const void* handle;
  const char* symbol;
};

// Namespaces made by android_create_namespace, in order.
size_t kelphost_namespace_count(void);
const android_namespace_t* kelphost_namespace_at(size_t index);  // null past the record
size_t kelphost_link_count(void);
bool kelphost_link_at(size_t index, KelphostLink* out);
size_t kelphost_open_count(void);
bool kelphost_open_at(size_t index, KelphostOpen* out);
// The caller address of open `index` (null past the record), for guest programs in C.
const void* kelphost_open_caller(size_t index);
size_t kelphost_dlsym_count(void);
bool kelphost_dlsym_at(size_t index, KelphostSymbolLookup* out);

// Makes the stand-in refuse or hide things until called again with 0.
enum KelphostLinkerFailure {
  KELPHOST_FAIL_CREATE = 1,   // android_create_namespace returns null
  KELPHOST_FAIL_LINK = 2,     // both link functions return false
  KELPHOST_HIDE_DEFAULT = 4,  // android_get_exported_namespace("default") is null
  KELPHOST_HIDE_AOSP = 8,     // android_get_exported_namespace("aosp") is null
};
void kelphost_linker_fail(unsigned failures);

}  // extern "C"
