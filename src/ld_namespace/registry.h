// The namespace registry: guest namespace names to Android namespace handles, and the lock that
// serialises the namespace operations.
#pragma once

#include <pthread.h>
#include <stddef.h>
#include <sys/types.h>  // off64_t, for the host linker seam

#include "host/android_linker.h"

// A registered name has at most this many characters: names come from the guest's 256-byte
// namespace record.
inline constexpr size_t kNamespaceNameMax = 255;

// Held for the whole of each namespace operation.
class NamespaceLock {
 public:
  NamespaceLock();
  ~NamespaceLock();
  NamespaceLock(const NamespaceLock&) = delete;
  NamespaceLock& operator=(const NamespaceLock&) = delete;
};

// The handle registered under `name`, or null. Safe without the lock, alongside an insertion:
// library opening reads the registry that way.
android_namespace_t* RegistryFind(const char* name);

// Registers `name` (at most kNamespaceNameMax characters) or overwrites its handle. Caller holds
// the lock. False when memory runs out.
bool RegistryInsert(const char* name, android_namespace_t* handle);
