// bionic's resolver helpers under the names its 32-bit ARM libc exports (<resolv.h> and
// <arpa/nameser.h> map dn_comp, ns_get16 and the rest to these), and its h_errno location.
// Resolver records are passed through opaquely.
#pragma once

#include <stddef.h>
#include <stdint.h>

extern "C" {
int __dn_comp(const char* src, unsigned char* dst, int dst_size, unsigned char** dn_ptrs,
              unsigned char** last_dn_ptr);
int __dn_skipname(const unsigned char* ptr, const unsigned char* eom);
int __res_querydomain(const char* name, const char* domain, int klass, int type,
                      unsigned char* answer, int answer_size);
int __res_send(const unsigned char* msg, int msg_size, unsigned char* answer, int answer_size);
uint16_t __ns_get16(const unsigned char* src);
uint32_t __ns_get32(const unsigned char* src);
void __ns_put16(uint16_t src, unsigned char* dst);
void __ns_put32(uint32_t src, unsigned char* dst);
int __ns_initparse(const unsigned char* msg, int msg_size, void* handle);
int __ns_skiprr(const unsigned char* ptr, const unsigned char* eom, int section, int count);
int __ns_parserr(void* handle, int section, int rr_number, void* rr);
int __ns_name_uncompress(const unsigned char* msg, const unsigned char* eom,
                         const unsigned char* src, char* dst, size_t dst_size);
int* __get_h_errno(void);
}
