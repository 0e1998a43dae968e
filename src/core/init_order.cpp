#include "core/init_order.h"

namespace {

// Priority 101: ahead of every other constructor in the library.
__attribute__((constructor(101))) void RunStaticInitialisers() {
  void (*const slots[])() = {InitMallocHook, InitNamespaces, InitLangInfoTable, InitRegexMap};
  for (auto slot : slots) {
    if (slot != nullptr) slot();
  }
}

}  // namespace
