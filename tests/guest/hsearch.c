/* Hash search tables through musl's headers: the process-wide table and two reentrant ones. */
#define _GNU_SOURCE
#include <search.h>
#include <stdio.h>
#include <string.h>

static char keys[200][16];

int main(void) {
  if (!hcreate(5)) return 1;
  for (int i = 0; i < 200; ++i) {
    snprintf(keys[i], sizeof(keys[i]), "word%d", i * 13);
    ENTRY* e = hsearch((ENTRY){keys[i], (void*)(long)i}, ENTER);
    if (e == NULL || e->data != (void*)(long)i) printf("enter %s failed\n", keys[i]);
  }
  ENTRY* dup = hsearch((ENTRY){keys[5], (void*)999}, ENTER);
  printf("duplicate keeps %ld\n", (long)dup->data);
  int found = 0;
  for (int i = 0; i < 200; ++i) {
    ENTRY* e = hsearch((ENTRY){keys[i], NULL}, FIND);
    found += e != NULL && e->data == (void*)(long)i;
  }
  printf("found %d of 200\n", found);
  printf("absent: %s\n", hsearch((ENTRY){"nothing", NULL}, FIND) == NULL ? "null" : "found");
  printf("empty key: %s\n", hsearch((ENTRY){"", (void*)1}, ENTER) != NULL ? "entered" : "no");
  hdestroy();

  struct hsearch_data a, b;
  memset(&a, 0, sizeof(a));
  memset(&b, 0, sizeof(b));
  ENTRY* r;
  printf("hcreate_r: %d %d\n", hcreate_r(0, &a), hcreate_r(100, &b));
  hsearch_r((ENTRY){"k", (void*)1}, ENTER, &r, &a);
  hsearch_r((ENTRY){"k", (void*)2}, ENTER, &r, &b);
  hsearch_r((ENTRY){"k", NULL}, FIND, &r, &a);
  printf("a: %ld", (long)r->data);
  hsearch_r((ENTRY){"k", NULL}, FIND, &r, &b);
  printf(", b: %ld\n", (long)r->data);
  int rc = hsearch_r((ENTRY){"z", NULL}, FIND, &r, &a);
  printf("absent in a: %d %s\n", rc, r == NULL ? "null" : "set");
  hdestroy_r(&a);
  hdestroy_r(&b);
  return 0;
}
