// The formatting engine behind every async-safe log function: a small printf with no heap, no
// locks and no locale, writing through one of two output streams.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

// Formats into a caller's buffer; `total` counts the full text, whether or not it fitted.
class BufferOutputStream {
 public:
  BufferOutputStream(char* buffer, size_t size) : pos_(buffer), avail_(size) {
    if (size != 0) buffer[0] = '\0';
  }
  void Send(const char* data, int len);
  int total() const { return total_; }
  void set_total(int total) { total_ = total; }

 private:
  int total_ = 0;
  char* pos_;
  size_t avail_;  // room left, the terminating NUL's place included
};

// Writes straight to a file descriptor; `total` counts the characters offered.
class FdOutputStream {
 public:
  explicit FdOutputStream(int fd) : fd_(fd) {}
  void Send(const char* data, int len);
  int total() const { return total_; }

 private:
  int total_ = 0;
  int fd_;
};

template <typename Stream>
void FormatToStream(Stream& out, const char* format, va_list args);

extern template void FormatToStream(BufferOutputStream&, const char*, va_list);
extern template void FormatToStream(FdOutputStream&, const char*, va_list);
