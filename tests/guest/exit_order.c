/* exit() from deep inside the program: atexit handlers run in reverse order of registration,
 * then the destructors (termination array, last first), and the status reaches the parent. */
#include <stdio.h>
#include <stdlib.h>

static void handler1(void) { puts("atexit handler 1"); }
static void handler2(void) { puts("atexit handler 2"); }
static void handler3(void) { puts("atexit handler 3"); }

__attribute__((destructor(200))) static void destructor_a(void) { puts("destructor 200"); }
__attribute__((destructor(300))) static void destructor_b(void) { puts("destructor 300"); }
__attribute__((constructor)) static void constructor(void) { puts("constructor"); }

static void leave(void) {
  puts("calling exit(42)");
  exit(42);
}
static void (*volatile deep)(void) = leave;
static void deeper(void) { deep(); }

int main(void) {
  if (atexit(handler1) || atexit(handler2) || atexit(handler3)) return 1;
  puts("main");
  /* Unflushed output must survive exit. */
  printf("buffered line without fflush\n");
  deeper();
  return 0;
}
