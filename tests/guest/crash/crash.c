// A guest program that crashes on purpose, for the crash-handling tests (run by
// tests/unit/dfx/crash_guest_test.cpp, not compared with musl: musl has no crash handler).
//   crash null     names its main thread "dfx-main", then loads through a null pointer
//   crash thread   the same in a second thread while the main thread waits for it
// It defines the guest platform's trace id, which the crash record must carry.
#include <pthread.h>
#include <stdint.h>
#include <string.h>
#include <sys/prctl.h>

struct MoxTraceId {
  uint64_t words[2];
};

struct MoxTraceId MoxTraceGetId(void) {
  struct MoxTraceId id = {{0x0123456789abcdefULL, 0xfedcba9876543210ULL}};
  return id;
}

struct Node {
  int a, b, c, value;  // value lies 12 bytes in
};

static int LoadThroughNull(void) {
  struct Node* volatile node = 0;
  return node->value;
}

static void* CrashThread(void* arg) {
  (void)arg;
  return (void*)(intptr_t)LoadThroughNull();
}

int main(int argc, char** argv) {
  prctl(PR_SET_NAME, "dfx-main", 0, 0, 0);
  if (argc > 1 && strcmp(argv[1], "thread") == 0) {
    pthread_t thread;
    pthread_create(&thread, 0, CrashThread, 0);
    pthread_join(thread, 0);
    return 3;
  }
  return LoadThroughNull();
}
