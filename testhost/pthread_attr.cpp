// Test host: bionic's thread attributes. bionic's PTHREAD_STACK_MIN on 32-bit ARM is 8192
// (glibc's is 16384), and it stores a scheduling priority without checking it against the
// policy (glibc rejects priority 0 for SCHED_RR). glibc's attribute record keeps the stack
// size, the stack's top and the priority in words that a probe finds once; the stand-in
// writes them where glibc's own setter would refuse.
#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <stdint.h>
#include <string.h>

#include "kelphost.h"

extern "C" {
int GlibcSetStackSize(pthread_attr_t* attr, size_t size);
int GlibcSetStack(pthread_attr_t* attr, void* stack, size_t size);
int GlibcSetSchedParam(pthread_attr_t* attr, const struct sched_param* param);
}
__asm__(".symver GlibcSetStackSize, pthread_attr_setstacksize@GLIBC_2.34");
__asm__(".symver GlibcSetStack, pthread_attr_setstack@GLIBC_2.34");
__asm__(".symver GlibcSetSchedParam, pthread_attr_setschedparam@GLIBC_2.4");

namespace {

constexpr size_t kStackMin = 8192;
constexpr size_t kPageSize = 4096;
constexpr int kWords = sizeof(pthread_attr_t) / sizeof(uint32_t);

uint32_t* Words(pthread_attr_t* attr) { return reinterpret_cast<uint32_t*>(attr); }

// The index of the one word of a fresh record that `set` turns into `value`; -1 if none.
template <typename Set>
int FindWord(uint32_t value, Set set) {
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  set(&attr);
  int found = -1;
  for (int i = 0; i < kWords; ++i) {
    if (Words(&attr)[i] == value) found = found == -1 ? i : -2;
  }
  pthread_attr_destroy(&attr);
  return found >= 0 ? found : -1;
}

struct Layout {
  int stack_size = -1, stack_top = -1, priority = -1;
  Layout() {
    stack_size = FindWord(0x123000, [](pthread_attr_t* a) { GlibcSetStackSize(a, 0x123000); });
    stack_top = FindWord(0x10000000 + 0x40000, [](pthread_attr_t* a) {
      GlibcSetStack(a, reinterpret_cast<void*>(0x10000000), 0x40000);
    });
    sched_param param = {};
    param.sched_priority = 37;
    priority = FindWord(37, [&](pthread_attr_t* a) {
      pthread_attr_setschedpolicy(a, SCHED_RR);
      GlibcSetSchedParam(a, &param);
    });
  }
};

const Layout& GlibcLayout() {
  static const Layout layout;
  return layout;
}

}  // namespace

KELPHOST_EXPORT int BionicSetStackSize(pthread_attr_t* attr, size_t size)
    __asm__("pthread_attr_setstacksize");
int BionicSetStackSize(pthread_attr_t* attr, size_t size) {
  if (size < kStackMin) return EINVAL;
  int result = GlibcSetStackSize(attr, size);
  if (result != EINVAL || GlibcLayout().stack_size < 0) return result;
  Words(attr)[GlibcLayout().stack_size] = static_cast<uint32_t>(size);
  return 0;
}

KELPHOST_EXPORT int BionicSetStack(pthread_attr_t* attr, void* stack, size_t size)
    __asm__("pthread_attr_setstack");
int BionicSetStack(pthread_attr_t* attr, void* stack, size_t size) {
  if ((size & (kPageSize - 1)) != 0 || (reinterpret_cast<uintptr_t>(stack) & (kPageSize - 1)) != 0 ||
      size < kStackMin) {
    return EINVAL;
  }
  int result = GlibcSetStack(attr, stack, size);
  const Layout& layout = GlibcLayout();
  if (result != EINVAL || layout.stack_size < 0 || layout.stack_top < 0) return result;
  // glibc takes a stack of its own minimum, then learns the real size and top.
  result = GlibcSetStack(attr, stack, 16384);
  if (result != 0) return result;
  Words(attr)[layout.stack_size] = static_cast<uint32_t>(size);
  Words(attr)[layout.stack_top] = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(stack) + size);
  return 0;
}

KELPHOST_EXPORT int BionicSetSchedParam(pthread_attr_t* attr, const struct sched_param* param)
    __asm__("pthread_attr_setschedparam");
int BionicSetSchedParam(pthread_attr_t* attr, const struct sched_param* param) {
  if (GlibcLayout().priority < 0) return GlibcSetSchedParam(attr, param);
  Words(attr)[GlibcLayout().priority] = static_cast<uint32_t>(param->sched_priority);
  return 0;
}

// glibc keeps its thread record and static TLS at the top of the stack it allocates and
// cannot run a thread in less than its own minimum: a smaller size is raised to that minimum
// on a copy of the record. A stack the caller supplies is used as it is.
extern "C" int GlibcPthreadCreate(pthread_t* thread, const pthread_attr_t* attr,
                                  void* (*start)(void*), void* arg);
__asm__(".symver GlibcPthreadCreate, pthread_create@GLIBC_2.34");

KELPHOST_EXPORT int BionicPthreadCreate(pthread_t* thread, const pthread_attr_t* attr,
                                        void* (*start)(void*), void* arg)
    __asm__("pthread_create");
int BionicPthreadCreate(pthread_t* thread, const pthread_attr_t* attr, void* (*start)(void*),
                        void* arg) {
  constexpr size_t kGlibcStackMin = 16384;
  const Layout& layout = GlibcLayout();
  if (attr == nullptr || layout.stack_size < 0 || layout.stack_top < 0) {
    return GlibcPthreadCreate(thread, attr, start, arg);
  }
  const uint32_t* words = reinterpret_cast<const uint32_t*>(attr);
  uint32_t size = words[layout.stack_size];  // 0: glibc's default size
  if (size == 0 || size >= kGlibcStackMin || words[layout.stack_top] != 0) {
    return GlibcPthreadCreate(thread, attr, start, arg);
  }
  pthread_attr_t raised = *attr;  // glibc only reads the record and what it points to
  Words(&raised)[layout.stack_size] = kGlibcStackMin;
  return GlibcPthreadCreate(thread, &raised, start, arg);
}
