// glibc's character tables, which objects compiled against glibc's <ctype.h> index directly:
// `(*__ctype_b_loc())[c]` and its tolower and toupper twins, for every c from -128 (a signed
// char) to 255. They describe the C locale, the only one whose bytes bionic classifies, and are
// built at compile time.
#include <locale.h>
#include <stdint.h>

#include "core/export.h"

namespace {

// Class bits as glibc's header defines them for a little-endian processor.
enum : uint16_t {
  kUpper = 0x0100,
  kLower = 0x0200,
  kAlpha = 0x0400,
  kDigit = 0x0800,
  kXdigit = 0x1000,
  kSpace = 0x2000,
  kPrint = 0x4000,
  kGraph = 0x8000,
  kBlank = 0x0001,
  kCntrl = 0x0002,
  kPunct = 0x0004,
  kAlnum = 0x0008,
};

constexpr int kOffset = 128;  // element 0 of a table is the class of -128
constexpr int kSize = 384;

constexpr uint16_t ClassOf(int c) {
  if (c < 0 || c > 127) return 0;
  uint16_t bits = 0;
  bool upper = c >= 'A' && c <= 'Z', lower = c >= 'a' && c <= 'z', digit = c >= '0' && c <= '9';
  if (upper) bits |= kUpper | kAlpha | kAlnum;
  if (lower) bits |= kLower | kAlpha | kAlnum;
  if (digit) bits |= kDigit | kXdigit | kAlnum;
  if ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')) bits |= kXdigit;
  if (c == ' ' || (c >= '\t' && c <= '\r')) bits |= kSpace;
  if (c == ' ' || c == '\t') bits |= kBlank;
  if (c < 0x20 || c == 0x7F) bits |= kCntrl;
  if (c >= 0x20 && c < 0x7F) bits |= kPrint;
  if (c > 0x20 && c < 0x7F) bits |= kGraph;
  if (c > 0x20 && c < 0x7F && !upper && !lower && !digit) bits |= kPunct;
  return bits;
}

template <typename T, typename Fn>
struct Table {
  T entries[kSize];
  constexpr explicit Table(Fn fn) : entries() {
    for (int i = 0; i < kSize; ++i) entries[i] = fn(i - kOffset);
  }
};

// The case tables map every other value, -128 and EOF included, to itself.
constexpr int32_t LowerOf(int c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; }
constexpr int32_t UpperOf(int c) { return c >= 'a' && c <= 'z' ? c - 32 : c; }

using ClassFn = uint16_t (*)(int);
using CaseFn = int32_t (*)(int);
constexpr Table<uint16_t, ClassFn> kClasses(ClassOf);
constexpr Table<int32_t, CaseFn> kToLower(LowerOf);
constexpr Table<int32_t, CaseFn> kToUpper(UpperOf);

const uint16_t* g_classes = kClasses.entries + kOffset;
const int32_t* g_lower = kToLower.entries + kOffset;
const int32_t* g_upper = kToUpper.entries + kOffset;

}  // namespace

// Byte classification under the _l names: bionic's _l functions ignore the locale, and its
// bytes classify as in the C locale. The table answers rather than the host's functions, which
// other hosts' headers expand inline into their own tables.
#define KELP_BYTE_CLASS(name, bits)                                 \
  KELP_ENTRY(int, __##name##_l, (int c, locale_t)) {                \
    return c >= -kOffset && c < kSize - kOffset && (g_classes[c] & (bits)) != 0; \
  }
KELP_BYTE_CLASS(isalnum, kAlnum)
KELP_BYTE_CLASS(isalpha, kAlpha)
KELP_BYTE_CLASS(isblank, kBlank)
KELP_BYTE_CLASS(iscntrl, kCntrl)
KELP_BYTE_CLASS(isdigit, kDigit)
KELP_BYTE_CLASS(isgraph, kGraph)
KELP_BYTE_CLASS(islower, kLower)
KELP_BYTE_CLASS(isprint, kPrint)
KELP_BYTE_CLASS(ispunct, kPunct)
KELP_BYTE_CLASS(isspace, kSpace)
KELP_BYTE_CLASS(isupper, kUpper)
#undef KELP_BYTE_CLASS

KELP_ENTRY(const uint16_t**, __ctype_b_loc, ()) { return &g_classes; }
KELP_ENTRY(const int32_t**, __ctype_tolower_loc, ()) { return &g_lower; }
KELP_ENTRY(const int32_t**, __ctype_toupper_loc, ()) { return &g_upper; }
