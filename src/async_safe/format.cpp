// The formatting engine. Async-signal-safe: stack only, raw system calls, errno untouched.
#include "async_safe/format.h"

#include <string.h>
#include <sys/syscall.h>

#include "async_safe/raw_syscall.h"
#include "host/bionic_assert.h"

namespace {

constexpr char kAssertFile[] = "bionic/libc/async_safe/async_safe_log";

struct Directive {
  bool zero_pad = false;
  bool left_align = false;
  bool sign = false;
  bool has_precision = false;
  int width = 0;
  int size = 4;  // bytes of the argument
};

// Appends the digits of `value` to `reversed`, least significant first; returns the new end.
// 32-bit ARM has no 64-bit divide: powers of two shift, and decimals are cut into 9-digit
// chunks so that only one 64-bit division is spent per chunk.
char* ReversedDigits(char* reversed, uint64_t value, unsigned base, const char* digits) {
  if (base != 10) {
    unsigned shift = base == 16 ? 4 : 3;
    do {
      *reversed++ = digits[value & (base - 1)];
      value >>= shift;
    } while (value != 0);
    return reversed;
  }
  while (value > 0xFFFFFFFFu) {
    uint32_t chunk = static_cast<uint32_t>(value % 1000000000u);
    value /= 1000000000u;
    for (int i = 0; i < 9; ++i, chunk /= 10) *reversed++ = digits[chunk % 10];
  }
  uint32_t low = static_cast<uint32_t>(value);
  do {
    *reversed++ = digits[low % 10];
    low /= 10;
  } while (low != 0);
  return reversed;
}

// Converts `value` in `base` into `out` (at least 24 bytes); returns the length.
int FormatNumber(char* out, uint64_t value, bool negative, unsigned base, bool upper) {
  char reversed[24];
  char* end = ReversedDigits(reversed, value, base, upper ? "0123456789ABCDEF" : "0123456789abcdef");
  int len = 0;
  if (negative) out[len++] = '-';
  while (end > reversed) out[len++] = *--end;
  out[len] = '\0';
  return len;
}

int64_t SignedArg(va_list& args, int size) {
  if (size == 8) return va_arg(args, long long);
  int value = va_arg(args, int);
  if (size == 1) return static_cast<int8_t>(value);
  if (size == 2) return static_cast<int16_t>(value);
  return value;
}

uint64_t UnsignedArg(va_list& args, int size) {
  if (size == 8) return va_arg(args, unsigned long long);
  unsigned value = va_arg(args, unsigned);
  if (size == 1) return static_cast<uint8_t>(value);
  if (size == 2) return static_cast<uint16_t>(value);
  return value;
}

template <typename Stream>
void SendFill(Stream& out, char fill, int count) {
  char pad[8];
  memset(pad, fill, sizeof(pad));
  while (count > 0) {
    int piece = count < 8 ? count : 8;
    out.Send(pad, piece);
    count -= piece;
  }
}

// Reads flags, width, precision and length; returns the conversion character (or NUL).
char ParseDirective(const char*& p, Directive& spec) {
  for (;; ++p) {
    if (*p == '0') spec.zero_pad = true;
    else if (*p == '-') spec.left_align = true;
    else if (*p == ' ' || *p == '+') spec.sign = true;
    else break;
  }
  while (*p >= '0' && *p <= '9') spec.width = spec.width * 10 + (*p++ - '0');
  if (*p == '.') {
    spec.has_precision = true;
    ++p;
    while (*p >= '0' && *p <= '9') ++p;
  }
  if (p[0] == 'h' && p[1] == 'h') spec.size = 1, p += 2;
  else if (p[0] == 'h') spec.size = 2, ++p;
  else if (p[0] == 'l' && p[1] == 'l') spec.size = 8, p += 2;
  else if (p[0] == 'l' || p[0] == 'z' || p[0] == 't') spec.size = 4, ++p;
  return *p;
}

}  // namespace

void BufferOutputStream::Send(const char* data, int len) {
  if (len < 0) len = static_cast<int>(strlen(data));
  total_ += len;
  if (avail_ <= 1) return;
  size_t n = static_cast<size_t>(len) < avail_ - 1 ? static_cast<size_t>(len) : avail_ - 1;
  memcpy(pos_, data, n);
  pos_ += n;
  *pos_ = '\0';
  avail_ -= n;
}

void FdOutputStream::Send(const char* data, int len) {
  if (len < 0) len = static_cast<int>(strlen(data));
  total_ += len;
  while (len > 0) {
    long written = RawRetry([&] {
      return RawSyscall(__NR_write, fd_, reinterpret_cast<long>(data), len);
    });
    if (written <= 0) return;  // nowhere to report it: give up silently
    data += written;
    len -= static_cast<int>(written);
  }
}

template <typename Stream>
void FormatToStream(Stream& out, const char* format, va_list args_in) {
  va_list args;
  va_copy(args, args_in);
  const char* p = format;
  for (;;) {
    const char* run = p;
    while (*p != '\0' && *p != '%') ++p;
    if (p > run) out.Send(run, static_cast<int>(p - run));
    if (*p == '\0') break;

    ++p;  // past '%'
    Directive spec;
    char conversion = ParseDirective(p, spec);
    if (conversion == '\0') {
      out.Send("%", 1);
      break;
    }
    ++p;

    char number[40];
    const char* text = number;
    int len;
    switch (conversion) {
      case 's':
        text = va_arg(args, const char*);
        if (text == nullptr) text = "(null)";
        len = static_cast<int>(strlen(text));
        break;
      case 'c':
        number[0] = static_cast<char>(va_arg(args, int));
        len = 1;
        break;
      case 'p':
        number[0] = '0';
        number[1] = 'x';
        len = 2 + FormatNumber(number + 2, reinterpret_cast<uintptr_t>(va_arg(args, void*)),
                               false, 16, false);
        break;
      case 'd':
      case 'i':
      case 'o': {
        // Octal is printed signed too, as the platform's formatter does.
        int64_t value = SignedArg(args, spec.size);
        uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : value;
        len = FormatNumber(number, magnitude, value < 0, conversion == 'o' ? 8 : 10, false);
        break;
      }
      case 'u':
      case 'x':
      case 'X':
        len = FormatNumber(number, UnsignedArg(args, spec.size), false,
                           conversion == 'u' ? 10 : 16, conversion == 'X');
        break;
      case '%':
        number[0] = '%';
        len = 1;
        break;
      default:
        BionicAssert(kAssertFile, 397, "conversion specifier unsupported");
    }
    if (spec.sign || spec.has_precision) {
      BionicAssert(kAssertFile, 406, "sign/precision unsupported");
    }

    int fill = spec.width - len;
    char fill_char = spec.zero_pad ? '0' : ' ';
    if (!spec.left_align) SendFill(out, fill_char, fill);
    out.Send(text, len);
    if (spec.left_align) SendFill(out, fill_char, fill);
  }
  va_end(args);
}

template void FormatToStream(BufferOutputStream&, const char*, va_list);
template void FormatToStream(FdOutputStream&, const char*, va_list);
