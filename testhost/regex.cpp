// Test host: regcomp, regexec, regerror and regfree in bionic's numbering. bionic swaps glibc's
// REG_NEWLINE and REG_NOSUB bits and numbers the error codes after REG_BADRPT otherwise; its
// messages are its own. Each call translates and calls glibc's function, bound by version.
#include <regex.h>
#include <stdlib.h>
#include <string.h>

#include "kelphost.h"

extern "C" {
int GlibcRegcomp(regex_t* re, const char* pattern, int flags);
int GlibcRegexec(const regex_t* re, const char* s, size_t n, regmatch_t* m, int flags);
void GlibcRegfree(regex_t* re);
}
__asm__(".symver GlibcRegcomp, regcomp@GLIBC_2.4");
__asm__(".symver GlibcRegexec, regexec@GLIBC_2.4");
__asm__(".symver GlibcRegfree, regfree@GLIBC_2.4");

namespace {

// bionic's values.
enum {
  kExtended = 0x1,
  kIcase = 0x2,
  kNosub = 0x4,
  kNewline = 0x8,
  kNotbol = 0x1,
  kNoteol = 0x2,
  kStartend = 0x4,
  kBadpat = 2,
  kEparen = 8,
  kEspace = 12,
  kInvarg = 16,
};

// glibc's result codes 0..16 in bionic's numbering. bionic has no "premature end", "too large"
// or "unmatched )" codes: the nearest of its own stand in.
const int kErrors[] = {0,           REG_NOMATCH, REG_BADPAT, REG_ECOLLATE, REG_ECTYPE, REG_EESCAPE,
                       REG_ESUBREG, REG_EBRACK,  REG_EPAREN, REG_EBRACE,   REG_BADBR,  REG_ERANGE,
                       REG_ESPACE,  REG_BADRPT,  kBadpat,    kEspace,      kEparen};
static_assert(REG_BADRPT == 13 && REG_EEND == 14 && REG_ESIZE == 15 && REG_ERPAREN == 16);

int BionicError(int glibc) {
  return glibc >= 0 && glibc < static_cast<int>(sizeof(kErrors) / sizeof(kErrors[0]))
             ? kErrors[glibc]
             : kBadpat;
}

// bionic's regerror texts, indexed by its codes 1..16; 0 and unknown codes get the last one.
const char* const kMessages[] = {
    "*** unknown regexp error code ***",
    "regexec() failed to match",
    "invalid regular expression",
    "invalid collating element",
    "invalid character class",
    "trailing backslash (\\)",
    "invalid backreference number",
    "brackets ([ ]) not balanced",
    "parentheses not balanced",
    "braces not balanced",
    "invalid repetition count(s)",
    "invalid character range",
    "out of memory",
    "repetition-operator operand invalid",
    "empty (sub)expression",
    "\"can't happen\" -- you found a bug",
    "invalid argument to regex routine",
};

// The end of the bracket expression that starts at p ('['), or null when it is not closed.
const char* BracketEnd(const char* p) {
  ++p;
  if (*p == '^') ++p;
  if (*p == ']') ++p;
  for (; *p != '\0' && *p != ']'; ++p) {
    if (p[0] == '[' && (p[1] == ':' || p[1] == '.' || p[1] == '=')) {
      const char close[] = {p[1], ']', '\0'};
      const char* end = strstr(p + 2, close);
      if (end == nullptr) return nullptr;
      p = end + 1;
    }
  }
  return *p == ']' ? p : nullptr;
}

// bionic's extended expressions have no back-references: "\1" is a literal "1" there (as in
// musl), a back-reference in glibc. The copy drops the backslash of "\<digit>" outside brackets.
char* WithoutBackReferences(const char* pattern) {
  char* copy = static_cast<char*>(malloc(strlen(pattern) + 1));
  if (copy == nullptr) return nullptr;
  char* out = copy;
  for (const char* p = pattern; *p != '\0';) {
    if (*p == '[') {
      const char* end = BracketEnd(p);
      if (end != nullptr) {
        memcpy(out, p, end + 1 - p);
        out += end + 1 - p;
        p = end + 1;
        continue;
      }
    }
    if (p[0] == '\\' && p[1] >= '0' && p[1] <= '9') ++p;
    if (p[0] == '\\' && p[1] != '\0') *out++ = *p++;
    *out++ = *p++;
  }
  *out = '\0';
  return copy;
}

// The flags of the latest regcomp, as received.
int g_last_flags = -1;

}  // namespace

// Test-host inspection: what the adaptor asked regcomp for, in bionic's numbering.
KELPHOST_EXPORT int kelphost_regcomp_flags() {
  return __atomic_load_n(&g_last_flags, __ATOMIC_RELAXED);
}

// A null object is answered with REG_INVARG rather than a fault, so that tests can watch the
// adaptor hand it on. bionic's REG_NOSPEC, REG_PEND and REG_DUMP bits are not imitated.
KELPHOST_EXPORT int regcomp(regex_t* re, const char* pattern, int flags) {
  __atomic_store_n(&g_last_flags, flags, __ATOMIC_RELAXED);
  if (re == nullptr || pattern == nullptr) return kInvarg;
  int glibc = (flags & kExtended ? REG_EXTENDED : 0) | (flags & kIcase ? REG_ICASE : 0) |
              (flags & kNosub ? REG_NOSUB : 0) | (flags & kNewline ? REG_NEWLINE : 0);
  if ((flags & kExtended) == 0) return BionicError(GlibcRegcomp(re, pattern, glibc));
  char* extended = WithoutBackReferences(pattern);
  if (extended == nullptr) return kEspace;
  int result = BionicError(GlibcRegcomp(re, extended, glibc));
  free(extended);
  return result;
}

// bionic's debugging bits (REG_TRACE, REG_LARGE, REG_BACKR) are ignored.
KELPHOST_EXPORT int regexec(const regex_t* re, const char* s, size_t n, regmatch_t* m, int flags) {
  if (re == nullptr || s == nullptr) return kInvarg;
  int glibc = (flags & kNotbol ? REG_NOTBOL : 0) | (flags & kNoteol ? REG_NOTEOL : 0) |
              (flags & kStartend ? REG_STARTEND : 0);
  return BionicError(GlibcRegexec(re, s, n, m, glibc));
}

KELPHOST_EXPORT void regfree(regex_t* re) {
  if (re != nullptr) GlibcRegfree(re);
}

KELPHOST_EXPORT size_t regerror(int code, const regex_t*, char* buf, size_t size) {
  const int count = static_cast<int>(sizeof(kMessages) / sizeof(kMessages[0]));
  const char* text = kMessages[code > 0 && code < count ? code : 0];
  size_t length = strlen(text) + 1;
  if (size != 0) {
    size_t n = length < size ? length : size;
    memcpy(buf, text, n - 1);
    buf[n - 1] = '\0';
  }
  return length;
}
