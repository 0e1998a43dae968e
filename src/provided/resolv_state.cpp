// What the resolver macros of the guest's headers reach: `_res` is (*__res_state()), and
// ns_msg_getflag reads _ns_flagdata. The resolver behind the adaptor never consults _res, so
// the record only has to exist, in the guest's size.
#include <stdint.h>

#include "core/export.h"

namespace {

struct GuestResState {
  alignas(4) unsigned char bytes[512];
};
static_assert(sizeof(GuestResState) == 512);

GuestResState g_res_state;

}  // namespace

KELP_ENTRY(GuestResState*, __res_state, ()) { return &g_res_state; }

extern "C" {
// The DNS header's flag fields: mask and shift in the 16-bit flags word, in the order of
// ns_flag (qr, opcode, aa, tc, rd, ra, z, ad, cd, rcode), the rest unused.
struct NsFlagData {
  int mask;
  int shift;
};
KELP_VISIBLE extern const NsFlagData _ns_flagdata[16] = {
    {0x8000, 15}, {0x7800, 11}, {0x0400, 10}, {0x0200, 9}, {0x0100, 8}, {0x0080, 7},
    {0x0040, 6},  {0x0020, 5},  {0x0010, 4},  {0x000f, 0}, {0x0000, 0}, {0x0000, 0},
    {0x0000, 0},  {0x0000, 0},  {0x0000, 0},  {0x0000, 0},
};
}
