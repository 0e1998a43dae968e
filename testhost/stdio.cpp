// Test host: the stdio calls a guest makes on a stream, sent to the right stdio for its record.
//
// On Android every FILE is bionic's BSD record, and bionic's stdio drives the streams the adaptor
// builds (cookie streams) through their slots. Here glibc's FILE is another record, so these
// entries (ahead of glibc, like the rest of the stand-in) look at the record first: glibc's
// always begins with its magic 0xFBAD in the upper half of the first word; any other record is
// bionic's shape, whose first word is the buffer pointer `_p`, and goes to stdio_bsd.cpp. glibc's
// own function is reached by version.
#include <errno.h>
#include <limits.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>

#include "kelphost.h"
#include "stdio_bsd.h"

extern "C" {
size_t GlibcFread(void* buf, size_t size, size_t count, FILE* fp);
size_t GlibcFwrite(const void* buf, size_t size, size_t count, FILE* fp);
char* GlibcFgets(char* buf, int n, FILE* fp);
int GlibcFgetc(FILE* fp);
int GlibcFputc(int c, FILE* fp);
int GlibcFputs(const char* s, FILE* fp);
int GlibcVfprintf(FILE* fp, const char* format, va_list args);
int GlibcFseek(FILE* fp, long offset, int whence);
long GlibcFtell(FILE* fp);
int GlibcFseeko64(FILE* fp, int64_t offset, int whence);
int64_t GlibcFtello64(FILE* fp);
void GlibcRewind(FILE* fp);
int GlibcFflush(FILE* fp);
int GlibcFclose(FILE* fp);
int GlibcFeof(FILE* fp);
int GlibcFerror(FILE* fp);
void GlibcClearerr(FILE* fp);
int GlibcFileno(FILE* fp);
}
__asm__(".symver GlibcFread, fread@GLIBC_2.4");
__asm__(".symver GlibcFwrite, fwrite@GLIBC_2.4");
__asm__(".symver GlibcFgets, fgets@GLIBC_2.4");
__asm__(".symver GlibcFgetc, fgetc@GLIBC_2.4");
__asm__(".symver GlibcFputc, fputc@GLIBC_2.4");
__asm__(".symver GlibcFputs, fputs@GLIBC_2.4");
__asm__(".symver GlibcVfprintf, vfprintf@GLIBC_2.4");
__asm__(".symver GlibcFseek, fseek@GLIBC_2.4");
__asm__(".symver GlibcFtell, ftell@GLIBC_2.4");
__asm__(".symver GlibcFseeko64, fseeko64@GLIBC_2.4");
__asm__(".symver GlibcFtello64, ftello64@GLIBC_2.4");
__asm__(".symver GlibcRewind, rewind@GLIBC_2.4");
__asm__(".symver GlibcFflush, fflush@GLIBC_2.4");
__asm__(".symver GlibcFclose, fclose@GLIBC_2.4");
__asm__(".symver GlibcFeof, feof@GLIBC_2.4");
__asm__(".symver GlibcFerror, ferror@GLIBC_2.4");
__asm__(".symver GlibcClearerr, clearerr@GLIBC_2.4");
__asm__(".symver GlibcFileno, fileno@GLIBC_2.4");

namespace {

constexpr uint32_t kGlibcMagicMask = 0xFFFF0000;
constexpr uint32_t kGlibcMagic = 0xFBAD0000;

// The stream as bionic's record, or null for glibc's own (and for null itself).
HostFile* BsdRecord(FILE* fp) {
  if (fp == nullptr) return nullptr;
  uint32_t first = *reinterpret_cast<const uint32_t*>(fp);
  return (first & kGlibcMagicMask) == kGlibcMagic ? nullptr : reinterpret_cast<HostFile*>(fp);
}

}  // namespace

// glibc's headers declare these names with their own exception specifications.
#define STDIO_ENTRY(ret, name, params)                               \
  KELPHOST_EXPORT ret KelphostStdio_##name params __asm__(#name); \
  ret KelphostStdio_##name params

using namespace kelphost_stdio;

STDIO_ENTRY(size_t, fread, (void* buf, size_t size, size_t count, FILE* fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Read(f, buf, size, count) : GlibcFread(buf, size, count, fp);
}
STDIO_ENTRY(size_t, fwrite, (const void* buf, size_t size, size_t count, FILE* fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Write(f, buf, size, count) : GlibcFwrite(buf, size, count, fp);
}
STDIO_ENTRY(char*, fgets, (char* buf, int n, FILE* fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Gets(f, buf, n) : GlibcFgets(buf, n, fp);
}
STDIO_ENTRY(int, fgetc, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? GetChar(f) : GlibcFgetc(fp);
}
STDIO_ENTRY(int, getc, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? GetChar(f) : GlibcFgetc(fp);
}
STDIO_ENTRY(int, fputc, (int c, FILE* fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? PutChar(f, c) : GlibcFputc(c, fp);
}
STDIO_ENTRY(int, putc, (int c, FILE* fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? PutChar(f, c) : GlibcFputc(c, fp);
}
STDIO_ENTRY(int, fputs, (const char* s, FILE* fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Puts(f, s) : GlibcFputs(s, fp);
}
STDIO_ENTRY(int, vfprintf, (FILE * fp, const char* format, va_list args)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? VPrintf(f, format, args) : GlibcVfprintf(fp, format, args);
}
STDIO_ENTRY(int, fprintf, (FILE * fp, const char* format, ...)) {
  va_list args;
  va_start(args, format);
  HostFile* f = BsdRecord(fp);
  int result = f != nullptr ? VPrintf(f, format, args) : GlibcVfprintf(fp, format, args);
  va_end(args);
  return result;
}
STDIO_ENTRY(int, fseek, (FILE * fp, long offset, int whence)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Seek(f, offset, whence) : GlibcFseek(fp, offset, whence);
}
STDIO_ENTRY(long, ftell, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  if (f == nullptr) return GlibcFtell(fp);
  int64_t position = Tell(f);
  if (position > LONG_MAX) {
    errno = EOVERFLOW;
    return -1;
  }
  return static_cast<long>(position);
}
STDIO_ENTRY(int, fseeko64, (FILE * fp, int64_t offset, int whence)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Seek(f, offset, whence) : GlibcFseeko64(fp, offset, whence);
}
STDIO_ENTRY(int64_t, ftello64, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Tell(f) : GlibcFtello64(fp);
}
STDIO_ENTRY(void, rewind, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  if (f == nullptr) return GlibcRewind(fp);
  Seek(f, 0, SEEK_SET);
  ClearErrors(f);
}
STDIO_ENTRY(int, fflush, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Flush(f) : GlibcFflush(fp);
}
STDIO_ENTRY(int, fclose, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Close(f) : GlibcFclose(fp);
}
STDIO_ENTRY(int, feof, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Eof(f) : GlibcFeof(fp);
}
STDIO_ENTRY(int, ferror, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Error(f) : GlibcFerror(fp);
}
STDIO_ENTRY(void, clearerr, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  if (f == nullptr) return GlibcClearerr(fp);
  ClearErrors(f);
}
STDIO_ENTRY(int, fileno, (FILE * fp)) {
  HostFile* f = BsdRecord(fp);
  return f != nullptr ? Descriptor(f) : GlibcFileno(fp);
}
