// bionic's __assert(file, line, message): reports and aborts. glibc has a function of the same
// name with another signature, hence the asm label.
#pragma once

extern "C" [[noreturn]] void BionicAssert(const char* file, int line, const char* msg)
    __asm__("__assert");
