// Test host: bionic's mallinfo record (ten size_t fields; glibc's has ten ints of the same
// size), answered by glibc's own function unless a test has set the values.
#include <stdint.h>
#include <string.h>

#include "kelphost.h"

namespace {

struct BionicMallinfo {
  uint32_t fields[10];
};

BionicMallinfo g_set;
bool g_is_set;

}  // namespace

extern "C" BionicMallinfo GlibcMallinfo();
__asm__(".symver GlibcMallinfo, mallinfo@GLIBC_2.4");

KELPHOST_EXPORT BionicMallinfo BionicMallinfoEntry() __asm__("mallinfo");
BionicMallinfo BionicMallinfoEntry() { return g_is_set ? g_set : GlibcMallinfo(); }

// Test-host inspection: the next mallinfo calls answer `fields` (ten words), or glibc's values
// again when `fields` is null.
KELPHOST_EXPORT void kelphost_set_mallinfo(const uint32_t* fields) {
  g_is_set = fields != nullptr;
  if (fields != nullptr) memcpy(g_set.fields, fields, sizeof(g_set.fields));
}
