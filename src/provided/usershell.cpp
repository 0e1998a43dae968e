// The list of permitted login shells: the lines of /etc/shells that start with '/', or, with no
// such file (as on Android), the platform's shell alone. Not thread-safe, as the interface is.
#include <stdio.h>
#include <string.h>

#include "core/export.h"
#include "host/bionic_paths.h"
#include "provided/usershell.h"

namespace {

FILE* g_file = nullptr;
bool g_opened = false;       // the file was tried since the last rewind
bool g_default_given = false;
char g_line[4096];

}  // namespace

namespace kelp_usershell {

const char* Next(const char* path) {
  if (!g_opened) {
    g_opened = true;
    g_file = fopen(path, "re");
  }
  if (g_file == nullptr) {
    if (g_default_given) return nullptr;
    g_default_given = true;
    return kHostShell;
  }
  while (fgets(g_line, sizeof g_line, g_file) != nullptr) {
    // A line longer than the buffer is cut; the rest of it is not taken for another line.
    if (strchr(g_line, '\n') == nullptr && !feof(g_file)) {
      int c;
      while ((c = fgetc(g_file)) != EOF && c != '\n') {
      }
    }
    char* end = g_line + strcspn(g_line, " \t\n#");
    if (g_line[0] != '/') continue;
    *end = '\0';
    return g_line;
  }
  return nullptr;
}

void Rewind() {
  if (g_file != nullptr) fclose(g_file);
  g_file = nullptr;
  g_opened = false;
  g_default_given = false;
}

}  // namespace kelp_usershell

KELP_ENTRY(char*, getusershell, ()) {
  return const_cast<char*>(kelp_usershell::Next("/etc/shells"));
}
KELP_ENTRY(void, setusershell, ()) { kelp_usershell::Rewind(); }
KELP_ENTRY(void, endusershell, ()) { kelp_usershell::Rewind(); }
