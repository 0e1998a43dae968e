/* glob and globfree through musl's header: every musl flag, no match, an error callback, offset
 * slots, and results accumulated over two calls. The program builds its tree in its working
 * directory; results are printed sorted where the order is left to the implementation. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <glob.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static const char* const kFiles[] = {"a.txt", "b.txt", "c.log", ".hidden", "dir/d.txt",
                                     "home/xfile"};
#define FILES (int)(sizeof(kFiles) / sizeof(kFiles[0]))

static void build(void) {
  mkdir("dir", 0755);
  mkdir("home", 0755);
  mkdir("bad", 0755);
  for (int i = 0; i < FILES; ++i) close(open(kFiles[i], O_WRONLY | O_CREAT, 0644));
  if (symlink("loop", "bad/loop") != 0) perror("symlink");
  setenv("HOME", "home", 1);
}

static const char* result_name(int r) {
  switch (r) {
    case 0: return "0";
    case GLOB_NOSPACE: return "NOSPACE";
    case GLOB_ABORTED: return "ABORTED";
    case GLOB_NOMATCH: return "NOMATCH";
    case GLOB_NOSYS: return "NOSYS";
    default: return "other";
  }
}

static int errfunc_result;
static int errfunc_calls;
/* The directory's name is printed without a trailing slash, which C libraries add or not. */
static int on_error(const char* path, int error) {
  ++errfunc_calls;
  size_t length = strlen(path);
  if (length > 1 && path[length - 1] == '/') --length;
  printf("  errfunc %.*s %s\n", (int)length, path, error == ELOOP ? "ELOOP" : strerror(error));
  return errfunc_result;
}

static int by_name(const void* a, const void* b) {
  return strcmp(*(char* const*)a, *(char* const*)b);
}

static void print(const glob_t* g, int sort) {
  printf("  pathc %zu offs %zu\n", g->gl_pathc, g->gl_offs);
  if (g->gl_pathv == NULL) return;
  for (size_t i = 0; i < g->gl_offs; ++i) {
    printf("  [%zu] %s\n", i, g->gl_pathv[i] == NULL ? "(null)" : "set");
  }
  if (sort) qsort(g->gl_pathv + g->gl_offs, g->gl_pathc, sizeof(char*), by_name);
  for (size_t i = 0; i < g->gl_pathc; ++i) printf("  %s\n", g->gl_pathv[g->gl_offs + i]);
  printf("  end %s\n", g->gl_pathv[g->gl_offs + g->gl_pathc] == NULL ? "null" : "set");
}

struct Case {
  const char* title;
  const char* pattern;
  int flags;
  int use_errfunc;
  int errfunc_result;
};

static const struct Case kCases[] = {
    {"plain", "*.txt", 0, 0, 0},
    {"no match", "*.none", 0, 0, 0},
    {"NOCHECK", "*.none", GLOB_NOCHECK, 0, 0},
    {"MARK", "d*", GLOB_MARK, 0, 0},
    {"NOSORT", "*.*", GLOB_NOSORT, 0, 0},
    {"escaped", "\\a.txt", 0, 0, 0},
    {"NOESCAPE", "\\a.txt", GLOB_NOESCAPE, 0, 0},
    {"hidden", ".h*", 0, 0, 0},
    {"PERIOD", "*hidden", GLOB_PERIOD, 0, 0},
    {"TILDE", "~/x*", GLOB_TILDE, 0, 0},
    {"TILDE unknown user", "~no_such_user_kelp/*", GLOB_TILDE | GLOB_NOCHECK, 0, 0},
    {"TILDE_CHECK", "~/x*", GLOB_TILDE_CHECK, 0, 0},
    {"TILDE_CHECK unknown user", "~no_such_user_kelp/*", GLOB_TILDE_CHECK | GLOB_NOCHECK, 0, 0},
    {"errfunc goes on", "bad/loop/*", 0, 1, 0},
    {"errfunc stops", "bad/loop/*", 0, 1, 1},
    {"ERR", "bad/loop/*", GLOB_ERR, 0, 0},
    {"ERR with errfunc", "bad/loop/*", GLOB_ERR, 1, 0},
    {"subdirectory", "*/*.txt", 0, 0, 0},
};
#define CASES (int)(sizeof(kCases) / sizeof(kCases[0]))

static void run_case(const struct Case* c) {
  glob_t g;
  memset(&g, 0x5a, sizeof g);
  errfunc_result = c->errfunc_result;
  errfunc_calls = 0;
  int r = glob(c->pattern, c->flags, c->use_errfunc ? on_error : NULL, &g);
  printf("%s: %s -> %s\n", c->title, c->pattern, result_name(r));
  if (r == 0 || r == GLOB_NOMATCH) print(&g, 1);
  if (r == 0) globfree(&g);
}

/* GLOB_DOOFFS alone and with GLOB_APPEND over two calls, then globfree. */
static void offsets_and_append(void) {
  glob_t g;
  memset(&g, 0, sizeof g);
  g.gl_offs = 2;
  int r = glob("*.txt", GLOB_DOOFFS, NULL, &g);
  printf("DOOFFS: *.txt -> %s\n", result_name(r));
  print(&g, 0);
  r = glob("*.log", GLOB_DOOFFS | GLOB_APPEND, NULL, &g);
  printf("DOOFFS|APPEND: *.log -> %s\n", result_name(r));
  print(&g, 0);
  r = glob("*.none", GLOB_DOOFFS | GLOB_APPEND, NULL, &g);
  printf("DOOFFS|APPEND: *.none -> %s\n", result_name(r));
  print(&g, 0);
  globfree(&g);
  printf("after globfree: pathc %zu pathv %s\n", g.gl_pathc, g.gl_pathv == NULL ? "null" : "set");

  memset(&g, 0x5a, sizeof g);
  r = glob("c.*", 0, NULL, &g);
  r |= glob("a.*", GLOB_APPEND, NULL, &g);
  printf("APPEND: c.* then a.* -> %s\n", result_name(r));
  print(&g, 0);
  globfree(&g);
}

int main(void) {
  build();
  for (int i = 0; i < CASES; ++i) run_case(&kCases[i]);
  offsets_and_append();
  return 0;
}
