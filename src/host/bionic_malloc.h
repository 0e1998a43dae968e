// bionic's allocation statistics record. bionic declares mallinfo in <malloc.h> with ten size_t
// fields; on the test host libkelphost.so provides it in that shape.
#pragma once

#include <stddef.h>

#if defined(__BIONIC__)
#include <malloc.h>
#else
extern "C" {
struct mallinfo {
  size_t arena;
  size_t ordblks;
  size_t smblks;
  size_t hblks;
  size_t hblkhd;
  size_t usmblks;
  size_t fsmblks;
  size_t uordblks;
  size_t fordblks;
  size_t keepcost;
};
struct mallinfo mallinfo(void);
}
#endif

static_assert(sizeof(struct mallinfo) == 40);
