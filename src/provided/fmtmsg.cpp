// Formatted diagnostic messages in the standard layout
//   label: severity: text
//   TO FIX: action tag
// on standard error (components chosen by MSGVERB) and on the system console (all components).
// A null component is left out together with its separator.
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "core/export.h"
#include "host/bionic_errno.h"

namespace {

constexpr long kPrint = 256;    // MM_PRINT
constexpr long kConsole = 512;  // MM_CONSOLE
constexpr int kOk = 0, kNotOk = -1, kNoMsg = 1, kNoCon = 4;

enum Component : unsigned { kLabel = 1, kSeverity = 2, kText = 4, kAction = 8, kTag = 16 };
constexpr unsigned kAll = kLabel | kSeverity | kText | kAction | kTag;

struct Keyword {
  const char* name;
  unsigned bit;
};
constexpr Keyword kKeywords[] = {{"label", kLabel},
                                 {"severity", kSeverity},
                                 {"text", kText},
                                 {"action", kAction},
                                 {"tag", kTag}};

// MM_NOSEV, MM_HALT, MM_ERROR, MM_WARNING, MM_INFO.
constexpr const char* kSeverityNames[] = {nullptr, "HALT", "ERROR", "WARNING", "INFO"};

// The components MSGVERB selects: all of them when it is unset, empty or not well formed.
unsigned Selected() {
  const char* verb = getenv("MSGVERB");
  if (verb == nullptr || *verb == '\0') return kAll;
  unsigned selected = 0;
  for (const char* p = verb;;) {
    size_t n = strcspn(p, ":");
    unsigned bit = 0;
    for (const Keyword& k : kKeywords) {
      if (strlen(k.name) == n && strncmp(k.name, p, n) == 0) bit = k.bit;
    }
    if (bit == 0) return kAll;
    selected |= bit;
    if (p[n] == '\0') return selected;
    p += n + 1;
  }
}

// A message under construction, in a fixed buffer that truncates.
struct Line {
  char text[1024];
  size_t used = 0;
  void Add(const char* s) {
    size_t n = strlen(s);
    if (n > sizeof(text) - 1 - used) n = sizeof(text) - 1 - used;
    memcpy(text + used, s, n);
    used += n;
    text[used] = '\0';
  }
};

struct Parts {
  const char* label;
  const char* severity;
  const char* text;
  const char* action;
  const char* tag;
};

void Compose(const Parts& parts, unsigned selected, Line* out) {
  const char* first[] = {selected & kLabel ? parts.label : nullptr,
                         selected & kSeverity ? parts.severity : nullptr,
                         selected & kText ? parts.text : nullptr};
  bool any = false;
  for (const char* piece : first) {
    if (piece == nullptr) continue;
    if (any) out->Add(": ");
    out->Add(piece);
    any = true;
  }
  const char* action = selected & kAction ? parts.action : nullptr;
  const char* tag = selected & kTag ? parts.tag : nullptr;
  if (action != nullptr || tag != nullptr) {
    if (any) out->Add("\n");
    if (action != nullptr) out->Add("TO FIX: ");
    if (action != nullptr) out->Add(action);
    if (action != nullptr && tag != nullptr) out->Add(" ");
    if (tag != nullptr) out->Add(tag);
  }
  out->Add("\n");
}

bool WriteAll(int fd, const Line& line) {
  for (size_t done = 0; done < line.used;) {
    ssize_t n = write(fd, line.text + done, line.used - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

}  // namespace

KELP_ENTRY(int, fmtmsg,
           (long classification, const char* label, int severity, const char* text,
            const char* action, const char* tag)) {
  if (severity < 0 || severity >= static_cast<int>(sizeof(kSeverityNames) / sizeof(char*))) {
    return kNotOk;
  }
  Parts parts = {label, kSeverityNames[severity], text, action, tag};
  bool print_failed = false, console_failed = false;
  if (classification & kPrint) {
    Line line;
    Compose(parts, Selected(), &line);
    print_failed = !WriteAll(STDERR_FILENO, line);
  }
  if (classification & kConsole) {
    Line line;
    Compose(parts, kAll, &line);
    int fd = open("/dev/console", O_WRONLY | O_NOCTTY | O_CLOEXEC);
    console_failed = fd < 0 || !WriteAll(fd, line);
    if (fd >= 0) close(fd);
  }
  if (print_failed && console_failed) return kNotOk;
  if (print_failed) return kNoMsg;
  if (console_failed) return kNoCon;
  return kOk;
}
