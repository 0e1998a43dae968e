// Reading and writing passwd, group and shadow files in the guest's line formats and records.
// The non-reentrant readers keep their line buffers and member array between calls, as the
// guest libc does.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>

#include "core/export.h"
#include "guest/userdb.h"
#include "host/bionic_errno.h"

namespace {

// Reads the next line into `*line`, its newline replaced. At the end or on a read error the
// buffer is released; returns 0 or the error.
int ReadLine(FILE* f, char** line, size_t* size, bool* got) {
  ssize_t len = getline(line, size, f);
  if (len <= 0) {
    int error = ferror(f) ? errno : 0;
    free(*line);
    *line = nullptr;
    *size = 0;
    *got = false;
    return error;
  }
  (*line)[len - 1] = '\0';
  *got = true;
  return 0;
}

// The value of the leading decimal digits (0 when there are none); `*s` is left behind them.
unsigned long Digits(char** s) {
  unsigned long x = 0;
  for (; static_cast<unsigned>(**s - '0') < 10u; ++*s) x = 10 * x + static_cast<unsigned>(**s - '0');
  return x;
}

// Cuts the field that starts at `s` at the next ':'; returns the next field or null.
char* NextField(char* s) {
  s = strchr(s, ':');
  if (s == nullptr) return nullptr;
  *s = '\0';
  return s + 1;
}

// A number field directly followed by ':'; returns the next field or null.
char* NumberField(char* s, uint32_t* value) {
  *value = static_cast<uint32_t>(Digits(&s));
  if (*s != ':') return nullptr;
  *s = '\0';
  return s + 1;
}

bool ParsePasswd(char* line, GuestPasswd* pw) {
  char* s;
  pw->pw_name = line;
  if ((s = NextField(line + 1)) == nullptr) return false;
  pw->pw_passwd = s;
  if ((s = NextField(s)) == nullptr) return false;
  if ((s = NumberField(s, &pw->pw_uid)) == nullptr) return false;
  if ((s = NumberField(s, &pw->pw_gid)) == nullptr) return false;
  pw->pw_gecos = s;
  if ((s = NextField(s)) == nullptr) return false;
  pw->pw_dir = s;
  if ((s = NextField(s)) == nullptr) return false;
  pw->pw_shell = s;
  return true;
}

bool ParseGroupHead(char* line, GuestGroup* gr, char** members) {
  char* s;
  gr->gr_name = line;
  if ((s = NextField(line + 1)) == nullptr) return false;
  gr->gr_passwd = s;
  if ((s = NextField(s)) == nullptr) return false;
  if ((s = NumberField(s, &gr->gr_gid)) == nullptr) return false;
  *members = s;
  return true;
}

// Splits the comma-separated members into a fresh null-terminated array.
bool SplitMembers(char* s, char*** mem) {
  size_t count = *s != '\0' ? 1 : 0;
  for (const char* p = s; *p != '\0'; ++p) count += *p == ',';
  free(*mem);
  *mem = static_cast<char**>(calloc(count + 1, sizeof(char*)));
  if (*mem == nullptr) return false;
  for (size_t i = 0; i < count; ++i) {
    (*mem)[i] = s;
    s = strchrnul(s, ',');
    if (*s == ',') *s++ = '\0';
  }
  return true;
}

// A shadow number: -1 when the field is empty, else its leading digits.
long ShadowNumber(char** s) {
  if (**s == ':' || **s == '\n') return -1;
  return static_cast<long>(Digits(s));
}

char* g_pw_line;
size_t g_pw_size;
GuestPasswd g_pw;
char* g_gr_line;
size_t g_gr_size;
char** g_gr_mem;
GuestGroup g_gr;
char* g_sp_line;
size_t g_sp_size;
GuestSpwd g_sp;

}  // namespace

extern "C" int __parsespent(char* s, GuestSpwd* sp) {
  int32_t* numbers[] = {&sp->sp_lstchg, &sp->sp_min, &sp->sp_max, &sp->sp_warn,
                        &sp->sp_inact,  &sp->sp_expire};
  sp->sp_namp = s;
  if ((s = strchr(s, ':')) == nullptr) return -1;
  *s = '\0';
  sp->sp_pwdp = ++s;
  if ((s = strchr(s, ':')) == nullptr) return -1;
  *s = '\0';
  for (int32_t* number : numbers) {
    ++s;
    *number = static_cast<int32_t>(ShadowNumber(&s));
    if (*s != ':') return -1;
  }
  ++s;
  sp->sp_flag = static_cast<uint32_t>(ShadowNumber(&s));
  return *s == '\n' ? 0 : -1;
}

KELP_ENTRY(GuestPasswd*, fgetpwent, (FILE * f)) {
  bool got;
  while (ReadLine(f, &g_pw_line, &g_pw_size, &got) == 0 && got) {
    if (ParsePasswd(g_pw_line, &g_pw)) return &g_pw;
  }
  return nullptr;
}

KELP_ENTRY(GuestGroup*, fgetgrent, (FILE * f)) {
  bool got;
  char* members;
  while (ReadLine(f, &g_gr_line, &g_gr_size, &got) == 0 && got) {
    if (!ParseGroupHead(g_gr_line, &g_gr, &members)) continue;
    if (!SplitMembers(members, &g_gr_mem)) return nullptr;
    g_gr.gr_mem = g_gr_mem;
    return &g_gr;
  }
  return nullptr;
}

KELP_ENTRY(GuestSpwd*, fgetspent, (FILE * f)) {
  if (getline(&g_sp_line, &g_sp_size, f) < 0) return nullptr;
  return __parsespent(g_sp_line, &g_sp) == 0 ? &g_sp : nullptr;
}

KELP_ENTRY(int, putpwent, (const GuestPasswd* pw, FILE* f)) {
  return fprintf(f, "%s:%s:%u:%u:%s:%s:%s\n", pw->pw_name, pw->pw_passwd, pw->pw_uid, pw->pw_gid,
                 pw->pw_gecos, pw->pw_dir, pw->pw_shell) < 0
             ? -1
             : 0;
}

KELP_ENTRY(int, putgrent, (const GuestGroup* gr, FILE* f)) {
  if (fprintf(f, "%s:%s:%u:", gr->gr_name, gr->gr_passwd, gr->gr_gid) < 0) return -1;
  if (gr->gr_mem != nullptr) {
    for (size_t i = 0; gr->gr_mem[i] != nullptr; ++i) {
      if (fprintf(f, "%s%s", i == 0 ? "" : ",", gr->gr_mem[i]) < 0) return -1;
    }
  }
  return fputc('\n', f) < 0 ? -1 : 0;
}

// An empty field for -1: printed with precision 0, a zero prints nothing.
#define KELP_SP_NUM(n) ((n) == -1 ? 0 : -1), static_cast<long>((n) == -1 ? 0 : (n))
#define KELP_SP_STR(s) ((s) != nullptr ? (s) : "")

KELP_ENTRY(int, putspent, (const GuestSpwd* sp, FILE* f)) {
  return fprintf(f, "%s:%s:%.*ld:%.*ld:%.*ld:%.*ld:%.*ld:%.*ld:%.*lu\n", KELP_SP_STR(sp->sp_namp),
                 KELP_SP_STR(sp->sp_pwdp), KELP_SP_NUM(sp->sp_lstchg), KELP_SP_NUM(sp->sp_min),
                 KELP_SP_NUM(sp->sp_max), KELP_SP_NUM(sp->sp_warn), KELP_SP_NUM(sp->sp_inact),
                 KELP_SP_NUM(sp->sp_expire), sp->sp_flag == 0xFFFFFFFFu ? 0 : -1,
                 static_cast<unsigned long>(sp->sp_flag == 0xFFFFFFFFu ? 0 : sp->sp_flag)) < 0
             ? -1
             : 0;
}
