// Resolver helpers and h_errno: single calls to the host's functions, arguments unchanged.
// Resolver records (ns_msg, ns_rr) are handed through as the guest passed them.
#include <stddef.h>
#include <stdint.h>

#include "core/export.h"
#include "host/bionic_resolv.h"

KELP_EXPORT int* __h_errno_location(void) { return __get_h_errno(); }

KELP_EXPORT int kelp_adaptor_dn_comp(const char* src, unsigned char* dst, int dst_size,
                                     unsigned char** dn_ptrs, unsigned char** last_dn_ptr) {
  return __dn_comp(src, dst, dst_size, dn_ptrs, last_dn_ptr);
}

KELP_EXPORT int kelp_adaptor_dn_skipname(const unsigned char* ptr, const unsigned char* eom) {
  return __dn_skipname(ptr, eom);
}

KELP_EXPORT int kelp_adaptor_res_querydomain(const char* name, const char* domain, int klass,
                                             int type, unsigned char* answer, int answer_size) {
  return __res_querydomain(name, domain, klass, type, answer, answer_size);
}

KELP_EXPORT int kelp_adaptor_res_send(const unsigned char* msg, int msg_size,
                                      unsigned char* answer, int answer_size) {
  return __res_send(msg, msg_size, answer, answer_size);
}

KELP_EXPORT unsigned kelp_adaptor_ns_get16(const unsigned char* src) { return __ns_get16(src); }

KELP_EXPORT unsigned long kelp_adaptor_ns_get32(const unsigned char* src) {
  return __ns_get32(src);
}

KELP_EXPORT void kelp_adaptor_ns_put16(unsigned src, unsigned char* dst) {
  __ns_put16(static_cast<uint16_t>(src), dst);
}

KELP_EXPORT void kelp_adaptor_ns_put32(unsigned long src, unsigned char* dst) {
  __ns_put32(static_cast<uint32_t>(src), dst);
}

KELP_EXPORT int kelp_adaptor_ns_initparse(const unsigned char* msg, int msg_size, void* handle) {
  return __ns_initparse(msg, msg_size, handle);
}

KELP_EXPORT int kelp_adaptor_ns_skiprr(const unsigned char* ptr, const unsigned char* eom,
                                       int section, int count) {
  return __ns_skiprr(ptr, eom, section, count);
}

KELP_EXPORT int kelp_adaptor_ns_parserr(void* handle, int section, int rr_number, void* rr) {
  return __ns_parserr(handle, section, rr_number, rr);
}

KELP_EXPORT int kelp_adaptor_ns_name_uncompress(const unsigned char* msg,
                                                const unsigned char* eom,
                                                const unsigned char* src, char* dst,
                                                size_t dst_size) {
  return __ns_name_uncompress(msg, eom, src, dst, dst_size);
}
