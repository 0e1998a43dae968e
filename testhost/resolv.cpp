// Test host: the resolver helpers under bionic's 32-bit names (__dn_comp, __ns_get16, ...) and
// __get_h_errno. glibc keeps dn_comp and its kind in libc.so.6 and the ns_* parsers in
// libresolv.so.2; each is bound by version when first needed.
#include <dlfcn.h>
#include <stddef.h>
#include <stdint.h>

#include "../src/host/bionic_resolv.h"
#include "kelphost.h"

extern "C" int* __h_errno_location(void);

namespace {

template <typename Fn>
Fn Libc(const char* name) {
  return reinterpret_cast<Fn>(dlvsym(RTLD_DEFAULT, name, "GLIBC_2.34"));
}

template <typename Fn>
Fn Libresolv(const char* name) {
  void* handle = dlopen("libresolv.so.2", RTLD_NOW | RTLD_NOLOAD);
  if (handle == nullptr) handle = dlopen("libresolv.so.2", RTLD_NOW);
  return reinterpret_cast<Fn>(dlvsym(handle, name, "GLIBC_2.9"));
}

}  // namespace

KELPHOST_EXPORT int* __get_h_errno(void) { return __h_errno_location(); }

KELPHOST_EXPORT int __dn_comp(const char* src, unsigned char* dst, int dst_size,
                              unsigned char** dn_ptrs, unsigned char** last_dn_ptr) {
  return Libc<decltype(&__dn_comp)>("dn_comp")(src, dst, dst_size, dn_ptrs, last_dn_ptr);
}

KELPHOST_EXPORT int __dn_skipname(const unsigned char* ptr, const unsigned char* eom) {
  return Libc<decltype(&__dn_skipname)>("dn_skipname")(ptr, eom);
}

KELPHOST_EXPORT int __res_querydomain(const char* name, const char* domain, int klass, int type,
                                      unsigned char* answer, int answer_size) {
  return Libc<decltype(&__res_querydomain)>("res_querydomain")(name, domain, klass, type, answer,
                                                               answer_size);
}

KELPHOST_EXPORT int __res_send(const unsigned char* msg, int msg_size, unsigned char* answer,
                               int answer_size) {
  return Libc<decltype(&__res_send)>("res_send")(msg, msg_size, answer, answer_size);
}

KELPHOST_EXPORT int __ns_name_uncompress(const unsigned char* msg, const unsigned char* eom,
                                         const unsigned char* src, char* dst, size_t dst_size) {
  return Libc<decltype(&__ns_name_uncompress)>("ns_name_uncompress")(msg, eom, src, dst,
                                                                     dst_size);
}

KELPHOST_EXPORT uint16_t __ns_get16(const unsigned char* src) {
  return static_cast<uint16_t>(Libresolv<unsigned (*)(const unsigned char*)>("ns_get16")(src));
}

KELPHOST_EXPORT uint32_t __ns_get32(const unsigned char* src) {
  return static_cast<uint32_t>(
      Libresolv<unsigned long (*)(const unsigned char*)>("ns_get32")(src));
}

KELPHOST_EXPORT void __ns_put16(uint16_t src, unsigned char* dst) {
  Libresolv<void (*)(unsigned, unsigned char*)>("ns_put16")(src, dst);
}

KELPHOST_EXPORT void __ns_put32(uint32_t src, unsigned char* dst) {
  Libresolv<void (*)(unsigned long, unsigned char*)>("ns_put32")(src, dst);
}

KELPHOST_EXPORT int __ns_initparse(const unsigned char* msg, int msg_size, void* handle) {
  return Libresolv<decltype(&__ns_initparse)>("ns_initparse")(msg, msg_size, handle);
}

KELPHOST_EXPORT int __ns_skiprr(const unsigned char* ptr, const unsigned char* eom, int section,
                                int count) {
  return Libresolv<decltype(&__ns_skiprr)>("ns_skiprr")(ptr, eom, section, count);
}

KELPHOST_EXPORT int __ns_parserr(void* handle, int section, int rr_number, void* rr) {
  return Libresolv<decltype(&__ns_parserr)>("ns_parserr")(handle, section, rr_number, rr);
}
