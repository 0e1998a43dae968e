// Reading back what the test host's stand-in linker was asked, and the guest namespace entries.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "../../../testhost/linker_record.h"
#include "guest/dlfcn.h"

extern "C" {
void dlns_init(DlnsRecord* dlns, const char* name);
int dlns_create2(DlnsRecord* dlns, const char* lib_path, int flags);
int dlns_create(DlnsRecord* dlns, const char* lib_path);
int dlns_get(const char* name, DlnsRecord* dlns);
int dlns_inherit(const char* ns_name, const char* inherited_name, const char* shared_libs);
void* kelp_adaptor_dlopen(const char* filename, int mode);
void* kelp_adaptor_dlsym(void* handle, const char* symbol);
void* __dlsym_time64(void* handle, const char* symbol);
void* dlopen_ns(const DlnsRecord* dlns, const char* filename, int mode);
void* dlopen_ext(const char* filename, int mode, const DlExtRecord* extinfo);
void* dlopen_ns_ext(const DlnsRecord* dlns, const char* filename, int mode,
                    const DlExtRecord* extinfo);
}

// Switches stand-in failures on for the scope.
class LinkerFailure {
 public:
  explicit LinkerFailure(unsigned failures) { kelphost_linker_fail(failures); }
  ~LinkerFailure() { kelphost_linker_fail(0); }
  LinkerFailure(const LinkerFailure&) = delete;
  LinkerFailure& operator=(const LinkerFailure&) = delete;
};

inline std::vector<KelphostLink> LinksSince(size_t first) {
  std::vector<KelphostLink> links;
  KelphostLink link;
  for (size_t i = first; kelphost_link_at(i, &link); ++i) links.push_back(link);
  return links;
}

inline std::vector<KelphostOpen> OpensSince(size_t first) {
  std::vector<KelphostOpen> opens;
  KelphostOpen open;
  for (size_t i = first; kelphost_open_at(i, &open); ++i) opens.push_back(open);
  return opens;
}

inline DlnsRecord Record(const char* name) {
  DlnsRecord record;
  dlns_init(&record, name);
  return record;
}

inline android_namespace_t* Exported(const char* name) {
  return android_get_exported_namespace(name);
}
