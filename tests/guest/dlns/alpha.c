/* A guest library opened from a namespace: calls back into the C library. */
#include <stdio.h>
#include <string.h>

static char text[32];

int alpha_twice(int value) { return 2 * value; }

const char* alpha_describe(int value) {
  snprintf(text, sizeof(text), "alpha %d, %zu chars", value, strlen("alpha"));
  return text;
}
