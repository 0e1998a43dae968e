// Test host: stdio operations on bionic's stream record (HostFile), as bionic performs them, on
// the adaptor's own stdio core. stdio.cpp sends every call on such a record here.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#include "../src/provided/stdio_core.h"

namespace kelphost_stdio {

size_t Read(HostFile* fp, void* buf, size_t size, size_t count);
size_t Write(HostFile* fp, const void* buf, size_t size, size_t count);
char* Gets(HostFile* fp, char* buf, int n);
int GetChar(HostFile* fp);
int PutChar(HostFile* fp, int c);
int Puts(HostFile* fp, const char* s);
int VPrintf(HostFile* fp, const char* format, va_list args);
// whence SEEK_SET, SEEK_CUR or SEEK_END; the offset reaches the 32-bit slot truncated.
int Seek(HostFile* fp, int64_t offset, int whence);
int64_t Tell(HostFile* fp);
int Flush(HostFile* fp);
int Close(HostFile* fp);
bool Eof(HostFile* fp);
bool Error(HostFile* fp);
void ClearErrors(HostFile* fp);
int Descriptor(HostFile* fp);

}  // namespace kelphost_stdio
