// Guest mutex and condition attributes: one 32-bit word holding the host's attribute value
// verbatim, copied into a host attribute around each call.
#pragma once

#include <stdint.h>
#include <string.h>

inline constexpr uint32_t kDestroyedAttrWord = 0xFFFFFFFF;

// Runs `call` on a host attribute copied from the guest word, writing it back when asked. The
// host's functions require an attribute: a missing one is an invalid argument.
template <typename HostAttr, typename Call>
int OnAttrWord(uint32_t* word, bool write_back, Call call) {
  static_assert(sizeof(HostAttr) <= sizeof(uint32_t), "one guest word holds the host value");
  if (word == nullptr) return 22;
  HostAttr local;
  memset(&local, 0, sizeof(local));
  memcpy(&local, word, sizeof(local));
  int result = call(&local);
  if (write_back) memcpy(word, &local, sizeof(local));
  return result;
}

// The host attribute an object's init is given: a copy of the guest word, or none.
template <typename HostAttr>
struct AttrWordCopy {
  explicit AttrWordCopy(const uint32_t* word) : present(word != nullptr) {
    memset(&local, 0, sizeof(local));
    if (present) memcpy(&local, word, sizeof(local));
  }
  const HostAttr* get() const { return present ? &local : nullptr; }
  HostAttr local;
  bool present;
};
