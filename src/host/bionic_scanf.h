// bionic's v*scanf family. glibc's headers send these names to its __isoc99_ symbols, which the
// adaptor exports itself, so on another host they are bound to the plain symbols by asm label.
#pragma once

#include <stdarg.h>
#include <stdio.h>
#include <wchar.h>

#if defined(__BIONIC__)
inline int HostVscanf(const char* format, va_list args) { return vscanf(format, args); }
inline int HostVfscanf(FILE* stream, const char* format, va_list args) {
  return vfscanf(stream, format, args);
}
inline int HostVsscanf(const char* s, const char* format, va_list args) {
  return vsscanf(s, format, args);
}
inline int HostVwscanf(const wchar_t* format, va_list args) { return vwscanf(format, args); }
inline int HostVfwscanf(FILE* stream, const wchar_t* format, va_list args) {
  return vfwscanf(stream, format, args);
}
inline int HostVswscanf(const wchar_t* s, const wchar_t* format, va_list args) {
  return vswscanf(s, format, args);
}
#else
extern "C" {
int HostVscanf(const char* format, va_list args) __asm__("vscanf");
int HostVfscanf(FILE* stream, const char* format, va_list args) __asm__("vfscanf");
int HostVsscanf(const char* s, const char* format, va_list args) __asm__("vsscanf");
int HostVwscanf(const wchar_t* format, va_list args) __asm__("vwscanf");
int HostVfwscanf(FILE* stream, const wchar_t* format, va_list args) __asm__("vfwscanf");
int HostVswscanf(const wchar_t* s, const wchar_t* format, va_list args) __asm__("vswscanf");
}
#endif
