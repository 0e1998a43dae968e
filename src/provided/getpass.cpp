// getpass: prompts on the controlling terminal and reads one line there with echo turned off.
// Without a terminal it prompts on standard error and reads standard input. The line (without
// its newline, at most 127 bytes; the rest of a longer line is read and dropped) is returned in
// a static buffer; a read error or end of file before any byte gives a null pointer.
#include <fcntl.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

#include "core/export.h"
#include "host/bionic_errno.h"

namespace {

char g_password[128];

void WriteText(int fd, const char* text) {
  for (size_t done = 0, size = strlen(text); done < size;) {
    ssize_t n = write(fd, text + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    done += static_cast<size_t>(n);
  }
}

// Reads up to a newline or end of file; false when nothing at all could be read.
bool ReadLine(int fd) {
  size_t used = 0;
  bool any = false;
  for (;;) {
    char c;
    ssize_t n = read(fd, &c, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    any = true;
    if (c == '\n') break;
    if (used < sizeof(g_password) - 1) g_password[used++] = c;
  }
  g_password[used] = '\0';
  return any;
}

}  // namespace

KELP_ENTRY(char*, getpass, (const char* prompt)) {
  int tty = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  int in = tty >= 0 ? tty : STDIN_FILENO;
  int out = tty >= 0 ? tty : STDERR_FILENO;
  struct termios saved;
  bool quiet = tcgetattr(in, &saved) == 0;
  if (quiet) {
    struct termios silent = saved;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK);
    silent.c_lflag |= ICANON | ECHONL;  // the newline still shows, so the cursor moves on
    quiet = tcsetattr(in, TCSAFLUSH, &silent) == 0;
  }
  WriteText(out, prompt != nullptr ? prompt : "");
  bool read_any = ReadLine(in);
  if (quiet) tcsetattr(in, TCSAFLUSH, &saved);
  if (tty >= 0) close(tty);
  return read_any ? g_password : nullptr;
}
