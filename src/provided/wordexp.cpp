// wordexp and wordfree: the fields of an expansion, their splitting and pathname expansion,
// and the caller's wordexp_t.
#include <glob.h>
#include <stdlib.h>
#include <string.h>

#include "core/export.h"
#include "provided/wordexp_internal.h"

// The guest's wordexp_t.
struct GuestWordexp {
  uint32_t we_wordc;
  char** we_wordv;
  uint32_t we_offs;
};
static_assert(sizeof(GuestWordexp) == 12);
static_assert(offsetof(GuestWordexp, we_wordv) == 4 && offsetof(GuestWordexp, we_offs) == 8);

namespace kelp_wordexp {

Text::~Text() { free(data); }

void Text::Add(const char* s, size_t n) {
  if (failed) return;
  if (size + n + 1 > capacity) {
    size_t wanted = capacity < 32 ? 32 : capacity;
    while (wanted < size + n + 1) wanted *= 2;
    char* grown = static_cast<char*>(realloc(data, wanted));
    if (grown == nullptr) {
      failed = true;
      return;
    }
    data = grown;
    capacity = wanted;
  }
  memcpy(data + size, s, n);
  size += n;
  data[size] = '\0';
}

void Text::Add(char c) { Add(&c, 1); }

void Text::Clear() {
  size = 0;
  if (data != nullptr) data[0] = '\0';
}

char* Text::Release() {
  if (data == nullptr && !failed) Add("", 0);
  char* out = failed ? nullptr : data;
  if (failed) free(data);
  data = nullptr;
  size = capacity = 0;
  return out;
}

Expander::~Expander() {
  for (size_t i = 0; i < count_; ++i) free(fields_[i]);
  free(fields_);
}

namespace {

bool IsPatternChar(char c) { return c == '*' || c == '?' || c == '[' || c == ']' || c == '\\'; }

const char* Ifs() {
  const char* ifs = getenv("IFS");
  return ifs != nullptr ? ifs : " \t\n";
}

bool IsIfsWhite(char c) { return c == ' ' || c == '\t' || c == '\n'; }

}  // namespace

void Expander::Literal(char c, bool quoted) {
  started_ = true;
  after_white_ = false;
  value_.Add(c);
  if (quoted && IsPatternChar(c)) pattern_.Add('\\');
  if (!quoted && (c == '*' || c == '?' || c == '[')) has_glob_ = true;
  pattern_.Add(c);
}

// The result of an expansion: quoted, it joins the field as is; unquoted, it is split on IFS
// and its pattern characters take effect.
void Expander::Result(const char* s, size_t n, bool in_quotes) {
  if (in_quotes || collect_) {
    for (size_t i = 0; i < n; ++i) Literal(s[i], in_quotes);
    started_ = true;
    return;
  }
  const char* ifs = Ifs();
  for (size_t i = 0; i < n; ++i) {
    char c = s[i];
    if (strchr(ifs, c) == nullptr) {
      Literal(c, false);
    } else if (IsIfsWhite(c)) {
      if (!started_) continue;  // white space before any field is ignored
      EndField(false);
      after_white_ = true;
    } else if (started_) {
      EndField(false);
    } else if (after_white_) {
      after_white_ = false;  // with the white space before it, one delimiter
    } else {
      EndField(true);  // two delimiters in a row: an empty field between them
    }
  }
}

int Expander::AddField(const char* s) {
  if (count_ == capacity_) {
    size_t wanted = capacity_ == 0 ? 8 : capacity_ * 2;
    auto** grown = static_cast<char**>(realloc(fields_, wanted * sizeof(char*)));
    if (grown == nullptr) return kNoSpace;
    fields_ = grown;
    capacity_ = wanted;
  }
  size_t n = strlen(s);
  char* copy = static_cast<char*>(malloc(n + 1));
  if (copy == nullptr) return kNoSpace;
  memcpy(copy, s, n + 1);
  fields_[count_++] = copy;
  return kOk;
}

// Pathname expansion of the current field; without a match the field stays as written.
int Expander::AddMatches() {
  glob_t matches;
  memset(&matches, 0, sizeof(matches));
  int result = glob(pattern_.c_str(), 0, nullptr, &matches);
  int error = kOk;
  if (result == 0) {
    for (size_t i = 0; i < matches.gl_pathc && error == kOk; ++i) {
      error = AddField(matches.gl_pathv[i]);
    }
  } else {
    error = result == GLOB_NOSPACE ? kNoSpace : AddField(value_.c_str());
  }
  globfree(&matches);
  return error;
}

int Expander::EndField(bool force) {
  int error = kOk;
  if (value_.failed || pattern_.failed) {
    error = kNoSpace;
  } else if (collect_) {
    return kOk;
  } else if (started_ || force) {
    error = has_glob_ ? AddMatches() : AddField(value_.c_str());
  }
  value_.Clear();
  pattern_.Clear();
  started_ = has_glob_ = after_white_ = false;
  if (error != kOk) no_space_ = true;
  return error;
}

int Expander::Finish() {
  EndField(false);
  return no_space_ || value_.failed ? kNoSpace : kOk;
}

char** Expander::ReleaseFields(size_t* count) {
  char** out = fields_;
  *count = count_;
  fields_ = nullptr;
  count_ = capacity_ = 0;
  return out;
}

}  // namespace kelp_wordexp

using namespace kelp_wordexp;

namespace {

void FreeWords(GuestWordexp* we) {
  if (we->we_wordv == nullptr) return;
  for (uint32_t i = 0; i < we->we_wordc; ++i) free(we->we_wordv[we->we_offs + i]);
  free(we->we_wordv);
  we->we_wordv = nullptr;
  we->we_wordc = 0;
}

// Puts the expanded fields into the caller's record, after its offset slots and, when
// appending, after the words it holds.
int Store(GuestWordexp* we, int flags, char** fields, size_t count) {
  size_t offs = (flags & kDoOffs) ? we->we_offs : 0;
  size_t old = (flags & kAppend) && we->we_wordv != nullptr ? we->we_wordc : 0;
  size_t total = offs + old + count + 1;
  auto** words =
      static_cast<char**>(realloc(old > 0 ? we->we_wordv : nullptr, total * sizeof(char*)));
  if (words == nullptr) {
    for (size_t i = 0; i < count; ++i) free(fields[i]);
    return kNoSpace;
  }
  for (size_t i = 0; i < offs && old == 0; ++i) words[i] = nullptr;
  memcpy(words + offs + old, fields, count * sizeof(char*));
  words[offs + old + count] = nullptr;
  we->we_wordv = words;
  we->we_wordc = static_cast<uint32_t>(old + count);
  if (!(flags & kDoOffs)) we->we_offs = 0;
  return kOk;
}

}  // namespace

KELP_ENTRY(int, wordexp, (const char* words, GuestWordexp* we, int flags)) {
  if (flags & kReuse) FreeWords(we);
  if (!(flags & kAppend)) {
    we->we_wordc = 0;
    we->we_wordv = nullptr;
  }
  Expander expander(flags);
  int error = expander.Parse(words, words + strlen(words), false);
  if (error == kOk) error = expander.Finish();
  if (error != kOk && error != kNoSpace) return error;
  size_t count;
  char** fields = expander.ReleaseFields(&count);
  int stored = Store(we, flags, fields, count);
  free(fields);
  return error != kOk ? error : stored;
}

KELP_ENTRY(void, wordfree, (GuestWordexp * we)) {
  if (we != nullptr) FreeWords(we);
}
