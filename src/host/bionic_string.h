// bionic's string functions that other C libraries name differently.
#pragma once

extern "C" {
// The basename that never modifies its argument: the part after the last '/'.
char* __gnu_basename(const char* path);
}
