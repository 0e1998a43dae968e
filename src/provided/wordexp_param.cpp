// Word expansion: parameters (from the environment; there are no positional parameters) with
// their default, alternative, error and pattern-removal forms, and tilde prefixes. Assignment
// forms substitute like the default forms and leave the environment alone.
#include <fnmatch.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "provided/wordexp_internal.h"
#include "host/bionic_pwd.h"

namespace kelp_wordexp {

namespace {

// The value of a parameter, or null when it is unset. `number` holds values made up here.
const char* Lookup(const char* name, size_t n, char (&number)[16]) {
  if (n == 1 && strchr("0123456789!", *name) != nullptr) return nullptr;
  if (n == 1 && (*name == '@' || *name == '*' || *name == '-')) return "";
  if (n == 1 && (*name == '#' || *name == '?')) return "0";
  if (n == 1 && *name == '$') {
    snprintf(number, sizeof(number), "%d", static_cast<int>(getpid()));
    return number;
  }
  char key[256];
  if (n >= sizeof(key)) return nullptr;
  memcpy(key, name, n);
  key[n] = '\0';
  return getenv(key);
}

// The length of the prefix (or, with `suffix`, the start of the suffix) of value that `pattern`
// matches: the shortest or the longest; -1 when none does.
long PatternMatch(const char* value, const char* pattern, bool suffix, bool longest) {
  size_t len = strlen(value);
  Text piece;
  for (size_t step = 0; step <= len; ++step) {
    // Prefixes grow from empty for the shortest and shrink from whole for the longest;
    // suffixes likewise from the end.
    size_t cut = (suffix == longest) ? step : len - step;
    piece.Clear();
    if (suffix) {
      piece.Add(value + cut, len - cut);
    } else {
      piece.Add(value, cut);
    }
    if (piece.failed) return -1;
    if (fnmatch(pattern, piece.c_str(), 0) == 0) return static_cast<long>(cut);
  }
  return -1;
}

}  // namespace

int Expander::Substitute(const char* name, size_t n, const char* op, const char* word,
                         const char* word_end, bool in_quotes) {
  char number[16];
  const char* value = Lookup(name, n, number);
  if (op == nullptr || strcmp(op, "#length") == 0) {
    if (value == nullptr && (flags_ & kUndef)) return kBadVal;
    if (value == nullptr) value = "";
    if (op != nullptr) {
      snprintf(number, sizeof(number), "%zu", strlen(value));
      value = number;
    }
    Result(value, strlen(value), in_quotes);
    return kOk;
  }
  bool colon = op[0] == ':';
  char kind = op[colon ? 1 : 0];
  bool missing = value == nullptr || (colon && *value == '\0');
  switch (kind) {
    case '-':
    case '=':
      if (missing) return Parse(word, word_end, in_quotes);
      break;
    case '+':
      return missing ? kOk : Parse(word, word_end, in_quotes);
    case '?':
      if (missing) {
        if (flags_ & kShowErr) {
          Text message, pattern;
          int error = ExpandWord(word, word_end, &message, &pattern);
          if (error != kOk) return error;
          fprintf(stderr, "%.*s: %s\n", static_cast<int>(n), name,
                  message.size > 0 ? message.c_str() : "parameter not set");
        }
        return kBadVal;
      }
      break;
    default: {  // '%' and '#': remove a matching suffix or prefix
      if (value == nullptr && (flags_ & kUndef)) return kBadVal;
      if (value == nullptr) value = "";
      Text literal, pattern;
      int error = ExpandWord(word, word_end, &literal, &pattern);
      if (error != kOk) return error;
      bool suffix = op[0] == '%';
      long cut = PatternMatch(value, pattern.c_str(), suffix, op[1] != '\0');
      size_t len = strlen(value);
      if (cut < 0) {
        Result(value, len, in_quotes);
      } else if (suffix) {
        Result(value, static_cast<size_t>(cut), in_quotes);
      } else {
        Result(value + cut, len - static_cast<size_t>(cut), in_quotes);
      }
      return kOk;
    }
  }
  Result(value, strlen(value), in_quotes);
  return kOk;
}

// A tilde prefix: "~" is the home directory, "~name" that of user name. A prefix that is
// quoted or names no one stays as written.
int Expander::Tilde(const char** p, const char* end) {
  const char* q = *p + 1;
  while (q < end && *q != '/' && *q != ' ' && *q != '\t') ++q;
  size_t n = static_cast<size_t>(q - *p - 1);
  const char* home = nullptr;
  char user[256];
  if (strcspn(*p + 1, "\"'\\$`") >= n && n < sizeof(user)) {
    memcpy(user, *p + 1, n);
    user[n] = '\0';
    if (n == 0) home = getenv("HOME");
    HostPasswd* pw =
        home != nullptr ? nullptr : (n == 0 ? BionicGetpwuid(getuid()) : BionicGetpwnam(user));
    if (pw != nullptr) home = pw->pw_dir;
  }
  if (home == nullptr) {
    Literal('~', false);
    ++*p;
    return kOk;
  }
  for (const char* h = home; *h != '\0'; ++h) Literal(*h, true);
  *p = q;
  return kOk;
}

}  // namespace kelp_wordexp
